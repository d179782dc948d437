// Vertex positions from animation positions.

#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/assertion.h"

#include <cstring>

// The weighted sum of a vertex through the node matrices, divided by the sum of its shares: shares that don't add up
// to 1 are made up for here.
static Vector3 DeformVertex(const ModelVert& vert, const Matrix4* pTransforms, uint32_t nNodes)
{
    float sum[4] = {0.0f, 0.0f, 0.0f, 0.0f};
    for (uint32_t i = 0; i < vert.m_nWeights; ++i)
    {
        const ModelVertWeight* pWeight = &vert.m_Weights[i];
        if (!ZOLT_ASSERT(pWeight->m_iNode < nNodes, "pWeight->m_iNode < NumNodes()"))
            continue;
        float term[4];
        pTransforms[pWeight->m_iNode].Transform(term, pWeight->m_Vec);
        for (int k = 0; k < 4; ++k)
            sum[k] += term[k];
    }
    if (sum[3] == 0.0f)
        return Vector3(0.0f, 0.0f, 0.0f);
    const float f = 1.0f / sum[3];
    return Vector3(sum[0] * f, sum[1] * f, sum[2] * f);
}

QZBOOL Model::GetVertexPositions(VertexDeformRequest* pRequest, QZBOOL bSetupTransforms)
{
    if (!pRequest->m_pVertOut || pRequest->m_nAnims > MAX_ANIM_POSITIONS)
        return QZFALSE;
    if (bSetupTransforms)
    {
        // Another model's pose would go to that model's m_Transforms.
        if (pRequest->m_nAnims == 0 || pRequest->m_Anims[0].m_pModel != this)
            return QZFALSE;
        TransformMaker maker;
        maker.InitFromRequest(pRequest);
        if (!maker.SetupTransforms())
            return QZFALSE;
    }
    const Matrix4* pTransforms = pRequest->m_pTransforms ? pRequest->m_pTransforms : m_Transforms.GetArray();
    char* pOut = reinterpret_cast<char*>(pRequest->m_pVertOut);
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        const ModelPieceLOD* pMesh = m_Pieces[iPiece]->GetLOD(pRequest->m_iLOD);
        if (!pMesh)
            return QZFALSE;
        for (uint32_t iVert = 0; iVert < pMesh->NumVerts(); ++iVert)
        {
            const Vector3 position = DeformVertex(pMesh->m_Verts[iVert], pTransforms, NumNodes());
            // A stride that isn't a multiple of 4 must not make a misaligned store.
            memcpy(pOut, &position, sizeof(position));
            pOut += pRequest->m_VertStride;
        }
    }
    return QZTRUE;
}
