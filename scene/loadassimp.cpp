// The way into the library with the Assimp reader, which most runs do without.
#include "scene/assimpreader.h"
#include "scene/loadlibrary.h"
#include "scene/readfile.h"

bool ReadAssimpScene(const char* path, Scene& scene, std::string& error)
{
    std::string reason;
    auto* const reader = LoadFunction<decltype(ZoltReadAssimpScene)>("libzoltassimp.so", "ZoltReadAssimpScene", reason);
    if (reader != nullptr)
    {
        return reader(path, scene, error);
    }
    scene = Scene();
    error = FileNameOf(path) + " can't be read: the reader for files other than glTF can't be loaded: " + reason + ".";
    return false;
}
