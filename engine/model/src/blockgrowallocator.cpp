#include "engine/model/src/blockgrowallocator.h"

#include "zoltshared/stdzolt/blockallocator.h"

ZOLT_BEGIN_NAMESPACE

void* BlockGrowAllocator::Alloc(uint32_t size)
{
    return g_DefaultAllocator.Alloc(size);
}

void BlockGrowAllocator::Free(void* pMemory)
{
    m_pBlock->Free(pMemory);
}

ZOLT_END_NAMESPACE
