// A scene at one moment: where every node stands.
#pragma once

#include "scene/scene.h"

#include <vector>

struct ScenePose
{
    std::vector<DoubleTransform> locals;           // for each node, relative to its parent
    std::vector<DoubleMatrix> globals;             // for each node, into the world
    std::vector<std::vector<double>> morphWeights; // for each node
};

// The pose of `clip` (an index, or -1 for the scene at rest) at a time in seconds. What the clip doesn't move stands
// at rest.
void EvaluatePose(const Scene& scene, int clip, double seconds, ScenePose& pose);

// The two halves of it: all but the globals, and the globals from the locals.
void EvaluateLocals(const Scene& scene, int clip, double seconds, ScenePose& pose);

// EvaluateLocals at another time of the same clip: only what the clip moves.
void MoveLocals(const SceneClip& clip, double seconds, ScenePose& pose);

void ComputeGlobals(const Scene& scene, ScenePose& pose);
