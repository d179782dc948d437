// How long the operations on a whole model take.

#include <benchmark/benchmark.h>

#include <cmath>
#include <string>
#include <vector>

#include "engine/model/src/transformmaker.h"
#include "tools/model/convmodel.h"
#include "tools/model/mergeclosevertices.h"
#include "zoltshared/stdzolt/memorystream.h"

namespace
{
constexpr uint32_t GRID = 173; // GRID² quads are about 60,000 triangles

void BuildTracks(AnimNode* pTrack, ModelNode* pNode, uint32_t nKeys)
{
    pTrack->m_pNode = pNode;
    pTrack->m_KeyFrames.SetSize(nKeys);
    for (uint32_t i = 0; i < nKeys; ++i)
    {
        const float angle = 0.01f * static_cast<float>(i + 3 * pNode->GetNodeIndex());
        pTrack->m_KeyFrames[i].m_vTranslation.Set(0.1f, 1.0f, std::sin(angle));
        pTrack->m_KeyFrames[i].m_qRotation.Set(std::sin(angle), 0.0f, 0.0f, std::cos(angle));
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        AnimNode* pChild = pTrack->CreateAnimNode(pTrack->GetAnim(), pTrack);
        pTrack->m_Children.Append(pChild);
        BuildTracks(pChild, pNode->GetChild(i), nKeys);
    }
}

// Nodes of which each has nChildren children, in breadth-first order, and one animation.
void BuildSkeleton(ConvModel& model, uint32_t nNodes, uint32_t nChildren, uint32_t nKeys)
{
    std::vector<ModelNode*> nodes;
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        ModelNode* pNode = AllocNew<ConvNode>(g_DefaultAllocator, &model);
        pNode->SetName(("node" + std::to_string(i)).c_str());
        pNode->m_Flags = MNODE_REMOVEABLE;
        if (i == 0)
            model.SetRootNode(pNode);
        else
            nodes[(i - 1) / nChildren]->m_Children.Append(pNode);
        nodes.push_back(pNode);
    }
    model.Precalc(QZTRUE);
    ModelAnim* pAnim = AllocNew<ModelAnim>(g_DefaultAllocator, &model);
    pAnim->SetName("walk");
    for (uint32_t i = 0; i < nKeys; ++i)
        pAnim->m_KeyFrames.Append({i * 33, g_EmptyString});
    BuildTracks(pAnim->GetRootNode(), model.GetRootNode(), nKeys);
    pAnim->PrecalcNodeLists(QZTRUE);
    model.AddAnim(pAnim);
}

// A waved sheet. With bShared the quads share their vertices; otherwise each has its own four, and merging is to find
// them. Every vertex has two weights.
void BuildMesh(ConvModel& model, bool bShared)
{
    ModelPiece* pPiece = AllocNew<ModelPiece>(g_DefaultAllocator, &model);
    const uint32_t nRow = GRID + 1;
    pPiece->m_Verts.SetSize(bShared ? nRow * nRow : 4 * (GRID / 2) * GRID);
    pPiece->m_Tris.SetSize(2 * GRID * (bShared ? GRID : GRID / 2));
    uint32_t iTri = 0;
    for (uint32_t y = 0; y < (bShared ? GRID : GRID / 2); ++y)
    {
        for (uint32_t x = 0; x < GRID; ++x, iTri += 2)
        {
            uint16_t corners[4];
            for (uint32_t k = 0; k < 4; ++k)
            {
                const uint32_t cx = x + k % 2, cy = y + k / 2;
                corners[k] = static_cast<uint16_t>(bShared ? cy * nRow + cx : 4 * (y * GRID + x) + k);
                const float fx = static_cast<float>(cx), fy = static_cast<float>(cy);
                pPiece->m_Verts[corners[k]].m_vPos.Set(fx, fy, std::sin(fx * 0.2f) * std::cos(fy * 0.3f) * 9.0f);
            }
            const uint16_t indices[2][3] = {{corners[0], corners[1], corners[2]}, {corners[2], corners[1], corners[3]}};
            for (uint32_t i = 0; i < 2; ++i)
            {
                for (uint32_t k = 0; k < 3; ++k)
                    pPiece->m_Tris[iTri + i].m_Indices[k] = indices[i][k];
            }
        }
    }
    model.m_Pieces.Append(pPiece);
    model.m_VertexWeights.SetSize(2 * pPiece->NumVerts());
    for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
    {
        pPiece->m_Verts[i].m_Weights = &model.m_VertexWeights[2 * i];
        pPiece->m_Verts[i].m_nWeights = 2;
        for (uint32_t k = 0; k < 2; ++k)
        {
            ModelVertWeight& weight = model.m_VertexWeights[2 * i + k];
            weight.m_iNode = (i + k) % model.NumNodes();
            for (float& value : weight.m_Vec)
                value = 0.5f;
        }
    }
    model.Precalc(QZTRUE);
}

void BuildFigure(ConvModel& model)
{
    BuildSkeleton(model, 60, 2, 300);
    BuildMesh(model, true);
}

void Save(benchmark::State& state)
{
    ConvModel model;
    BuildFigure(model);
    while (state.KeepRunning())
    {
        MemoryStream stream(0x100000);
        if (!model.Save(&stream))
            state.SkipWithError("not saved");
    }
}

void Load(benchmark::State& state)
{
    ConvModel model;
    BuildFigure(model);
    MemoryStream stream(0x100000);
    model.Save(&stream);
    while (state.KeepRunning())
    {
        Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
        LoadRequest request;
        request.m_pStream = &stream;
        if (loaded.Load(&request) != RESULT_OK)
            state.SkipWithError("not loaded");
    }
}

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

BENCHMARK(Save)->Unit(benchmark::kMillisecond);
BENCHMARK(Load)->Unit(benchmark::kMillisecond);
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
