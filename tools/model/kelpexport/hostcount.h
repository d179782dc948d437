#pragma once

#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/qzbool.h"

// A count of the host beyond this is no count: every scene that can become a model stays far below.
constexpr int HOST_MAX_COUNT = 1 << 24;

// SetSize for a count that the host gave: false for one that is negative or beyond HOST_MAX_COUNT, too.
template <class T> QZBOOL SetHostSize(DynArray<T, DefaultCache>& array, int64_t nCount)
{
    return nCount >= 0 && nCount <= HOST_MAX_COUNT && array.SetSize(static_cast<uint32_t>(nCount)) ? QZTRUE : QZFALSE;
}

// SetSizeAtLeast likewise.
template <class T> QZBOOL SetHostSizeAtLeast(DynArray<T, DefaultCache>& array, int64_t nCount)
{
    return nCount >= 0 && nCount <= HOST_MAX_COUNT && array.SetSizeAtLeast(static_cast<uint32_t>(nCount)) ? QZTRUE
                                                                                                          : QZFALSE;
}
