#include "scene/keyframe.h"

#include <algorithm>
#include <cmath>

static int CutToFrame(double frame)
{
    return static_cast<int>(std::clamp(frame, -1e9, 1e9));
}

int NearestFrame(double seconds, double fps)
{
    return CutToFrame(std::floor(seconds * fps + 0.5));
}

int KeyFrame(SceneInterpolation interpolation, double seconds, double fps)
{
    if (interpolation == SceneInterpolation::Step)
    {
        return CutToFrame(std::ceil((seconds - STEP_KEY_LEAD) * fps));
    }
    return NearestFrame(seconds, fps);
}
