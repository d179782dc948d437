#include "zoltshared/stdzolt/safestrcopy.h"

#include <cstring>

ZOLT_BEGIN_NAMESPACE

void SafeStrCopy(char* pDest, const char* pSource, uint32_t destSize)
{
    if (destSize == 0)
        return;
    std::strncpy(pDest, pSource, destSize - 1);
    pDest[destSize - 1] = 0;
}

ZOLT_END_NAMESPACE
