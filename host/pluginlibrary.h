// The plug-in as the host loads it.
#pragma once

#include <string>

class PluginLibrary
{
public:
    PluginLibrary() = default;
    ~PluginLibrary() { Close(); }
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    // False with a sentence if the library can't be loaded or lacks one of the two functions.
    bool Open(const std::string& path, std::string& error);
    // Calls `cleanup` and unloads the library.
    void Close();

    // One export; 0 when the file was written.
    int Init() const { return m_Init(); }

private:
    void* m_Library = nullptr;
    int (*m_Init)() = nullptr;
    int (*m_Cleanup)() = nullptr;
};

// Where the plug-in is: what the environment variable ZOLTEXPORT_PLUGIN says, else ../lib/ZoltExport.so from the
// program's folder.
std::string FindPluginLibrary();
