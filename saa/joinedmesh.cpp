#include "saa/joinedmesh.h"

#include "scene/commonjoint.h"

#include <algorithm>
#include <numeric>

// Puts weights, which are by vertex, in the order of their nodes, with those of each node by vertex.
static void SortByNode(std::vector<JoinedWeight>& weights)
{
    const auto byNode = [](const JoinedWeight& a, const JoinedWeight& b) { return a.node < b.node; };
    const auto [least, greatest] = std::minmax_element(weights.begin(), weights.end(), byNode);
    const std::size_t nNodes = weights.empty() ? 0 : static_cast<std::size_t>(greatest->node - least->node) + 1;
    if (nNodes > weights.size())
    {
        std::stable_sort(weights.begin(), weights.end(), byNode);
        return;
    }
    const int first = weights.empty() ? 0 : least->node;
    std::vector<std::size_t> places(nNodes + 1, 0); // of each node's next one
    for (const JoinedWeight& weight : weights)
    {
        ++places[static_cast<std::size_t>(weight.node - first) + 1];
    }
    std::partial_sum(places.begin(), places.end(), places.begin());
    std::vector<JoinedWeight> sorted(weights.size());
    for (const JoinedWeight& weight : weights)
    {
        sorted[places[static_cast<std::size_t>(weight.node - first)]++] = weight;
    }
    weights.swap(sorted);
}

JoinedMesh JoinMesh(const Scene& scene, const SceneMeshUse& use, int node, const std::vector<bool>& isShown)
{
    const ScenePrimitive& primitive = scene.primitives[use.primitive];
    JoinedMesh mesh;
    static_cast<VertexJoin&>(mesh) = JoinVertices(primitive, use.skin >= 0);
    if (use.skin < 0)
    {
        return mesh;
    }
    const SceneSkin& skin = scene.skins[use.skin];
    const int common = FindCommonJoint(scene, skin);
    const int fallback = common >= 0 && isShown[skin.joints[common]] ? skin.joints[common] : node;
    mesh.weights.reserve(primitive.influences.size());
    const bool areAllShown =
        std::all_of(skin.joints.begin(), skin.joints.end(), [&](int joint) { return isShown[joint]; });
    std::vector<SceneInfluence> influences;
    std::vector<VertexShare> shares;
    for (std::uint32_t v = 0; v < mesh.fileVertex.size(); ++v)
    {
        SumInfluences(primitive, mesh.fileVertex[v], influences);
        if (!areAllShown)
        {
            influences.erase(std::remove_if(influences.begin(), influences.end(),
                                            [&](const SceneInfluence& influence)
                                            { return !isShown[skin.joints[influence.joint]]; }),
                             influences.end());
        }
        FindShares(primitive, skin, influences.data(), influences.data() + influences.size(), shares);
        mesh.changes.Add(MendShares(shares, fallback));
        for (const VertexShare& share : shares)
        {
            mesh.weights.push_back({share.node, v, share.percent});
        }
    }
    SortByNode(mesh.weights);
    mesh.weights.shrink_to_fit(); // of vertices that were joined there are fewer
    return mesh;
}
