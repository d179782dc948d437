// How long figures take to play: the player, a crowd on one thread and on two, what a renderer takes.

#include <benchmark/benchmark.h>

#include <deque>

#include "bench/benchmodels.h"
#include "zolt/play.h"

namespace
{
// Figures of 60 nodes that walk and lay a second animation over that, each at a time of its own.
class Crowd
{
public:
    explicit Crowd(uint32_t nFigures)
    {
        BuildNodes(m_Model, 60, 2);
        m_Model.m_Anims.SetSize(2);
        BuildClip(m_Model, 0, "walk", 300);
        BuildClip(m_Model, 1, "aim", 30);
        BuildMesh(m_Model, true);
        for (uint32_t i = 0; i < nFigures; ++i)
        {
            zolt::ModelInstance& instance = m_Instances.emplace_back();
            instance.Init(m_Model);
            m_Pointers.push_back(&instance);
            zolt::AnimPlayer& player = m_Players.emplace_back(instance);
            player.Play(0u, {.m_Start = 0.01f * static_cast<float>(i)});
            player.SetLayerKind(1, zolt::LayerKind::ADD);
            player.Play(1u, {}, 1);
        }
        Step();
    }

    void Step()
    {
        for (zolt::AnimPlayer& player : m_Players)
        {
            player.Step(1.0f / 60.0f);
            player.Apply();
        }
    }

    ConvModel m_Model;
    std::deque<zolt::ModelInstance> m_Instances;
    std::deque<zolt::AnimPlayer> m_Players;
    std::vector<zolt::ModelInstance*> m_Pointers;
};

void CountFigures(benchmark::State& state, size_t nFigures)
{
    state.counters["figures/s"] =
        benchmark::Counter(static_cast<double>(nFigures), benchmark::Counter::kIsIterationInvariantRate);
}

void PlayCrowd(benchmark::State& state)
{
    Crowd crowd(1000);
    while (state.KeepRunning())
        crowd.Step();
    CountFigures(state, crowd.m_Pointers.size());
}

void EvaluateCrowd(benchmark::State& state)
{
    Crowd crowd(1000);
    zolt::ThreadPool pool(static_cast<uint32_t>(state.range(0)));
    while (state.KeepRunning())
        zolt::EvaluateMany(crowd.m_Pointers.data(), static_cast<uint32_t>(crowd.m_Pointers.size()), &pool);
    CountFigures(state, crowd.m_Pointers.size());
}

void SkinMatrices(benchmark::State& state)
{
    Crowd crowd(1);
    std::vector<float> out(60 * 16);
    while (state.KeepRunning())
        crowd.m_Instances[0].GetSkinMatrices(out.data(), zolt::MatrixLayout::COLUMNS_4X4);
    CountFigures(state, 1);
}

void RenderMesh(benchmark::State& state)
{
    Crowd crowd(1);
    zolt::RenderMesh mesh;
    while (state.KeepRunning())
        zolt::BuildRenderMesh(*crowd.m_Model.GetPiece(0), 0, {}, mesh);
    state.counters["triangles/s"] = benchmark::Counter(static_cast<double>(crowd.m_Model.GetPiece(0)->NumTris()),
                                                       benchmark::Counter::kIsIterationInvariantRate);
}
} // namespace

BENCHMARK(PlayCrowd)->Unit(benchmark::kMicrosecond);
BENCHMARK(EvaluateCrowd)->ArgName("threads")->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(SkinMatrices)->Unit(benchmark::kNanosecond);
BENCHMARK(RenderMesh)->Unit(benchmark::kMillisecond);
