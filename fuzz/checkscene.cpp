#include "fuzz/checkscene.h"

#include "fuzz/require.h"

#include <cmath>

static bool InRange(int index, std::size_t size)
{
    return index >= 0 && static_cast<std::size_t>(index) < size;
}

static bool AreFinite(const std::vector<double>& values)
{
    for (const double value : values)
        if (!std::isfinite(value))
            return false;
    return true;
}

static bool AreFinite(const std::vector<Double3>& points)
{
    for (const Double3& point : points)
        if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z))
            return false;
    return true;
}

static bool IsFinite(const DoubleTransform& transform)
{
    const DoubleQuat& q = transform.rotation;
    return AreFinite(std::vector<Double3>{transform.translation, transform.scale}) && AreFinite({q.x, q.y, q.z, q.w});
}

static void CheckPrimitive(const Scene& scene, const ScenePrimitive& primitive)
{
    const std::size_t n = primitive.positions.size();
    FUZZ_REQUIRE(AreFinite(primitive.positions));
    FUZZ_REQUIRE(primitive.texCoords.empty() || primitive.texCoords.size() == n);
    for (const SceneTexCoord& uv : primitive.texCoords)
        FUZZ_REQUIRE(std::isfinite(uv.u) && std::isfinite(uv.v));
    for (const SceneTriangle& triangle : primitive.triangles)
        for (const std::uint32_t corner : triangle.corners)
            FUZZ_REQUIRE(corner < n);
    for (const std::vector<Double3>& deltas : primitive.morphDeltas)
        FUZZ_REQUIRE(deltas.size() == n && AreFinite(deltas));
    FUZZ_REQUIRE(primitive.image == -1 || InRange(primitive.image, scene.images.size()));
    const std::vector<std::uint32_t>& starts = primitive.influenceStarts;
    if (starts.empty())
        return;
    FUZZ_REQUIRE(starts.size() == n + 1 && starts.front() == 0 && starts.back() == primitive.influences.size());
    for (std::size_t i = 1; i < starts.size(); ++i)
        FUZZ_REQUIRE(starts[i - 1] <= starts[i]);
    for (const SceneInfluence& influence : primitive.influences)
        FUZZ_REQUIRE(influence.weight > 0.0 && std::isfinite(influence.weight));
}

static void CheckUse(const Scene& scene, const SceneMeshUse& use)
{
    FUZZ_REQUIRE(InRange(use.primitive, scene.primitives.size()));
    if (use.skin == -1)
        return;
    FUZZ_REQUIRE(InRange(use.skin, scene.skins.size()));
    FUZZ_REQUIRE(!scene.primitives[use.primitive].influenceStarts.empty());
    for (const SceneInfluence& influence : scene.primitives[use.primitive].influences)
        FUZZ_REQUIRE(influence.joint < scene.skins[use.skin].joints.size());
}

static void CheckNodes(const Scene& scene)
{
    std::size_t nChildren = 0;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        const SceneNode& node = scene.nodes[i];
        FUZZ_REQUIRE(node.parent == -1 || InRange(node.parent, scene.nodes.size()));
        FUZZ_REQUIRE(IsFinite(node.local) && AreFinite(node.morphWeights));
        for (const int child : node.children)
            FUZZ_REQUIRE(InRange(child, scene.nodes.size()) && scene.nodes[child].parent == static_cast<int>(i));
        for (const SceneMeshUse& use : node.meshes)
            CheckUse(scene, use);
        nChildren += node.children.size();
    }
    // With each child under its parent once and no node its own ancestor, these are trees.
    std::vector<int> todo;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
        if (scene.nodes[i].parent == -1)
            todo.push_back(static_cast<int>(i));
    FUZZ_REQUIRE(todo.size() + nChildren == scene.nodes.size());
    for (std::size_t next = 0; next < todo.size(); ++next)
        todo.insert(todo.end(), scene.nodes[todo[next]].children.begin(), scene.nodes[todo[next]].children.end());
    FUZZ_REQUIRE(todo.size() == scene.nodes.size());
    for (const int root : scene.roots)
        FUZZ_REQUIRE(InRange(root, scene.nodes.size()) && scene.nodes[root].parent == -1);
}

static void CheckChannel(const Scene& scene, const SceneChannel& channel)
{
    FUZZ_REQUIRE(InRange(channel.node, scene.nodes.size()));
    std::size_t width = channel.path == ScenePath::Rotation ? 4 : 3;
    if (channel.path == ScenePath::Weights)
        width = scene.nodes[channel.node].morphWeights.size();
    const std::size_t perKey = channel.interpolation == SceneInterpolation::Cubic ? 3 : 1;
    FUZZ_REQUIRE(!channel.times.empty() && channel.values.size() == channel.times.size() * width * perKey);
    FUZZ_REQUIRE(AreFinite(channel.times) && AreFinite(channel.values));
    for (std::size_t i = 1; i < channel.times.size(); ++i)
        FUZZ_REQUIRE(channel.times[i - 1] <= channel.times[i]);
}

void CheckScene(const Scene& scene)
{
    for (const ScenePrimitive& primitive : scene.primitives)
        CheckPrimitive(scene, primitive);
    for (const SceneSkin& skin : scene.skins)
    {
        FUZZ_REQUIRE(skin.joints.size() == skin.inverseBinds.size());
        for (const int joint : skin.joints)
            FUZZ_REQUIRE(InRange(joint, scene.nodes.size()));
        for (const DoubleMatrix& bind : skin.inverseBinds)
            FUZZ_REQUIRE(AreFinite(std::vector<double>(&bind.m[0][0], &bind.m[0][0] + 16)));
    }
    CheckNodes(scene);
    for (const SceneClip& clip : scene.clips)
        for (const SceneChannel& channel : clip.channels)
            CheckChannel(scene, channel);
}
