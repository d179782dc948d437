// Where keys lie on the frames of a play range. Frame f stands at f / fps seconds.
#pragma once

#include "scene/scene.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// A step key counts from this much before its time on, in seconds, so that its value holds from the key's frame on
// however that frame's time is rounded.
constexpr double STEP_KEY_LEAD = 1e-3;

// `frame`, a number that is no NaN, rounded down and cut to the frames that there are.
inline int FrameBelow(double frame)
{
    constexpr double MOST = 1e9;
    if (!(frame > -MOST && frame < MOST))
    {
        return static_cast<int>(std::clamp(std::floor(frame), -MOST, MOST));
    }
    const int cut = static_cast<int>(frame); // towards 0
    return cut - (frame < cut ? 1 : 0);
}

// The nearest frame, halves up.
inline int NearestFrame(double seconds, double fps)
{
    return FrameBelow(seconds * fps + 0.5);
}

// A step key lies on the first frame that isn't earlier than its time (less STEP_KEY_LEAD), every other key on the
// nearest frame, halves up. Frames beyond a thousand million either way are cut there.
inline int KeyFrame(SceneInterpolation interpolation, double seconds, double fps)
{
    return interpolation == SceneInterpolation::Step ? FrameBelow(std::ceil((seconds - STEP_KEY_LEAD) * fps))
                                                     : NearestFrame(seconds, fps);
}

// Most files key all channels at the same times.
inline bool HaveSameTimes(const SceneChannel& a, const SceneChannel& b)
{
    return &a == &b || (a.times.size() == b.times.size() && !a.times.empty() &&
                        std::memcmp(a.times.data(), b.times.data(), a.times.size() * sizeof(double)) == 0);
}
