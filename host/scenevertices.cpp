#include "host/scenevertices.h"

#include "scene/meshpositions.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

// Weights are that much the same, however they were computed.
static constexpr double SAME_WEIGHT = 1e-9;

std::vector<int> ElementsInPreOrder(const RecordedScene& recorded)
{
    std::vector<int> order;
    std::vector<int> todo;
    for (int i = recorded.NumElements() - 1; i >= 0; i--)
    {
        if (recorded.Element(i).parent < 0)
            todo.push_back(i);
    }
    while (!todo.empty())
    {
        const int element = todo.back();
        todo.pop_back();
        order.push_back(element);
        const std::vector<int>& children = recorded.Element(element).children;
        todo.insert(todo.end(), children.rbegin(), children.rend());
    }
    return order;
}

SceneVertices::SceneVertices(RecordedScene& recorded)
{
    for (const int element : ElementsInPreOrder(recorded))
    {
        if (!recorded.IsMesh(element))
            continue;
        Mesh mesh;
        mesh.element = element;
        mesh.node = recorded.Element(element).node;
        mesh.use = recorded.Element(element).use;
        mesh.name = recorded.Element(element).name;
        mesh.first = m_nVertices;
        mesh.fileVertex = recorded.Mesh(element).fileVertex;
        mesh.nTriangles = recorded.Primitive(element).triangles.size();
        m_nVertices += static_cast<std::uint32_t>(mesh.fileVertex.size());
        m_Meshes.push_back(std::move(mesh));
    }
}

const SceneVertices::Mesh& SceneVertices::MeshOf(std::uint32_t vertex) const
{
    const auto behind = std::upper_bound(m_Meshes.begin(), m_Meshes.end(), vertex,
                                         [](std::uint32_t v, const Mesh& mesh) { return v < mesh.first; });
    return *(behind - 1);
}

static double FloatOrZero(double value)
{
    return std::fabs(value) <= static_cast<double>(FLT_MAX) ? value : 0.0;
}

Double3 ModelPosition(const Double3& position)
{
    return {FloatOrZero(position.x), FloatOrZero(position.y), FloatOrZero(-position.z)};
}

void SceneVertices::Place(const ScenePlace& place, const SceneWeights& weights, std::vector<Double3>& positions) const
{
    ScenePose pose;
    EvaluatePose(*place.scene, place.clip, place.seconds, pose);
    positions.resize(m_nVertices);
    for (std::size_t i = 0; i < m_Meshes.size(); i++)
    {
        const Mesh& mesh = m_Meshes[i];
        const SceneMeshUse& use =
            place.scene->nodes[static_cast<std::size_t>(mesh.node)].meshes[static_cast<std::size_t>(mesh.use)];
        SkinWeights given;
        if (!weights.empty())
            given = {weights[i].influenceStarts.data(), weights[i].influences.data()};
        PlaceVertices(*place.scene, mesh.node, use, pose, weights.empty() ? nullptr : &given, mesh.fileVertex,
                      positions.data() + mesh.first);
    }
    for (Double3& position : positions)
        position = ModelPosition(position);
}

// The shares that are handed out in place of the file's weights; influences of one node keep their proportion.
static MeshWeights SharesOf(const ScenePrimitive& primitive, const SceneSkin& skin)
{
    MeshWeights own;
    own.influenceStarts.push_back(0);
    std::vector<VertexShare> all;
    std::vector<VertexShare> shares;
    for (std::size_t v = 0; v + 1 < primitive.influenceStarts.size(); v++)
    {
        const SceneInfluence* begin = primitive.influences.data() + primitive.influenceStarts[v];
        const SceneInfluence* end = primitive.influences.data() + primitive.influenceStarts[v + 1];
        FindShares(primitive, skin, begin, end, all);
        shares = all;
        if (begin != end)
            MendShares(shares, -1);
        for (const SceneInfluence* influence = begin; influence != end; ++influence)
        {
            const auto isItsNode = [&](const VertexShare& share)
            { return share.node == skin.joints[influence->joint]; };
            const auto before = std::find_if(all.begin(), all.end(), isItsNode);
            const auto share = std::find_if(shares.begin(), shares.end(), isItsNode);
            if (share != shares.end() && before->percent > 0.0)
                own.influences.push_back({influence->joint, influence->weight * share->percent / before->percent});
        }
        own.influenceStarts.push_back(static_cast<std::uint32_t>(own.influences.size()));
    }
    return own;
}

SceneWeights SceneVertices::FindSharesOf(const Scene& scene) const
{
    SceneWeights shares(m_Meshes.size());
    bool differs = false;
    for (std::size_t i = 0; i < m_Meshes.size(); i++)
    {
        const SceneMeshUse& use =
            scene.nodes[static_cast<std::size_t>(m_Meshes[i].node)].meshes[static_cast<std::size_t>(m_Meshes[i].use)];
        if (use.skin < 0)
            continue;
        const ScenePrimitive& all = scene.primitives[static_cast<std::size_t>(use.primitive)];
        shares[i] = SharesOf(all, scene.skins[static_cast<std::size_t>(use.skin)]);
        const std::vector<SceneInfluence>& own = shares[i].influences;
        for (std::size_t k = 0; !differs && k < all.influences.size(); k++)
            differs = k >= own.size() ||
                      std::fabs(own[k].weight - all.influences[k].weight) > SAME_WEIGHT * all.influences[k].weight;
    }
    return differs ? shares : SceneWeights();
}
