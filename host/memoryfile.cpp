#include "host/memoryfile.h"

#include <sys/mman.h>
#include <unistd.h>

bool MemoryFile::Create(const char* name)
{
    m_File = memfd_create(name, MFD_CLOEXEC);
    if (m_File >= 0)
        m_Path = "/proc/self/fd/" + std::to_string(m_File);
    return m_File >= 0;
}

MemoryFile::~MemoryFile()
{
    if (m_File >= 0)
        close(m_File);
}

void MemoryFile::Clear()
{
    // What can't be given back now goes with the file.
    if (m_File >= 0)
        (void)!ftruncate(m_File, 0);
}

std::string MemoryFile::Read() const
{
    const off_t size = m_File < 0 ? 0 : lseek(m_File, 0, SEEK_END);
    std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
    size_t done = 0;
    for (ssize_t got = 1; done < text.size() && got > 0; done += got > 0 ? static_cast<size_t>(got) : 0)
        got = pread(m_File, text.data() + done, text.size() - done, static_cast<off_t>(done));
    text.resize(done);
    return text;
}
