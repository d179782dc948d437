#include "host/memoryfile.h"

#include <fstream>
#include <sstream>

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
    std::ostringstream text;
    text << std::ifstream(m_Path, std::ios::binary).rdbuf();
    return text.str();
}
