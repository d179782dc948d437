#include "scene/loadlibrary.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>

void* LoadFunction(const char* library, const char* function, std::string& reason)
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::string path = (program.parent_path().parent_path() / "lib" / library).string();
    void* loaded = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* found = loaded == nullptr ? nullptr : dlsym(loaded, function);
    const char* failure = found == nullptr ? dlerror() : nullptr; // NOLINT(concurrency-mt-unsafe): one thread
    reason = failure == nullptr ? "" : failure;
    return found;
}
