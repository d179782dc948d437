// Which frame rate suits the keys of a scene.
#pragma once

#include "scene/scene.h"

#include <vector>

enum class FrameRateReason
{
    FitsKeys,   // every key lies on a frame
    StatedRate, // what the file itself states
    NoneFits    // the default: nothing is stated, and no usual rate fits, or there are no keys
};

struct FrameRateChoice
{
    double fps = 30.0;
    FrameRateReason reason = FrameRateReason::NoneFits;
};

// How far a key may lie from its frame, in seconds.
constexpr double KEY_ON_FRAME = 1e-3;

// The rate that the file states if it says that its keys lie on those frames. Else the lowest of 24, 25, 30, 48, 50, 60
// and 120 at which every key of all channels of the clips (indices) lies within KEY_ON_FRAME of a frame; where there is
// none, or no keys, the rate that the file states, else 30. A stated rate counts if it is from 1 to 1000.
FrameRateChoice ChooseFrameRate(const Scene& scene, const std::vector<int>& clips);
