// Vertex positions from animation positions.

#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/float4.h"

#include <cstddef>

// Whether all bottom rows are 0, 0, 0, 1, so that a record's fourth sum is its share.
static bool AreAffine(const Matrix4* pTransforms, uint32_t nNodes)
{
    const Float4 bottom(0.0f, 0.0f, 0.0f, 1.0f);
    Mask4 differs = bottom != bottom;
    for (uint32_t i = 0; i < nNodes; ++i)
        differs = differs | (Float4::Load(pTransforms[i].m + 12) != bottom);
    return Bits(differs) == 0;
}

// The weighted sum of a vertex through the node matrices, divided by the sum of its shares: shares that don't add up
// to 1 are made up for.
//
// The four rows keep a sum each of their products with the records, element by element, and only once a vertex the
// four elements of each are added up: no record costs a shuffle, and the matrices are read as they lie.
template <bool bAffine>
static inline Float4 DeformVertex(const ModelVert& vert, const Matrix4* pTransforms, uint32_t nNodes)
{
    const Float4 zero(0.0f);
    Float4 x = zero, y = zero, z = zero, w = zero;
    const ModelVertWeight* pWeight = vert.m_Weights;
    for (uint32_t n = vert.m_nWeights; n != 0; --n, ++pWeight)
    {
        if (pWeight->m_iNode >= nNodes) [[unlikely]]
        {
            ZOLT_ASSERT(pWeight->m_iNode < nNodes, "pWeight->m_iNode < NumNodes()");
            continue;
        }
        const float* pMatrix = pTransforms[pWeight->m_iNode].m;
        const Float4 v = Float4::Load(pWeight->m_Vec);
        x = x + Float4::Load(pMatrix) * v;
        y = y + Float4::Load(pMatrix + 4) * v;
        z = z + Float4::Load(pMatrix + 8) * v;
        w = w + (bAffine ? v : Float4::Load(pMatrix + 12) * v);
    }
    const Float4 sums = Sums(x, y, z, bAffine ? w.OnlyLast() : w);
    const Float4 shares = sums.Splat<3>();
    return Select(shares == zero, zero, sums / shares);
}

template <bool bAffine>
static char* DeformMesh(const ModelPieceLOD& mesh, const Matrix4* pTransforms, uint32_t nNodes, char* pOut,
                        size_t stride)
{
    const ModelVert* pVert = mesh.m_Verts.GetArray();
    for (uint32_t n = mesh.NumVerts(); n != 0; --n, ++pVert, pOut += stride)
        DeformVertex<bAffine>(*pVert, pTransforms, nNodes).StoreXYZ(pOut);
    return pOut;
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
    const uint32_t nNodes = NumNodes();
    const size_t stride = pRequest->m_VertStride;
    const bool bAffine = AreAffine(pTransforms, nNodes);
    char* pOut = reinterpret_cast<char*>(pRequest->m_pVertOut);
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        const ModelPieceLOD* pMesh = m_Pieces[iPiece]->GetLOD(pRequest->m_iLOD);
        if (!pMesh)
            return QZFALSE;
        pOut = bAffine ? DeformMesh<true>(*pMesh, pTransforms, nNodes, pOut, stride)
                       : DeformMesh<false>(*pMesh, pTransforms, nNodes, pOut, stride);
    }
    return QZTRUE;
}
