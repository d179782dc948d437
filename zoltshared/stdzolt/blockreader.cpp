#include "zoltshared/stdzolt/blockreader.h"

#include <algorithm>
#include <cstring>

#include "zoltshared/stdzolt/modelstream.h"
#include "zoltshared/stdzolt/streammemory.h"

ZOLT_BEGIN_NAMESPACE

// Makes at least `size` bytes be there, where fewer are left.
void BlockReader::Refill(uint32_t size)
{
    const uint32_t left = static_cast<uint32_t>(m_pEnd - m_pNext);
    const uint8_t* pMemory = nullptr;
    uint32_t memorySize = 0;
    if (!m_bFailed && FindStreamMemory(m_pStream, &pMemory, &memorySize) && memorySize >= size - left)
    {
        // What is left lies right in front of it.
        const uint32_t more = static_cast<uint32_t>(std::min<uint64_t>(m_Announced, memorySize));
        m_pNext = pMemory - left;
        m_pEnd = pMemory + more;
        m_Announced -= more;
        m_pStream->SeekTo(m_pStream->GetPosition() + more);
        return;
    }
    if (left != 0)
        std::memmove(m_Buffer, m_pNext, left);
    const uint32_t more = static_cast<uint32_t>(std::min<uint64_t>(m_Announced, BUFFER_SIZE - left));
    m_bFailed = m_pStream->Read(m_Buffer + left, more) != 0 || m_bFailed;
    m_Announced -= more;
    m_pNext = m_Buffer;
    m_pEnd = m_Buffer + left + more;
}

bool BlockReader::TakeTo(void* pData, uint32_t size)
{
    for (uint32_t done = 0; done < size;)
    {
        const uint32_t chunk = std::min(size - done, MAX_TAKE);
        std::memcpy(static_cast<uint8_t*>(pData) + done, Take(chunk), chunk);
        done += chunk;
    }
    return !m_bFailed;
}

bool BlockReader::Skip(uint32_t size)
{
    for (; size != 0; size -= std::min(size, MAX_TAKE))
        Take(std::min(size, MAX_TAKE));
    return !m_bFailed;
}

ZOLT_END_NAMESPACE
