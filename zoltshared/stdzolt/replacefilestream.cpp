#include "zoltshared/stdzolt/replacefilestream.h"

#include <new>

ZOLT_BEGIN_NAMESPACE

// What doesn't depend on the platform; the rest is in replacefilestream_posix.cpp and replacefilestream_win32.cpp.

ReplaceFileStream::~ReplaceFileStream()
{
    Discard();
}

bool ReplaceFileStream::OpenDirect(const char* pFilename, bool bIsRegular)
{
    m_bDirect = true;
    m_pFile = bIsRegular ? std::fopen(pFilename, "w+b") : nullptr;
    m_bCanReadBack = m_pFile != nullptr;
    // Who may write it needn't be allowed to read it.
    if (!m_pFile)
        m_pFile = std::fopen(pFilename, "wb");
    if (!m_pFile || std::fseek(m_pFile, 0, SEEK_CUR) == 0)
        return m_pFile != nullptr;
    m_pPipe = m_pFile;
    m_pFile = std::tmpfile();
    return m_pFile != nullptr;
}

bool ReplaceFileStream::SendToPipe()
{
    if (!m_pPipe)
        return true;
    bool bDone = !m_bError && std::fflush(m_pFile) == 0 && std::fseek(m_pFile, 0, SEEK_SET) == 0;
    char bytes[16384];
    for (size_t size = 1; bDone && size != 0;)
    {
        size = std::fread(bytes, 1, sizeof(bytes), m_pFile);
        bDone = !std::ferror(m_pFile) && std::fwrite(bytes, 1, size, m_pPipe) == size;
    }
    bDone = std::fclose(m_pPipe) == 0 && bDone;
    m_pPipe = nullptr;
    return bDone;
}

int ReplaceFileStream::Commit()
{
    if (!m_pFile)
        return 1;
    bool bDone = SendToPipe();
    bDone = CloseSynced() && bDone;
    if (bDone && !m_bDirect)
    {
        bDone = PutInPlace();
        if (bDone)
            m_Temporary.Clear();
    }
    Discard();
    return bDone ? 0 : 1;
}

void ReplaceFileStream::Discard()
{
    if (m_pFile)
        std::fclose(m_pFile);
    m_pFile = nullptr;
    if (m_pPipe)
        std::fclose(m_pPipe);
    m_pPipe = nullptr;
    if (*m_Temporary.GetString())
        RemoveFile(m_Temporary.GetString());
    m_Temporary.Clear();
}

ReplaceFileStream* OpenReplaceFileStream(const char* pFilename)
{
    ReplaceFileStream* pStream = new (std::nothrow) ReplaceFileStream;
    if (pStream && !pStream->Open(pFilename))
    {
        pStream->Release();
        return nullptr;
    }
    return pStream;
}

ZOLT_END_NAMESPACE
