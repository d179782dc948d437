#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class ModelStream;

// Gathers small records and writes them to a stream in large blocks, the last one when it ends. Results of writes are
// the stream's to keep, as with its own typed writes.
class BlockWriter
{
public:
    explicit BlockWriter(ModelStream* pStream) : m_pStream(pStream) {}
    ~BlockWriter() { Flush(); }
    BlockWriter(const BlockWriter&) = delete;
    BlockWriter& operator=(const BlockWriter&) = delete;

    static constexpr uint32_t MAX_PUT = 256;

    // Room for the next `size` bytes, at most MAX_PUT, which the caller fills before the next call.
    uint8_t* Put(uint32_t size)
    {
        if (size > BUFFER_SIZE - m_nUsed)
            Flush();
        uint8_t* pRoom = m_Buffer + m_nUsed;
        m_nUsed += size;
        return pRoom;
    }

    // For whoever writes many records in one loop: room as Put gives it, at least `size` (at most MAX_PUT) bytes and as
    // many more as there are, to the end that *ppEnd gets. What the caller fills counts once PutUpTo is told of it.
    uint8_t* Room(uint32_t size, uint8_t** ppEnd)
    {
        if (size > BUFFER_SIZE - m_nUsed)
            Flush();
        *ppEnd = m_Buffer + BUFFER_SIZE;
        return m_Buffer + m_nUsed;
    }
    void PutUpTo(const uint8_t* pFilled) { m_nUsed = static_cast<uint32_t>(pFilled - m_Buffer); }

    // As `ModelStream::WriteString` does.
    void PutString(const char* pText);

private:
    static constexpr uint32_t BUFFER_SIZE = 16384;

    void Flush();

    ModelStream* m_pStream;
    uint32_t m_nUsed = 0;
    uint8_t m_Buffer[BUFFER_SIZE];
};

ZOLT_END_NAMESPACE
