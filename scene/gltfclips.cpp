#include "scene/gltfaccessor.h"
#include "scene/gltfparts.h"

#include <algorithm>
#include <cmath>

static bool FindPath(const std::string& name, ScenePath& path)
{
    static const struct
    {
        const char* name;
        ScenePath path;
    } paths[] = {{"translation", ScenePath::Translation},
                 {"rotation", ScenePath::Rotation},
                 {"scale", ScenePath::Scale},
                 {"weights", ScenePath::Weights}};
    for (const auto& entry : paths)
    {
        if (name == entry.name)
        {
            path = entry.path;
            return true;
        }
    }
    return false;
}

static bool FindInterpolation(const std::string& name, SceneInterpolation& interpolation)
{
    if (name == "LINEAR")
    {
        interpolation = SceneInterpolation::Linear;
    }
    else if (name == "STEP")
    {
        interpolation = SceneInterpolation::Step;
    }
    else if (name == "CUBICSPLINE")
    {
        interpolation = SceneInterpolation::Cubic;
    }
    else
    {
        return false;
    }
    return true;
}

// Rotations that are further from length 1 than those of bytes are.
static bool HasOddRotations(const SceneChannel& channel)
{
    const bool isCubic = channel.interpolation == SceneInterpolation::Cubic; // between two tangents each
    for (std::size_t i = isCubic ? 4 : 0; i + 4 <= channel.values.size(); i += isCubic ? 12 : 4)
    {
        if (!IsNearUnit(&channel.values[i]))
        {
            return true;
        }
    }
    return false;
}

static bool ReadKeys(GltfReading& reading, const tinygltf::AnimationSampler& sampler, SceneChannel& channel)
{
    if (!FindInterpolation(sampler.interpolation, channel.interpolation))
    {
        return reading.Fail("interpolation " + sampler.interpolation + " doesn't exist");
    }
    if (!ReadGltfAccessor(reading.document, sampler.input, 1, GltfNumbers::Any, channel.times, reading.error))
    {
        return reading.Fail("times: " + reading.error);
    }
    if (channel.times.empty() || !std::is_sorted(channel.times.begin(), channel.times.end()))
    {
        return reading.Fail(channel.times.empty() ? "it has no keys" : "its key times don't rise");
    }
    const bool weights = channel.path == ScenePath::Weights;
    const int width = weights ? 1 : channel.path == ScenePath::Rotation ? 4 : 3;
    if (!ReadGltfAccessor(reading.document, sampler.output, width, GltfNumbers::Any, channel.values, reading.error))
    {
        return reading.Fail("values: " + reading.error);
    }
    if (channel.path == ScenePath::Rotation && HasOddRotations(channel))
    {
        reading.Warn("some of its rotations aren't of length 1; they are brought to that.");
    }
    const std::size_t perKey =
        (weights ? reading.scene.nodes[channel.node].morphWeights.size() : static_cast<std::size_t>(width)) *
        (channel.interpolation == SceneInterpolation::Cubic ? 3 : 1);
    if (channel.values.size() != channel.times.size() * perKey)
    {
        return reading.Fail(std::to_string(channel.values.size()) + " values for " +
                            std::to_string(channel.times.size()) + " keys of " + std::to_string(perKey));
    }
    return reading.Spend(channel.times.size() + channel.values.size());
}

// Sets `used` to false, with a warning, for a channel that can't move anything.
static bool ReadChannel(GltfReading& reading, const tinygltf::Animation& source,
                        const tinygltf::AnimationChannel& sourceChannel, const std::string& place,
                        SceneChannel& channel, bool& used)
{
    const std::vector<SceneNode>& nodes = reading.scene.nodes;
    std::vector<std::string>& warnings = reading.scene.warnings;
    channel.node = sourceChannel.target_node;
    used = false;
    if (channel.node < 0 || static_cast<std::size_t>(channel.node) >= nodes.size())
    {
        return reading.Fail("node " + std::to_string(channel.node) + " of " + std::to_string(nodes.size()));
    }
    if (sourceChannel.sampler < 0 || static_cast<std::size_t>(sourceChannel.sampler) >= source.samplers.size())
    {
        return reading.Fail("sampler " + std::to_string(sourceChannel.sampler) + " of " +
                            std::to_string(source.samplers.size()));
    }
    if (!FindPath(sourceChannel.target_path, channel.path))
    {
        warnings.push_back(place + ": \"" + sourceChannel.target_path + "\" can't be animated and is left out.");
        return true;
    }
    if (channel.path == ScenePath::Weights && nodes[channel.node].morphWeights.empty())
    {
        warnings.push_back(place + ": its node has no morph targets; it is left out.");
        return true;
    }
    if (channel.path != ScenePath::Weights && reading.hasMatrix[channel.node])
    {
        warnings.push_back(place + ": its node is placed by a matrix and can't move; it is left out.");
        return true;
    }
    used = true;
    return ReadKeys(reading, source.samplers[sourceChannel.sampler], channel);
}

static bool ReadClip(GltfReading& reading, const tinygltf::Animation& source, const std::string& place, SceneClip& clip)
{
    clip.name = source.name;
    for (std::size_t i = 0; i < source.channels.size(); ++i)
    {
        reading.place = std::string(place).append(", channel ").append(std::to_string(i));
        const std::string& channelPlace = reading.place;
        SceneChannel channel;
        bool used = false;
        if (!ReadChannel(reading, source, source.channels[i], channelPlace, channel, used))
        {
            return reading.Fail(channelPlace + ": " + reading.error);
        }
        if (used)
        {
            clip.channels.push_back(std::move(channel));
        }
    }
    return true;
}

// A file that was made from a model has key times in whole milliseconds, and says in the extras of its asset on the
// frames of which rate the keys lie: `framesPerSecond`. The keys are put back there.
static void PutKeysOnFrames(const tinygltf::Value& extras, Scene& scene)
{
    if (!extras.IsObject() || !extras.Has("framesPerSecond") || !extras.Get("framesPerSecond").IsNumber())
    {
        return;
    }
    const double fps = extras.Get("framesPerSecond").GetNumberAsDouble();
    if (!(fps >= 1.0 && fps <= 1000.0))
    {
        return;
    }
    constexpr double CUT_TIME = 1.001e-3; // a little more than what is cut off a millisecond
    scene.statedFps = fps;
    scene.keysOnStatedFrames = true;
    for (SceneClip& clip : scene.clips)
    {
        for (SceneChannel& channel : clip.channels)
        {
            for (double& time : channel.times)
            {
                const double onFrame = std::round(time * fps) / fps;
                time = std::fabs(onFrame - time) < CUT_TIME ? onFrame : time;
            }
        }
    }
}

bool ReadGltfClips(GltfReading& reading)
{
    std::vector<tinygltf::Animation>& sources = reading.document.model.animations;
    reading.scene.clips.resize(sources.size());
    for (std::size_t i = 0; i < sources.size(); ++i)
    {
        const std::string place = PlaceName("animation", i, sources[i].name);
        if (!ReadClip(reading, sources[i], place, reading.scene.clips[i]))
        {
            return false;
        }
        // The next clip's keys take the memory: parsed channels are longer than the keys of a short clip.
        sources[i] = {};
    }
    PutKeysOnFrames(reading.document.model.asset.extras, reading.scene);
    return true;
}
