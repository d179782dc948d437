#include "scene/rigidposes.h"

#include "scene/shownnodes.h"

RigidPoses::RigidPoses(const Scene& scene, int clip, double startSeconds)
    : m_Scene(scene), m_Clip(clip), m_Shown(FindShownNodes(scene)), m_Scales(scene.nodes.size()),
      m_Globals(scene.nodes.size()), m_Rigid(scene.nodes.size())
{
    EvaluatePose(scene, clip, startSeconds, m_Pose);
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        m_Scales[i] = m_Pose.locals[i].scale;
    }
    TakeScaleAway();
}

void RigidPoses::Evaluate(double seconds)
{
    EvaluatePose(m_Scene, m_Clip, seconds, m_Pose);
    TakeScaleAway();
}

// The scale that a node has at the moment, for that at the start, and then all.
void RigidPoses::TakeScaleAway()
{
    for (const int node : m_Shown)
    {
        DoubleTransform scaled = m_Pose.locals[node];
        scaled.scale = m_Scales[node];
        const DoubleMatrix local = MatrixFromTransform(scaled);
        const int parent = m_Scene.nodes[node].parent;
        m_Globals[node] = parent < 0 ? local : MultiplyAffine(m_Globals[parent], local);
        m_Rigid[node] = RigidFromMatrix(m_Globals[node]);
    }
}
