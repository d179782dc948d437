// A file in memory that the plug-in can open by its path. It ends with the process, however that ends.
#pragma once

#include <string>

class MemoryFile
{
public:
    MemoryFile() = default;
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Makes the file, which is empty. The name is for those who look at the process from outside. False if the system
    // has none to give.
    bool Create(const char* name);
    // Gives its memory back.
    void Clear();

    // Empty without a file.
    const std::string& GetPath() const { return m_Path; }
    std::string Read() const;

private:
    int m_File = -1;
    std::string m_Path;
};
