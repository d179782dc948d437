#include "win32/registrystore.h"

#include "win32/userfolders.h"

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

static std::optional<std::string> s_File;     // what the host said, else nothing
static std::optional<std::string> s_LastFile; // what it had said before
static std::string s_DefaultFile;             // what GetRegistryFile gave out last

const char* SetRegistryFile(const char* path)
{
    std::optional<std::string> file;
    if (path)
    {
        // Made absolute, so that a later change of the current folder doesn't change the registry.
        std::error_code error;
        file = path[0] ? std::filesystem::absolute(path, error).string() : std::string();
    }
    s_LastFile = std::exchange(s_File, file);
    return s_LastFile ? s_LastFile->c_str() : nullptr;
}

const char* GetRegistryFile()
{
    if (s_File)
        return s_File->c_str();
    const std::string folder = UserFolder("XDG_CONFIG_HOME", ".config");
    s_DefaultFile = folder.empty() ? std::string() : folder + "/zoltexport/registry.db";
    return s_DefaultFile.c_str();
}
