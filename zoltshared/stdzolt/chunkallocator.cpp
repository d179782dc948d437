#include "zoltshared/stdzolt/chunkallocator.h"

#include <new>

ZOLT_BEGIN_NAMESPACE

ChunkAllocator::~ChunkAllocator()
{
    while (Chunk* pChunk = m_pLast)
    {
        m_pLast = pChunk->pBefore;
        m_pDelegate->Free(pChunk);
    }
}

// The memory behind the header of a new chunk.
char* ChunkAllocator::AddChunk(uint32_t size)
{
    void* pMemory = size <= UINT32_MAX - HEADER ? m_pDelegate->Alloc(HEADER + size) : nullptr;
    if (!pMemory)
        return nullptr;
    m_pLast = ::new (pMemory) Chunk{m_pLast};
    return static_cast<char*>(pMemory) + HEADER;
}

void* ChunkAllocator::Alloc(uint32_t size)
{
    if (size == 0)
        return nullptr;
    if (size > MAX_PIECE)
        return AddChunk(size);
    const uint32_t nTaken = (size + 7) & ~7u;
    if (static_cast<uint32_t>(m_pEnd - m_pNext) < nTaken)
    {
        char* pChunk = AddChunk(CHUNK_SIZE);
        if (!pChunk)
            return nullptr;
        m_pNext = pChunk;
        m_pEnd = pChunk + CHUNK_SIZE;
    }
    char* pPiece = m_pNext;
    m_pNext += nTaken;
    return pPiece;
}

void ChunkAllocator::Free(void* /*pMemory*/) {}

ZOLT_END_NAMESPACE
