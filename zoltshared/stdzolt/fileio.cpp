#include "zoltshared/stdzolt/fileio.h"

#include <algorithm>
#include <cstring>

#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/zoltexception.h"

ZOLT_BEGIN_NAMESPACE

QZBOOL FileIOBase::Open(const char*, const char*)
{
    return QZTRUE;
}

QZBOOL FileIOBase::WriteText(const char* pText)
{
    const uint16_t length = static_cast<uint16_t>(std::strlen(pText));
    const uint8_t bytes[2] = {static_cast<uint8_t>(length), static_cast<uint8_t>(length >> 8)};
    if (!Write(bytes, sizeof(bytes)))
        return QZFALSE;
    return length == 0 ? QZTRUE : Write(pText, length);
}

QZBOOL FileIOBase::ReadText(char* pBuffer, uint32_t maxLen)
{
    uint8_t bytes[2];
    if (!Read(bytes, sizeof(bytes)))
        return QZFALSE;
    const uint32_t length = bytes[0] | uint32_t(bytes[1]) << 8;
    if (length + 1 > maxLen)
        return QZFALSE;
    std::memset(pBuffer, 0, length + 1);
    if (length != 0)
        Read(pBuffer, length);
    return QZTRUE;
}

QZBOOL FileIOBase::ReadLine(char* pBuffer, uint32_t maxLen)
{
    const uint32_t size = std::min<uint32_t>(maxLen, 4096);
    std::fill_n(pBuffer, size, '\0');
    for (uint32_t i = 0; i < size && Read(pBuffer + i, 1); i++)
    {
        if (pBuffer[i] == '\n' && i > 0 && pBuffer[i - 1] == '\r')
        {
            pBuffer[i - 1] = 0;
            break;
        }
    }
    return QZTRUE;
}

QZBOOL FileIO::Open(const char* pFilename, const char* pMode)
{
    CloseFile();
    m_pFile = std::fopen(pFilename, pMode);
    if (!m_pFile)
        return QZFALSE;
    std::fseek(m_pFile, 0, SEEK_END);
    const long length = std::ftell(m_pFile);
    std::fseek(m_pFile, 0, SEEK_SET);
    m_FileLen = length < 0 ? 0 : static_cast<uint32_t>(length);
    m_BoundsMin = 0;
    m_BoundsMax = m_FileLen;
    return QZTRUE;
}

void FileIO::CloseFile()
{
    if (m_pFile)
        std::fclose(m_pFile);
    m_pFile = nullptr;
}

void FileIO::SetBoundaries(uint32_t min, uint32_t max)
{
    m_BoundsMin = 0;
    m_BoundsMax = m_FileLen;
    ZOLT_ASSERT(min < max, "min < max");
    if (min > m_FileLen)
        min = 0;
    if (max > m_FileLen)
        max = m_FileLen;
    Seek(min);
    m_BoundsMin = min;
    m_BoundsMax = max;
    m_FileLen = m_BoundsMax - m_BoundsMin;
}

QZBOOL FileIO::Write(const void* pData, uint32_t size)
{
    if (ZOLT_ASSERT(m_pFile, "m_pFile") && std::fwrite(pData, 1, size, m_pFile) == size)
        return QZTRUE;
    OnError(CZoltIOException::WRITE);
    return QZFALSE;
}

QZBOOL FileIO::Read(void* pData, uint32_t size)
{
    if (ZOLT_ASSERT(m_pFile, "m_pFile") && std::fread(pData, 1, size, m_pFile) == size)
        return QZTRUE;
    OnError(CZoltIOException::READ);
    return QZFALSE;
}

uint32_t FileIO::GetCurPos()
{
    return m_pFile ? static_cast<uint32_t>(std::ftell(m_pFile)) - m_BoundsMin : 0;
}

QZBOOL FileIO::Seek(uint32_t pos)
{
    if (m_pFile && std::fseek(m_pFile, static_cast<long>(uint64_t(pos) + m_BoundsMin), SEEK_SET) == 0)
        return QZTRUE;
    OnError(CZoltIOException::SEEK);
    return QZFALSE;
}

void FileIO::OnError(int type) const
{
    if (m_bThrowOnError)
        throw CZoltIOException(type);
}

ZOLT_END_NAMESPACE
