#include "zoltshared/stdzolt/replacefilestream.h"

#ifdef _WIN32

#include <cstdio>
#include <io.h>
#include <windows.h>

bool ReplaceFileStream::Open(const char* pFilename)
{
    const DWORD attributes = GetFileAttributesA(pFilename);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)))
        return false;
    char temporary[MAX_PATH];
    const int length = std::snprintf(temporary, sizeof(temporary), "%s.zolt-%lu.tmp", pFilename, GetCurrentProcessId());
    m_Target.Set(pFilename);
    m_Temporary.Set(temporary);
    if (length < 0 || length >= MAX_PATH || !*m_Target.GetString() || !*m_Temporary.GetString())
    {
        m_Temporary.Clear();
        return OpenDirect(pFilename);
    }
    m_pFile = std::fopen(temporary, "wb");
    if (m_pFile)
        return true;
    m_Temporary.Clear();
    return OpenDirect(pFilename);
}

bool ReplaceFileStream::CloseSynced()
{
    bool bDone = !m_bError && !std::ferror(m_pFile);
    bDone = std::fflush(m_pFile) == 0 && bDone;
    bDone = (_commit(_fileno(m_pFile)) == 0 || m_bDirect) && bDone;
    bDone = std::fclose(m_pFile) == 0 && bDone;
    m_pFile = nullptr;
    return bDone;
}

bool ReplaceFileStream::PutInPlace()
{
    return MoveFileExA(m_Temporary.GetString(), m_Target.GetString(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

void ReplaceFileStream::RemoveFile(const char* pFilename)
{
    DeleteFileA(pFilename);
}

#endif
