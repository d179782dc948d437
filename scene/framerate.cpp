#include "scene/framerate.h"

#include "scene/keyframe.h"

#include <cmath>

static const double USUAL_RATES[] = {24.0, 25.0, 30.0, 48.0, 50.0, 60.0, 120.0};
static const double ROUNDING = 1e-9; // of times that are KEY_ON_FRAME away on paper

static bool LiesOnFrame(double seconds, double fps)
{
    return std::fabs(std::round(seconds * fps) / fps - seconds) <= KEY_ON_FRAME + ROUNDING;
}

static bool FitsAllKeys(const Scene& scene, const std::vector<int>& clips, double fps)
{
    const SceneChannel* before = nullptr;
    for (const int clip : clips)
    {
        for (const SceneChannel& channel : scene.clips[clip].channels)
        {
            if (before != nullptr && HaveSameTimes(channel, *before))
            {
                continue;
            }
            before = &channel;
            for (const double time : channel.times)
            {
                if (!LiesOnFrame(time, fps))
                {
                    return false;
                }
            }
        }
    }
    return true;
}

FrameRateChoice ChooseFrameRate(const Scene& scene, const std::vector<int>& clips)
{
    const bool isStated = scene.statedFps >= 1.0 && scene.statedFps <= 1000.0;
    if (isStated && scene.keysOnStatedFrames)
    {
        return {scene.statedFps, FrameRateReason::StatedRate};
    }
    bool hasKeys = false;
    for (const int clip : clips)
    {
        hasKeys = hasKeys || !scene.clips[clip].channels.empty();
    }
    for (const double fps : USUAL_RATES)
    {
        if (hasKeys && FitsAllKeys(scene, clips, fps))
        {
            return {fps, FrameRateReason::FitsKeys};
        }
    }
    if (isStated)
    {
        return {scene.statedFps, FrameRateReason::StatedRate};
    }
    return {};
}
