#pragma once

#include "tools/model/kelpexport/softnode.h"
#include "zoltshared/stdzolt/qzbool.h"

// SoftNode::FindCtrlVertex for many look-ups in one mesh: the first handle with the same bytes, by their numbers or
// else by a hash of the bytes. The node's list must not change meanwhile.
class CtrlVertexLookup
{
public:
    // False without memory; then Find searches the list from the front.
    QZBOOL Build(const SoftNode& node);
    bool Find(const SAA_SubHandle& handle, uint32_t* pIndex);

private:
    const NumberedHandles* m_pNumbered = nullptr; // null for a list
    const DynArray<SAA_SubHandle, DefaultCache>* m_pHandles = nullptr;
    DynArray<uint32_t, DefaultCache> m_Slots; // open addressing, a power of two; index + 1, 0 for a free slot
    uint32_t m_iNext = 0;                     // behind the one found last
    bool m_bUnique = false;                   // no two handles of the list are the same
};
