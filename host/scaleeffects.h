// What scale does to a scene that a model, whose nodes only turn and move, can't show.
#pragma once

#include "host/playedclip.h"

#include <vector>

struct ScaleEffect
{
    std::vector<int> nodes; // of the scene, rising
    double distance = 0.0;  // that a vertex is off through it, at most
};

struct ScaleEffects
{
    ScaleEffect animated; // nodes whose scale changes while the clip plays
    ScaleEffect sheared;  // nodes that turn below an uneven scale and move vertices, so that these are bent otherwise
                          // than at the first frame
};

// Looks at the clip at all whole frames of its range, against its first one.
ScaleEffects FindScaleEffects(const PlayedClip& played);
