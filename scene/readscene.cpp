#include "scene/readscene.h"

#include "scene/assimpreader.h"
#include "scene/fileformat.h"
#include "scene/gltfreader.h"
#include "scene/readfile.h"
#include "scene/splitmeshes.h"

bool ReadScene(const char* path, Scene& scene, std::string& error)
{
    const std::string extension = FileExtensionOf(path);
    const std::string format = FindFormatByBytes(path);
    const bool isCalledGltf = extension == "gltf" || extension == "glb";
    const bool isGltf = format == "gltf" || format == "glb" || (isCalledGltf && format.empty());
    if (!(isGltf ? ReadGltfScene(path, scene, error) : ReadAssimpScene(path, scene, error)))
    {
        return false;
    }
    // A document of XML is often called so.
    const bool isCalledRight = format.empty() || extension == format || (isGltf && isCalledGltf) || extension == "xml";
    if (!isCalledRight)
    {
        scene.warnings.insert(scene.warnings.begin(),
                              FileNameOf(path) + " is a " + format + " file by its first bytes, and is read as one.");
    }
    SplitLargeMeshes(scene);
    return true;
}
