#include "scene/splitmeshes.h"

#include "scene/joinvertices.h"
#include "scene/placename.h"
#include "scene/trianglelist.h"

#include <map>

// Where each part ends in the list of triangles.
static std::vector<std::size_t> FindEnds(const ScenePrimitive& primitive, const VertexJoin& join)
{
    std::vector<std::size_t> ends;
    std::vector<std::size_t> lastPart(join.fileVertex.size(), 0); // that a vertex is in, from 1
    std::size_t nVertices = 0;
    for (std::size_t i = 0; i < primitive.triangles.size(); ++i)
    {
        std::size_t part = ends.size() + 1;
        std::size_t nNew = 0;
        for (const std::uint32_t corner : primitive.triangles[i].corners)
        {
            nNew += lastPart[join.vertexOf[corner]] != part ? 1 : 0;
        }
        if (nVertices + nNew > MAX_MESH_VERTICES)
        {
            ends.push_back(i);
            ++part;
            nVertices = 0;
        }
        for (const std::uint32_t corner : primitive.triangles[i].corners)
        {
            std::size_t& last = lastPart[join.vertexOf[corner]];
            nVertices += last != part ? 1 : 0;
            last = part;
        }
    }
    ends.push_back(primitive.triangles.size());
    return ends;
}

// The primitives that stand for one, in their order: itself, unless it is too large.
static std::vector<int> SplitPrimitive(Scene& scene, int index, bool weighted)
{
    std::vector<int> parts{index};
    const ScenePrimitive& whole = std::as_const(scene).primitives[index];
    if (whole.positions.size() <= MAX_MESH_VERTICES)
    {
        return parts;
    }
    const VertexJoin join = JoinVertices(whole, weighted);
    if (join.fileVertex.size() <= MAX_MESH_VERTICES)
    {
        return parts;
    }
    parts.clear();
    std::size_t begin = 0;
    for (const std::size_t end : FindEnds(whole, join))
    {
        parts.push_back(static_cast<int>(scene.primitives.size()));
        scene.primitives.push_back(CopyTriangles(scene.primitives[index], begin, end));
        begin = end;
    }
    return parts;
}

void SplitLargeMeshes(Scene& scene)
{
    std::map<std::pair<int, bool>, std::vector<int>> partsOf; // of a primitive, as it is or skinned
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        std::vector<SceneMeshUse>& meshes = scene.nodes[i].meshes;
        const std::size_t nWhole = meshes.size();
        for (std::size_t whole = 0; whole < nWhole; ++whole)
        {
            const SceneMeshUse use = meshes[whole];
            const auto [entry, isNew] = partsOf.try_emplace({use.primitive, use.skin >= 0});
            if (isNew)
            {
                entry->second = SplitPrimitive(scene, use.primitive, use.skin >= 0);
            }
            const std::vector<int>& parts = entry->second;
            meshes[whole].primitive = parts[0];
            for (std::size_t part = 1; part < parts.size(); ++part)
            {
                meshes.push_back({parts[part], use.skin, static_cast<int>(part), static_cast<int>(whole)});
            }
            if (parts.size() > 1)
            {
                scene.warnings.push_back(PlaceName("node", i, scene.nodes[i].name) + ": its mesh has more than " +
                                         std::to_string(MAX_MESH_VERTICES) + " vertices and is split into " +
                                         std::to_string(parts.size()) + " pieces.");
            }
        }
    }
    std::vector<bool> isShown(scene.primitives.size(), false);
    for (const SceneNode& node : scene.nodes)
    {
        for (const SceneMeshUse& use : node.meshes)
        {
            isShown[use.primitive] = true;
        }
    }
    for (const auto& [whole, parts] : partsOf)
    {
        if (parts.size() > 1 && !isShown[whole.first])
        {
            scene.primitives[whole.first] = ScenePrimitive();
        }
    }
}
