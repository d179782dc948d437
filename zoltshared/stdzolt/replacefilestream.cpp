#include "zoltshared/stdzolt/replacefilestream.h"

#include <new>

// What doesn't depend on the platform; the rest is in replacefilestream_posix.cpp and replacefilestream_win32.cpp.

ReplaceFileStream::~ReplaceFileStream()
{
    Discard();
}

bool ReplaceFileStream::OpenDirect(const char* pFilename)
{
    m_bDirect = true;
    m_pFile = std::fopen(pFilename, "wb");
    return m_pFile != nullptr;
}

int ReplaceFileStream::Commit()
{
    if (!m_pFile)
        return 1;
    bool bDone = CloseSynced();
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
