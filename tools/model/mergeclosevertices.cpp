// The definition compares all pairs: for the lowest vertex i that has a close one, i goes into the lowest close j, and
// the search goes on at the same place. Vertices ahead of i have no close ones left, so j is always a later vertex, and
// all later vertices are still there: each vertex can be looked up by itself, from the last one to the first, in a grid
// that holds those behind it.
//
// Most meshes have no close vertices. So the cells are wide at first, which leaves many vertices a look at their own
// cell alone; where too many vertices share one, the search begins anew with narrower ones. At the narrowest all within
// the limit are in two cells along each axis.

#include "tools/model/mergeclosevertices.h"

#include "tools/model/convnode.h"
#include "tools/model/removevertices.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>

namespace
{
constexpr float MERGE_LIMIT = 0.1f;
// The limit is tested in floats; what is looked through is wider than any rounding of that test.
constexpr double LIMIT_MARGIN = 1.001;

// Widths of the cells in turn, in limits. All but the last are given up after so many comparisons for each vertex.
constexpr double CELL_WIDTHS[] = {16.0, 4.0, 2.0};
constexpr uint64_t MAX_COMPARISONS = 12;

// Places far out share a cell, so that no number of one is beyond an integer.
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

uint32_t HashNumber(int64_t number, uint64_t factor)
{
    return static_cast<uint32_t>((static_cast<uint64_t>(number) * factor) >> 32);
}

// Those of the three axes are joined by exclusive or.
constexpr uint64_t FACTOR_X = 0x9E3779B97F4A7C15ull, FACTOR_Y = 0xC2B2AE3D27D4EB4Full, FACTOR_Z = 0x165667B19E3779F9ull;

// The cells along one axis, of one width.
class Axis
{
public:
    Axis(double reach, double cellWidth, uint64_t factor)
        : m_Reach(reach), m_CellsPerUnit(1.0 / (cellWidth * reach)), m_Inner(1.0 / cellWidth + ROUNDING),
          m_Factor(factor)
    {
    }

    // The hashes of the cells that are within reach of a place, its own first. Their number.
    uint32_t HashesAround(double place, uint32_t (&hashes)[3]) const
    {
        const int64_t own = CellAt(place, m_CellsPerUnit);
        hashes[0] = HashNumber(own, m_Factor);
        const double exact = place * m_CellsPerUnit;
        const double inCell = exact - static_cast<double>(own);
        if (inCell > m_Inner && inCell < 1.0 - m_Inner && std::fabs(exact) < ROUNDED_WELL) [[likely]]
            return 1;
        uint32_t nHashes = 1;
        const int64_t low = CellAt(place - m_Reach, m_CellsPerUnit);
        const int64_t high = CellAt(place + m_Reach, m_CellsPerUnit);
        if (low != own)
            hashes[nHashes++] = HashNumber(low, m_Factor);
        if (high != own)
            hashes[nHashes++] = HashNumber(high, m_Factor);
        return nHashes;
    }

private:
    // Below this many cells a place in its cell is off by less than that.
    static constexpr double ROUNDED_WELL = 1e9;
    static constexpr double ROUNDING = 1e-6;

    double m_Reach;
    double m_CellsPerUnit;
    double m_Inner; // so far from the border of a cell no other cell is within reach
    uint64_t m_Factor;
};

// Vertices by the hashes of their cells: those of a bucket form a chain in ascending order.
class VertexGrid
{
public:
    // Vertices can only be close within `reach` along each axis.
    VertexGrid(float fMagScale, double reach)
        : m_fMagScale(fMagScale), m_Reach(reach), m_fReach(static_cast<float>(reach))
    {
    }

    // Goes on with this piece. The memory of those before serves it, if it is enough.
    bool Begin(const ModelPiece& piece)
    {
        m_pPiece = &piece;
        const uint32_t nBuckets = std::bit_ceil(piece.NumVerts() + 1);
        m_nMask = nBuckets - 1;
        return m_First.SetSizeAtLeast(nBuckets) && m_Next.SetSizeAtLeast(piece.NumVerts());
    }

    // For each vertex the lowest later one that is close to it, or its own index. False, with the targets unset, once
    // there were more comparisons than that.
    bool FindTargets(double cellWidth, uint64_t nMaxComparisons, uint32_t* pTargets);

private:
    // The lowest vertex of the bucket that is close to the position, or iBest if that is lower.
    uint32_t FindClose(uint32_t bucket, const Vector3& position, uint32_t iBest);

    const ModelPiece* m_pPiece = nullptr;
    float m_fMagScale;
    double m_Reach;
    float m_fReach;
    uint32_t m_nMask = 0;
    uint64_t m_nComparisons = 0;
    DynArray<uint32_t, DefaultCache> m_First; // of each bucket
    DynArray<uint32_t, DefaultCache> m_Next;  // of each vertex in the grid
};

uint32_t VertexGrid::FindClose(uint32_t bucket, const Vector3& position, uint32_t iBest)
{
    const ModelVert* pVerts = m_pPiece->m_Verts.GetArray();
    const uint32_t* pNext = m_Next.GetArray();
    for (uint32_t j = m_First.GetArray()[bucket]; j < iBest; j = pNext[j])
    {
        ++m_nComparisons;
        const Vector3 difference = position - pVerts[j].m_vPos;
        if (std::fabs(difference.x) <= m_fReach && std::fabs(difference.y) <= m_fReach &&
            std::fabs(difference.z) <= m_fReach && difference.Mag() * m_fMagScale < MERGE_LIMIT)
            return j;
    }
    return iBest;
}

bool VertexGrid::FindTargets(double cellWidth, uint64_t nMaxComparisons, uint32_t* pTargets)
{
    const Axis x(m_Reach, cellWidth, FACTOR_X), y(m_Reach, cellWidth, FACTOR_Y), z(m_Reach, cellWidth, FACTOR_Z);
    std::fill_n(m_First.GetArray(), m_nMask + 1, NO_VERTEX);
    m_nComparisons = 0;
    for (uint32_t i = m_pPiece->NumVerts(); i-- > 0 && m_nComparisons <= nMaxComparisons;)
    {
        const Vector3& position = m_pPiece->m_Verts[i].m_vPos;
        uint32_t xHashes[3], yHashes[3], zHashes[3];
        const uint32_t nX = x.HashesAround(position.x, xHashes);
        const uint32_t nY = y.HashesAround(position.y, yHashes);
        const uint32_t nZ = z.HashesAround(position.z, zHashes);
        uint32_t iBest = NO_VERTEX;
        for (uint32_t iX = 0; iX < nX; ++iX)
        {
            for (uint32_t iY = 0; iY < nY; ++iY)
            {
                for (uint32_t iZ = 0; iZ < nZ; ++iZ)
                    iBest = FindClose((xHashes[iX] ^ yHashes[iY] ^ zHashes[iZ]) & m_nMask, position, iBest);
            }
        }
        pTargets[i] = iBest == NO_VERTEX ? i : iBest;
        uint32_t& first = m_First.GetArray()[(xHashes[0] ^ yHashes[0] ^ zHashes[0]) & m_nMask];
        m_Next.GetArray()[i] = first;
        first = i;
    }
    return m_nComparisons <= nMaxComparisons;
}
} // namespace

QZBOOL MergeCloseVertices(Model* pModel, float fMagScale)
{
    DynArray<uint32_t, DefaultCache> targets;
    VertexGrid grid(fMagScale, MERGE_LIMIT / double(fMagScale) * LIMIT_MARGIN);
    for (uint32_t iPiece = 0; iPiece < pModel->NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = pModel->GetPiece(iPiece);
        const uint32_t nVerts = pPiece->NumVerts();
        if (!targets.SetSizeAtLeast(nVerts) || !grid.Begin(*pPiece))
            return QZFALSE;
        for (const double cellWidth : CELL_WIDTHS)
        {
            const bool bLast = cellWidth == CELL_WIDTHS[std::size(CELL_WIDTHS) - 1];
            if (grid.FindTargets(cellWidth, bLast ? UINT64_MAX : MAX_COMPARISONS * nVerts, targets.GetArray()))
                break;
        }
        if (!RemoveVertices(pPiece, targets.GetArray()))
            return QZFALSE;
    }
    return QZTRUE;
}
