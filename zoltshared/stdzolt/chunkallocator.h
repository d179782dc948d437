#pragma once

#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// Cuts pieces off large chunks of another allocator, for many objects that all go at the same time: a piece has no
// header, and Free does nothing. Pieces are aligned to 8; what is large gets a chunk to itself.
class ChunkAllocator : public Allocator
{
public:
    // The delegate isn't owned and must outlive this allocator.
    explicit ChunkAllocator(Allocator* pDelegate) : m_pDelegate(pDelegate) {}
    ~ChunkAllocator() override;
    ChunkAllocator(const ChunkAllocator&) = delete;
    ChunkAllocator& operator=(const ChunkAllocator&) = delete;

    void* Alloc(uint32_t size) override;
    void Free(void* pMemory) override;

private:
    static constexpr uint32_t CHUNK_SIZE = 65536;
    static constexpr uint32_t MAX_PIECE = CHUNK_SIZE / 8; // larger ones get a chunk

    struct Chunk
    {
        Chunk* pBefore;
    };
    static_assert(sizeof(Chunk) <= 8);
    static constexpr uint32_t HEADER = 8;

    char* AddChunk(uint32_t size);

    Allocator* m_pDelegate;
    Chunk* m_pLast = nullptr;
    char* m_pNext = nullptr; // the free rest of a chunk
    char* m_pEnd = nullptr;
};

ZOLT_END_NAMESPACE
