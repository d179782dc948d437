#include "zoltshared/stdzolt/findblock.h"

#include <cstring>

ZOLT_BEGIN_NAMESPACE

int FindBlock(const void* pKey, const void* pBase, uint32_t count, uint32_t elementSize)
{
    const char* pElement = static_cast<const char*>(pBase);
    for (uint32_t i = 0; i < count; i++, pElement += elementSize)
    {
        if (std::memcmp(pKey, pElement, elementSize) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

ZOLT_END_NAMESPACE
