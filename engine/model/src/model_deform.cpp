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

template <uint32_t N> bool AreBelow(const ModelVertWeight* pWeights, uint32_t nNodes)
{
    for (uint32_t i = 0; i < N; ++i)
    {
        if (pWeights[i].m_iNode >= nNodes) [[unlikely]]
            return false;
    }
    return true;
}

// How far ahead memory is asked for: vertices, and bytes of the output.
constexpr size_t AHEAD = 96;
constexpr size_t OUT_AHEAD = 1024;
constexpr uint32_t ONE = std::bit_cast<uint32_t>(1.0f);

// What the records of vertices are summed through, and where the positions go.
struct Deformer
{
    const Matrix4* m_pMatrices;
    uint32_t m_nNodes;
    char* m_pOut;
    size_t m_Stride;
};

// A vertex of any number of records; those of nodes that aren't there are reported and left out.
template <bool bAffine>
[[gnu::noinline]] void DeformVertex(const ModelVertWeight* pWeights, uint32_t nWeights, const Matrix4* pMatrices,
                                    uint32_t nNodes, char* pOut)
{
    RowSums<bAffine> sums(Matrix4(), Float4(0.0f));
    for (const ModelVertWeight* pEnd = pWeights + nWeights; pWeights != pEnd; ++pWeights)
    {
        if (ZOLT_ASSERT(pWeights->m_iNode < nNodes, "pWeight->m_iNode < NumNodes()"))
            sums.Add({pMatrices[pWeights->m_iNode], Float4::Load(pWeights->m_Vec)});
    }
    sums.Position().StoreXYZ(pOut);
}

// A vertex of N records. Without a loop inside and without a call in it, it takes half the time of the above.
template <bool bAffine, uint32_t N>
inline void DeformVertex(const ModelVertWeight* pWeights, const Matrix4* pMatrices, uint32_t nNodes, char* pOut)
{
    if (!AreBelow<N>(pWeights, nNodes)) [[unlikely]]
        return DeformVertex<bAffine>(pWeights, N, pMatrices, nNodes, pOut);
    RowSums<bAffine> sums(pMatrices[pWeights[0].m_iNode], Float4::Load(pWeights[0].m_Vec));
    for (uint32_t i = 1; i < N; ++i)
        sums.Add({pMatrices[pWeights[i].m_iNode], Float4::Load(pWeights[i].m_Vec)});
    // One node alone has as a rule the share 1, by which nothing need be divided.
    const bool bWhole = bAffine && N == 1 && std::bit_cast<uint32_t>(pWeights[0].m_Vec[3]) == ONE;
    (bWhole ? Sums(sums.x, sums.y, sums.z) : sums.Position()).StoreXYZ(pOut);
}

// The vertices from pVert on that have N records each; returns the first that hasn't.
template <bool bAffine, uint32_t N>
const ModelVert* DeformRun(const ModelVert* pVert, const ModelVert* pEnd, Deformer& deformer)
{
    const Deformer d = deformer;
    char* pOut = d.m_pOut;
    for (; pVert != pEnd && pVert->m_nWeights == N; ++pVert, pOut += d.m_Stride)
    {
        const ModelVertWeight* pWeights = pVert->m_Weights;
        // As a rule the records lie in the order of the vertices; all is asked for well ahead of its use.
        Prefetch(pVert, AHEAD * sizeof(ModelVert));
        Prefetch(pWeights, AHEAD * N * sizeof(ModelVertWeight));
        Prefetch(pOut, OUT_AHEAD);
        DeformVertex<bAffine, N>(pWeights, d.m_pMatrices, d.m_nNodes, pOut);
    }
    deformer.m_pOut = pOut;
    return pVert;
}

// Vertices of N records each, which lie one behind the other.
template <bool bAffine, uint32_t N> void DeformRow(const ModelVertWeight* pWeights, uint32_t nVerts, Deformer& deformer)
{
    const Deformer d = deformer;
    char* pOut = d.m_pOut;
    const auto deform = [&]
    {
        DeformVertex<bAffine, N>(pWeights, d.m_pMatrices, d.m_nNodes, pOut);
        pWeights += N;
        pOut += d.m_Stride;
    };
    // A request for memory costs as much as a read of it; four vertices share one for each cache line.
    for (; nVerts >= 4; nVerts -= 4)
    {
        for (size_t i = 0; i < size_t{4} * N * sizeof(ModelVertWeight); i += 64)
            Prefetch(pWeights, AHEAD * N * sizeof(ModelVertWeight) + i);
        Prefetch(pOut, OUT_AHEAD);
        for (int i = 0; i < 4; ++i)
            deform();
    }
    while (nVerts-- != 0)
        deform();
    deformer.m_pOut = pOut;
}

// Whether the records of the whole model allow DeformRow. What the ends of the mesh can show of a change that no
// Precalc has seen is looked at as well.
bool IsRow(const ModelPieceLOD& mesh, uint32_t nEach)
{
    const uint32_t iLast = mesh.NumVerts() - 1;
    const ModelVert* pVerts = mesh.m_Verts.GetArray();
    return nEach != 0 && mesh.NumVerts() != 0 && pVerts[0].m_nWeights == nEach && pVerts[iLast].m_nWeights == nEach &&
           pVerts[iLast].m_Weights == pVerts[0].m_Weights + size_t(nEach) * iLast;
}

template <bool bAffine> void DeformMesh(const ModelPieceLOD& mesh, uint32_t nEach, Deformer& deformer)
{
    const ModelVert* pVert = mesh.m_Verts.GetArray();
    const ModelVert* pEnd = pVert + mesh.NumVerts();
    if (IsRow(mesh, nEach))
    {
        switch (nEach)
        {
        case 1:
            return DeformRow<bAffine, 1>(pVert->m_Weights, mesh.NumVerts(), deformer);
        case 2:
            return DeformRow<bAffine, 2>(pVert->m_Weights, mesh.NumVerts(), deformer);
        case 3:
            return DeformRow<bAffine, 3>(pVert->m_Weights, mesh.NumVerts(), deformer);
        case 4:
            return DeformRow<bAffine, 4>(pVert->m_Weights, mesh.NumVerts(), deformer);
        default:
            break;
        }
    }
    while (pVert != pEnd)
    {
        switch (pVert->m_nWeights)
        {
        case 1:
            pVert = DeformRun<bAffine, 1>(pVert, pEnd, deformer);
            break;
        case 2:
            pVert = DeformRun<bAffine, 2>(pVert, pEnd, deformer);
            break;
        case 3:
            pVert = DeformRun<bAffine, 3>(pVert, pEnd, deformer);
            break;
        case 4:
            pVert = DeformRun<bAffine, 4>(pVert, pEnd, deformer);
            break;
        default:
            DeformVertex<bAffine>(pVert->m_Weights, pVert->m_nWeights, deformer.m_pMatrices, deformer.m_nNodes,
                                  deformer.m_pOut);
            ++pVert;
            deformer.m_pOut += deformer.m_Stride;
        }
    }
}
} // namespace

ZOLT_KERNEL static void DeformMesh(const ModelPieceLOD& mesh, uint32_t nEach, bool bAffine, Deformer& deformer)
{
    if (bAffine)
        DeformMesh<true>(mesh, nEach, deformer);
    else
        DeformMesh<false>(mesh, nEach, deformer);
}

uint32_t Model::CalcEqualWeights() const
{
    uint32_t nEach = 0;
    const ModelVertWeight* pNext = nullptr;
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        for (uint32_t iLOD = 0; iLOD < m_Pieces[iPiece]->NumLODs(); ++iLOD)
        {
            const ModelPieceLOD* pMesh = m_Pieces[iPiece]->GetLOD(iLOD);
            for (uint32_t i = 0; i < pMesh->NumVerts(); ++i)
            {
                const ModelVert& vert = pMesh->m_Verts[i];
                if (nEach == 0)
                    nEach = vert.m_nWeights;
                if (nEach == 0 || vert.m_nWeights != nEach || (i != 0 && vert.m_Weights != pNext))
                    return 0;
                pNext = vert.m_Weights + nEach;
            }
        }
    }
    return nEach;
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
    Deformer deformer{pTransforms, NumNodes(), reinterpret_cast<char*>(pRequest->m_pVertOut), pRequest->m_VertStride};
    const bool bAffine = AreAffine(pTransforms, NumNodes());
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        const ModelPieceLOD* pMesh = m_Pieces[iPiece]->GetLOD(pRequest->m_iLOD);
        if (!pMesh)
            return QZFALSE;
        DeformMesh(*pMesh, m_nEqualWeights, bAffine, deformer);
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
