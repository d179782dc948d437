// Which frames need a key beside the authored ones, for a model that plays straight from key to key.
#pragma once

#include "scene/scene.h"

#include <vector>

constexpr double SHAPE_ANGLE = 0.1;       // degrees by which a node's local rotation may be off at a whole frame
constexpr double SHAPE_DISTANCE = 0.0005; // of the scene's radius, by which its local translation may be off

// Of the radius, by which a vertex may be off through a chain of such nodes: as much as one node that turns the whole
// scene can bring about.
constexpr double SHAPE_REACH = 0.004;

// What isn't told by the vertices of the scene: of a model that the clip is added to, or nodes that are kept on
// request.
struct ShapeKeyModel
{
    double radius = 0.0;     // 0 for that of the scene
    std::vector<bool> keeps; // by node: the model has it, whether it moves vertices or not; may be shorter
};

// The frames between `start` and `end` (inclusive), rising, that need keys beside those of FindKeyFrames, so that
// translations on straight lines and rotations on the shorter arc follow every node at every whole frame within the
// limits above. Nodes are judged as a model keeps them: with the scale that they have at the start frame, which passes
// into the translations below; relative to the parent, and where a model drops nodes in between that move no vertex,
// also relative to the next node that it keeps.
//
// Between two keys the frame that is farthest off gets a key while it is beyond a limit, and both parts are searched in
// turn (Ramer 1972; Douglas and Peucker 1973). So linear curves with keys on frames need none, a step the frame
// before it. A half turn has no shorter arc and gets a key within.
//
// Poses of frames take 64 MiB at most; a stretch between two keys whose poses would take more is evaluated anew for
// each search, in about twice the time.
std::vector<int> FindShapeKeys(const Scene& scene, int clip, double fps, int start, int end,
                               const ShapeKeyModel& model = {});
