#include "zoltshared/stdzolt/fixedmemorystream.h"

#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

int FixedMemoryStream::Read(void* pData, uint32_t size)
{
    if (size == 0)
        return 0;
    if (uint64_t(m_Pos) + size > m_Size)
    {
        m_Pos = m_Size;
        m_bError = QZTRUE;
        std::memset(pData, 0, size);
        return 1;
    }
    std::memcpy(pData, m_pData + m_Pos, size);
    m_Pos += size;
    return 0;
}

int FixedMemoryStream::Write(const void* pData, uint32_t size)
{
    if (size == 0)
        return 0;
    if (uint64_t(m_Pos) + size > m_Size)
        return 1;
    std::memcpy(m_pData + m_Pos, pData, size);
    m_Pos += size;
    return 0;
}

int FixedMemoryStream::SeekTo(uint32_t pos)
{
    if (pos > m_Size)
        return 1;
    m_Pos = pos;
    return 0;
}

int FixedMemoryStream::GetPos(uint32_t* pPos)
{
    *pPos = m_Pos;
    return 0;
}

int FixedMemoryStream::GetLen(uint32_t* pLen)
{
    *pLen = m_Size;
    return 0;
}

ModelStream* CreateFixedMemoryStream(void* pData, uint32_t size)
{
    return new (std::nothrow) FixedMemoryStream(pData, size);
}

ZOLT_END_NAMESPACE
