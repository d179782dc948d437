// The definition compares all pairs: for the lowest vertex i that has a close one, i goes into the lowest close j, and
// the search goes on at the same place. Vertices ahead of i have no close ones left, so j is always a later vertex, and
// all later vertices are still there: each vertex can be looked up by itself in a grid whose cells are as wide as the
// merge limit.

#include "tools/model/mergeclosevertices.h"

#include "tools/model/convnode.h"
#include "tools/model/removevertices.h"

#include <bit>
#include <cmath>

namespace
{
constexpr float MERGE_LIMIT = 0.1f;
// The limit is tested in floats; the cells are wider than any rounding of that test.
constexpr double CELL_MARGIN = 1.001;

struct Cell
{
    double x, y, z;
};

// Vertices by cell. The vertices of a bucket form a chain in ascending order. They are taken out in that order, so that
// the chains hold only later ones.
class VertexGrid
{
public:
    bool Build(const ModelPiece& piece, double cellSize);
    // Takes the lowest vertex out, which must be i. Returns the lowest later one that is close to it, or i.
    uint32_t TakeVertex(uint32_t i, float fMagScale);

private:
    Cell CellOf(const Vector3& position) const;
    uint32_t BucketOf(const Cell& cell) const;

    const ModelPiece* m_pPiece = nullptr;
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

uint32_t VertexGrid::BucketOf(const Cell& cell) const
{
    return (HashX(cell.x) ^ HashY(cell.y) ^ HashZ(cell.z)) & m_nMask;
}

bool VertexGrid::Build(const ModelPiece& piece, double cellSize)
{
    m_pPiece = &piece;
    m_CellSize = cellSize;
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
    const uint32_t x[] = {HashX(center.x - 1), HashX(center.x), HashX(center.x + 1)};
    const uint32_t y[] = {HashY(center.y - 1), HashY(center.y), HashY(center.y + 1)};
    const uint32_t z[] = {HashZ(center.z - 1), HashZ(center.z), HashZ(center.z + 1)};
    for (const uint32_t hashX : x)
    {
        for (const uint32_t hashY : y)
        {
            for (const uint32_t hashZ : z)
            {
                for (uint32_t j = m_First[(hashX ^ hashY ^ hashZ) & m_nMask]; j < best; j = m_Next[j])
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
        if (!targets.SetSize(pPiece->NumVerts()) || !grid.Build(*pPiece, MERGE_LIMIT / double(fMagScale) * CELL_MARGIN))
            return QZFALSE;
        for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
            targets[i] = grid.TakeVertex(i, fMagScale);
        if (!RemoveVertices(pPiece, targets.GetArray()))
            return QZFALSE;
    }
    return QZTRUE;
}
