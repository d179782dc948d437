#include "zoltshared/stdzolt/replacefilestream.h"

#ifdef _WIN32

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

ZOLT_BEGIN_NAMESPACE

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

// What the names of the temporary files of a target start with; the process id and a number follow. Process ids mean
// something on their own machine only. False if there is no room for them.
static bool MakePrefix(const char* pFilename, char (&prefix)[MAX_PATH])
{
    char machine[MAX_COMPUTERNAME_LENGTH + 1] = "";
    DWORD size = sizeof(machine);
    GetComputerNameA(machine, &size);
    const int length = std::snprintf(prefix, sizeof(prefix), "%s.zolt-%s-", pFilename, machine);
    return length > 0 && length < MAX_PATH;
}

// Creates a file of a new name beside the target. On failure the system's last error tells why.
static FILE* CreateTemporary(const char* pFilename, char (&path)[MAX_PATH])
{
    static unsigned counter = 0;
    char prefix[MAX_PATH];
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    if (!MakePrefix(pFilename, prefix))
        return nullptr;
    for (int i = 0; i < 1000; i++)
    {
        const int length = std::snprintf(path, sizeof(path), "%s%lu-%u.tmp", prefix, GetCurrentProcessId(), counter++);
        if (length < 0 || length >= MAX_PATH)
            return nullptr;
        // Nobody may delete it while it is open.
        HANDLE hFile =
            CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (hFile == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS)
            continue;
        if (hFile == INVALID_HANDLE_VALUE)
            return nullptr;
        const int file = _open_osfhandle(reinterpret_cast<intptr_t>(hFile), _O_BINARY);
        if (file == -1)
            CloseHandle(hFile);
        FILE* pFile = file == -1 ? nullptr : _fdopen(file, "wb");
        if (pFile)
            return pFile;
        if (file != -1)
            _close(file);
        DeleteFileA(path);
        SetLastError(ERROR_TOO_MANY_OPEN_FILES);
        return nullptr;
    }
    return nullptr;
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
    m_pFile = CreateTemporary(pFilename, temporary);
    if (!m_pFile)
    {
        // A full disk isn't a reason to truncate the old file.
        const DWORD error = GetLastError();
        const bool bNoneCanBe = error == ERROR_ACCESS_DENIED || error == ERROR_WRITE_PROTECT ||
                                error == ERROR_FILENAME_EXCED_RANGE || error == ERROR_INVALID_NAME;
        return bNoneCanBe && OpenDirect(pFilename);
    }
    m_Target.Set(pFilename);
    m_Temporary.Set(temporary);
    if (*m_Target.GetString() && *m_Temporary.GetString())
        return true;
    std::fclose(m_pFile);
    m_pFile = nullptr;
    DeleteFileA(temporary);
    m_Temporary.Clear();
    return false;
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

static bool IsRunning(DWORD process)
{
    HANDLE hProcess = OpenProcess(SYNCHRONIZE, FALSE, process);
    if (!hProcess)
        return GetLastError() != ERROR_INVALID_PARAMETER; // another user's can't be opened
    const bool bRunning = WaitForSingleObject(hProcess, 0) == WAIT_TIMEOUT;
    CloseHandle(hProcess);
    return bRunning;
}

// True for the name of a temporary file whose process is gone; pPrefix is that of the target, without a folder.
static bool IsStale(const char* pName, const char* pPrefix)
{
    const size_t length = std::strlen(pPrefix);
    if (_strnicmp(pName, pPrefix, length) != 0)
        return false;
    char* pEnd = nullptr;
    const unsigned long process = std::strtoul(pName + length, &pEnd, 10);
    if (process == 0 || *pEnd != '-')
        return false;
    std::strtoul(pEnd + 1, &pEnd, 10);
    return std::strcmp(pEnd, ".tmp") == 0 && !IsRunning(process);
}

// Takes away what killed processes left beside the target. That isn't worth an error any more.
static void SweepFolder(const char* pTarget)
{
    char path[MAX_PATH];
    if (!MakePrefix(pTarget, path))
        return;
    char* pName = path;
    for (char* p = path; *p; p++)
        pName = *p == '\\' || *p == '/' || *p == ':' ? p + 1 : pName;
    const std::size_t room = sizeof(path) - static_cast<std::size_t>(pName - path);
    char prefix[MAX_PATH];
    std::snprintf(prefix, sizeof(prefix), "%s", pName);
    std::snprintf(pName, room, "*");
    WIN32_FIND_DATAA found;
    HANDLE hFind = FindFirstFileA(path, &found);
    if (hFind == INVALID_HANDLE_VALUE)
        return;
    do
    {
        const int length = std::snprintf(pName, room, "%s", found.cFileName);
        if (length > 0 && static_cast<std::size_t>(length) < room && IsStale(pName, prefix))
            DeleteFileA(path);
    } while (FindNextFileA(hFind, &found));
    FindClose(hFind);
}

bool ReplaceFileStream::PutInPlace()
{
    const char* pTarget = m_Target.GetString();
    const char* pTemporary = m_Temporary.GetString();
    // The first keeps the attributes and the access list of a file that is there.
    if (ReplaceFileA(pTarget, pTemporary, nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) ||
        MoveFileExA(pTemporary, pTarget, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    {
        SweepFolder(pTarget);
        return true;
    }
    if (GetFileAttributesA(pTarget) == INVALID_FILE_ATTRIBUTES && GetLastError() == ERROR_FILE_NOT_FOUND)
        m_Temporary.Clear(); // never take away the only file that is left
    return false;
}

void ReplaceFileStream::RemoveFile(const char* pFilename)
{
    DeleteFileA(pFilename);
}

ZOLT_END_NAMESPACE

#endif
