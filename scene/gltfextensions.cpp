#include "scene/gltfextensions.h"

#include <map>
#include <set>

using Json = nlohmann::json;

// Read, or without a say in shapes and motion.
static bool IsKnown(const std::string& name)
{
    static const char* const names[] = {
        "EXT_mesh_gpu_instancing",    "EXT_meshopt_compression", "EXT_texture_avif",      "EXT_texture_webp",
        "KHR_draco_mesh_compression", "KHR_lights_punctual",     "KHR_mesh_quantization", "KHR_texture_basisu",
        "KHR_texture_transform",      "MSFT_texture_dds"};
    for (const char* known : names)
    {
        if (name == known)
        {
            return true;
        }
    }
    return name.compare(0, 14, "KHR_materials_") == 0;
}

namespace
{

class ExtensionSearch
{
public:
    // Looks at each object of `list`, and into its members that are named: "a" is one object or a list of them.
    void LookAt(const Json& list, const char* kind, const std::vector<const char*>& members)
    {
        if (list.is_object())
        {
            LookAtObject(list, kind, members);
        }
        for (std::size_t i = 0; list.is_array() && i < list.size(); ++i)
        {
            LookAtObject(list[i], kind, members);
        }
    }

    std::map<std::string, std::set<std::string>> kindsOf; // by extension, what it is used on

private:
    void LookAtObject(const Json& object, const char* kind, const std::vector<const char*>& members)
    {
        if (!object.is_object())
        {
            return;
        }
        const auto extensions = object.find("extensions");
        if (extensions != object.end() && extensions->is_object())
        {
            for (const auto& entry : extensions->items())
            {
                kindsOf[entry.key()].insert(kind);
            }
        }
        for (const char* member : members)
        {
            const auto inner = object.find(member);
            if (inner != object.end())
            {
                LookAt(*inner, kind, {"target"});
            }
        }
    }
};

} // namespace

std::vector<std::string> DescribeUnreadExtensions(const Json& document)
{
    ExtensionSearch search;
    const auto lookAt = [&](const char* list, const char* kind, const std::vector<const char*>& members = {})
    {
        const auto it = document.find(list);
        if (it != document.end())
        {
            search.LookAt(*it, kind, members);
        }
    };
    lookAt("nodes", "nodes");
    lookAt("meshes", "meshes", {"primitives"});
    lookAt("skins", "skins");
    lookAt("animations", "animations", {"channels", "samplers"});
    lookAt("accessors", "data");
    lookAt("bufferViews", "data");
    lookAt("buffers", "data");
    std::vector<std::string> sentences;
    std::set<std::string> told;
    for (const auto& [name, kinds] : search.kindsOf)
    {
        if (IsKnown(name))
        {
            continue;
        }
        std::string list;
        for (const std::string& kind : kinds)
        {
            list += (list.empty() ? "" : " and ") + kind;
        }
        sentences.push_back("The extension " + name + " isn't read; what it says of the file's " + list +
                            " is left out.");
        told.insert(name);
    }
    const auto required = document.find("extensionsRequired");
    for (std::size_t i = 0; required != document.end() && required->is_array() && i < required->size(); ++i)
    {
        const std::string name = (*required)[i].is_string() ? (*required)[i].get<std::string>() : "?";
        if (!IsKnown(name) && told.insert(name).second)
        {
            sentences.push_back("The file says that it can't be read without the extension " + name +
                                ", which isn't known here; something may be missing.");
        }
    }
    return sentences;
}

const Json* FindExtension(const Json& object, const char* name)
{
    const auto extensions = object.is_object() ? object.find("extensions") : object.end();
    if (!object.is_object() || extensions == object.end() || !extensions->is_object())
    {
        return nullptr;
    }
    const auto it = extensions->find(name);
    return it != extensions->end() && it->is_object() ? &*it : nullptr;
}
