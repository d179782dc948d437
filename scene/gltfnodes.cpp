#include "scene/decompose.h"
#include "scene/gltfparts.h"

#include <cmath>

static bool IsFinite(const std::vector<double>& numbers)
{
    for (const double number : numbers)
    {
        if (!std::isfinite(number))
        {
            return false;
        }
    }
    return true;
}

static bool ReadMatrix(GltfReading& reading, const tinygltf::Node& source, const std::string& place, SceneNode& node)
{
    if (source.matrix.size() != 16 || !IsFinite(source.matrix))
    {
        return reading.Fail("the matrix isn't one of 16 finite numbers");
    }
    DoubleMatrix matrix;
    for (std::size_t row = 0; row < 3; ++row)
    {
        for (std::size_t column = 0; column < 4; ++column)
        {
            matrix.m[row][column] = source.matrix[4 * column + row];
        }
    }
    if (!DecomposeMatrix(matrix, node.local))
    {
        reading.scene.warnings.push_back(place + ": its matrix is sheared; the shear is left out.");
    }
    return true;
}

static bool ReadTransform(GltfReading& reading, const tinygltf::Node& source, const std::string& place, SceneNode& node)
{
    if (!source.matrix.empty())
    {
        return ReadMatrix(reading, source, place, node);
    }
    const auto fits = [](const std::vector<double>& numbers, std::size_t count)
    { return numbers.empty() || (numbers.size() == count && IsFinite(numbers)); };
    if (!fits(source.translation, 3) || !fits(source.rotation, 4) || !fits(source.scale, 3))
    {
        return reading.Fail("translation, rotation or scale isn't one of 3, 4 and 3 finite numbers");
    }
    if (!source.translation.empty())
    {
        node.local.translation = {source.translation[0], source.translation[1], source.translation[2]};
    }
    if (!source.rotation.empty())
    {
        const std::vector<double>& q = source.rotation;
        node.local.rotation = NormalizeQuat({q[0], q[1], q[2], q[3]});
    }
    if (!source.scale.empty())
    {
        node.local.scale = {source.scale[0], source.scale[1], source.scale[2]};
    }
    return true;
}

static bool ReadMeshOfNode(GltfReading& reading, const tinygltf::Node& source, SceneNode& node)
{
    const std::vector<tinygltf::Mesh>& meshes = reading.document.model.meshes;
    if (source.mesh < 0)
    {
        return true;
    }
    if (static_cast<std::size_t>(source.mesh) >= meshes.size())
    {
        return reading.Fail("mesh " + std::to_string(source.mesh) + " of " + std::to_string(meshes.size()));
    }
    for (const int primitive : reading.meshPrimitives[source.mesh])
    {
        node.meshes.push_back({primitive, -1});
    }
    node.morphWeights = source.weights.empty() ? meshes[source.mesh].weights : source.weights;
    if (!IsFinite(node.morphWeights))
    {
        return reading.Fail("a morph weight isn't a finite number");
    }
    node.morphWeights.resize(reading.meshTargets[source.mesh], 0.0);
    return reading.Spend(node.morphWeights.size());
}

static bool LinkChildren(GltfReading& reading)
{
    const std::vector<tinygltf::Node>& sources = reading.document.model.nodes;
    std::vector<SceneNode>& nodes = reading.scene.nodes;
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        for (const int child : sources[i].children)
        {
            const std::string place = PlaceName("node", i, nodes[i].name) + ": child " + std::to_string(child);
            if (child < 0 || static_cast<std::size_t>(child) >= nodes.size())
            {
                return reading.Fail(place + " of " + std::to_string(nodes.size()) + " nodes");
            }
            if (nodes[child].parent >= 0)
            {
                return reading.Fail(place + " has another parent, node " + std::to_string(nodes[child].parent));
            }
            nodes[child].parent = static_cast<int>(i);
            nodes[i].children.push_back(child);
        }
    }
    // With one parent at most each, nodes that can't be reached from the top are in a loop or below one.
    std::vector<int> reached;
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        if (nodes[i].parent < 0)
        {
            reached.push_back(static_cast<int>(i));
        }
    }
    std::vector<bool> seen(nodes.size(), false);
    for (std::size_t next = 0; next < reached.size(); ++next)
    {
        seen[reached[next]] = true;
        const std::vector<int>& children = nodes[reached[next]].children;
        reached.insert(reached.end(), children.begin(), children.end());
    }
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        if (!seen[i])
        {
            return reading.Fail(PlaceName("node", i, nodes[i].name) + " is among its own ancestors");
        }
    }
    return true;
}

static bool ReadRoots(GltfReading& reading)
{
    const tinygltf::Model& model = reading.document.model;
    Scene& scene = reading.scene;
    if (model.scenes.empty())
    {
        for (std::size_t i = 0; i < scene.nodes.size(); ++i)
        {
            if (scene.nodes[i].parent < 0)
            {
                scene.roots.push_back(static_cast<int>(i));
            }
        }
        return !scene.roots.empty() || reading.Fail("the file has no nodes");
    }
    const int shown = model.defaultScene < 0 ? 0 : model.defaultScene;
    if (static_cast<std::size_t>(shown) >= model.scenes.size())
    {
        return reading.Fail("scene " + std::to_string(shown) + " of " + std::to_string(model.scenes.size()));
    }
    scene.name = model.scenes[shown].name;
    const std::string place = PlaceName("scene", static_cast<std::size_t>(shown), scene.name) + ": ";
    std::vector<bool> listed(scene.nodes.size(), false);
    for (const int root : model.scenes[shown].nodes)
    {
        if (root < 0 || static_cast<std::size_t>(root) >= scene.nodes.size())
        {
            return reading.Fail(place + "node " + std::to_string(root) + " of " + std::to_string(scene.nodes.size()));
        }
        if (scene.nodes[root].parent >= 0 || listed[root])
        {
            return reading.Fail(place + "node " + std::to_string(root) +
                                (listed[root] ? " is listed twice" : " is listed though it has a parent"));
        }
        listed[root] = true;
        scene.roots.push_back(root);
    }
    return !scene.roots.empty() || reading.Fail(place + "it has no nodes");
}

static void ReadCustomValues(const tinygltf::Value& extras, SceneNode& node)
{
    if (!extras.IsObject())
    {
        return;
    }
    for (const std::string& key : extras.Keys())
    {
        const tinygltf::Value& value = extras.Get(key);
        if (value.IsString())
        {
            node.customValues.emplace_back(key, value.Get<std::string>());
        }
    }
}

bool ReadGltfNodes(GltfReading& reading)
{
    const std::vector<tinygltf::Node>& sources = reading.document.model.nodes;
    reading.scene.nodes.resize(sources.size());
    reading.hasMatrix.resize(sources.size());
    for (std::size_t i = 0; i < sources.size(); ++i)
    {
        SceneNode& node = reading.scene.nodes[i];
        node.name = sources[i].name;
        const std::string place = PlaceName("node", i, node.name);
        if (!ReadTransform(reading, sources[i], place, node) || !ReadMeshOfNode(reading, sources[i], node))
        {
            return reading.Fail(place + ": " + reading.error);
        }
        reading.hasMatrix[i] = !sources[i].matrix.empty();
        node.isCamera = sources[i].camera >= 0;
        node.isLight = sources[i].extensions.count("KHR_lights_punctual") != 0;
        ReadCustomValues(sources[i].extras, node);
    }
    return LinkChildren(reading) && ReadRoots(reading);
}
