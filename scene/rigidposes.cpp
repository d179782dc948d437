#include "scene/rigidposes.h"

#include "scene/shownnodes.h"

RigidPoses::RigidPoses(const Scene& scene, int clip, double startSeconds)
    : m_Scene(scene), m_Clip(clip), m_Shown(FindShownNodes(scene)), m_Scales(scene.nodes.size()),
      m_IsScaled(scene.nodes.size()), m_Globals(scene.nodes.size()), m_Rigid(scene.nodes.size())
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
        const Double3& now = m_Pose.locals[node].scale;
        const Double3& then = m_Scales[node];
        const int parent = m_Scene.nodes[node].parent;
        m_IsScaled[node] = now.x != then.x || now.y != then.y || now.z != then.z || (parent >= 0 && m_IsScaled[parent]);
        if (m_IsScaled[node])
        {
            DoubleTransform scaled = m_Pose.locals[node];
            scaled.scale = then;
            const DoubleMatrix local = MatrixFromTransform(scaled);
            m_Globals[node] = parent < 0 ? local : MultiplyAffine(m_Globals[parent], local);
        }
        else
        {
            m_Globals[node] = m_Pose.globals[node];
        }
        m_Rigid[node] = RigidFromMatrix(m_Globals[node]);
    }
}
