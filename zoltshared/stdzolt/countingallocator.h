#pragma once

#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// Hands every request on to the allocator behind it, and counts.
class CountingAllocator : public Allocator
{
public:
    explicit CountingAllocator(Allocator* pDelegate) : m_pDelegate(pDelegate) {}

    void* Alloc(uint32_t size) override;
    void Free(void* pMemory) override;

    uint32_t m_nTotalAllocations = 0;    // Alloc calls that succeeded
    uint32_t m_nTotalFrees = 0;          // Free calls with a pointer
    uint32_t m_TotalMemoryAllocated = 0; // bytes of all successful Alloc calls; frees don't reduce it
    uint32_t m_nCurrentAllocations = 0;  // allocations not yet freed
    uint32_t m_nAllocationFailures = 0;  // Alloc calls of a non-zero size that were refused
    Allocator* m_pDelegate;
};

ZOLT_END_NAMESPACE
