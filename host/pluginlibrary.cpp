#include "host/pluginlibrary.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <system_error>

bool PluginLibrary::Open(const std::string& path, std::string& error)
{
    Close();
    m_Library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_Library)
    {
        const char* reason = dlerror(); // NOLINT(concurrency-mt-unsafe): one thread
        error = "The plug-in can't be loaded: " + std::string(reason ? reason : path.c_str());
        return false;
    }
    m_Init = reinterpret_cast<int (*)()>(dlsym(m_Library, "init"));
    m_Cleanup = reinterpret_cast<int (*)()>(dlsym(m_Library, "cleanup"));
    if (m_Init && m_Cleanup)
        return true;
    error = path + " isn't a plug-in: it lacks init or cleanup.";
    m_Cleanup = nullptr;
    Close();
    return false;
}

void PluginLibrary::Close()
{
    if (m_Cleanup)
        m_Cleanup();
    if (m_Library)
        dlclose(m_Library);
    m_Library = nullptr;
    m_Init = nullptr;
    m_Cleanup = nullptr;
}

std::string FindPluginLibrary()
{
    const char* named = std::getenv("ZOLTEXPORT_PLUGIN"); // NOLINT(concurrency-mt-unsafe)
    if (named && *named)
        return named;
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path().parent_path() / "lib" / "ZoltExport.so").string();
}
