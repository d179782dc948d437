#include "host/leftout.h"

#include "host/counted.h"
#include "host/sceneclips.h"
#include "host/scenevertices.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <algorithm>
#include <cmath>
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

static void CountWeights(RecordedScene& recorded, LeftOut& leftOut)
{
    for (int i = 0; i < recorded.NumElements(); i++)
    {
        if (!recorded.IsEnveloped(i))
            continue;
        std::set<std::uint32_t> vertices;
        for (const JoinedWeight& weight : recorded.Mesh(i).weights)
        {
            if (IsKeptPercent(weight.percent))
                continue;
            leftOut.weights++;
            vertices.insert(weight.vertex);
        }
        leftOut.weightedVertices += vertices.size();
    }
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

LeftOut FindLeftOut(const Model& model, RecordedScene& recorded, const std::vector<PlayedClip>& clips, bool fresh,
                    const std::vector<std::string>& warnings)
{
    LeftOut leftOut;
    leftOut.scaleKeys = FindMoving(recorded, clips, ScenePath::Scale);
    leftOut.morphMotion = FindMoving(recorded, clips, ScenePath::Weights);
    for (const std::string& warning : warnings)
    {
        if (warning.find("points and lines are left out") != std::string::npos ||
            warning.find("point or line is left out") != std::string::npos)
            leftOut.linesAndPoints.push_back(warning);
    }
    leftOut.secondRoots = FindSecondRoots(recorded.GetScene());
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
    CountWeights(recorded, leftOut);
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

std::vector<std::string> DescribeLeftOut(const LeftOut& leftOut)
{
    std::vector<std::string> lines;
    if (!leftOut.scaleKeys.empty())
        lines.push_back("scale keys: " + CountedNames(leftOut.scaleKeys, "node"));
    if (!leftOut.morphMotion.empty())
        lines.push_back("morph motion: " + CountedNames(leftOut.morphMotion, "node"));
    if (leftOut.weights > 0)
    {
        std::string on = Counted(leftOut.weightedVertices, "vertex");
        if (leftOut.weightedVertices != 1)
            on = std::to_string(leftOut.weightedVertices) + " vertices";
        lines.push_back("weights of 5 % and below: " + std::to_string(leftOut.weights) + " on " + on);
    }
    for (const std::string& sentence : leftOut.linesAndPoints)
        lines.push_back("lines and points: " + sentence);
    if (!leftOut.secondRoots.empty())
        lines.push_back("second roots: " + CountedNames(leftOut.secondRoots, "node"));
    if (!leftOut.nodesRemoved.empty())
        lines.push_back("nodes removed: " + CountedNames(leftOut.nodesRemoved, "node"));
    if (leftOut.verticesMerged > 0)
        lines.push_back("vertices merged: " + std::to_string(leftOut.verticesMerged) + " of " +
                        std::to_string(leftOut.vertices));
    if (leftOut.trianglesDropped > 0)
        lines.push_back("triangles dropped: " + std::to_string(leftOut.trianglesDropped) + " of " +
                        std::to_string(leftOut.triangles));
    return lines;
}
