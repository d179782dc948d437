#pragma once

#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

class BlockAllocator;

// For what is added to a model that lives in one block, after its load: memory comes from the heap, and what is freed
// goes back to where it came from, the block or the heap.
class BlockGrowAllocator : public Allocator
{
public:
    explicit BlockGrowAllocator(BlockAllocator* pBlock) : m_pBlock(pBlock) {}
    void* Alloc(uint32_t size) override;
    void Free(void* pMemory) override;

private:
    BlockAllocator* m_pBlock;
};

ZOLT_END_NAMESPACE
