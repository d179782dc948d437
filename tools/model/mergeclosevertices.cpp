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

// Numbers along the axes. Positions far out share one, so that none is beyond an integer.
struct Cell
{
    int64_t x, y, z;
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
    double m_CellsPerUnit = 1.0;
    uint32_t m_nMask = 0;
    DynArray<uint32_t, DefaultCache> m_First; // of each bucket
    DynArray<uint32_t, DefaultCache> m_Next;  // of each vertex
};

constexpr double LAST_CELL = 4e18;

// Never falls as the place rises, which is what the search relies on. A NaN is near nothing, wherever it is.
int64_t CellAt(double place, double cellsPerUnit)
{
    const double exact = place * cellsPerUnit;
    if (!(std::fabs(exact) < LAST_CELL))
        return static_cast<int64_t>(exact < 0.0 ? -LAST_CELL : LAST_CELL);
    const int64_t towardsZero = static_cast<int64_t>(exact);
    return towardsZero - (exact < static_cast<double>(towardsZero) ? 1 : 0);
}

Cell VertexGrid::CellOf(const Vector3& position) const
{
    return {CellAt(position.x, m_CellsPerUnit), CellAt(position.y, m_CellsPerUnit), CellAt(position.z, m_CellsPerUnit)};
}

uint32_t HashNumber(int64_t number, uint64_t factor)
{
    return static_cast<uint32_t>((static_cast<uint64_t>(number) * factor) >> 32);
}

// Those of the three axes are joined by exclusive or.
constexpr uint64_t FACTOR_X = 0x9E3779B97F4A7C15ull, FACTOR_Y = 0xC2B2AE3D27D4EB4Full, FACTOR_Z = 0x165667B19E3779F9ull;

// The hashes of the cells along one axis that are within reach of a place: its own, and that of the nearer neighbour.
// With both neighbours where rounding says so.
struct AxisHashes
{
    AxisHashes(double place, int64_t own, double reach, double cellsPerUnit, uint64_t factor)
    {
        m_Hashes[m_nHashes++] = HashNumber(own, factor);
        const int64_t low = CellAt(place - reach, cellsPerUnit);
        const int64_t high = CellAt(place + reach, cellsPerUnit);
        if (low != own)
            m_Hashes[m_nHashes++] = HashNumber(low, factor);
        if (high != own)
            m_Hashes[m_nHashes++] = HashNumber(high, factor);
    }

    uint32_t m_Hashes[3];
    uint32_t m_nHashes = 0;
};

uint32_t VertexGrid::BucketOf(const Cell& cell) const
{
    return (HashNumber(cell.x, FACTOR_X) ^ HashNumber(cell.y, FACTOR_Y) ^ HashNumber(cell.z, FACTOR_Z)) & m_nMask;
}

bool VertexGrid::Build(const ModelPiece& piece, double reach)
{
    m_pPiece = &piece;
    m_Reach = reach;
    m_CellsPerUnit = 1.0 / (2.0 * reach);
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
    const AxisHashes x(position.x, center.x, m_Reach, m_CellsPerUnit, FACTOR_X);
    const AxisHashes y(position.y, center.y, m_Reach, m_CellsPerUnit, FACTOR_Y);
    const AxisHashes z(position.z, center.z, m_Reach, m_CellsPerUnit, FACTOR_Z);
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
