#include "scene/gltfaccessor.h"
#include "scene/gltfparts.h"

#include <utility>

static const char NAME[] = "EXT_mesh_gpu_instancing";
static const std::size_t NUMBERS_PER_NODE = 32; // roughly what a node takes

// One attribute of all instances; `numbers` stays empty without it.
static bool ReadAttribute(GltfReading& reading, const tinygltf::Value& attributes, const char* name, int width,
                          std::vector<double>& numbers)
{
    if (!attributes.Has(name))
    {
        return true;
    }
    const tinygltf::Value& accessor = attributes.Get(name);
    if (!accessor.IsInt())
    {
        return reading.Fail(std::string(name) + " isn't an accessor");
    }
    return ReadGltfAccessor(reading.document, accessor.Get<int>(), width, GltfNumbers::Any, numbers, reading.error) ||
           reading.Fail(std::string(name) + ": " + reading.error);
}

static bool ReadTransforms(GltfReading& reading, const tinygltf::Value& extension,
                           std::vector<DoubleTransform>& instances)
{
    if (!extension.IsObject() || !extension.Get("attributes").IsObject())
    {
        return reading.Fail("it has no attributes");
    }
    const tinygltf::Value& attributes = extension.Get("attributes");
    std::vector<double> t;
    std::vector<double> r;
    std::vector<double> s;
    if (!ReadAttribute(reading, attributes, "TRANSLATION", 3, t) ||
        !ReadAttribute(reading, attributes, "ROTATION", 4, r) || !ReadAttribute(reading, attributes, "SCALE", 3, s))
    {
        return false;
    }
    const std::size_t n = !t.empty() ? t.size() / 3 : !r.empty() ? r.size() / 4 : s.size() / 3;
    if ((!r.empty() && r.size() / 4 != n) || (!s.empty() && s.size() / 3 != n))
    {
        return reading.Fail("its attributes are of different lengths");
    }
    if (!reading.Spend(NUMBERS_PER_NODE * n))
    {
        return false;
    }
    instances.resize(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        if (!t.empty())
        {
            instances[i].translation = {t[3 * i], t[3 * i + 1], t[3 * i + 2]};
        }
        if (!r.empty())
        {
            instances[i].rotation = NormalizeQuat({r[4 * i], r[4 * i + 1], r[4 * i + 2], r[4 * i + 3]});
        }
        if (!s.empty())
        {
            instances[i].scale = {s[3 * i], s[3 * i + 1], s[3 * i + 2]};
        }
    }
    return true;
}

bool ReadGltfInstances(GltfReading& reading)
{
    const std::vector<tinygltf::Node>& sources = reading.document.model.nodes;
    std::vector<SceneNode>& nodes = reading.scene.nodes;
    for (std::size_t i = 0; i < sources.size(); ++i)
    {
        const auto extension = sources[i].extensions.find(NAME);
        if (extension == sources[i].extensions.end() || nodes[i].meshes.empty())
        {
            continue;
        }
        const std::string place = PlaceName("node", i, nodes[i].name) + ": ";
        if (sources[i].skin >= 0)
        {
            reading.scene.warnings.push_back(place + "the instances of a skinned mesh are left out.");
            continue;
        }
        std::vector<DoubleTransform> instances;
        if (!ReadTransforms(reading, extension->second, instances))
        {
            return reading.Fail(place + NAME + ": " + reading.error);
        }
        const std::string name = nodes[i].name.empty() ? "node" + std::to_string(i) : nodes[i].name;
        for (std::size_t k = 0; k < instances.size(); ++k)
        {
            SceneNode node;
            node.name = name + "_" + std::to_string(k + 1);
            node.parent = static_cast<int>(i);
            node.local = instances[k];
            node.meshes = nodes[i].meshes;
            node.morphWeights = nodes[i].morphWeights;
            nodes[i].children.push_back(static_cast<int>(nodes.size()));
            nodes.push_back(std::move(node));
        }
        nodes[i].meshes.clear();
    }
    reading.hasMatrix.resize(nodes.size());
    return true;
}
