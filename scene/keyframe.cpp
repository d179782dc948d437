#include "scene/keyframe.h"

int KeyFrame(SceneInterpolation interpolation, double seconds, double fps)
{
    if (interpolation == SceneInterpolation::Step)
    {
        return FrameBelow(std::ceil((seconds - STEP_KEY_LEAD) * fps));
    }
    return NearestFrame(seconds, fps);
}
