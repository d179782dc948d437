#include "scene/cliprange.h"

#include "scene/keyframe.h"

#include <algorithm>
#include <iterator>

ClipRange FindClipRange(const Scene& scene, int clip, double fps)
{
    ClipRange range;
    if (clip < 0)
    {
        return range;
    }
    bool first = true;
    for (const SceneChannel& channel : scene.clips[clip].channels)
    {
        const int start = KeyFrame(channel.interpolation, channel.times.front(), fps);
        const int end = KeyFrame(channel.interpolation, channel.times.back(), fps);
        range.start = first ? start : std::min(range.start, start);
        range.end = first ? end : std::max(range.end, end);
        first = false;
    }
    return range;
}

std::vector<int> FindKeyFrames(const Scene& scene, int clip, double fps)
{
    std::vector<int> frames;
    if (clip < 0)
    {
        return frames;
    }
    // Those of a channel rise as its times do.
    std::vector<int> own;
    std::vector<int> both;
    const SceneChannel* before = nullptr;
    for (const SceneChannel& channel : scene.clips[clip].channels)
    {
        if (channel.path == ScenePath::Scale ||
            (before && channel.interpolation == before->interpolation && HaveSameTimes(channel, *before)))
        {
            continue;
        }
        own.clear();
        before = &channel;
        for (const double time : channel.times)
        {
            const int frame = KeyFrame(channel.interpolation, time, fps);
            if (own.empty() || own.back() != frame)
            {
                own.push_back(frame);
            }
        }
        if (!std::includes(frames.begin(), frames.end(), own.begin(), own.end()))
        {
            both.clear();
            std::set_union(frames.begin(), frames.end(), own.begin(), own.end(), std::back_inserter(both));
            frames.swap(both);
        }
    }
    return frames;
}

bool AnimatesScale(const Scene& scene, int clip)
{
    if (clip < 0)
    {
        return false;
    }
    for (const SceneChannel& channel : scene.clips[clip].channels)
    {
        if (channel.path != ScenePath::Scale)
        {
            continue;
        }
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            double low = channel.values[axis];
            double high = low;
            for (std::size_t i = axis; i < channel.values.size(); i += 3)
            {
                low = std::min(low, channel.values[i]);
                high = std::max(high, channel.values[i]);
            }
            if (high - low > 1e-4)
            {
                return true;
            }
        }
    }
    return false;
}
