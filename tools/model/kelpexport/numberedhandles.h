#pragma once

#include "tools/model/kelpexport/handlewords.h"
#include "zoltshared/stdzolt/dynarray.h"

#include <cstdint>
#include <cstring>
#include <iterator>

// The handles of a mesh's parts as most hosts number them: all bytes the same, but for four that are a number, which
// counts up. Of such a list the first handle says it all.
class NumberedHandles
{
public:
    // False, and empty, for a list that isn't so.
    bool Build(const DynArray<SAA_SubHandle, DefaultCache>& handles);
    uint32_t GetSize() const { return m_nHandles; }

    bool Find(const SAA_SubHandle& handle, uint32_t* pIndex) const
    {
        const HandleWords words(handle);
        uint64_t difference = 0;
        for (size_t i = 0; i < std::size(words.m_Words); ++i)
            difference |= (words.m_Words[i] ^ m_First.m_Words[i]) & m_Same.m_Words[i];
        const uint32_t index = NumberAt(handle, m_Place) - m_FirstNumber;
        if (difference != 0 || index >= m_nHandles)
            return false;
        *pIndex = index;
        return true;
    }

private:
    static uint32_t NumberAt(const SAA_SubHandle& handle, uint32_t place)
    {
        uint32_t number = 0;
        std::memcpy(&number, handle.bytes + place, sizeof(number));
        return number;
    }

    uint32_t m_nHandles = 0;
    uint32_t m_Place = 0; // of the number in the bytes
    uint32_t m_FirstNumber = 0;
    HandleWords m_First;
    HandleWords m_Same; // a bit is set where all handles have that of the first
};
