#include "zoltshared/stdzolt/replacefilestream.h"

#ifdef _WIN32

#include <cstdio>
#include <io.h>
#include <windows.h>

static HANDLE OpenOldFile(const char* pFilename, DWORD access)
{
    return CreateFileA(pFilename, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, 0, nullptr);
}

// What can be done about a file that is there.
enum class OldFile
{
    Replace,   // another can be put in its place
    Overwrite, // it can only be written itself
    Leave      // it can't be written, or a process that has it open forbids that it is replaced
};

static OldFile JudgeOldFile(const char* pFilename)
{
    HANDLE hFile = OpenOldFile(pFilename, GENERIC_WRITE);
    if (hFile == INVALID_HANDLE_VALUE)
        return OldFile::Leave;
    const bool bOnDisk = GetFileType(hFile) == FILE_TYPE_DISK;
    CloseHandle(hFile);
    if (!bOnDisk)
        return OldFile::Overwrite;
    hFile = OpenOldFile(pFilename, DELETE);
    if (hFile == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_SHARING_VIOLATION ? OldFile::Leave : OldFile::Overwrite;
    CloseHandle(hFile);
    return OldFile::Replace;
}

bool ReplaceFileStream::Open(const char* pFilename)
{
    const DWORD attributes = GetFileAttributesA(pFilename);
    if (attributes != INVALID_FILE_ATTRIBUTES)
    {
        const OldFile old = (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY))
                                ? OldFile::Leave
                                : JudgeOldFile(pFilename);
        if (old != OldFile::Replace)
            return old == OldFile::Overwrite && OpenDirect(pFilename);
    }
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
    const char* pTarget = m_Target.GetString();
    const char* pTemporary = m_Temporary.GetString();
    // The first keeps the attributes and the access list of a file that is there.
    if (ReplaceFileA(pTarget, pTemporary, nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) ||
        MoveFileExA(pTemporary, pTarget, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return true;
    if (GetFileAttributesA(pTarget) == INVALID_FILE_ATTRIBUTES && GetLastError() == ERROR_FILE_NOT_FOUND)
        m_Temporary.Clear(); // never take away the only file that is left
    return false;
}

void ReplaceFileStream::RemoveFile(const char* pFilename)
{
    DeleteFileA(pFilename);
}

#endif
