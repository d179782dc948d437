#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstddef>
#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class ModelStream;

// Reads small records out of a stream in large blocks, and in place where the stream lies in memory (see
// `FindStreamMemory`). It takes no byte from the stream that wasn't announced: once all announced bytes are taken the
// stream stands behind them, and at no time further. The stream must not be used otherwise in between.
class BlockReader
{
public:
    static constexpr uint32_t MAX_TAKE = 64;

    // So many bytes follow.
    BlockReader(ModelStream* pStream, uint64_t announced) : m_pStream(pStream), m_Announced(announced) {}
    BlockReader(const BlockReader&) = delete;
    BlockReader& operator=(const BlockReader&) = delete;

    // So many more follow, behind those that were announced before.
    void Announce(uint64_t more) { m_Announced += more; }

    // The next bytes, of those that were announced and at most MAX_TAKE; they stay until the next call. After a failed
    // read, which shows in the stream's error status, they are zeros.
    const uint8_t* Take(uint32_t size)
    {
        if (size > static_cast<size_t>(m_pEnd - m_pNext))
            Refill(size);
        const uint8_t* pTaken = m_pNext;
        m_pNext += size;
        return pTaken;
    }

    // For whoever goes through many records in one loop: the next bytes as Take gives them, at least `size` (of those
    // that were announced and at most MAX_TAKE) and as many more as lie behind them, to the end that *ppEnd gets. They
    // aren't taken yet.
    const uint8_t* Peek(uint32_t size, const uint8_t** ppEnd)
    {
        if (size > static_cast<size_t>(m_pEnd - m_pNext))
            Refill(size);
        *ppEnd = m_pEnd;
        return m_pNext;
    }
    // Takes what Peek gave, up to there.
    void TakeUpTo(const uint8_t* pUsed) { m_pNext = pUsed; }

    // Takes any number of bytes: false, and zeros, if a read failed, now or before.
    bool TakeTo(void* pData, uint32_t size);
    bool Skip(uint32_t size);

private:
    static constexpr uint32_t BUFFER_SIZE = 65536;

    void Refill(uint32_t size);

    ModelStream* m_pStream;
    uint64_t m_Announced; // bytes that weren't read yet
    const uint8_t* m_pNext = nullptr;
    const uint8_t* m_pEnd = nullptr;
    bool m_bFailed = false;
    uint8_t m_Buffer[BUFFER_SIZE];
};

ZOLT_END_NAMESPACE
