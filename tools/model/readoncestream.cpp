#include "tools/model/readoncestream.h"

#include <algorithm>
#include <cstring>
#include <new>

// The name of a section stands so many bytes or less in front of its link.
constexpr uint32_t MAX_SECTION_NAME = 64;

ReadOnceStream::~ReadOnceStream()
{
    for (uint32_t i = 0; i < m_Blocks.GetSize(); ++i)
        delete[] m_Blocks[i].m_pData;
}

int ReadOnceStream::Read(void* pData, uint32_t size)
{
    uint8_t* pTarget = static_cast<uint8_t*>(pData);
    bool bRead = size <= m_Length - m_Pos;
    for (uint32_t done = 0; bRead && done < size;)
    {
        const uint32_t iBlock = m_Pos / BLOCK_SIZE;
        const uint32_t offset = m_Pos % BLOCK_SIZE;
        const uint32_t part = std::min(size - done, BLOCK_SIZE - offset);
        bRead = m_Blocks[iBlock].m_pData != nullptr;
        if (bRead)
            std::memcpy(pTarget + done, m_Blocks[iBlock].m_pData + offset, part);
        done += part;
        m_Pos += part;
        if (bRead && offset + part == BLOCK_SIZE)
            PassBlock(iBlock);
    }
    if (bRead)
        return 0;
    m_Pos = m_Length;
    m_RunStart = m_Length;
    m_bError = true;
    std::memset(pData, 0, size);
    return 1;
}

// The reads have reached the block's end.
void ReadOnceStream::PassBlock(uint32_t iBlock)
{
    Block& block = m_Blocks[iBlock];
    if (m_bHeld || block.m_bStays || m_RunStart > iBlock * BLOCK_SIZE)
        return;
    delete[] block.m_pData;
    block.m_pData = nullptr;
}

int ReadOnceStream::SeekTo(uint32_t pos)
{
    if (pos > m_Length)
        return 1;
    m_Pos = pos;
    m_RunStart = pos;
    return 0;
}

int ReadOnceStream::GetPos(uint32_t* pPos)
{
    *pPos = m_Pos;
    return 0;
}

int ReadOnceStream::GetLen(uint32_t* pLen)
{
    *pLen = m_Length;
    return 0;
}

bool ReadOnceStream::AddBlocks(uint32_t length)
{
    while (uint64_t{m_Blocks.GetSize()} * BLOCK_SIZE < length)
    {
        uint8_t* pData = new (std::nothrow) uint8_t[BLOCK_SIZE];
        if (!pData || !m_Blocks.Append({pData, m_Blocks.GetSize() == 0}))
        {
            delete[] pData;
            return false;
        }
    }
    return true;
}

int ReadOnceStream::Write(const void* pData, uint32_t size)
{
    const uint64_t end = uint64_t{m_Pos} + size;
    if (end > UINT32_MAX || !AddBlocks(static_cast<uint32_t>(end)))
        return 1;
    if (size != 0 && m_Pos < m_Length)
    {
        const uint32_t first = (m_Pos - std::min(m_Pos, MAX_SECTION_NAME)) / BLOCK_SIZE;
        for (uint32_t i = first; i <= (end - 1) / BLOCK_SIZE; ++i)
            m_Blocks[i].m_bStays = true;
    }
    const uint8_t* pSource = static_cast<const uint8_t*>(pData);
    for (uint32_t done = 0; done < size;)
    {
        const uint32_t offset = m_Pos % BLOCK_SIZE;
        const uint32_t part = std::min(size - done, BLOCK_SIZE - offset);
        uint8_t* pBlock = m_Blocks[m_Pos / BLOCK_SIZE].m_pData;
        if (!pBlock)
            return 1;
        std::memcpy(pBlock + offset, pSource + done, part);
        done += part;
        m_Pos += part;
    }
    m_Length = std::max(m_Length, m_Pos);
    m_RunStart = m_Pos;
    return 0;
}

uint32_t ReadOnceStream::NumBlocks() const
{
    uint32_t n = 0;
    for (uint32_t i = 0; i < m_Blocks.GetSize(); ++i)
        n += m_Blocks[i].m_pData ? 1 : 0;
    return n;
}
