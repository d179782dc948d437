#include "zoltshared/stdzolt/countingallocator.h"

ZOLT_BEGIN_NAMESPACE

void* CountingAllocator::Alloc(uint32_t size)
{
    if (size == 0)
        return nullptr;
    void* pMemory = m_pDelegate->Alloc(size);
    if (pMemory)
    {
        m_nTotalAllocations++;
        m_nCurrentAllocations++;
        m_TotalMemoryAllocated += size;
    }
    else
        m_nAllocationFailures++;
    return pMemory;
}

void CountingAllocator::Free(void* pMemory)
{
    if (!pMemory)
        return;
    m_pDelegate->Free(pMemory);
    m_nCurrentAllocations--;
    m_nTotalFrees++;
}

ZOLT_END_NAMESPACE
