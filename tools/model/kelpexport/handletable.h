#pragma once

#include "saa/SAA.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/qzbool.h"

// Where a handle stands in a list: the first one with the same bytes, by a hash of them. Quickest for a handle that
// stands behind the one found last. The list isn't owned and must not change meanwhile.
class HandleTable
{
public:
    // False without memory; then Find searches the list from the front.
    QZBOOL Build(const DynArray<SAA_SubHandle, DefaultCache>& handles);
    bool Find(const SAA_SubHandle& handle, uint32_t* pIndex);
    // Whether no two handles of the list are the same; false without memory.
    bool IsUnique() const { return m_bUnique; }

private:
    const DynArray<SAA_SubHandle, DefaultCache>* m_pHandles = nullptr;
    DynArray<uint32_t, DefaultCache> m_Slots; // open addressing, a power of two; index + 1, 0 for a free slot
    uint32_t m_iNext = 0;                     // behind the one found last
    bool m_bUnique = false;
};
