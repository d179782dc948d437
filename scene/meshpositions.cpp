#include "scene/meshpositions.h"

#include "scene/commonjoint.h"

#include <algorithm>

Double3 MorphedPosition(const ScenePrimitive& primitive, const std::vector<double>& weights, std::size_t vertex)
{
    Double3 position = primitive.positions[vertex];
    const std::size_t nTargets = std::min(weights.size(), primitive.morphDeltas.size());
    for (std::size_t target = 0; target < nTargets; ++target)
    {
        if (weights[target] != 0.0)
        {
            const Double3& delta = primitive.morphDeltas[target][vertex];
            position.x += weights[target] * delta.x;
            position.y += weights[target] * delta.y;
            position.z += weights[target] * delta.z;
        }
    }
    return position;
}

std::vector<Double3> MorphedPositions(const ScenePrimitive& primitive, const std::vector<double>& weights)
{
    std::vector<Double3> positions(primitive.positions.size());
    for (std::size_t v = 0; v < positions.size(); ++v)
    {
        positions[v] = MorphedPosition(primitive, weights, v);
    }
    return positions;
}

const std::vector<DoubleMatrix>& SkinMatrices::Joints(int skin)
{
    const SceneSkin& own = m_Scene.skins[skin];
    std::vector<DoubleMatrix>& joints = m_OfSkin[skin];
    if (joints.size() != own.joints.size())
    {
        joints.resize(own.joints.size());
        for (std::size_t i = 0; i < joints.size(); ++i)
        {
            joints[i] = MultiplyAffine(m_Pose.globals[own.joints[i]], own.inverseBinds[i]);
        }
    }
    return joints;
}

VertexPlacer::VertexPlacer(SkinMatrices& matrices, int node, const SceneMeshUse& use, const SkinWeights* weights)
    : m_Primitive(matrices.GetScene().primitives[use.primitive]), m_MorphWeights(matrices.Pose().morphWeights[node]),
      m_OfOthers(matrices.Pose().globals[node])
{
    m_bMorphs = std::any_of(m_MorphWeights.begin(), m_MorphWeights.end(), [](double weight) { return weight != 0.0; });
    if (use.skin < 0)
    {
        return;
    }
    m_Weights = weights ? *weights : SkinWeights{m_Primitive.influenceStarts.data(), m_Primitive.influences.data()};
    const std::vector<DoubleMatrix>& joints = matrices.Joints(use.skin);
    m_Joints = joints.data();
    const std::uint32_t* end = m_Weights.starts + m_Primitive.positions.size() + 1;
    if (std::adjacent_find(m_Weights.starts, end) != end)
    {
        const Scene& scene = matrices.GetScene();
        const int common = FindCommonJoint(scene, scene.skins[use.skin]);
        m_OfOthers = common < 0 ? m_OfOthers : joints[common];
    }
}

std::vector<Double3> WorldPositions(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose)
{
    SkinMatrices matrices(scene, pose);
    const VertexPlacer place(matrices, node, use);
    std::vector<Double3> positions(scene.primitives[use.primitive].positions.size());
    for (std::size_t v = 0; v < positions.size(); ++v)
    {
        positions[v] = place(v);
    }
    return positions;
}

void PlaceVertices(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose,
                   const SkinWeights* weights, const std::vector<std::uint32_t>& vertices, Double3* positions)
{
    SkinMatrices matrices(scene, pose);
    const VertexPlacer place(matrices, node, use, weights);
    for (std::size_t i = 0; i < vertices.size(); ++i)
    {
        positions[i] = place(vertices[i]);
    }
}
