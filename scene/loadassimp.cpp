// The way into the library with the Assimp reader, which most runs do without.
#include "scene/assimpreader.h"
#include "scene/readfile.h"

#include <dlfcn.h>

typedef bool (*SceneReader)(const char* path, Scene& scene, std::string& error);

// It lies beside the library that this is part of.
static std::string FindLibrary()
{
    static const char inThisLibrary = 0;
    Dl_info info;
    const bool found = dladdr(&inThisLibrary, &info) != 0 && info.dli_fname != nullptr;
    const std::string path = found ? info.dli_fname : "";
    return path.substr(0, path.rfind('/') + 1) + "libzoltassimp.so"; // without a folder where the loader finds it
}

// It stays loaded: what Assimp has set up once serves the next file.
static SceneReader LoadReader(std::string& reason)
{
    static SceneReader reader = nullptr;
    if (reader != nullptr)
    {
        return reader;
    }
    void* library = dlopen(FindLibrary().c_str(), RTLD_NOW | RTLD_LOCAL);
    reader = library == nullptr ? nullptr : reinterpret_cast<SceneReader>(dlsym(library, "ZoltReadAssimpScene"));
    const char* failure = reader == nullptr ? dlerror() : nullptr; // NOLINT(concurrency-mt-unsafe): one thread
    reason = failure == nullptr ? "" : failure;
    return reader;
}

bool ReadAssimpScene(const char* path, Scene& scene, std::string& error)
{
    std::string reason;
    const SceneReader reader = LoadReader(reason);
    if (reader != nullptr)
    {
        return reader(path, scene, error);
    }
    scene = Scene();
    error = FileNameOf(path) + " can't be read: the reader for files other than glTF can't be loaded: " + reason + ".";
    return false;
}
