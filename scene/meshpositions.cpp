#include "scene/meshpositions.h"

#include "scene/commonjoint.h"

#include <algorithm>

std::vector<Double3> MorphedPositions(const ScenePrimitive& primitive, const std::vector<double>& weights)
{
    std::vector<Double3> positions = primitive.positions;
    const std::size_t nTargets = std::min(weights.size(), primitive.morphDeltas.size());
    for (std::size_t target = 0; target < nTargets; ++target)
    {
        if (weights[target] == 0.0)
        {
            continue;
        }
        const std::vector<Double3>& deltas = primitive.morphDeltas[target];
        for (std::size_t v = 0; v < positions.size(); ++v)
        {
            positions[v].x += weights[target] * deltas[v].x;
            positions[v].y += weights[target] * deltas[v].y;
            positions[v].z += weights[target] * deltas[v].z;
        }
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

std::vector<Double3> WorldPositions(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose)
{
    const ScenePrimitive& primitive = scene.primitives[use.primitive];
    std::vector<Double3> positions = MorphedPositions(primitive, pose.morphWeights[node]);
    if (use.skin < 0)
    {
        for (Double3& position : positions)
        {
            position = TransformPoint(pose.globals[node], position);
        }
        return positions;
    }
    const SceneSkin& skin = scene.skins[use.skin];
    std::vector<DoubleMatrix> joints(skin.joints.size());
    for (std::size_t i = 0; i < joints.size(); ++i)
    {
        joints[i] = MultiplyAffine(pose.globals[skin.joints[i]], skin.inverseBinds[i]);
    }
    // What moves a vertex that no joint does.
    DoubleMatrix ofOthers = pose.globals[node];
    const std::vector<std::uint32_t>& starts = primitive.influenceStarts;
    if (std::adjacent_find(starts.begin(), starts.end()) != starts.end())
    {
        const int common = FindCommonJoint(scene, skin);
        ofOthers = common < 0 ? ofOthers : joints[common];
    }
    const SceneInfluence* influences = primitive.influences.data();
    for (std::size_t v = 0; v < positions.size(); ++v)
    {
        positions[v] = SkinPoint(influences + starts[v], influences + starts[v + 1], joints, ofOthers, positions[v]);
    }
    return positions;
}
