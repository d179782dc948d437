#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// Where memory comes from. The base class is the plain heap. No allocator throws: lack of memory is a null result.
class Allocator
{
public:
    constexpr Allocator() = default;
    virtual ~Allocator();

    // A block of `size` bytes; null if there is no memory, or if `size` is 0.
    virtual void* Alloc(uint32_t size);

    // Gives a block back; null is allowed.
    virtual void Free(void* pMemory);
};

// The heap. Ready before any constructor of a global runs, and never destroyed.
extern Allocator& g_DefaultAllocator;

ZOLT_END_NAMESPACE
