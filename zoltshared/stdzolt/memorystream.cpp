#include "zoltshared/stdzolt/memorystream.h"

#include <cstdio>
#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

int MemoryStream::Read(void* pData, uint32_t size)
{
    if (size == 0)
        return 0;
    if (size > m_Data.GetSize() - m_Pos)
    {
        m_Pos = m_Data.GetSize();
        m_bError = QZTRUE;
        std::memset(pData, 0, size);
        return 1;
    }
    std::memcpy(pData, m_Data.GetArray() + m_Pos, size);
    m_Pos += size;
    return 0;
}

int MemoryStream::Write(const void* pData, uint32_t size)
{
    if (size == 0)
        return 0;
    const uint64_t end = uint64_t(m_Pos) + size;
    if (end > UINT32_MAX)
        return 1;
    if (end > m_Data.GetSize() && !Grow(static_cast<uint32_t>(end)))
        return 1;
    std::memcpy(m_Data.GetArray() + m_Pos, pData, size);
    m_Pos += size;
    return 0;
}

QZBOOL MemoryStream::Grow(uint32_t size)
{
    const uint32_t cacheSize = m_Data.GetCacheSize();
    const uint32_t half = m_Data.GetSize() / 2;
    if (half > cacheSize)
    {
        m_Data.SetCacheSize(half);
        const QZBOOL bGrown = m_Data.NiceSetSize(size, QZTRUE);
        m_Data.SetCacheSize(cacheSize);
        if (bGrown)
            return QZTRUE;
    }
    return m_Data.NiceSetSize(size, QZTRUE);
}

int MemoryStream::SeekTo(uint32_t pos)
{
    if (pos > m_Data.GetSize())
        return 1;
    m_Pos = pos;
    return 0;
}

int MemoryStream::GetPos(uint32_t* pPos)
{
    *pPos = m_Pos;
    return 0;
}

int MemoryStream::GetLen(uint32_t* pLen)
{
    *pLen = m_Data.GetSize();
    return 0;
}

void MemoryStream::Reserve(uint32_t size)
{
    if (m_Data.GetSize() == 0 && m_Data.NiceSetSize(size, QZTRUE))
        m_Data.NiceSetSize(0, QZTRUE);
}

MemoryStream* CreateMemoryStream(uint32_t cacheSize)
{
    return new (std::nothrow) MemoryStream(cacheSize);
}

// The length of a file that now stands at its start; -1 if it can't be told or doesn't fit a stream.
static int64_t FindLength(FILE* pFile)
{
    if (std::fseek(pFile, 0, SEEK_END) != 0)
        return -1;
    const int64_t length = std::ftell(pFile);
    if (std::fseek(pFile, 0, SEEK_SET) != 0 || length > UINT32_MAX)
        return -1;
    return length;
}

static MemoryStream* LoadToMemoryStream(FILE* pFile)
{
    const int64_t length = FindLength(pFile);
    if (length < 0)
        return nullptr;
    MemoryStream* pStream = new (std::nothrow) MemoryStream(256);
    if (!pStream)
        return nullptr;
    const uint32_t size = static_cast<uint32_t>(length);
    if (!pStream->m_Data.SetSize(size) || (size != 0 && std::fread(pStream->m_Data.GetArray(), 1, size, pFile) != size))
    {
        pStream->Release();
        return nullptr;
    }
    return pStream;
}

ModelStream* LoadFileToMemoryStream(const char* pFilename)
{
    FILE* pFile = std::fopen(pFilename, "rb");
    if (!pFile)
        return nullptr;
    MemoryStream* pStream = LoadToMemoryStream(pFile);
    std::fclose(pFile);
    return pStream;
}

ZOLT_END_NAMESPACE
