#include "saa/joinedmesh.h"

#include "scene/commonjoint.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace
{

struct NodeWeight
{
    int node = -1;
    JoinedWeight weight;
};

} // namespace

// The places of nodes from `first` on: for each where its weights end.
static std::vector<std::uint32_t> CountByNode(const std::vector<NodeWeight>& weights, int first, std::size_t nNodes)
{
    std::vector<std::uint32_t> ends(nNodes, 0);
    for (const NodeWeight& weight : weights)
    {
        ++ends[static_cast<std::size_t>(weight.node - first)];
    }
    std::partial_sum(ends.begin(), ends.end(), ends.begin());
    return ends;
}

// Gives the mesh weights that are by vertex. Those of nodes that are far apart are sorted, others have their places
// counted.
static void TakeByNode(std::vector<NodeWeight>& weights, JoinedMesh& mesh)
{
    const auto byNode = [](const NodeWeight& a, const NodeWeight& b) { return a.node < b.node; };
    const auto [least, greatest] = std::minmax_element(weights.begin(), weights.end(), byNode);
    if (weights.empty())
    {
        return;
    }
    const int first = least->node;
    const std::size_t nNodes = static_cast<std::size_t>(greatest->node - first) + 1;
    mesh.weights.resize(weights.size());
    if (nNodes > weights.size())
    {
        std::stable_sort(weights.begin(), weights.end(), byNode);
        for (std::uint32_t i = 0; i < weights.size(); ++i)
        {
            mesh.weights[i] = weights[i].weight;
            if (i == 0 || weights[i].node != weights[i - 1].node)
            {
                mesh.movers.push_back({weights[i].node, i});
            }
            mesh.movers.back().end = i + 1;
        }
        return;
    }
    std::vector<std::uint32_t> ends = CountByNode(weights, first, nNodes);
    std::uint32_t end = 0;
    for (std::size_t i = 0; i < nNodes; ++i)
    {
        if (ends[i] != end)
        {
            mesh.movers.push_back({first + static_cast<int>(i), ends[i]});
        }
        std::swap(end, ends[i]); // which becomes the place of the node's first one
    }
    for (const NodeWeight& weight : weights)
    {
        mesh.weights[ends[static_cast<std::size_t>(weight.node - first)]++] = weight.weight;
    }
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
    std::vector<NodeWeight> weights; // by vertex
    weights.reserve(primitive.influences.size());
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
            weights.push_back({share.node, {v, PercentAsFloat(share.percent)}});
        }
    }
    TakeByNode(weights, mesh);
    return mesh;
}
