// How long the operations on a whole model take.

#include <benchmark/benchmark.h>

#include <vector>

#include "bench/benchmodels.h"
#include "engine/model/src/transformmaker.h"
#include "tools/model/mergeclosevertices.h"

namespace
{
// A figure of so many keys: the time for each should not grow with their number.
void Copy(benchmark::State& state)
{
    ConvModel model;
    BuildSkeleton(model, 60, 2, static_cast<uint32_t>(state.range(0)));
    while (state.KeepRunning())
    {
        ConvModel copy;
        if (!copy.CopyModelFrom(&model))
            state.SkipWithError("not copied");
    }
    state.counters["keys/s"] =
        benchmark::Counter(static_cast<double>(state.range(0)), benchmark::Counter::kIsIterationInvariantRate);
}

void Append(benchmark::State& state)
{
    ConvModel source, dest;
    BuildSkeleton(source, 60, 2, 300);
    BuildSkeleton(dest, 60, 2, 1);
    while (state.KeepRunning())
    {
        if (dest.AddAnims(&source) != 0)
            state.SkipWithError("not added");
        state.PauseTiming();
        dest.RemoveAllAnims();
        state.ResumeTiming();
    }
}

void MergeSheet(benchmark::State& state)
{
    while (state.KeepRunning())
    {
        state.PauseTiming();
        ConvModel model;
        BuildSkeleton(model, 60, 2, 1);
        BuildMesh(model, state.range(0) != 0);
        state.ResumeTiming();
        MergeCloseVertices(&model, 2.0f);
        state.counters["left"] = model.CalcNumVerts();
    }
}

void FinishSheet(benchmark::State& state)
{
    while (state.KeepRunning())
    {
        state.PauseTiming();
        ConvModel model;
        BuildFigure(model);
        state.ResumeTiming();
        if (!model.Finish(QZFALSE, QZTRUE))
            state.SkipWithError("not finished");
    }
}

// So many positions, played in eight steps from key to key; those behind the first blend with half of what they find.
void SetupTransforms(benchmark::State& state)
{
    constexpr uint32_t nKeys = 300, nSteps = 8;
    ConvModel model;
    BuildSkeleton(model, 100, 3, nKeys);
    model.SetupChildModelRelation(model.GetSelfChildModel(), &model, QZFALSE);
    WeightSet* pSet = AllocNew<WeightSet>(g_DefaultAllocator, &model);
    if (!pSet->Init() || !model.AddWeightSet(pSet))
        state.SkipWithError("no weight set");
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
        pSet->m_Weights[i] = 0.5f;
    TransformMaker maker;
    maker.m_nAnims = static_cast<uint32_t>(state.range(0));
    for (AnimTracker& tracker : maker.m_Anims)
        tracker.m_iWeightSet = 0;
    uint32_t iStep = 0;
    while (state.KeepRunning())
    {
        iStep = (iStep + 1) % (nSteps * (nKeys - 1));
        for (uint32_t i = 0; i < maker.m_nAnims; ++i)
        {
            const uint32_t iKey = (iStep / nSteps + 17 * i) % (nKeys - 1);
            const float percent = static_cast<float>(iStep % nSteps) / static_cast<float>(nSteps);
            maker.m_Anims[i].Init(&model, 0, iKey, 0, iKey + 1, percent);
        }
        if (!maker.SetupTransforms())
            state.SkipWithError("not valid");
    }
    state.counters["nodes/s"] = benchmark::Counter(model.NumNodes(), benchmark::Counter::kIsIterationInvariantRate);
}

// Vertices of so many weights each, through matrices that are set up.
void GetVertexPositions(benchmark::State& state)
{
    const uint32_t nWeights = static_cast<uint32_t>(state.range(0));
    ConvModel model;
    BuildFigure(model);
    const uint32_t nVerts = model.CalcNumVerts();
    model.m_VertexWeights.SetSize(nWeights * nVerts);
    for (uint32_t i = 0; i < nWeights * nVerts; ++i)
    {
        const float share = 1.0f / static_cast<float>(nWeights);
        model.m_VertexWeights[i] = {{share, share, share, share}, i / 16 % model.NumNodes()};
    }
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        ModelVert* pVert = model.GetPiece(0)->GetVert(i);
        pVert->m_Weights = &model.m_VertexWeights[nWeights * i];
        pVert->m_nWeights = static_cast<uint16_t>(nWeights);
    }
    std::vector<Vector3> positions(nVerts);
    VertexDeformRequest request;
    request.m_pVertOut = positions.data();
    while (state.KeepRunning())
    {
        if (!model.GetVertexPositions(&request, QZFALSE))
            state.SkipWithError("not valid");
    }
    state.counters["verts/s"] = benchmark::Counter(nVerts, benchmark::Counter::kIsIterationInvariantRate);
}

// All nodes but the root go: nodes, children of each, keys; with or without a mesh that no node moves.
void RemoveNodes(benchmark::State& state)
{
    while (state.KeepRunning())
    {
        state.PauseTiming();
        ConvModel model;
        BuildSkeleton(model, static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)),
                      static_cast<uint32_t>(state.range(2)));
        if (state.range(3) != 0)
            BuildMesh(model, true);
        for (uint32_t i = 0; i < model.CalcNumVerts(); ++i)
            model.GetPiece(0)->GetVert(i)->m_nWeights = 0;
        state.ResumeTiming();
        model.RemoveRemovableNodes();
        state.counters["left"] = model.NumNodes();
    }
}
} // namespace

BENCHMARK(Copy)->Arg(300)->Arg(3000)->Unit(benchmark::kMillisecond);
BENCHMARK(Append)->Unit(benchmark::kMillisecond);
BENCHMARK(MergeSheet)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(FinishSheet)->Unit(benchmark::kMillisecond);
BENCHMARK(SetupTransforms)->Arg(1)->Arg(2)->Arg(8)->Unit(benchmark::kMicrosecond);
BENCHMARK(GetVertexPositions)->DenseRange(1, 4)->Unit(benchmark::kMicrosecond);
BENCHMARK(RemoveNodes)
    ->Args({500, 1, 60, 0})
    ->Args({1000, 1, 300, 0})
    ->Args({1000, 3, 300, 0})
    ->Args({1000, 3, 300, 1})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
