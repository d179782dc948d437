#include "scene/meshpositions.h"

#include "scene/commonjoint.h"

#include <algorithm>

static Double3 MorphedPosition(const ScenePrimitive& primitive, const std::vector<double>& weights, std::size_t vertex)
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

static Double3 SkinPoint(const SceneInfluence* influence, const SceneInfluence* end,
                         const std::vector<DoubleMatrix>& joints, const DoubleMatrix& ofOthers, const Double3& point)
{
    Double3 sum;
    double weights = 0.0;
    for (; influence != end; ++influence)
    {
        const Double3 moved = TransformPoint(joints[influence->joint], point);
        sum.x += influence->weight * moved.x;
        sum.y += influence->weight * moved.y;
        sum.z += influence->weight * moved.z;
        weights += influence->weight;
    }
    if (weights == 0.0)
    {
        return TransformPoint(ofOthers, point);
    }
    return {sum.x / weights, sum.y / weights, sum.z / weights};
}

// `vertexOf` gives the vertex at each of `count` places.
template <typename VertexOf>
static void Place(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose,
                  const SkinWeights& weights, std::size_t count, VertexOf vertexOf, Double3* positions)
{
    const ScenePrimitive& primitive = scene.primitives[use.primitive];
    const std::vector<double>& morphWeights = pose.morphWeights[node];
    if (use.skin < 0)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            positions[i] = TransformPoint(pose.globals[node], MorphedPosition(primitive, morphWeights, vertexOf(i)));
        }
        return;
    }
    const SceneSkin& skin = scene.skins[use.skin];
    std::vector<DoubleMatrix> joints(skin.joints.size());
    for (std::size_t i = 0; i < joints.size(); ++i)
    {
        joints[i] = MultiplyAffine(pose.globals[skin.joints[i]], skin.inverseBinds[i]);
    }
    // What moves a vertex that no joint does.
    DoubleMatrix ofOthers = pose.globals[node];
    if (std::adjacent_find(weights.starts, weights.starts + primitive.positions.size() + 1) !=
        weights.starts + primitive.positions.size() + 1)
    {
        const int common = FindCommonJoint(scene, skin);
        ofOthers = common < 0 ? ofOthers : joints[common];
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::size_t v = vertexOf(i);
        positions[i] = SkinPoint(weights.influences + weights.starts[v], weights.influences + weights.starts[v + 1],
                                 joints, ofOthers, MorphedPosition(primitive, morphWeights, v));
    }
}

static SkinWeights WeightsOf(const ScenePrimitive& primitive)
{
    return {primitive.influenceStarts.data(), primitive.influences.data()};
}

std::vector<Double3> WorldPositions(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose)
{
    const ScenePrimitive& primitive = scene.primitives[use.primitive];
    std::vector<Double3> positions(primitive.positions.size());
    Place(
        scene, node, use, pose, WeightsOf(primitive), positions.size(), [](std::size_t i) { return i; },
        positions.data());
    return positions;
}

void PlaceVertices(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose,
                   const SkinWeights* weights, const std::vector<std::uint32_t>& vertices, Double3* positions)
{
    Place(
        scene, node, use, pose, weights == nullptr ? WeightsOf(scene.primitives[use.primitive]) : *weights,
        vertices.size(), [&](std::size_t i) { return vertices[i]; }, positions);
}
