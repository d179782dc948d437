#include "tools/model/kelpexport/closestvertexfinder.h"

#include "tools/model/kelpexport/convmodel_soft.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// A range of this many positions or fewer isn't split any further.
static constexpr uint32_t LEAF_SIZE = 8;
// Squares of differences between values below this may vanish.
static constexpr double TINY = 1e-140;

static bool IsFinite(const double* pPos)
{
    return std::isfinite(pPos[0]) && std::isfinite(pPos[1]) && std::isfinite(pPos[2]);
}

static bool AreEqual(const double* pA, const double* pB)
{
    return pA[0] == pB[0] && pA[1] == pB[1] && pA[2] == pB[2];
}

static bool IsTiny(const double* pPos)
{
    for (int i = 0; i < 3; ++i)
    {
        if (pPos[i] != 0.0 && std::fabs(pPos[i]) < TINY)
            return true;
    }
    return false;
}

static uint32_t HashPosition(const double* pPos)
{
    uint64_t hash = 0;
    for (int i = 0; i < 3; ++i)
    {
        const double value = pPos[i] + 0.0; // one zero, not two
        uint64_t bits;
        std::memcpy(&bits, &value, sizeof(bits));
        hash = (hash ^ bits) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 32;
    }
    return static_cast<uint32_t>(hash);
}

// The place of the position in the table: that of its entry, or the free one where it would go.
uint32_t ClosestVertexFinder::FindPlace(const double* pPos) const
{
    const uint32_t mask = m_Slots.GetSize() - 1;
    uint32_t place = HashPosition(pPos) & mask;
    for (; m_Slots[place] != 0; place = (place + 1) & mask)
    {
        const double* pOther = m_pPositions->Get(m_Slots[place] - 1).v;
        if (AreEqual(pOther, pPos))
            break;
    }
    return place;
}

QZBOOL ClosestVertexFinder::Build(const DynArray<SAA_Position, DefaultCache>& positions)
{
    m_pPositions = &positions;
    m_bTiny = false;
    m_bHasTree = false;
    m_Slots.Term();
    m_FirstEqual.Term();
    m_Order.Term();
    m_Axes.Term();
    const uint32_t nPositions = positions.GetSize();
    uint32_t nSlots = 16;
    while (nSlots < nPositions * uint64_t(2))
        nSlots *= 2;
    if (!m_FirstEqual.SetSize(nPositions) || !m_Slots.SetSizeInit(nSlots, 0))
        return QZFALSE;
    for (uint32_t i = 0; i < nPositions; ++i)
    {
        if (!IsFinite(positions[i].v))
            continue; // never near anything
        m_bTiny = m_bTiny || IsTiny(positions[i].v);
        uint32_t& slot = m_Slots[FindPlace(positions[i].v)];
        if (slot == 0) // a later one is never nearer than the one before
            slot = i + 1;
        m_FirstEqual[i] = slot - 1;
    }
    return QZTRUE;
}

// False without memory.
QZBOOL ClosestVertexFinder::BuildTree()
{
    const uint32_t nPositions = m_pPositions->GetSize();
    m_bHasTree = m_Order.SetSize(nPositions) && m_Axes.SetSizeInit(nPositions, 0);
    uint32_t nOrdered = 0;
    for (uint32_t i = 0; m_bHasTree && i < nPositions; ++i)
    {
        const double* pPos = m_pPositions->Get(i).v;
        if (IsFinite(pPos) && m_Slots[FindPlace(pPos)] == i + 1)
            m_Order[nOrdered++] = i;
    }
    if (!m_bHasTree)
        return QZFALSE;
    m_Order.NiceSetSize(nOrdered);
    SplitRange(0, nOrdered);
    return QZTRUE;
}

// Splits the range at its middle, along the axis in which it extends furthest.
void ClosestVertexFinder::SplitRange(uint32_t iBegin, uint32_t iEnd)
{
    if (iEnd - iBegin <= LEAF_SIZE)
        return;
    const SAA_Position* pPositions = m_pPositions->GetArray();
    uint8_t axis = 0;
    double widest = -1.0;
    for (uint8_t i = 0; i < 3; ++i)
    {
        double low = pPositions[m_Order[iBegin]].v[i];
        double high = low;
        for (uint32_t k = iBegin + 1; k < iEnd; ++k)
        {
            low = std::min(low, pPositions[m_Order[k]].v[i]);
            high = std::max(high, pPositions[m_Order[k]].v[i]);
        }
        if (high - low > widest)
        {
            widest = high - low;
            axis = i;
        }
    }
    const uint32_t iMiddle = iBegin + (iEnd - iBegin) / 2;
    uint32_t* pOrder = m_Order.GetArray();
    std::nth_element(pOrder + iBegin, pOrder + iMiddle, pOrder + iEnd,
                     [pPositions, axis](uint32_t a, uint32_t b)
                     { return pPositions[a].v[axis] < pPositions[b].v[axis]; });
    m_Axes[iMiddle] = axis;
    SplitRange(iBegin, iMiddle);
    SplitRange(iMiddle + 1, iEnd);
}

void ClosestVertexFinder::Search(const double* pPos, uint32_t iBegin, uint32_t iEnd, Best& best) const
{
    const auto consider = [&](uint32_t index)
    {
        const double distance = ConvModel_Soft::SquaredDistance(pPos, m_pPositions->Get(index).v);
        if (distance < best.m_Distance || (distance == best.m_Distance && index < best.m_Index))
            best = {index, distance};
    };
    if (iEnd - iBegin <= LEAF_SIZE)
    {
        for (uint32_t i = iBegin; i < iEnd; ++i)
            consider(m_Order[i]);
        return;
    }
    const uint32_t iMiddle = iBegin + (iEnd - iBegin) / 2;
    const int axis = m_Axes[iMiddle];
    const double difference = pPos[axis] - m_pPositions->Get(m_Order[iMiddle]).v[axis];
    consider(m_Order[iMiddle]);
    const bool bLow = difference < 0.0;
    if (bLow)
        Search(pPos, iBegin, iMiddle, best);
    else
        Search(pPos, iMiddle + 1, iEnd, best);
    // Rounding keeps the order of sums and differences, so that nothing behind the plane is nearer than the plane. An
    // equal distance may still have a lower index.
    if (difference * difference > best.m_Distance)
        return;
    if (bLow)
        Search(pPos, iMiddle + 1, iEnd, best);
    else
        Search(pPos, iBegin, iMiddle, best);
}

uint32_t ClosestVertexFinder::Find(const double* pPos, uint32_t iGuess)
{
    if (m_Slots.GetSize() == 0)
        return ConvModel_Soft::FindClosestVertex(pPos, *m_pPositions);
    if (!IsFinite(pPos))
        return 0;
    if (!m_bTiny && !IsTiny(pPos))
    {
        if (iGuess < m_FirstEqual.GetSize() && AreEqual(pPos, m_pPositions->GetArray()[iGuess].v))
            return m_FirstEqual[iGuess];
        const uint32_t slot = m_Slots[FindPlace(pPos)];
        if (slot != 0)
            return slot - 1;
    }
    if (!m_bHasTree && !BuildTree())
        return ConvModel_Soft::FindClosestVertex(pPos, *m_pPositions);
    Best best = {0, ConvModel_Soft::CLOSEST_LIMIT};
    Search(pPos, 0, m_Order.GetSize(), best);
    return best.m_Index;
}
