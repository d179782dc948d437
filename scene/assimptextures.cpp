#include "scene/assimpparts.h"
#include "scene/imagesize.h"
#include "scene/readfile.h"

#include <assimp/material.h>

#include <algorithm>
#include <climits>

// A path as the program wrote it that made the file: as it is, below the file's folder, or just its name beside it.
static void MeasureFile(const std::string& folder, std::string path, SceneImage& image)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    const std::string prefix = folder.empty() ? "" : folder + "/";
    const bool absolute = !path.empty() && path[0] == '/';
    image.name = FileNameOf(path);
    if (!ImageSizeFromFile(absolute ? path : prefix + path, image.width, image.height) &&
        !ImageSizeFromFile(prefix + image.name, image.width, image.height))
    {
        image.width = 0;
        image.height = 0;
    }
}

static void MeasureEmbedded(const aiTexture& texture, const std::string& path, SceneImage& image)
{
    image.name = texture.mFilename.length > 0 ? FileNameOf(texture.mFilename.C_Str()) : path;
    if (texture.pcData == nullptr)
    {
        return;
    }
    if (texture.mHeight == 0)
    {
        if (!ImageSizeFromMemory(reinterpret_cast<const unsigned char*>(texture.pcData), texture.mWidth, image.width,
                                 image.height))
        {
            image.width = 0;
            image.height = 0;
        }
    }
    else if (texture.mWidth <= INT_MAX && texture.mHeight <= INT_MAX)
    {
        image.width = static_cast<int>(texture.mWidth);
        image.height = static_cast<int>(texture.mHeight);
    }
}

void ListAssimpTextures(AssimpReading& reading)
{
    const std::string prefix = reading.folder.empty() ? "" : reading.folder + "/";
    for (unsigned i = 0; i < reading.source.mNumMaterials; ++i)
    {
        const aiMaterial* material = reading.source.mMaterials[i];
        for (unsigned p = 0; material != nullptr && p < material->mNumProperties; ++p)
        {
            const aiMaterialProperty& property = *material->mProperties[p];
            aiString file;
            if (std::string(property.mKey.C_Str()) != "$tex.file" ||
                material->Get("$tex.file", property.mSemantic, property.mIndex, file) != aiReturn_SUCCESS)
            {
                continue;
            }
            std::string path = file.C_Str();
            std::replace(path.begin(), path.end(), '\\', '/');
            const bool absolute = !path.empty() && path[0] == '/';
            reading.scene.files.push_back(absolute ? path : prefix + path);
            reading.scene.files.push_back(prefix + FileNameOf(path));
        }
    }
}

bool FindAssimpTexture(AssimpReading& reading, const aiMesh& mesh, int& image, unsigned& coordSet)
{
    image = -1;
    coordSet = 0;
    if (reading.source.mNumMaterials == 0)
    {
        return true;
    }
    if (mesh.mMaterialIndex >= reading.source.mNumMaterials ||
        reading.source.mMaterials[mesh.mMaterialIndex] == nullptr)
    {
        return reading.Fail("material " + std::to_string(mesh.mMaterialIndex) + " of " +
                            std::to_string(reading.source.mNumMaterials));
    }
    const aiMaterial& material = *reading.source.mMaterials[mesh.mMaterialIndex];
    aiString file;
    if (material.GetTexture(aiTextureType_DIFFUSE, 0, &file, nullptr, &coordSet) != aiReturn_SUCCESS &&
        material.GetTexture(aiTextureType_BASE_COLOR, 0, &file, nullptr, &coordSet) != aiReturn_SUCCESS)
    {
        return true;
    }
    const std::string path = file.C_Str();
    const auto found = reading.imageOfPath.emplace(path, static_cast<int>(reading.scene.images.size()));
    if (found.second)
    {
        reading.scene.images.emplace_back();
        const aiTexture* embedded = path.empty() ? nullptr : reading.source.GetEmbeddedTexture(path.c_str());
        if (embedded != nullptr)
        {
            MeasureEmbedded(*embedded, path, reading.scene.images.back());
        }
        else
        {
            MeasureFile(reading.folder, path, reading.scene.images.back());
        }
    }
    image = found.first->second;
    return true;
}
