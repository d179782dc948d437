#pragma once

#include "saa/SAA.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

// ConvModel_Soft::FindClosestVertex for many questions about one list of positions, with exactly its results: the
// strictly nearest, of several the lowest index, and index 0 if none has a squared distance below 1000000.0. A position
// that is in the list is found by its hash, any other by a k-d tree, which is built when the first one comes. The list
// must not change meanwhile.
class ClosestVertexFinder
{
public:
    // False without memory; then Find searches the list from the front.
    QZBOOL Build(const DynArray<SAA_Position, DefaultCache>& positions);
    // pPos is x, y, z. It is found soonest if it is at iGuess in the list: many lists of questions are like the list.
    uint32_t Find(const double* pPos, uint32_t iGuess);

private:
    struct Best
    {
        uint32_t m_Index;
        double m_Distance; // squared
    };

    uint32_t FindPlace(const double* pPos) const;
    QZBOOL BuildTree();
    void SplitRange(uint32_t iBegin, uint32_t iEnd);
    void Search(const double* pPos, uint32_t iBegin, uint32_t iEnd, Best& best) const;

    const DynArray<SAA_Position, DefaultCache>* m_pPositions = nullptr;
    DynArray<uint32_t, DefaultCache> m_Slots;      // open addressing, a power of two; index + 1, 0 for a free slot
    DynArray<uint32_t, DefaultCache> m_FirstEqual; // for each position the first equal one; those of NaNs aren't set
    DynArray<uint32_t, DefaultCache> m_Order;      // indices of finite positions, each position once; the tree
    DynArray<uint8_t, DefaultCache> m_Axes;        // for the middle of each range of m_Order, the axis that it splits
    bool m_bHasTree = false;
    bool m_bTiny = false; // two positions may differ and still be at a squared distance of 0
};
