#include "scene/readscene.h"

#include "scene/assimpreader.h"
#include "scene/gltfreader.h"
#include "scene/readfile.h"
#include "scene/splitmeshes.h"

bool ReadScene(const char* path, Scene& scene, std::string& error)
{
    const std::string extension = FileExtensionOf(path);
    const bool isGltf = extension == "gltf" || extension == "glb";
    if (!(isGltf ? ReadGltfScene(path, scene, error) : ReadAssimpScene(path, scene, error)))
    {
        return false;
    }
    SplitLargeMeshes(scene);
    return true;
}
