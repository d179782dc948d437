// The nodes of a scene as the keys of a model are made from them.
#pragma once

#include "scene/rigidtransform.h"
#include "scene/scenepose.h"

#include <vector>

// Every node that is shown, in the world and without scale. A model keeps no scale: what a node has at one moment, the
// start, passes into the translations below it, at every other moment too.
class RigidPoses
{
public:
    // Stands at `startSeconds`. The scene must outlive this; `clip` is an index, or -1 for the scene at rest.
    RigidPoses(const Scene& scene, int clip, double startSeconds);

    void Evaluate(double seconds);

    // At the moment that was evaluated last.
    const RigidTransform& operator[](int node) const { return m_Rigid[static_cast<std::size_t>(node)]; }
    const ScenePose& Pose() const { return m_Pose; }

    // The nodes that are shown, parents first.
    const std::vector<int>& Shown() const { return m_Shown; }
    // By node: the scale at the start.
    const std::vector<Double3>& Scales() const { return m_Scales; }

private:
    void TakeScaleAway();

    const Scene& m_Scene;
    int m_Clip;
    std::vector<int> m_Shown;
    std::vector<Double3> m_Scales;
    ScenePose m_Pose;
    std::vector<char> m_IsScaled;        // whether it or a node above has another scale than at the start
    std::vector<DoubleMatrix> m_Globals; // at m_Scales
    std::vector<RigidTransform> m_Rigid;
};
