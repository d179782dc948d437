#pragma once

#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// Cuts pieces off one block. Sizes are rounded up to a multiple of 4; pieces have no headers and aren't reused, so
// that memory comes back with `Term` alone.
//
// Where pointers have 8 bytes, pieces whose rounded size is a multiple of 8 come from the front of the block, and so
// stay aligned to 8; all others come from its back, downward. Any order of requests whose rounded sizes sum up to the
// size of the block fits. Where pointers have 4 bytes every piece comes from the front.
class BlockAllocator : public Allocator
{
public:
    BlockAllocator() = default;
    ~BlockAllocator() override;
    BlockAllocator(const BlockAllocator&) = delete;
    BlockAllocator& operator=(const BlockAllocator&) = delete;

    // Gives an earlier block back and takes one of `size` bytes, rounded up to a multiple of 4, from `pDelegate`,
    // which must outlive the block. A size of 0 holds no block.
    QZBOOL Init(Allocator* pDelegate, int size);

    // Gives the block back; all pieces are gone.
    void Term();
    // Keeps the block and forgets all pieces.
    void Reset()
    {
        m_Used = 0;
        SetUsedBack(0);
    }

    void* Alloc(uint32_t size) override;

    // Does nothing for a piece of the block; memory from elsewhere goes back to `g_DefaultAllocator`.
    void Free(void* pMemory) override;

    // True if the pointer lies within the block.
    bool Contains(const void* pMemory) const;

    uint32_t GetBlockSize() const { return m_Size; }
    uint32_t GetUsed() const { return m_Used; }

private:
    Allocator* m_pDelegate = nullptr;
    char* m_pBlock = nullptr;
    uint32_t m_Used = 0; // from both ends together
    uint32_t m_Size = 0;

    // The share of m_Used that was cut from the back.
#if UINTPTR_MAX > UINT32_MAX
    uint32_t GetUsedBack() const
    {
        return m_UsedBack;
    }
    void SetUsedBack(uint32_t size)
    {
        m_UsedBack = size;
    }

    uint32_t m_UsedBack = 0;
#else
    static uint32_t GetUsedBack()
    {
        return 0;
    }
    static void SetUsedBack(uint32_t /*size*/) {}
#endif
};

ZOLT_END_NAMESPACE
