// Vertex positions from animation positions.

#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/float4.h"

#include <bit>
#include <cstddef>

ZOLT_BEGIN_NAMESPACE

// Whether all bottom rows are 0, 0, 0, 1, so that a record's fourth sum is its share.
static bool AreAffine(const Matrix4* pTransforms, uint32_t nNodes)
{
    const Float4 bottom(0.0f, 0.0f, 0.0f, 1.0f);
    Mask4 differs = bottom < Float4(0.0f); // none
    for (uint32_t i = 0; i < nNodes; ++i)
        differs = differs | (Float4::Load(pTransforms[i].m + 12) != bottom);
    return Bits(differs) == 0;
}

namespace
{
// What the records of vertices are summed through.
struct Transforms
{
    const Matrix4* m_pMatrices;
    uint32_t m_nNodes;
};

// The four rows keep a sum each of their products with a vertex's records, element by element, and only once a vertex
// the four elements of each are added up: no record costs a shuffle, and the matrices are read as they lie.
template <bool bAffine> struct RowSums
{
    Float4 x, y, z, w;

    RowSums(const Matrix4& matrix, Float4 v)
        : x(Float4::Load(matrix.m) * v), y(Float4::Load(matrix.m + 4) * v), z(Float4::Load(matrix.m + 8) * v),
          w(bAffine ? v : Float4::Load(matrix.m + 12) * v)
    {
    }

    void Add(const RowSums& other)
    {
        x = x + other.x;
        y = y + other.y;
        z = z + other.z;
        w = w + other.w;
    }

    // Divided by the sum of the shares: shares that don't add up to 1 are made up for.
    Float4 Position() const
    {
        const Float4 zero(0.0f);
        const Float4 shares = bAffine ? w.Splat<3>() : Sums(w, w, w, w);
        return Select(shares == zero, zero, Sums(x, y, z) / shares);
    }
};

// A vertex of any number of records; those of nodes that aren't there are reported and left out.
template <bool bAffine> [[gnu::noinline]] void DeformVertex(const ModelVert& vert, Transforms transforms, char* pOut)
{
    RowSums<bAffine> sums(Matrix4(), Float4(0.0f));
    const ModelVertWeight* pWeight = vert.m_Weights;
    for (uint32_t n = vert.m_nWeights; n != 0; --n, ++pWeight)
    {
        if (ZOLT_ASSERT(pWeight->m_iNode < transforms.m_nNodes, "pWeight->m_iNode < NumNodes()"))
            sums.Add({transforms.m_pMatrices[pWeight->m_iNode], Float4::Load(pWeight->m_Vec)});
    }
    sums.Position().StoreXYZ(pOut);
}

template <uint32_t N> bool AreBelow(const ModelVertWeight* pWeights, uint32_t nNodes)
{
    for (uint32_t i = 0; i < N; ++i)
    {
        if (pWeights[i].m_iNode >= nNodes) [[unlikely]]
            return false;
    }
    return true;
}

constexpr size_t AHEAD = 48;
constexpr uint32_t ONE = std::bit_cast<uint32_t>(1.0f);

// The vertices from pVert on that have N records each; returns the first that hasn't. Without a loop inside and
// without a call in it, it takes half the time of the above.
template <bool bAffine, uint32_t N>
const ModelVert* DeformRun(const ModelVert* pVert, const ModelVert* pEnd, Transforms transforms, char*& pOut,
                           size_t stride)
{
    char* pTo = pOut;
    for (; pVert != pEnd && pVert->m_nWeights == N; ++pVert, pTo += stride)
    {
        const ModelVertWeight* pWeights = pVert->m_Weights;
        // As a rule the records lie in the order of the vertices; both are asked for well ahead of their use.
        Prefetch(pVert, AHEAD * sizeof(ModelVert));
        Prefetch(pWeights, AHEAD * N * sizeof(ModelVertWeight));
        if (!AreBelow<N>(pWeights, transforms.m_nNodes)) [[unlikely]]
        {
            DeformVertex<bAffine>(*pVert, transforms, pTo);
            continue;
        }
        RowSums<bAffine> sums(transforms.m_pMatrices[pWeights[0].m_iNode], Float4::Load(pWeights[0].m_Vec));
        for (uint32_t i = 1; i < N; ++i)
            sums.Add({transforms.m_pMatrices[pWeights[i].m_iNode], Float4::Load(pWeights[i].m_Vec)});
        // One node alone has as a rule the share 1, by which nothing need be divided.
        const bool bWhole = bAffine && N == 1 && std::bit_cast<uint32_t>(pWeights[0].m_Vec[3]) == ONE;
        (bWhole ? Sums(sums.x, sums.y, sums.z) : sums.Position()).StoreXYZ(pTo);
    }
    pOut = pTo;
    return pVert;
}

template <bool bAffine> char* DeformMesh(const ModelPieceLOD& mesh, Transforms transforms, char* pOut, size_t stride)
{
    const ModelVert* pVert = mesh.m_Verts.GetArray();
    const ModelVert* pEnd = pVert + mesh.NumVerts();
    while (pVert != pEnd)
    {
        switch (pVert->m_nWeights)
        {
        case 1:
            pVert = DeformRun<bAffine, 1>(pVert, pEnd, transforms, pOut, stride);
            break;
        case 2:
            pVert = DeformRun<bAffine, 2>(pVert, pEnd, transforms, pOut, stride);
            break;
        case 3:
            pVert = DeformRun<bAffine, 3>(pVert, pEnd, transforms, pOut, stride);
            break;
        case 4:
            pVert = DeformRun<bAffine, 4>(pVert, pEnd, transforms, pOut, stride);
            break;
        default:
            DeformVertex<bAffine>(*pVert, transforms, pOut);
            ++pVert;
            pOut += stride;
        }
    }
    return pOut;
}
} // namespace

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
    const Transforms transforms{pTransforms, NumNodes()};
    const size_t stride = pRequest->m_VertStride;
    const bool bAffine = AreAffine(pTransforms, NumNodes());
    char* pOut = reinterpret_cast<char*>(pRequest->m_pVertOut);
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        const ModelPieceLOD* pMesh = m_Pieces[iPiece]->GetLOD(pRequest->m_iLOD);
        if (!pMesh)
            return QZFALSE;
        pOut = bAffine ? DeformMesh<true>(*pMesh, transforms, pOut, stride)
                       : DeformMesh<false>(*pMesh, transforms, pOut, stride);
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
