#include "win32/stateplaces.h"

#include "win32/userfolders.h"

#include <optional>

static std::optional<std::string> s_LogPath; // what the host said, else nothing
static std::string s_DefaultLogPath;         // what GetLogPath gave out last

std::string StateFolder()
{
    const std::string base = UserFolder("XDG_STATE_HOME", ".local/state");
    if (base.empty())
        return std::string();
    const std::string folder = base + "/zoltexport";
    return MakeFolders(folder) ? folder : std::string();
}

void SetLogPath(const char* path)
{
    if (path)
        s_LogPath = std::string(path);
    else
        s_LogPath.reset();
}

const char* GetLogPath()
{
    if (s_LogPath)
        return s_LogPath->c_str();
    const std::string folder = StateFolder();
    s_DefaultLogPath = folder.empty() ? std::string() : folder + "/KE_Error.log";
    return s_DefaultLogPath.c_str();
}
