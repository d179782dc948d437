#include "zoltshared/stdzolt/stdiostream.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

// Of a file that is only read. A model's loader goes to the start for each section, so a file that fits is read once
// where the library's own 4 KB would be read over and over.
static constexpr size_t READ_BUFFER = 64U << 10;

StdioStream::~StdioStream()
{
    if (m_pFile)
        std::fclose(m_pFile);
    std::free(m_pBuffer);
}

// Ahead of anything else that is done with the file. Without memory nothing changes.
void StdioStream::BufferMore()
{
    m_pBuffer = static_cast<char*>(std::malloc(READ_BUFFER));
    if (m_pBuffer)
        (void)std::setvbuf(m_pFile, m_pBuffer, _IOFBF, READ_BUFFER);
}

int StdioStream::Read(void* pData, uint32_t size)
{
    if (m_pFile && (size == 0 || std::fread(pData, 1, size, m_pFile) == size))
        return 0;
    if (size != 0)
        std::memset(pData, 0, size);
    if (m_pFile)
        m_bError = QZTRUE;
    return 1;
}

int StdioStream::Write(const void* pData, uint32_t size)
{
    if (!m_pFile)
        return 1;
    if (size == 0 || std::fwrite(pData, 1, size, m_pFile) == size)
        return 0;
    m_bError = QZTRUE;
    return 1;
}

int StdioStream::SeekTo(uint32_t pos)
{
    return m_pFile && std::fseek(m_pFile, static_cast<long>(pos), SEEK_SET) == 0 ? 0 : 1;
}

int StdioStream::GetPos(uint32_t* pPos)
{
    *pPos = 0;
    if (!m_pFile)
        return 1;
    const long pos = std::ftell(m_pFile);
    *pPos = static_cast<uint32_t>(pos);
    return pos == -1 ? 1 : 0;
}

int StdioStream::GetLen(uint32_t* pLen)
{
    *pLen = 0;
    if (!m_pFile)
        return 1;
    const long pos = std::ftell(m_pFile);
    std::fseek(m_pFile, 0, SEEK_END);
    const long length = std::ftell(m_pFile);
    std::fseek(m_pFile, pos, SEEK_SET);
    *pLen = length < 0 ? 0 : static_cast<uint32_t>(length);
    return 0;
}

ModelStream* OpenStdioStream(const char* pFilename, const char* pMode)
{
    FILE* pFile = std::fopen(pFilename, pMode);
    if (!pFile)
        return nullptr;
    StdioStream* pStream = new (std::nothrow) StdioStream;
    if (pStream)
    {
        pStream->SetFile(pFile);
        if (std::strcmp(pMode, "rb") == 0)
            pStream->BufferMore();
        return pStream;
    }
    std::fclose(pFile);
    errno = ENOMEM;
    return nullptr;
}

ZOLT_END_NAMESPACE
