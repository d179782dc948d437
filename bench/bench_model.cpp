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

void SetupTransforms(benchmark::State& state)
{
    ConvModel model;
    BuildSkeleton(model, 60, 2, 300);
    model.SetupChildModelRelation(model.GetSelfChildModel(), &model, QZFALSE);
    TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0].Init(&model, 0, 10, 0, 11, 0.3f);
    while (state.KeepRunning())
    {
        if (!maker.SetupTransforms())
            state.SkipWithError("not valid");
    }
}

void GetVertexPositions(benchmark::State& state)
{
    ConvModel model;
    BuildFigure(model);
    model.SetupChildModelRelation(model.GetSelfChildModel(), &model, QZFALSE);
    std::vector<Vector3> positions(model.CalcNumVerts());
    VertexDeformRequest request;
    request.m_nAnims = 1;
    request.m_Anims[0].Init(&model, 0, 10, 0, 11, 0.3f);
    request.m_pVertOut = positions.data();
    while (state.KeepRunning())
    {
        if (!model.GetVertexPositions(&request, QZTRUE))
            state.SkipWithError("not valid");
    }
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
BENCHMARK(SetupTransforms)->Unit(benchmark::kMicrosecond);
BENCHMARK(GetVertexPositions)->Unit(benchmark::kMicrosecond);
BENCHMARK(RemoveNodes)
    ->Args({500, 1, 60, 0})
    ->Args({1000, 1, 300, 0})
    ->Args({1000, 3, 300, 0})
    ->Args({1000, 3, 300, 1})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
