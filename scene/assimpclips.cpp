#include "scene/assimpparts.h"
#include "scene/foldpivots.h"
#include "scene/placename.h"

#include <algorithm>
#include <cmath>

static const double DEFAULT_TICKS_PER_SECOND = 25.0;
static const double SAME_VALUE = 1e-5; // of what is compared, or of 1 if that is less

static Double3 ToValues(const aiVector3D& v)
{
    return {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)};
}

static void AppendValues(const aiVectorKey& key, std::vector<double>& values)
{
    const Double3 v = ToValues(key.mValue);
    values.insert(values.end(), {v.x, v.y, v.z});
}

static void AppendValues(const aiQuatKey& key, std::vector<double>& values)
{
    const aiQuaternion& source = key.mValue;
    const DoubleQuat read = {static_cast<double>(source.x), static_cast<double>(source.y),
                             static_cast<double>(source.z), static_cast<double>(source.w)};
    if (!std::isfinite(read.x + read.y + read.z + read.w))
    {
        values.insert(values.end(), {read.x, read.y, read.z, read.w}); // for the check of all values
        return;
    }
    const DoubleQuat q = NormalizeQuat(read);
    values.insert(values.end(), {q.x, q.y, q.z, q.w});
}

template <class Key>
static bool ReadKeys(AssimpReading& reading, const Key* keys, unsigned count, double ticksPerSecond,
                     SceneChannel& channel)
{
    if (keys == nullptr)
    {
        return reading.Fail("it has no keys");
    }
    for (unsigned i = 0; i < count; ++i)
    {
        channel.times.push_back(keys[i].mTime / ticksPerSecond);
        AppendValues(keys[i], channel.values);
    }
    const auto isFinite = [](double number) { return std::isfinite(number); };
    if (!std::all_of(channel.times.begin(), channel.times.end(), isFinite) ||
        !std::all_of(channel.values.begin(), channel.values.end(), isFinite))
    {
        return reading.Fail("a key isn't made of finite numbers");
    }
    return std::is_sorted(channel.times.begin(), channel.times.end()) || reading.Fail("its key times don't rise");
}

static bool IsSame(double a, double b)
{
    return std::fabs(a - b) <= SAME_VALUE * std::fmax(1.0, std::fabs(b));
}

// Whether a single key holds what the node has at rest. Assimp makes up such keys at time 0 for what a track doesn't
// animate; they would stretch the clip.
static bool IsRestKey(const SceneChannel& channel, const DoubleTransform& rest)
{
    if (channel.times.size() != 1 || channel.times[0] != 0.0)
    {
        return false;
    }
    const double* v = channel.values.data();
    const auto isSame = [v](const Double3& point)
    { return IsSame(v[0], point.x) && IsSame(v[1], point.y) && IsSame(v[2], point.z); };
    const DoubleQuat& q = rest.rotation;
    switch (channel.path)
    {
    case ScenePath::Translation:
        return isSame(rest.translation);
    case ScenePath::Scale:
        return isSame(rest.scale);
    case ScenePath::Rotation:
        return IsSame(std::fabs(v[0] * q.x + v[1] * q.y + v[2] * q.z + v[3] * q.w), 1.0);
    case ScenePath::Weights:
        break;
    }
    return false;
}

static bool ReadTrack(AssimpReading& reading, const aiNodeAnim& source, int node, double ticksPerSecond,
                      SceneClip& clip)
{
    SceneChannel channels[3];
    channels[0].path = ScenePath::Translation;
    channels[1].path = ScenePath::Rotation;
    channels[2].path = ScenePath::Scale;
    if ((source.mNumPositionKeys > 0 &&
         !ReadKeys(reading, source.mPositionKeys, source.mNumPositionKeys, ticksPerSecond, channels[0])) ||
        (source.mNumRotationKeys > 0 &&
         !ReadKeys(reading, source.mRotationKeys, source.mNumRotationKeys, ticksPerSecond, channels[1])) ||
        (source.mNumScalingKeys > 0 &&
         !ReadKeys(reading, source.mScalingKeys, source.mNumScalingKeys, ticksPerSecond, channels[2])))
    {
        return false;
    }
    // A track for a node below pivot nodes holds the node's whole transform, not what it has at rest below them.
    const std::vector<SceneNode>& nodes = reading.scene.nodes;
    const int parent = nodes[node].parent;
    const bool isWhole = parent >= 0 && IsPivotNode(nodes[parent]) && !IsPivotNode(nodes[node]);
    const auto moves = [](const SceneChannel& channel)
    { return !channel.times.empty() && channel.times.back() != 0.0; };
    const bool dropRest = !isWhole && std::any_of(std::begin(channels), std::end(channels), moves);
    for (SceneChannel& channel : channels)
    {
        channel.node = node;
        if (!channel.times.empty() && !(dropRest && IsRestKey(channel, nodes[node].local)))
        {
            clip.channels.push_back(std::move(channel));
        }
    }
    return true;
}

static bool ReadClip(AssimpReading& reading, const aiAnimation& source, const std::string& place, SceneClip& clip)
{
    std::vector<std::string>& warnings = reading.scene.warnings;
    clip.name = source.mName.C_Str();
    double ticksPerSecond = source.mTicksPerSecond;
    if (!std::isfinite(ticksPerSecond) || ticksPerSecond <= 0.0)
    {
        ticksPerSecond = DEFAULT_TICKS_PER_SECOND;
        warnings.push_back(place + ": the file doesn't state its speed; it plays at 25 ticks a second.");
    }
    if (source.mNumMeshChannels > 0 || source.mNumMorphMeshChannels > 0)
    {
        warnings.push_back(place + ": the motion of morph targets is left out.");
    }
    for (unsigned i = 0; source.mMeshChannels != nullptr && i < source.mNumMeshChannels; ++i)
    {
        clip.unreadMorphs.emplace_back(source.mMeshChannels[i]->mName.C_Str());
    }
    for (unsigned i = 0; source.mMorphMeshChannels != nullptr && i < source.mNumMorphMeshChannels; ++i)
    {
        clip.unreadMorphs.emplace_back(source.mMorphMeshChannels[i]->mName.C_Str());
    }
    for (unsigned i = 0; source.mChannels != nullptr && i < source.mNumChannels; ++i)
    {
        const aiNodeAnim* track = source.mChannels[i];
        const std::string trackPlace = place + ", track " + std::to_string(i);
        if (track == nullptr)
        {
            continue;
        }
        const int node = reading.FindNode(track->mNodeName.C_Str());
        if (node < 0)
        {
            warnings.push_back(trackPlace + ": there is no node \"" + track->mNodeName.C_Str() + "\"; it is left out.");
        }
        else if (!ReadTrack(reading, *track, node, ticksPerSecond, clip))
        {
            return reading.Fail(trackPlace + " (" + track->mNodeName.C_Str() + "): " + reading.error);
        }
    }
    return true;
}

bool ReadAssimpClips(AssimpReading& reading)
{
    const std::size_t nClips = reading.source.mAnimations == nullptr ? 0 : reading.source.mNumAnimations;
    for (std::size_t i = 0; i < nClips; ++i)
    {
        const aiAnimation* source = reading.source.mAnimations[i];
        if (source == nullptr)
        {
            continue;
        }
        reading.scene.clips.emplace_back();
        if (!ReadClip(reading, *source, PlaceName("animation", i, source->mName.C_Str()), reading.scene.clips.back()))
        {
            return false;
        }
    }
    return true;
}
