#include "zoltshared/stdzolt/blockallocator.h"

#include <cstddef>

#pragma GCC diagnostic ignored "-Winvalid-offsetof" // its base has no virtual base

ZOLT_BEGIN_NAMESPACE

static constexpr bool WIDE_POINTERS = sizeof(void*) > 4;

static uint64_t RoundUp(uint64_t size)
{
    return (size + 3) & ~uint64_t(3);
}

BlockAllocator::~BlockAllocator()
{
    Term();
}

QZBOOL BlockAllocator::Init(Allocator* pDelegate, int size)
{
    Term();
    if (size < 0)
        return QZFALSE;
    const uint32_t rounded = static_cast<uint32_t>(RoundUp(static_cast<uint32_t>(size)));
    if (rounded != 0)
    {
        m_pBlock = static_cast<char*>(pDelegate->Alloc(rounded));
        if (!m_pBlock)
            return QZFALSE;
    }
    m_pDelegate = pDelegate;
    m_Size = rounded;
    return QZTRUE;
}

void BlockAllocator::Term()
{
    if (m_pDelegate)
        m_pDelegate->Free(m_pBlock);
    m_pDelegate = nullptr;
    m_pBlock = nullptr;
    m_Size = 0;
    Reset();
}

void* BlockAllocator::Alloc(uint32_t size)
{
    constexpr size_t word = sizeof(void*);
    static_assert(offsetof(BlockAllocator, m_pDelegate) == word && offsetof(BlockAllocator, m_pBlock) == 2 * word);
    static_assert(offsetof(BlockAllocator, m_Used) == 3 * word && offsetof(BlockAllocator, m_Size) == 3 * word + 4);
    if (size == 0)
        return nullptr;
    const uint64_t rounded = RoundUp(size);
    if (m_Used + rounded > m_Size)
        return nullptr;
    char* pPiece = m_pBlock + (m_Used - GetUsedBack());
    if (WIDE_POINTERS && rounded % 8 != 0)
    {
        SetUsedBack(GetUsedBack() + static_cast<uint32_t>(rounded));
        pPiece = m_pBlock + (m_Size - GetUsedBack());
    }
    m_Used += static_cast<uint32_t>(rounded);
    return pPiece;
}

void BlockAllocator::Free(void* pMemory)
{
    if (pMemory && !Contains(pMemory))
        g_DefaultAllocator.Free(pMemory);
}

bool BlockAllocator::Contains(const void* pMemory) const
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(pMemory);
    const uintptr_t start = reinterpret_cast<uintptr_t>(m_pBlock);
    return address >= start && address - start < m_Size;
}

ZOLT_END_NAMESPACE
