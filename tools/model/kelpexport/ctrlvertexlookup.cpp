#include "tools/model/kelpexport/ctrlvertexlookup.h"

#include <cstring>

// Four bytes at a time.
static uint32_t HashHandle(const SAA_SubHandle& handle)
{
    uint32_t words[sizeof(handle.bytes) / sizeof(uint32_t)];
    static_assert(sizeof(words) == sizeof(handle.bytes));
    std::memcpy(words, handle.bytes, sizeof(words));
    uint64_t hash = 14695981039346656037u;
    for (const uint32_t word : words)
    {
        hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 32;
    }
    return static_cast<uint32_t>(hash);
}

// The place of the handle in the table: that of its entry, or the free one where it would go.
static uint32_t FindPlace(const SAA_SubHandle& handle, const DynArray<SAA_SubHandle, DefaultCache>& handles,
                          const DynArray<uint32_t, DefaultCache>& slots)
{
    const uint32_t mask = slots.GetSize() - 1;
    uint32_t place = HashHandle(handle) & mask;
    while (slots[place] != 0 && std::memcmp(&handles[slots[place] - 1], &handle, sizeof(handle)) != 0)
        place = (place + 1) & mask;
    return place;
}

QZBOOL CtrlVertexLookup::Build(const DynArray<SAA_SubHandle, DefaultCache>& handles)
{
    m_pHandles = &handles;
    uint32_t nSlots = 16;
    while (nSlots < handles.GetSize() * uint64_t(2))
        nSlots *= 2;
    m_Slots.Term();
    if (!m_Slots.SetSizeInit(nSlots, 0))
        return QZFALSE;
    for (uint32_t i = 0; i < handles.GetSize(); ++i)
    {
        uint32_t& slot = m_Slots[FindPlace(handles[i], handles, m_Slots)];
        if (slot == 0)
            slot = i + 1;
    }
    return QZTRUE;
}

bool CtrlVertexLookup::Find(const SAA_SubHandle& handle, uint32_t* pIndex) const
{
    if (m_Slots.GetSize() == 0)
    {
        const int index = FindBlock(&handle, m_pHandles->GetArray(), m_pHandles->GetSize(), sizeof(handle));
        if (index < 0)
            return false;
        *pIndex = static_cast<uint32_t>(index);
        return true;
    }
    const uint32_t slot = m_Slots[FindPlace(handle, *m_pHandles, m_Slots)];
    if (slot == 0)
        return false;
    *pIndex = slot - 1;
    return true;
}
