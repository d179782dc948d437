#include "scene/decompose.h"
#include "scene/gltfparts.h"

#include <algorithm>
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
        if (!IsNearUnit(q.data()))
        {
            reading.Warn("its rotation isn't of length 1; it is brought to that.");
        }
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

// The nodes without a parent and all below them, each before its children.
static std::vector<int> FindNodesFromTop(const Scene& scene)
{
    std::vector<int> reached;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        if (scene.nodes[i].parent < 0)
        {
            reached.push_back(static_cast<int>(i));
        }
    }
    for (std::size_t next = 0; next < reached.size(); ++next)
    {
        const std::vector<int>& children = scene.nodes[reached[next]].children;
        reached.insert(reached.end(), children.begin(), children.end());
    }
    return reached;
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
                reading.scene.warnings.push_back(place + " of " + std::to_string(nodes.size()) +
                                                 " nodes; it is left out.");
                continue;
            }
            if (nodes[child].parent >= 0)
            {
                reading.scene.warnings.push_back(place + " has a parent already, node " +
                                                 std::to_string(nodes[child].parent) + ", and stays there.");
                continue;
            }
            nodes[child].parent = static_cast<int>(i);
            nodes[i].children.push_back(child);
        }
    }
    // With one parent at most each, nodes that can't be reached from the top are in a loop or below one.
    std::vector<bool> seen(nodes.size(), false);
    for (const int node : FindNodesFromTop(reading.scene))
    {
        seen[node] = true;
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

// Which nodes are in the list of a scene. What doesn't belong in there gets a warning.
static std::vector<bool> FindListed(GltfReading& reading, const std::vector<int>& list)
{
    std::vector<bool> isListed(reading.scene.nodes.size(), false);
    for (const int root : list)
    {
        const bool exists = root >= 0 && static_cast<std::size_t>(root) < isListed.size();
        if (!exists || isListed[root])
        {
            reading.Warn("node " + std::to_string(root) +
                         (exists ? " is listed twice." : " of " + std::to_string(isListed.size()) + " is listed."));
            continue;
        }
        isListed[root] = true;
    }
    return isListed;
}

// Which nodes are below one that is listed.
static std::vector<bool> FindBelow(const Scene& scene, const std::vector<bool>& isListed)
{
    std::vector<bool> isBelow(scene.nodes.size(), false);
    for (const int node : FindNodesFromTop(scene))
    {
        const int parent = scene.nodes[node].parent;
        isBelow[node] = parent >= 0 && (isListed[parent] || isBelow[parent]);
    }
    return isBelow;
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
    int shown = std::max(model.defaultScene, 0);
    if (static_cast<std::size_t>(shown) >= model.scenes.size())
    {
        scene.warnings.push_back("The file shows scene " + std::to_string(shown) + " of " +
                                 std::to_string(model.scenes.size()) + "; scene 0 is taken.");
        shown = 0;
    }
    scene.name = model.scenes[shown].name;
    reading.place = PlaceName("scene", static_cast<std::size_t>(shown), scene.name);
    const std::vector<bool> isListed = FindListed(reading, model.scenes[shown].nodes);
    const std::vector<bool> isBelow = FindBelow(scene, isListed);
    std::vector<bool> isDone(scene.nodes.size(), false);
    for (const int root : model.scenes[shown].nodes)
    {
        if (root < 0 || static_cast<std::size_t>(root) >= isDone.size() || isDone[root])
        {
            continue;
        }
        isDone[root] = true;
        const std::string node = PlaceName("node", static_cast<std::size_t>(root), scene.nodes[root].name);
        if (isBelow[root])
        {
            reading.Warn(node + " is listed though it has a parent; it is shown below that.");
            continue;
        }
        if (scene.nodes[root].parent >= 0)
        {
            reading.Warn(node +
                         " is listed though it has a parent, which the scene doesn't show; it is taken from it.");
            scene.nodes[root].parent = -1;
        }
        scene.roots.push_back(root);
    }
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        std::vector<int>& children = scene.nodes[i].children;
        children.erase(std::remove_if(children.begin(), children.end(),
                                      [&](int child) { return scene.nodes[child].parent != static_cast<int>(i); }),
                       children.end());
    }
    return !scene.roots.empty() || reading.Fail(reading.place + ": it has no nodes");
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
        reading.place = PlaceName("node", i, node.name);
        const std::string& place = reading.place;
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
