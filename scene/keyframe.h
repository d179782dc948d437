// Where keys lie on the frames of a play range. Frame f stands at f / fps seconds.
#pragma once

#include "scene/scene.h"

// A step key counts from this much before its time on, in seconds, so that its value holds from the key's frame on
// however that frame's time is rounded.
constexpr double STEP_KEY_LEAD = 1e-3;

// A step key lies on the first frame that isn't earlier than its time (less STEP_KEY_LEAD), every other key on the
// nearest frame, halves up. Frames beyond a thousand million either way are cut there.
int KeyFrame(SceneInterpolation interpolation, double seconds, double fps);

// The nearest frame, halves up.
int NearestFrame(double seconds, double fps);
