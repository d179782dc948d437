#include "scene/assimpimport.h"

#include "scene/fileformat.h"
#include "scene/readfile.h"

#include <assimp/BaseImporter.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>

// Without a reader for its extension, a file goes to one that knows its bytes.
static void IgnoreExtension(Assimp::Importer& importer, const std::string& extension)
{
    Assimp::BaseImporter* reader = importer.GetImporter(extension.c_str());
    while (!extension.empty() && reader != nullptr && importer.UnregisterLoader(reader) == aiReturn_SUCCESS)
    {
        delete reader; // ours from here on
        reader = importer.GetImporter(extension.c_str());
    }
}

const aiScene* ImportWithAssimp(Assimp::Importer& importer, const std::string& path, bool useNames)
{
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_OPTIMIZE_EMPTY_ANIMATION_CURVES, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, useNames);
    const std::string format = FindFormatByBytes(path);
    const std::string extension = FileExtensionOf(path);
    if (!format.empty() && format != extension)
    {
        IgnoreExtension(importer, extension);
    }
    return importer.ReadFile(path, aiProcess_Triangulate);
}

TrialResult TryImport(const std::string& path, unsigned seconds, std::uintmax_t bytes, std::string& reason)
{
    const auto work = [&path](std::string& why)
    {
        Assimp::Importer importer;
        if (ImportWithAssimp(importer, path, true) != nullptr)
        {
            importer.FreeScene();
            return true;
        }
        why = importer.GetErrorString();
        return false;
    };
    return TryInOtherProcess(work, seconds, bytes, reason);
}
