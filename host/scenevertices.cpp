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

void SceneVertices::Place(const ScenePlace& place, std::vector<Double3>& positions) const
{
    ScenePose pose;
    EvaluatePose(*place.scene, place.clip, place.seconds, pose);
    positions.resize(m_nVertices);
    for (const Mesh& mesh : m_Meshes)
    {
        const SceneMeshUse& use =
            place.scene->nodes[static_cast<std::size_t>(mesh.node)].meshes[static_cast<std::size_t>(mesh.use)];
        const std::vector<Double3> world = WorldPositions(*place.scene, mesh.node, use, pose);
        for (std::size_t i = 0; i < mesh.fileVertex.size(); i++)
            positions[mesh.first + i] = ModelPosition(world[mesh.fileVertex[i]]);
    }
}

// With the shares that are handed out in place of the file's weights; influences of one node keep their proportion.
static ScenePrimitive WithShares(ScenePrimitive primitive, const SceneSkin& skin)
{
    std::vector<SceneInfluence> kept;
    std::vector<std::uint32_t> starts{0};
    for (std::size_t v = 0; v + 1 < primitive.influenceStarts.size(); v++)
    {
        const SceneInfluence* begin = primitive.influences.data() + primitive.influenceStarts[v];
        const SceneInfluence* end = primitive.influences.data() + primitive.influenceStarts[v + 1];
        const std::vector<VertexShare> all = FindShares(skin, begin, end);
        std::vector<VertexShare> shares = all;
        if (begin != end)
            MendShares(shares, -1);
        for (const SceneInfluence* influence = begin; influence != end; ++influence)
        {
            const auto isItsNode = [&](const VertexShare& share)
            { return share.node == skin.joints[influence->joint]; };
            const auto before = std::find_if(all.begin(), all.end(), isItsNode);
            const auto share = std::find_if(shares.begin(), shares.end(), isItsNode);
            if (share != shares.end() && before->percent > 0.0)
                kept.push_back({influence->joint, influence->weight * share->percent / before->percent});
        }
        starts.push_back(static_cast<std::uint32_t>(kept.size()));
    }
    primitive.influences = std::move(kept);
    primitive.influenceStarts = std::move(starts);
    return primitive;
}

bool SceneVertices::MakeSceneOfShares(const Scene& scene, Scene& reduced) const
{
    reduced = scene;
    bool differs = false;
    for (const Mesh& mesh : m_Meshes)
    {
        SceneMeshUse& use =
            reduced.nodes[static_cast<std::size_t>(mesh.node)].meshes[static_cast<std::size_t>(mesh.use)];
        if (use.skin < 0)
            continue;
        const ScenePrimitive& all = scene.primitives[static_cast<std::size_t>(use.primitive)];
        ScenePrimitive kept = WithShares(all, scene.skins[static_cast<std::size_t>(use.skin)]);
        for (std::size_t i = 0; !differs && i < all.influences.size(); i++)
            differs = i >= kept.influences.size() || std::fabs(kept.influences[i].weight - all.influences[i].weight) >
                                                         SAME_WEIGHT * all.influences[i].weight;
        use.primitive = static_cast<int>(reduced.primitives.size());
        reduced.primitives.push_back(std::move(kept));
    }
    return differs;
}
