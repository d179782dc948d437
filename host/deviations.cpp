#include "host/deviations.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

static double Length(const Double3& v)
{
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

static Double3 Minus(const Double3& a, const Double3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

void Deviations::Add(const SkinnedMesh& mesh, SkinPose& start, SkinPose& skin, double limit, std::size_t first,
                     std::size_t step)
{
    const Scene& scene = start.matrices.GetScene();
    const ScenePrimitive& primitive = scene.primitives[static_cast<size_t>(mesh.use->primitive)];
    const std::vector<int>& jointNodes = scene.skins[static_cast<size_t>(mesh.use->skin)].joints;
    const std::vector<DoubleMatrix>& joints = start.matrices.Joints(mesh.use->skin);
    const std::vector<double>& morphWeights = start.poses.Pose().morphWeights[static_cast<size_t>(mesh.node)];
    const VertexPlacer place(skin.matrices, mesh.node, *mesh.use);
    for (size_t v = first; v < primitive.positions.size(); v += step)
    {
        const Double3 taken = place(v);
        const Double3 own = MorphedPosition(primitive, morphWeights, v);
        Vertex vertex;
        vertex.firstPart = m_Parts.size();
        double sum = 0.0;
        for (uint32_t i = primitive.influenceStarts[v]; i < primitive.influenceStarts[v + 1]; i++)
        {
            const SceneInfluence& influence = primitive.influences[i];
            const int joint = jointNodes[influence.joint];
            const Double3 wanted = PointSeenFrom(start.poses[joint], TransformPoint(joints[influence.joint], own));
            const Double3 offset = Minus(wanted, PointSeenFrom(skin.poses[joint], taken));
            m_Parts.push_back({joint, influence.weight, offset});
            vertex.most += influence.weight * Length(offset);
            sum += influence.weight;
        }
        if (sum <= 0.0 || vertex.most <= limit * sum)
        {
            m_Parts.resize(vertex.firstPart);
            continue;
        }
        vertex.nParts = m_Parts.size() - vertex.firstPart;
        for (size_t i = vertex.firstPart; i < m_Parts.size(); i++)
            m_Parts[i].share = m_Parts[i].share / sum;
        vertex.most /= sum;
        m_Vertices.push_back(vertex);
    }
}

void Deviations::Sort()
{
    std::sort(m_Vertices.begin(), m_Vertices.end(), [](const Vertex& a, const Vertex& b) { return a.most > b.most; });
}

double Deviations::DistanceOf(const Vertex& vertex, const RigidPoses& poses) const
{
    Double3 sum;
    for (size_t i = vertex.firstPart; i < vertex.firstPart + vertex.nParts; i++)
    {
        const Part& part = m_Parts[i];
        const Double3 turned = Turn(poses[part.node].rotation, part.offset);
        sum.x += part.share * turned.x;
        sum.y += part.share * turned.y;
        sum.z += part.share * turned.z;
    }
    return Length(sum);
}

double Deviations::FindWorst(const RigidPoses& poses, double worst) const
{
    for (const Vertex& vertex : m_Vertices)
    {
        const double distance = vertex.most > worst ? DistanceOf(vertex, poses) : 0.0;
        worst = distance > worst ? distance : worst;
    }
    return worst;
}
