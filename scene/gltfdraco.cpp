#include "scene/gltfdraco.h"

#include "scene/dracodecoder.h"
#include "scene/loadlibrary.h"
#include "scene/placename.h"

static const char NAME[] = "KHR_draco_mesh_compression";

#ifdef ZOLT_HAS_DRACO

static bool DecompressPrimitive(GltfDocument& document, const tinygltf::Value& extension,
                                tinygltf::Primitive& primitive, std::string& error)
{
    std::string reason;
    auto* const decompress =
        LoadFunction<decltype(ZoltDecompressDraco)>("libzoltdraco.so", "ZoltDecompressDraco", reason);
    if (decompress == nullptr)
    {
        error = std::string("the decoder of ") + NAME + " can't be loaded: " + reason;
        return false;
    }
    return decompress(document, extension, primitive, error);
}

#else

static bool DecompressPrimitive(GltfDocument&, const tinygltf::Value&, tinygltf::Primitive&, std::string& error)
{
    error = std::string(NAME) + " isn't supported here";
    return false;
}

#endif

bool DecompressDraco(GltfDocument& document, std::string& error)
{
    std::vector<tinygltf::Mesh>& meshes = document.model.meshes;
    for (std::size_t m = 0; m < meshes.size(); ++m)
    {
        for (std::size_t p = 0; p < meshes[m].primitives.size(); ++p)
        {
            tinygltf::Primitive& primitive = meshes[m].primitives[p];
            const auto extension = primitive.extensions.find(NAME);
            if (extension != primitive.extensions.end() &&
                !DecompressPrimitive(document, extension->second, primitive, error))
            {
                std::string place = PlaceName("mesh", m, meshes[m].name);
                error = place.append(", primitive ").append(std::to_string(p)).append(": ").append(error);
                return false;
            }
        }
    }
    return true;
}
