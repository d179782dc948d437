#include "bench/benchmodels.h"

#include <cmath>
#include <vector>

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

ModelVert MakeVert(uint32_t x, uint32_t y)
{
    ModelVert vert;
    const float fx = static_cast<float>(x), fy = static_cast<float>(y);
    vert.m_vPos.Set(fx, fy, std::sin(fx * 0.2f) * std::cos(fy * 0.3f) * 9.0f);
    return vert;
}

// Two for every vertex of the model.
void BuildWeights(ConvModel& model)
{
    uint32_t nVerts = 0;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
        nVerts += model.GetPiece(i)->NumVerts();
    model.m_VertexWeights.SetSize(2 * nVerts);
    uint32_t iWeight = 0;
    for (uint32_t iPiece = 0; iPiece < model.NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = model.GetPiece(iPiece);
        for (uint32_t i = 0; i < pPiece->NumVerts(); ++i, iWeight += 2)
        {
            pPiece->m_Verts[i].m_Weights = &model.m_VertexWeights[iWeight];
            pPiece->m_Verts[i].m_nWeights = 2;
            for (uint32_t k = 0; k < 2; ++k)
                model.m_VertexWeights[iWeight + k] = {{0.5f, 0.5f, 0.5f, 0.5f}, (i + k) % model.NumNodes()};
        }
    }
    model.Precalc(QZTRUE);
}
} // namespace

void BuildNodes(ConvModel& model, uint32_t nNodes, uint32_t nChildren)
{
    model.BeginStringIndex();
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
}

void BuildClip(ConvModel& model, uint32_t iAnim, const std::string& name, uint32_t nKeys)
{
    ModelAnim* pAnim = AllocNew<ModelAnim>(g_DefaultAllocator, &model);
    pAnim->SetName(name.c_str());
    pAnim->m_KeyFrames.SetSize(nKeys);
    for (uint32_t i = 0; i < nKeys; ++i)
        pAnim->m_KeyFrames[i].m_Time = i * 33;
    BuildTracks(pAnim->GetRootNode(), model.GetRootNode(), nKeys);
    pAnim->PrecalcNodeLists(QZTRUE);
    model.m_Anims[iAnim].m_pAnim = pAnim;
    model.m_Anims[iAnim].m_pChildInfo = model.GetSelfChildModel();
}

void BuildSkeleton(ConvModel& model, uint32_t nNodes, uint32_t nChildren, uint32_t nKeys)
{
    BuildNodes(model, nNodes, nChildren);
    model.m_Anims.SetSize(1);
    BuildClip(model, 0, "walk", nKeys);
}

void BuildMesh(ConvModel& model, bool bShared)
{
    ModelPiece* pPiece = AllocNew<ModelPiece>(g_DefaultAllocator, &model);
    const uint32_t nRow = GRID + 1;
    const uint32_t nRows = bShared ? GRID : GRID / 2;
    pPiece->m_Verts.SetSize(bShared ? nRow * nRow : 4 * nRows * GRID);
    pPiece->m_Tris.SetSize(2 * GRID * nRows);
    uint32_t iTri = 0;
    for (uint32_t y = 0; y < nRows; ++y)
    {
        for (uint32_t x = 0; x < GRID; ++x, iTri += 2)
        {
            uint16_t corners[4];
            for (uint32_t k = 0; k < 4; ++k)
            {
                const uint32_t cx = x + k % 2, cy = y + k / 2;
                corners[k] = static_cast<uint16_t>(bShared ? cy * nRow + cx : 4 * (y * GRID + x) + k);
                pPiece->m_Verts[corners[k]] = MakeVert(cx, cy);
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
    BuildWeights(model);
}

void BuildPieces(ConvModel& model, uint32_t nPieces, uint32_t nVerts, uint32_t nTris)
{
    model.m_Pieces.SetSize(nPieces);
    for (uint32_t iPiece = 0; iPiece < nPieces; ++iPiece)
    {
        ModelPiece* pPiece = AllocNew<ModelPiece>(g_DefaultAllocator, &model);
        model.m_Pieces[iPiece] = pPiece;
        pPiece->SetName(("piece" + std::to_string(iPiece)).c_str());
        pPiece->m_Verts.SetSize(nVerts);
        for (uint32_t i = 0; i < nVerts; ++i)
            pPiece->m_Verts[i] = MakeVert(i % GRID, i / GRID);
        pPiece->m_Tris.SetSize(nTris);
        for (uint32_t i = 0; i < nTris; ++i)
        {
            for (uint32_t k = 0; k < 3; ++k)
                pPiece->m_Tris[i].m_Indices[k] = static_cast<uint16_t>((i + k) % nVerts);
        }
    }
    BuildWeights(model);
}

void BuildFigure(ConvModel& model)
{
    BuildSkeleton(model, 60, 2, 300);
    BuildMesh(model, true);
}
