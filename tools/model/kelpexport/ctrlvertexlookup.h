#pragma once

#include "saa/SAA.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/qzbool.h"

// SoftNode::FindCtrlVertex for many look-ups in one list: the first handle with the same bytes, by a hash of them. The
// list must not change meanwhile.
class CtrlVertexLookup
{
public:
    // False without memory; then Find searches the list from the front.
    QZBOOL Build(const DynArray<SAA_SubHandle, DefaultCache>& handles);
    bool Find(const SAA_SubHandle& handle, uint32_t* pIndex);

private:
    const DynArray<SAA_SubHandle, DefaultCache>* m_pHandles = nullptr;
    DynArray<uint32_t, DefaultCache> m_Slots; // open addressing, a power of two; index + 1, 0 for a free slot
    uint32_t m_iNext = 0;                     // behind the one found last
    bool m_bUnique = false;                   // no two handles of the list are the same
};
