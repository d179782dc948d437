// Vertex positions from animation positions.
//
// A matrix is multiplied row by row with a record as it lies, and the products of a vertex's records are added up
// element by element; only once a vertex the four elements of each row are added. So no record costs a shuffle, and
// nothing is made of the matrices or kept of the records. Where all vertices of a model have equally many records, one
// behind the other, AVX does four vertices at once with two rows to a register, or eight that a single node moves as
// one piece. That is about what the memory gives: 20 bytes a record. Every way does the same operations in the same
// order, or leaves out what changes nothing, so all give the same bits.

#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/float4.h"
#include "zoltshared/stdzolt/float8.h"
#include "zoltshared/stdzolt/runkernel.h"

#include <cstddef>
#include <iterator>

ZOLT_BEGIN_NAMESPACE

namespace
{
// The four rows' sums of their products with a vertex's records.
struct RowSums
{
    Float4 x, y, z, w;

    RowSums(const Matrix4& matrix, Float4 v)
        : x(Float4::Load(matrix.m) * v), y(Float4::Load(matrix.m + 4) * v), z(Float4::Load(matrix.m + 8) * v),
          w(Float4::Load(matrix.m + 12) * v)
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
        const Float4 zero(0.0f), sums = Sums(x, y, z, w), shares = sums.Splat<3>();
        return Select(shares == zero, zero, sums / shares);
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

// How far ahead memory is asked for, in bytes: of what is read, and of the output.
constexpr size_t AHEAD = 4096;
constexpr size_t OUT_AHEAD = 512;

// What the records of vertices are summed through, and where the positions go.
struct Deformer
{
    const Matrix4* m_pMatrices;
    uint32_t m_nNodes;
    char* m_pOut;
    size_t m_Stride;

    bool IsPacked() const { return m_Stride == 3 * sizeof(float); }
};

// A vertex of any number of records; those of nodes that aren't there are reported and left out.
[[gnu::noinline]] void DeformVertex(const ModelVertWeight* pWeights, uint32_t nWeights, const Matrix4* pMatrices,
                                    uint32_t nNodes, char* pOut)
{
    RowSums sums(Matrix4(), Float4(0.0f));
    for (const ModelVertWeight* pEnd = pWeights + nWeights; pWeights != pEnd; ++pWeights)
    {
        if (ZOLT_ASSERT(pWeights->m_iNode < nNodes, "pWeight->m_iNode < NumNodes()"))
            sums.Add({pMatrices[pWeights->m_iNode], Float4::Load(pWeights->m_Vec)});
    }
    sums.Position().StoreXYZ(pOut);
}

// A vertex of N records. Without a loop inside and without a call in it, it takes half the time of the above.
template <uint32_t N>
inline void DeformVertex(const ModelVertWeight* pWeights, const Matrix4* pMatrices, uint32_t nNodes, char* pOut)
{
    if (!AreBelow<N>(pWeights, nNodes)) [[unlikely]]
        return DeformVertex(pWeights, N, pMatrices, nNodes, pOut);
    RowSums sums(pMatrices[pWeights[0].m_iNode], Float4::Load(pWeights[0].m_Vec));
    for (uint32_t i = 1; i < N; ++i)
        sums.Add({pMatrices[pWeights[i].m_iNode], Float4::Load(pWeights[i].m_Vec)});
    sums.Position().StoreXYZ(pOut);
}

// The vertices from pVert on that have N records each; returns the first that hasn't.
template <uint32_t N> const ModelVert* DeformRun(const ModelVert* pVert, const ModelVert* pEnd, Deformer& deformer)
{
    const Deformer d = deformer;
    char* pOut = d.m_pOut;
    for (; pVert != pEnd && pVert->m_nWeights == N; ++pVert, pOut += d.m_Stride)
    {
        const ModelVertWeight* pWeights = pVert->m_Weights;
        // As a rule the records lie in the order of the vertices; all is asked for well ahead of its use.
        Prefetch(pVert, AHEAD);
        Prefetch(pWeights, AHEAD);
        Prefetch(pOut, OUT_AHEAD);
        DeformVertex<N>(pWeights, d.m_pMatrices, d.m_nNodes, pOut);
    }
    deformer.m_pOut = pOut;
    return pVert;
}

#if ZOLT_HAS_AVX_KERNELS
// One that may overrun writes a float more than a position, where another position is written later on.
ZOLT_AVX inline void StorePosition(Float4 position, char* pOut, bool bMayOverrun)
{
    if (bMayOverrun)
        position.Store(reinterpret_cast<float*>(pOut));
    else
        position.StoreXYZ(pOut);
}

// A single record's share is 1 as a rule, and a division by 1, which is slow, changes nothing.
template <uint32_t N> ZOLT_AVX inline bool NeedDivision(Float8 shares)
{
    return N > 1 || BitsOfUnequal(shares, Float8(1.0f)) != 0;
}

// Four vertices of N records each that lie one behind the other, with the same operations as above: the rows x and y of
// a vertex share a register, z and w another, and the four are added up and divided together.
template <uint32_t N>
ZOLT_AVX inline void DeformFour(const ModelVertWeight* pWeights, const Deformer& d, char* pOut, bool bMayOverrun)
{
    __m256 halves[4]; // x0 + x2, z0 + z2, x1 + x3, z1 + z3; the same of y and w
    for (uint32_t iVert = 0; iVert < 4; ++iVert)
    {
        __m256 xy, zw;
        for (uint32_t i = 0; i < N; ++i)
        {
            const ModelVertWeight& record = pWeights[iVert * N + i];
            const float* pMatrix = d.m_pMatrices[record.m_iNode].m;
            const __m256 v = _mm256_broadcast_ps(reinterpret_cast<const __m128*>(record.m_Vec));
            const __m256 xyProducts = _mm256_mul_ps(_mm256_loadu_ps(pMatrix), v);
            const __m256 zwProducts = _mm256_mul_ps(_mm256_loadu_ps(pMatrix + 8), v);
            xy = i == 0 ? xyProducts : _mm256_add_ps(xy, xyProducts);
            zw = i == 0 ? zwProducts : _mm256_add_ps(zw, zwProducts);
        }
        halves[iVert] = _mm256_add_ps(_mm256_unpacklo_ps(xy, zw), _mm256_unpackhi_ps(xy, zw));
    }
    __m256 sums[2]; // x, z, and of the next vertex; y, w, and of the next
    for (uint32_t i = 0; i < 2; ++i)
    {
        const __m256 a = halves[2 * i], b = halves[2 * i + 1];
        sums[i] = _mm256_add_ps(_mm256_shuffle_ps(a, b, 0x44), _mm256_shuffle_ps(a, b, 0xEE));
    }
    Float8 xz = _mm256_permute2f128_ps(sums[0], sums[1], 0x20);
    Float8 yw = _mm256_permute2f128_ps(sums[0], sums[1], 0x31);
    const Float8 shares = _mm256_permute_ps(yw.v, 0xF5);
    if (NeedDivision<N>(shares))
    {
        xz = QuotientOrZero(xz, shares);
        yw = QuotientOrZero(yw, shares);
    }
    const Float8 even = _mm256_unpacklo_ps(xz.v, yw.v), odd = _mm256_unpackhi_ps(xz.v, yw.v);
    const Float4 positions[4] = {even.Lower(), odd.Lower(), even.Upper(), odd.Upper()};
    for (uint32_t i = 0; i < 4; ++i)
        StorePosition(positions[i], pOut + i * d.m_Stride, bMayOverrun);
}

// Whether eight records are of one node.
inline bool AreOfOneNode(const ModelVertWeight* pWeights)
{
    for (uint32_t i = 1; i < 8; ++i)
    {
        if (pWeights[i].m_iNode != pWeights[0].m_iNode)
            return false;
    }
    return true;
}

// Eight vertices of one record each, all of the same node, which moves them as one rigid piece: component by component,
// with the same operations, for there is less to be shuffled.
ZOLT_AVX inline void DeformRigid(const ModelVertWeight* pWeights, const Deformer& d, char* pOut, bool bMayOverrun)
{
    const float* pMatrix = d.m_pMatrices[pWeights[0].m_iNode].m;
    Float8 v[4], out[4];
    for (uint32_t i = 0; i < 4; ++i)
        v[i] = Float8(Float4::Load(pWeights[i].m_Vec), Float4::Load(pWeights[4 + i].m_Vec));
    Transpose(v[0], v[1], v[2], v[3]);
    for (uint32_t i = 0; i < 4; ++i, pMatrix += 4)
    {
        out[i] = (Float8(pMatrix[0]) * v[0] + Float8(pMatrix[2]) * v[2]) +
                 (Float8(pMatrix[1]) * v[1] + Float8(pMatrix[3]) * v[3]);
    }
    if (NeedDivision<1>(out[3]))
    {
        for (uint32_t i = 0; i < 3; ++i)
            out[i] = QuotientOrZero(out[i], out[3]);
    }
    Transpose(out[0], out[1], out[2], out[3]);
    for (uint32_t i = 0; i < 4; ++i)
        StorePosition(out[i].Lower(), pOut + i * d.m_Stride, d.IsPacked());
    for (uint32_t i = 0; i < 4; ++i)
        StorePosition(out[i].Upper(), pOut + (4 + i) * d.m_Stride, bMayOverrun);
}

// Vertices of N records each that lie one behind the other.
template <uint32_t N> ZOLT_AVX void DeformRow(const ModelVertWeight* pWeights, uint32_t nVerts, Deformer& deformer)
{
    const Deformer d = deformer;
    char* pOut = d.m_pOut;
    while (nVerts >= 4)
    {
        const bool bRigid = N == 1 && nVerts >= 8 && AreOfOneNode(pWeights);
        const uint32_t nNow = bRigid ? 8 : 4;
        const bool bMayOverrun = d.IsPacked() && nVerts > nNow;
        for (size_t i = 0; i < size_t{nNow} * N * sizeof(ModelVertWeight); i += 64)
            Prefetch(pWeights, AHEAD + i);
        Prefetch(pOut, OUT_AHEAD);
        if (!(bRigid ? AreBelow<1>(pWeights, d.m_nNodes) : AreBelow<4 * N>(pWeights, d.m_nNodes))) [[unlikely]]
        {
            for (uint32_t i = 0; i < nNow; ++i)
                DeformVertex(pWeights + size_t{i} * N, N, d.m_pMatrices, d.m_nNodes, pOut + i * d.m_Stride);
        }
        else if (bRigid)
            DeformRigid(pWeights, d, pOut, bMayOverrun);
        else
            DeformFour<N>(pWeights, d, pOut, bMayOverrun);
        nVerts -= nNow;
        pWeights += size_t{nNow} * N;
        pOut += nNow * d.m_Stride;
    }
    for (; nVerts != 0; --nVerts, pWeights += N, pOut += d.m_Stride)
        DeformVertex(pWeights, N, d.m_pMatrices, d.m_nNodes, pOut);
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

// Whether the mesh could be done as a row.
bool DeformAsRow(const ModelPieceLOD& mesh, uint32_t nEach, Deformer& deformer)
{
    if (!HasAvx() || !IsRow(mesh, nEach))
        return false;
    static constexpr decltype(&DeformRow<1>) rows[] = {DeformRow<1>, DeformRow<2>, DeformRow<3>, DeformRow<4>};
    if (nEach > std::size(rows))
        return false;
    rows[nEach - 1](mesh.m_Verts[0].m_Weights, mesh.NumVerts(), deformer);
    return true;
}
#else
bool DeformAsRow(const ModelPieceLOD& /*mesh*/, uint32_t /*nEach*/, Deformer& /*deformer*/)
{
    return false;
}
#endif
} // namespace

static void DeformMesh(const ModelPieceLOD& mesh, Deformer& deformer)
{
    const ModelVert* pVert = mesh.m_Verts.GetArray();
    const ModelVert* pEnd = pVert + mesh.NumVerts();
    while (pVert != pEnd)
    {
        switch (pVert->m_nWeights)
        {
        case 1:
            pVert = DeformRun<1>(pVert, pEnd, deformer);
            break;
        case 2:
            pVert = DeformRun<2>(pVert, pEnd, deformer);
            break;
        case 3:
            pVert = DeformRun<3>(pVert, pEnd, deformer);
            break;
        case 4:
            pVert = DeformRun<4>(pVert, pEnd, deformer);
            break;
        default:
            DeformVertex(pVert->m_Weights, pVert->m_nWeights, deformer.m_pMatrices, deformer.m_nNodes, deformer.m_pOut);
            ++pVert;
            deformer.m_pOut += deformer.m_Stride;
        }
    }
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
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        const ModelPieceLOD* pMesh = m_Pieces[iPiece]->GetLOD(pRequest->m_iLOD);
        if (!pMesh)
            return QZFALSE;
        if (!DeformAsRow(*pMesh, m_nEqualWeights, deformer))
            RunKernel<DeformMesh>(*pMesh, deformer);
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
