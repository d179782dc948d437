// The definition compares all pairs: for the lowest vertex i that has a close one, i goes into the lowest close j, and
// the search goes on at the same place. Vertices ahead of i have no close ones left, so j is always a later vertex, and
// all later vertices are still there: each vertex can be looked up by itself in a grid whose cells are twice as wide as
// the merge limit, so that all within the limit are in two of them along each axis.

#include "tools/model/mergeclosevertices.h"

#include "tools/model/convnode.h"
#include "tools/model/removevertices.h"

#include <bit>
#include <cmath>

namespace
{
constexpr float MERGE_LIMIT = 0.1f;
// The limit is tested in floats; what is looked through is wider than any rounding of that test.
constexpr double LIMIT_MARGIN = 1.001;

struct Cell
{
    double x, y, z;
};

// Vertices by cell. The vertices of a bucket form a chain in ascending order. They are taken out in that order, so that
// the chains hold only later ones.
class VertexGrid
{
public:
    // Vertices can only be close within `reach` along each axis.
    bool Build(const ModelPiece& piece, double reach);
    // Takes the lowest vertex out, which must be i. Returns the lowest later one that is close to it, or i.
    uint32_t TakeVertex(uint32_t i, float fMagScale);

private:
    Cell CellOf(const Vector3& position) const;
    uint32_t BucketOf(const Cell& cell) const;

    const ModelPiece* m_pPiece = nullptr;
    double m_Reach = 0.5;
    double m_CellSize = 1.0;
    uint32_t m_nMask = 0;
    DynArray<uint32_t, DefaultCache> m_First; // of each bucket
    DynArray<uint32_t, DefaultCache> m_Next;  // of each vertex
};

uint32_t HashDouble(double value)
{
    // + 0.0 makes one of the two zeros. The bits of small whole numbers all stand on top.
    uint64_t bits = std::bit_cast<uint64_t>(value + 0.0);
    bits ^= bits >> 32;
    return static_cast<uint32_t>((bits * 0x9E3779B97F4A7C15ull) >> 32);
}

Cell VertexGrid::CellOf(const Vector3& position) const
{
    return {std::floor(position.x / m_CellSize), std::floor(position.y / m_CellSize),
            std::floor(position.z / m_CellSize)};
}

// Those of the three axes are joined by exclusive or.
uint32_t HashX(double x)
{
    return HashDouble(x);
}

uint32_t HashY(double y)
{
    return HashDouble(y) * 31u;
}

uint32_t HashZ(double z)
{
    return HashDouble(z) * 1009u;
}

// The hashes of the cells along one axis that are within reach of a place: its own, and that of the nearer neighbour.
// With both neighbours where rounding says so.
struct AxisHashes
{
    AxisHashes(double place, double own, double reach, double cellSize, uint32_t (*pHash)(double))
    {
        m_Hashes[m_nHashes++] = pHash(own);
        const double low = std::floor((place - reach) / cellSize);
        const double high = std::floor((place + reach) / cellSize);
        if (low != own)
            m_Hashes[m_nHashes++] = pHash(low);
        if (high != own)
            m_Hashes[m_nHashes++] = pHash(high);
    }

    uint32_t m_Hashes[3];
    uint32_t m_nHashes = 0;
};

uint32_t VertexGrid::BucketOf(const Cell& cell) const
{
    return (HashX(cell.x) ^ HashY(cell.y) ^ HashZ(cell.z)) & m_nMask;
}

bool VertexGrid::Build(const ModelPiece& piece, double reach)
{
    m_pPiece = &piece;
    m_Reach = reach;
    m_CellSize = 2.0 * reach;
    const uint32_t nVerts = piece.NumVerts();
    const uint32_t nBuckets = std::bit_ceil(nVerts + 1);
    m_nMask = nBuckets - 1;
    if (!m_First.SetSizeInit(nBuckets, NO_VERTEX) || !m_Next.SetSizeInit(nVerts, NO_VERTEX))
        return false;
    for (uint32_t i = nVerts; i-- > 0;)
    {
        const uint32_t bucket = BucketOf(CellOf(piece.m_Verts[i].m_vPos));
        m_Next[i] = m_First[bucket];
        m_First[bucket] = i;
    }
    return true;
}

uint32_t VertexGrid::TakeVertex(uint32_t i, float fMagScale)
{
    const Vector3& position = m_pPiece->m_Verts[i].m_vPos;
    const Cell center = CellOf(position);
    m_First[BucketOf(center)] = m_Next[i];
    uint32_t best = NO_VERTEX;
    const AxisHashes x(position.x, center.x, m_Reach, m_CellSize, HashX);
    const AxisHashes y(position.y, center.y, m_Reach, m_CellSize, HashY);
    const AxisHashes z(position.z, center.z, m_Reach, m_CellSize, HashZ);
    for (uint32_t iX = 0; iX < x.m_nHashes; ++iX)
    {
        for (uint32_t iY = 0; iY < y.m_nHashes; ++iY)
        {
            for (uint32_t iZ = 0; iZ < z.m_nHashes; ++iZ)
            {
                const uint32_t bucket = (x.m_Hashes[iX] ^ y.m_Hashes[iY] ^ z.m_Hashes[iZ]) & m_nMask;
                for (uint32_t j = m_First[bucket]; j < best; j = m_Next[j])
                {
                    if ((position - m_pPiece->m_Verts[j].m_vPos).Mag() * fMagScale < MERGE_LIMIT)
                        best = j;
                }
            }
        }
    }
    return best == NO_VERTEX ? i : best;
}
} // namespace

QZBOOL MergeCloseVertices(Model* pModel, float fMagScale)
{
    for (uint32_t iPiece = 0; iPiece < pModel->NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = pModel->GetPiece(iPiece);
        DynArray<uint32_t, DefaultCache> targets;
        VertexGrid grid;
        if (!targets.SetSize(pPiece->NumVerts()) ||
            !grid.Build(*pPiece, MERGE_LIMIT / double(fMagScale) * LIMIT_MARGIN))
            return QZFALSE;
        for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
            targets[i] = grid.TakeVertex(i, fMagScale);
        if (!RemoveVertices(pPiece, targets.GetArray()))
            return QZFALSE;
    }
    return QZTRUE;
}
