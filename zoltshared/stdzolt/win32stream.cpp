#include "zoltshared/stdzolt/win32stream.h"

#ifdef _WIN32

#include <cstring>
#include <new>
#include <windows.h>

ZOLT_BEGIN_NAMESPACE

Win32Stream::Win32Stream() : m_hFile(INVALID_HANDLE_VALUE) {}

Win32Stream::~Win32Stream()
{
    if (m_hFile != INVALID_HANDLE_VALUE)
        CloseHandle(m_hFile);
}

int Win32Stream::Read(void* pData, uint32_t size)
{
    if (size == 0)
        return m_hFile == INVALID_HANDLE_VALUE ? 1 : 0;
    DWORD nRead = 0;
    if (m_hFile != INVALID_HANDLE_VALUE && ReadFile(m_hFile, pData, size, &nRead, nullptr) && nRead == size)
        return 0;
    std::memset(pData, 0, size);
    if (m_hFile != INVALID_HANDLE_VALUE)
        m_bError = QZTRUE;
    return 1;
}

int Win32Stream::Write(const void* pData, uint32_t size)
{
    if (m_hFile == INVALID_HANDLE_VALUE)
        return 1;
    if (size == 0)
        return 0;
    DWORD nWritten = 0;
    if (WriteFile(m_hFile, pData, size, &nWritten, nullptr) && nWritten == size)
        return 0;
    m_bError = QZTRUE;
    return 1;
}

int Win32Stream::SeekTo(uint32_t pos)
{
    if (m_hFile == INVALID_HANDLE_VALUE)
        return 1;
    return SetFilePointer(m_hFile, static_cast<LONG>(pos), nullptr, FILE_BEGIN) == 0xFFFFFFFF ? 1 : 0;
}

int Win32Stream::GetPos(uint32_t* pPos)
{
    *pPos = 0;
    if (m_hFile == INVALID_HANDLE_VALUE)
        return 1;
    *pPos = SetFilePointer(m_hFile, 0, nullptr, FILE_CURRENT);
    return *pPos == 0xFFFFFFFF ? 1 : 0;
}

int Win32Stream::GetLen(uint32_t* pLen)
{
    *pLen = 0;
    if (m_hFile == INVALID_HANDLE_VALUE)
        return 1;
    *pLen = GetFileSize(m_hFile, nullptr);
    return *pLen == 0xFFFFFFFF ? 1 : 0;
}

ModelStream* OpenWin32Stream(const char* pFilename, unsigned access)
{
    HANDLE hFile = CreateFileA(pFilename, access, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return nullptr;
    Win32Stream* pStream = new (std::nothrow) Win32Stream;
    if (pStream)
        pStream->SetFile(hFile);
    else
        CloseHandle(hFile);
    return pStream;
}

ZOLT_END_NAMESPACE

#endif
