// The value of an animated property at a time, as glTF 2.0 defines it (its appendix C: step, linear,
// spherical linear and cubic spline interpolation).
#pragma once

#include "scene/scene.h"

#include <cstddef>

// Writes `width` values: 3 for a translation or a scale, 4 for a rotation (of length 1), the number of morph weights
// else. Before the first key and behind the last one the end values hold. A step key counts from STEP_KEY_LEAD before
// its time on.
void SampleChannel(const SceneChannel& channel, std::size_t width, double seconds, double* values);
