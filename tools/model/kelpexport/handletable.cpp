#include "tools/model/kelpexport/handletable.h"

#include "tools/model/kelpexport/handlewords.h"

#include <iterator>

static bool AreEqual(const SAA_SubHandle& a, const SAA_SubHandle& b)
{
    const HandleWords wordsA(a);
    const HandleWords wordsB(b);
    uint64_t difference = 0;
    for (size_t i = 0; i < std::size(wordsA.m_Words); ++i)
        difference |= wordsA.m_Words[i] ^ wordsB.m_Words[i];
    return difference == 0;
}

static uint32_t HashHandle(const SAA_SubHandle& handle)
{
    uint64_t hash = 14695981039346656037u;
    for (const uint64_t word : HandleWords(handle).m_Words)
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
    while (slots[place] != 0 && !AreEqual(handles[slots[place] - 1], handle))
        place = (place + 1) & mask;
    return place;
}

QZBOOL HandleTable::Build(const DynArray<SAA_SubHandle, DefaultCache>& handles)
{
    m_pHandles = &handles;
    m_iNext = 0;
    m_bUnique = false;
    uint32_t nSlots = 16;
    while (nSlots < handles.GetSize() * uint64_t(2))
        nSlots *= 2;
    m_Slots.Term();
    if (!m_Slots.SetSizeInit(nSlots, 0))
        return QZFALSE;
    bool bUnique = true;
    for (uint32_t i = 0; i < handles.GetSize(); ++i)
    {
        uint32_t& slot = m_Slots[FindPlace(handles[i], handles, m_Slots)];
        bUnique = bUnique && slot == 0;
        if (slot == 0)
            slot = i + 1;
    }
    m_bUnique = bUnique;
    return QZTRUE;
}

bool HandleTable::Find(const SAA_SubHandle& handle, uint32_t* pIndex)
{
    if (m_bUnique && m_iNext < m_pHandles->GetSize() && AreEqual(m_pHandles->GetArray()[m_iNext], handle))
    {
        *pIndex = m_iNext++;
        return true;
    }
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
    m_iNext = slot;
    return true;
}
