#include "host/scaleeffects.h"

#include "scene/cliprange.h"
#include "scene/decompose.h"
#include "scene/meshpositions.h"
#include "scene/shownnodes.h"

#include <algorithm>
#include <cmath>

// Parts of a matrix's columns that differ by less are the same.
static constexpr double SAME = 1e-4;

namespace
{

class ScaleSearch
{
public:
    explicit ScaleSearch(const PlayedClip& played)
        : m_Played(played), m_Scene(*played.scene), m_Shown(FindShownNodes(m_Scene)),
          m_MovesVertices(m_Scene.nodes.size())
    {
        EvaluatePose(m_Scene, played.clip, played.Seconds(played.start), m_First);
        for (const int node : m_Shown)
        {
            for (const SceneMeshUse& use : m_Scene.nodes[Index(node)].meshes)
            {
                if (use.skin < 0)
                    m_MovesVertices[Index(node)] = true;
                else
                {
                    for (const int joint : m_Scene.skins[Index(use.skin)].joints)
                        m_MovesVertices[Index(joint)] = true;
                }
            }
        }
    }

    // Whether scale can do anything: it is animated, or uneven somewhere.
    bool IsNeeded() const
    {
        const auto isUneven = [this](int node)
        {
            const Double3& s = m_First.locals[Index(node)].scale;
            const double greatest = std::max({std::fabs(s.x), std::fabs(s.y), std::fabs(s.z)});
            return std::min({std::fabs(s.x), std::fabs(s.y), std::fabs(s.z)}) < (1.0 - SAME) * greatest;
        };
        return AnimatesScale(m_Scene, m_Played.clip) || std::any_of(m_Shown.begin(), m_Shown.end(), isUneven);
    }

    void LookAt(int frame)
    {
        ScenePose pose;
        EvaluatePose(m_Scene, m_Played.clip, m_Played.Seconds(frame), pose);
        ScenePose held = pose;
        bool changes = false;
        for (const int node : m_Shown)
            changes = HoldScale(node, held) || changes;
        if (changes)
            Measure(pose, held, m_Effects.animated);
        ScenePose rigid = held;
        bool bends = false;
        for (const int node : m_Shown)
            bends = MakeRigid(node, held, rigid) || bends;
        if (bends)
            Measure(held, rigid, m_Effects.sheared);
    }

    ScaleEffects TakeEffects()
    {
        for (ScaleEffect* effect : {&m_Effects.animated, &m_Effects.sheared})
        {
            std::sort(effect->nodes.begin(), effect->nodes.end());
            effect->nodes.erase(std::unique(effect->nodes.begin(), effect->nodes.end()), effect->nodes.end());
        }
        return m_Effects;
    }

private:
    static std::size_t Index(int node) { return static_cast<std::size_t>(node); }

    // Gives the node the scale that it has at the first frame; parents are done. Whether that is another one.
    bool HoldScale(int node, ScenePose& pose)
    {
        Double3& scale = pose.locals[Index(node)].scale;
        const Double3& first = m_First.locals[Index(node)].scale;
        const bool differs =
            std::max({std::fabs(scale.x - first.x), std::fabs(scale.y - first.y), std::fabs(scale.z - first.z)}) > SAME;
        scale = first;
        if (differs)
            m_Effects.animated.nodes.push_back(node);
        const int parent = m_Scene.nodes[Index(node)].parent;
        const DoubleMatrix local = MatrixFromTransform(pose.locals[Index(node)]);
        pose.globals[Index(node)] = parent < 0 ? local : MultiplyAffine(pose.globals[Index(parent)], local);
        return differs;
    }

    static DoubleMatrix RigidPart(const DoubleMatrix& matrix)
    {
        DoubleTransform transform;
        DecomposeMatrix(matrix, transform);
        transform.scale = {1.0, 1.0, 1.0};
        return MatrixFromTransform(transform);
    }

    // Brings the node from where it is at the first frame to where it is in `held` by a turn and a move alone. Whether
    // that comes out otherwise.
    bool MakeRigid(int node, const ScenePose& held, ScenePose& rigid)
    {
        if (!m_MovesVertices[Index(node)])
            return false;
        const DoubleMatrix& global = held.globals[Index(node)];
        const DoubleMatrix& first = m_First.globals[Index(node)];
        DoubleMatrix fromFirst;
        InvertAffine(RigidPart(first), fromFirst);
        DoubleMatrix& moved = rigid.globals[Index(node)];
        moved = MultiplyAffine(RigidPart(global), MultiplyAffine(fromFirst, first));
        double differs = 0.0;
        double length = 0.0;
        for (int row = 0; row < 3; row++)
        {
            for (int column = 0; column < 3; column++)
            {
                differs = std::max(differs, std::fabs(moved.m[row][column] - global.m[row][column]));
                length = std::max(length, std::fabs(global.m[row][column]));
            }
        }
        const bool bends = differs > SAME * length;
        if (bends)
            m_Effects.sheared.nodes.push_back(node);
        return bends;
    }

    void Measure(const ScenePose& a, const ScenePose& b, ScaleEffect& effect) const
    {
        for (const int node : m_Shown)
        {
            for (const SceneMeshUse& use : m_Scene.nodes[Index(node)].meshes)
            {
                const std::vector<Double3> ofA = WorldPositions(m_Scene, node, use, a);
                const std::vector<Double3> ofB = WorldPositions(m_Scene, node, use, b);
                for (std::size_t i = 0; i < ofA.size(); i++)
                    effect.distance = std::max(
                        effect.distance, std::hypot(ofA[i].x - ofB[i].x, ofA[i].y - ofB[i].y, ofA[i].z - ofB[i].z));
            }
        }
    }

    const PlayedClip& m_Played;
    const Scene& m_Scene;
    std::vector<int> m_Shown;
    std::vector<bool> m_MovesVertices;
    ScenePose m_First;
    ScaleEffects m_Effects;
};

} // namespace

ScaleEffects FindScaleEffects(const PlayedClip& played)
{
    ScaleSearch search(played);
    const int end = search.IsNeeded() ? played.end : played.start;
    for (int frame = played.start + 1; frame <= end; frame++)
        search.LookAt(frame);
    return search.TakeEffects();
}
