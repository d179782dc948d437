#include "scene/loadlibrary.h"

#include <dlfcn.h>
#include <filesystem>
#include <map>
#include <system_error>

void* LoadAddress(const char* library, const char* function, std::string& reason)
{
    static std::map<std::string, void*> addresses; // by library and function
    void*& known = addresses[std::string(library) + " " + function];
    if (known != nullptr)
    {
        return known;
    }
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string path = (program.parent_path().parent_path() / "lib" / library).string();
    void* loaded = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* found = loaded == nullptr ? nullptr : dlsym(loaded, function);
    const char* failure = found == nullptr ? dlerror() : nullptr; // NOLINT(concurrency-mt-unsafe): one thread
    reason = failure == nullptr ? "" : failure;
    known = found;
    return found;
}
