// The value of an animated property at a time, as glTF 2.0 defines it (its appendix C: step, linear,
// spherical linear and cubic spline interpolation).
#pragma once

#include "scene/scene.h"

#include <cstddef>

// The stretch from one key of a channel to the next one that a time lies in.
struct KeyStretch
{
    std::size_t key = 0; // the first of the two
    double part = 0.0;   // of the stretch that lies before the time, from 0 to 1
};

// False where the value of the first or the last key holds. `stretch.key` may start as any number; that of another
// channel is found again at once if both have their keys at the same times, as is usual.
bool FindKeyStretch(const SceneChannel& channel, double seconds, KeyStretch& stretch);

// Writes `width` values: 3 for a translation or a scale, 4 for a rotation (of length 1), the number of morph weights
// else. Before the first key and behind the last one the end values hold. A step key counts from STEP_KEY_LEAD before
// its time on.
void SampleChannel(const SceneChannel& channel, std::size_t width, double seconds, double* values);
