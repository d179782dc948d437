#pragma once

#include "zoltshared/stdzolt/allocator.h"

#include <cstddef>

// What the process holds through operator new, and through MeteredAllocator; the peak since the last Reset.
struct MemoryMeter
{
    size_t m_Live = 0;
    size_t m_Peak = 0;

    void Reset() { m_Peak = m_Live; }
    void Take(void* pMemory);
    void Give(void* pMemory);
};

extern MemoryMeter g_Meter;

class MeteredAllocator : public Allocator
{
public:
    void* Alloc(uint32_t size) override;
    void Free(void* pMemory) override;
};
