#include "win32/userfolders.h"

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace fs = std::filesystem;

std::string UserFolder(const char* variable, const char* belowHome)
{
    const char* named = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): one thread
    if (named && named[0] == '/')
        return named;
    const char* home = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe)
    if (home && home[0] == '/')
        return std::string(home) + "/" + belowHome;
    return std::string();
}

bool MakeFolders(const std::string& folder)
{
    std::error_code there;
    if (fs::is_directory(folder, there))
        return true;
    fs::path made;
    for (const fs::path& part : fs::path(folder))
    {
        made /= part;
        std::error_code error;
        if (!fs::is_directory(made, error) && mkdir(made.c_str(), 0700) != 0 && !fs::is_directory(made, error))
            return false;
    }
    return !folder.empty();
}
