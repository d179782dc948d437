#include "zoltshared/stdzolt/mappedstream.h"

#include <new>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

ZOLT_BEGIN_NAMESPACE

namespace
{
struct FileView
{
    void* m_pView = nullptr; // null for an empty file
    uint32_t m_Size = 0;
};

#ifdef _WIN32
bool MapFile(const char* pFilename, FileView& view)
{
    HANDLE hFile = CreateFileA(pFilename, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE)
        return false;
    LARGE_INTEGER size = {};
    bool bMapped = GetFileSizeEx(hFile, &size) && size.QuadPart <= UINT32_MAX;
    if (bMapped && size.QuadPart != 0)
    {
        // A view keeps its file open.
        HANDLE hMapping = CreateFileMappingA(hFile, nullptr, PAGE_READONLY, 0, 0, nullptr);
        if (hMapping)
        {
            view.m_pView = MapViewOfFile(hMapping, FILE_MAP_READ, 0, 0, 0);
            CloseHandle(hMapping);
        }
        bMapped = view.m_pView != nullptr;
    }
    view.m_Size = static_cast<uint32_t>(size.QuadPart);
    CloseHandle(hFile);
    return bMapped;
}

void UnmapFile(void* pView, uint32_t /*size*/)
{
    UnmapViewOfFile(pView);
}
#else
bool MapFile(const char* pFilename, FileView& view)
{
    const int fd = open(pFilename, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0)
        return false;
    struct stat status;
    bool bMapped =
        fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && static_cast<uint64_t>(status.st_size) <= UINT32_MAX;
    if (bMapped && status.st_size != 0)
    {
        view.m_Size = static_cast<uint32_t>(status.st_size);
        view.m_pView = mmap(nullptr, view.m_Size, PROT_READ, MAP_PRIVATE, fd, 0);
        bMapped = view.m_pView != MAP_FAILED;
    }
    close(fd);
    return bMapped;
}

void UnmapFile(void* pView, uint32_t size)
{
    munmap(pView, size);
}
#endif
} // namespace

MappedStream::~MappedStream()
{
    if (m_pData)
        UnmapFile(m_pData, m_Size);
}

int MappedStream::Write(const void* /*pData*/, uint32_t size)
{
    if (size == 0)
        return 0;
    m_bError = QZTRUE;
    return 1;
}

ModelStream* OpenMappedStream(const char* pFilename)
{
    FileView view;
    if (!MapFile(pFilename, view))
        return nullptr;
    ModelStream* pStream = new (std::nothrow) MappedStream(view.m_pView, view.m_Size);
    if (!pStream && view.m_pView)
        UnmapFile(view.m_pView, view.m_Size);
    return pStream;
}

ZOLT_END_NAMESPACE
