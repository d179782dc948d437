// Which frames a clip covers.
#pragma once

#include "scene/scene.h"

#include <vector>

struct ClipRange
{
    int start = 0; // frame of the first key of any channel
    int end = 0;   // frame of the last one
};

// Frame 0 to 0 without a clip (-1) or for one without channels.
ClipRange FindClipRange(const Scene& scene, int clip, double fps);

// The frames that keys lie on, rising, each once: those of translation, rotation and morph weight channels, since a
// model keeps no scale keys.
std::vector<int> FindKeyFrames(const Scene& scene, int clip, double fps);

// Whether a scale channel of the clip takes values that differ by more than 0.0001.
bool AnimatesScale(const Scene& scene, int clip);
