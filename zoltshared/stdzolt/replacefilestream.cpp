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
