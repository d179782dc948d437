#include "host/sceneclips.h"

#include "host/exportoptions.h"
#include "scene/shownnodes.h"

#include <algorithm>
#include <charconv>
#include <unordered_set>

bool HasTriangles(const Scene& scene)
{
    for (const int node : FindShownNodes(scene))
    {
        for (const SceneMeshUse& use : scene.nodes[static_cast<size_t>(node)].meshes)
        {
            if (!scene.primitives[static_cast<size_t>(use.primitive)].triangles.empty())
                return true;
        }
    }
    return false;
}

std::string DescribeClip(const Scene& scene, int clip)
{
    if (clip < 0)
        return "the scene";
    const std::string& name = scene.clips[static_cast<size_t>(clip)].name;
    return name.empty() ? "clip " + std::to_string(clip) : "\"" + name + "\"";
}

int FindClip(const Scene& scene, const std::string& nameOrIndex, std::string& error)
{
    const int count = static_cast<int>(scene.clips.size());
    for (int i = 0; i < count; i++)
    {
        if (scene.clips[static_cast<size_t>(i)].name == nameOrIndex)
            return i;
    }
    int index = -1;
    const char* last = nameOrIndex.data() + nameOrIndex.size();
    const auto [end, status] = std::from_chars(nameOrIndex.data(), last, index);
    if (status == std::errc() && end == last && index >= 0 && index < count)
        return index;

    error = "The scene has no clip \"" + nameOrIndex + "\"";
    error += count == 0 ? "; it has no clips at all." : "; its clips are ";
    for (int i = 0; i < count; i++)
    {
        const std::string& name = scene.clips[static_cast<size_t>(i)].name;
        error += std::to_string(i) + (name.empty() ? " (without a name)" : " \"" + name + "\"");
        error += i + 1 < count ? ", " : ".";
    }
    return -1;
}

std::string NameTwins(const Scene& scene, int clip, const std::string& nameOrIndex)
{
    std::string others;
    for (int i = clip + 1; i < static_cast<int>(scene.clips.size()); i++)
    {
        if (scene.clips[static_cast<size_t>(i)].name == nameOrIndex)
            others += (others.empty() ? "" : ", ") + std::to_string(i);
    }
    if (others.empty() || scene.clips[static_cast<size_t>(clip)].name != nameOrIndex)
        return std::string();
    return "Several clips are called \"" + nameOrIndex + "\"; taken is the first, index " + std::to_string(clip) +
           ", not " + others + ".";
}

std::vector<std::string> NameAnimations(const Scene& scene)
{
    const std::string& base = scene.name.empty() ? scene.fileStem : scene.name;
    std::vector<std::string> names;
    for (const SceneClip& clip : scene.clips)
        names.push_back(clip.name);
    std::unordered_set<std::string> taken(names.begin(), names.end());
    for (size_t i = 0; i < names.size(); i++)
    {
        if (!names[i].empty())
            continue;
        std::string name = scene.clips.size() == 1 ? base : base + "_" + std::to_string(i);
        while (!taken.insert(name).second)
            name += "_";
        names[i] = name;
    }
    return names;
}

ClipRange FindPlayRange(const Scene& scene, int clip, const ExportOptions& options)
{
    ClipRange range = FindClipRange(scene, clip, options.fps);
    range.start = options.start.value_or(range.start);
    range.end = options.end.value_or(range.end);
    return range;
}

std::string PlayRangeProblem(const Scene& scene, int clip, const ExportOptions& options)
{
    const ClipRange range = FindPlayRange(scene, clip, options);
    const long long frames = static_cast<long long>(range.end) - range.start + 1;
    if (frames <= MAX_PLAY_RANGE)
        return std::string();
    return "The play range of " + DescribeClip(scene, clip) + " has " + std::to_string(frames) +
           " frames, the limit is 65535; --start, --end or a lower --fps make it shorter.";
}
