#include "host/leftout.h"

#include "host/sceneclips.h"
#include "host/scenevertices.h"
#include "tools/model/counted.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

// Values that differ by less than this are no motion.
static constexpr double MOTION = 1e-4;

static bool Moves(const SceneChannel& channel)
{
    // The values of a key, with the tangents of a cubic one; a tangent that isn't 0 is motion too.
    const std::size_t stride = channel.values.size() / channel.times.size();
    const bool isCubic = channel.interpolation == SceneInterpolation::Cubic;
    const std::size_t width = isCubic ? stride / 3 : stride;
    for (std::size_t i = 0; i < channel.values.size(); i++)
    {
        const std::size_t place = i % stride;
        const bool isTangent = isCubic && (place < width || place >= 2 * width);
        const double still = isTangent ? 0.0 : channel.values[place];
        const bool matters = !isTangent || channel.times.size() > 1;
        if (matters && std::fabs(channel.values[i] - still) > MOTION)
            return true;
    }
    return false;
}

// The elements that one of the clips moves along a path, in their order.
static std::vector<std::string> FindMoving(const RecordedScene& recorded, const std::vector<PlayedClip>& clips,
                                           ScenePath path)
{
    std::set<int> nodes;
    for (const PlayedClip& played : clips)
    {
        if (played.clip < 0)
            continue;
        for (const SceneChannel& channel : played.scene->clips[static_cast<std::size_t>(played.clip)].channels)
        {
            if (channel.path == path && Moves(channel))
                nodes.insert(channel.node);
        }
    }
    std::vector<std::string> names;
    for (int i = 0; i < recorded.NumElements(); i++)
    {
        if (recorded.Element(i).isNode && nodes.count(recorded.Element(i).node) != 0)
            names.push_back(recorded.Element(i).name);
    }
    return names;
}

static std::vector<std::string> FindSecondRoots(const Scene& scene)
{
    std::vector<std::string> names;
    for (std::size_t i = 0; i < scene.nodes.size(); i++)
    {
        const bool shown = std::find(scene.roots.begin(), scene.roots.end(), static_cast<int>(i)) != scene.roots.end();
        if (scene.nodes[i].parent < 0 && !shown)
            names.push_back(scene.nodes[i].name.empty() ? "node" + std::to_string(i) : scene.nodes[i].name);
    }
    return names;
}

// The elements for which `holds` is true, in their order.
template <typename Test> static std::vector<std::string> NamesOf(const RecordedScene& recorded, Test holds)
{
    std::vector<std::string> names;
    for (int i = 0; i < recorded.NumElements(); i++)
    {
        if (holds(i))
            names.push_back(recorded.Element(i).name);
    }
    return names;
}

// Elements, and what a reader names that found no place in the scene.
static std::vector<std::string> FindMorphMotion(const RecordedScene& recorded, const std::vector<PlayedClip>& clips)
{
    std::vector<std::string> names = FindMoving(recorded, clips, ScenePath::Weights);
    for (const PlayedClip& played : clips)
    {
        if (played.clip < 0)
            continue;
        const SceneClip& clip = played.scene->clips[static_cast<std::size_t>(played.clip)];
        for (const std::string& name : clip.unreadMorphs)
        {
            if (std::find(names.begin(), names.end(), name) == names.end())
                names.push_back(name);
        }
    }
    return names;
}

static void FindMeshExtras(RecordedScene& recorded, LeftOut& leftOut)
{
    const auto having = [&](auto has)
    { return NamesOf(recorded, [&](int i) { return recorded.IsMesh(i) && has(recorded.Primitive(i).extras); }); };
    leftOut.vertexColors = having([](const SceneMeshExtras& extras) { return extras.hasColors; });
    leftOut.texCoordSets = having([](const SceneMeshExtras& extras) { return extras.nFurtherTexCoords > 0; });
    leftOut.normals = having([](const SceneMeshExtras& extras) { return extras.hasNormals; });
    for (int i = 0; i < recorded.NumElements(); i++)
    {
        if (!recorded.IsMesh(i))
            continue;
        const std::string& material = recorded.Primitive(i).extras.material;
        const auto end = leftOut.materials.end();
        if (!material.empty() && std::find(leftOut.materials.begin(), end, material) == end)
            leftOut.materials.push_back(material);
        leftOut.weights.Add(recorded.Mesh(i).changes);
    }
}

LeftOut FindLeftOut(const Model& model, RecordedScene& recorded, const std::vector<PlayedClip>& clips, bool fresh)
{
    LeftOut leftOut;
    const Scene& scene = recorded.GetScene();
    leftOut.scaleKeys = FindMoving(recorded, clips, ScenePath::Scale);
    leftOut.morphMotion = FindMorphMotion(recorded, clips);
    leftOut.linesAndPoints = scene.pointsAndLines;
    const std::set<std::string> isListed(scene.pointsAndLines.begin(), scene.pointsAndLines.end());
    for (const std::string& warning : scene.warnings)
    {
        if (!isListed.contains(warning))
            leftOut.unread.push_back(warning);
    }
    leftOut.secondRoots = FindSecondRoots(scene);
    const auto isNode = [&](int i) { return recorded.Element(i).isNode; };
    const auto nodeOf = [&](int i) { return static_cast<std::size_t>(recorded.Element(i).node); };
    leftOut.cameras = NamesOf(recorded, [&](int i) { return isNode(i) && scene.nodes[nodeOf(i)].isCamera; });
    leftOut.lights = NamesOf(recorded, [&](int i) { return isNode(i) && scene.nodes[nodeOf(i)].isLight; });
    const std::set<int> fitted(clips.front().sceneNodes.begin(), clips.front().sceneNodes.end());
    const auto less = [](const char* a, const char* b) { return CompareNoCase(a, b) < 0; };
    std::set<const char*, decltype(less)> names;
    for (std::uint32_t i = 0; i < model.NumNodes(); i++)
        names.insert(model.GetNode(i)->GetName());
    for (const int element : ElementsInPreOrder(recorded))
    {
        const RecordedElement& own = recorded.Element(element);
        if (fitted.empty() ? !names.contains(own.name.c_str()) : !fitted.contains(own.node))
            leftOut.nodesRemoved.push_back(own.name);
    }
    if (!fresh)
        return leftOut;
    FindMeshExtras(recorded, leftOut);
    const SceneVertices vertices(recorded);
    for (const SceneVertices::Mesh& mesh : vertices.Meshes())
    {
        leftOut.vertices += mesh.fileVertex.size();
        leftOut.triangles += mesh.nTriangles;
    }
    leftOut.verticesMerged = leftOut.vertices - std::min<std::size_t>(leftOut.vertices, model.CalcNumVerts());
    leftOut.trianglesDropped = leftOut.triangles - std::min<std::size_t>(leftOut.triangles, model.CalcNumTris(0));
    return leftOut;
}

static std::string UpTo(double part)
{
    char text[60];
    std::snprintf(text, sizeof(text), ", up to %.4g %% of the radius", 100.0 * part);
    return text;
}

static void DescribeWeights(const ShareChanges& weights, std::vector<std::string>& lines)
{
    const std::size_t small = weights.raised + weights.dropped;
    if (small > 0)
        lines.push_back("weights of 5 % and below: " + std::to_string(small) + " on " +
                        Counted(weights.touched, "vertex") + ", " + std::to_string(weights.raised) +
                        " raised to a little more than 5 %, " + std::to_string(weights.dropped) + " dropped");
    if (weights.mended > 0)
        lines.push_back("weights: " + Counted(weights.mended, "vertex") +
                        " mended that no weight above 2.5 % moves (the greatest weight alone, or a node without any)");
}

std::vector<std::string> DescribeLeftOut(const LeftOut& leftOut)
{
    std::vector<std::string> lines;
    const auto list =
        [&](const char* what, const std::vector<std::string>& names, const char* thing, const std::string& more = "")
    {
        if (!names.empty())
            lines.push_back(std::string(what) + ": " + CountedNames(names, thing) + more);
    };
    list("scale keys", leftOut.scaleKeys, "node", UpTo(leftOut.scaleDistance));
    list("sheared scale", leftOut.shearedScale, "node", UpTo(leftOut.shearDistance));
    list("morph motion", leftOut.morphMotion, "node");
    DescribeWeights(leftOut.weights, lines);
    for (const std::string& sentence : leftOut.linesAndPoints)
        lines.push_back("lines and points: " + sentence);
    for (const std::string& sentence : leftOut.unread)
        lines.push_back("or read otherwise: " + sentence);
    list("vertex colours", leftOut.vertexColors, "mesh");
    list("further texture coordinates", leftOut.texCoordSets, "mesh");
    list("materials", leftOut.materials, "material");
    list("normals of the file", leftOut.normals, "mesh", ", computed anew");
    list("cameras", leftOut.cameras, "node");
    list("lights", leftOut.lights, "node");
    list("second roots", leftOut.secondRoots, "node");
    list("nodes removed", leftOut.nodesRemoved, "node");
    if (leftOut.verticesMerged > 0)
        lines.push_back("vertices merged: " + std::to_string(leftOut.verticesMerged) + " of " +
                        std::to_string(leftOut.vertices));
    if (leftOut.trianglesDropped > 0)
        lines.push_back("triangles dropped: " + std::to_string(leftOut.trianglesDropped) + " of " +
                        std::to_string(leftOut.triangles));
    return lines;
}
