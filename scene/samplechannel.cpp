#include "scene/samplechannel.h"

#include "scene/keyframe.h"

#include <algorithm>

// The last key whose time isn't behind `seconds`; there is one.
static std::size_t LastKeyUntil(const SceneChannel& channel, double seconds)
{
    const auto after = std::upper_bound(channel.times.begin(), channel.times.end(), seconds);
    return static_cast<std::size_t>(after - channel.times.begin()) - 1;
}

bool FindKeyStretch(const SceneChannel& channel, double seconds, KeyStretch& stretch)
{
    const std::vector<double>& times = channel.times;
    if (seconds <= times.front() || seconds >= times.back())
    {
        return false;
    }
    std::size_t& key = stretch.key;
    if (!(key + 1 < times.size() && times[key] <= seconds && seconds < times[key + 1]))
    {
        key = LastKeyUntil(channel, seconds);
    }
    stretch.part = (seconds - times[key]) / (times[key + 1] - times[key]);
    return true;
}

static void CopyValues(const double* from, std::size_t width, double* values)
{
    std::copy_n(from, width, values);
}

static void SampleCubic(const double* key, const double* next, std::size_t width, double length, double u,
                        double* values)
{
    const double u2 = u * u;
    const double u3 = u2 * u;
    for (std::size_t i = 0; i < width; ++i)
    {
        const double value = key[width + i];
        const double tangentOut = key[2 * width + i];
        const double nextTangentIn = next[i];
        const double nextValue = next[width + i];
        values[i] = (2.0 * u3 - 3.0 * u2 + 1.0) * value + length * (u3 - 2.0 * u2 + u) * tangentOut +
                    (3.0 * u2 - 2.0 * u3) * nextValue + length * (u3 - u2) * nextTangentIn;
    }
}

static void SampleLinear(const double* key, const double* next, std::size_t width, bool rotation, double u,
                         double* values)
{
    if (!rotation)
    {
        for (std::size_t i = 0; i < width; ++i)
        {
            values[i] = key[i] + (next[i] - key[i]) * u;
        }
        return;
    }
    const DoubleQuat q =
        Slerp(NormalizeQuat({key[0], key[1], key[2], key[3]}), NormalizeQuat({next[0], next[1], next[2], next[3]}), u);
    const double components[4] = {q.x, q.y, q.z, q.w};
    CopyValues(components, 4, values);
}

void SampleChannel(const SceneChannel& channel, std::size_t width, double seconds, double* values)
{
    const bool cubic = channel.interpolation == SceneInterpolation::Cubic;
    const bool rotation = channel.path == ScenePath::Rotation;
    const std::size_t stride = cubic ? 3 * width : width;
    const std::size_t inKey = cubic ? width : 0; // where the value stands among a key's numbers
    const std::size_t nKeys = channel.times.size();
    if (seconds <= channel.times.front())
    {
        CopyValues(&channel.values[inKey], width, values);
    }
    else if (seconds >= channel.times.back())
    {
        CopyValues(&channel.values[(nKeys - 1) * stride + inKey], width, values);
    }
    else if (channel.interpolation == SceneInterpolation::Step)
    {
        CopyValues(&channel.values[LastKeyUntil(channel, seconds + STEP_KEY_LEAD) * stride], width, values);
    }
    else
    {
        KeyStretch stretch;
        FindKeyStretch(channel, seconds, stretch);
        const double* key = &channel.values[stretch.key * stride];
        if (cubic)
        {
            const double length = channel.times[stretch.key + 1] - channel.times[stretch.key];
            SampleCubic(key, key + stride, width, length, stretch.part, values);
        }
        else
        {
            SampleLinear(key, key + stride, width, rotation, stretch.part, values);
        }
    }
    if (rotation)
    {
        const DoubleQuat q = NormalizeQuat({values[0], values[1], values[2], values[3]});
        const double components[4] = {q.x, q.y, q.z, q.w};
        CopyValues(components, 4, values);
    }
}
