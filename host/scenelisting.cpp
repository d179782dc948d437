#include "host/scenelisting.h"

#include "host/console.h"
#include "host/exportoptions.h"
#include "host/sceneclips.h"
#include "scene/framerate.h"
#include "scene/shownnodes.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace
{

struct SceneCounts
{
    size_t meshes = 0;
    size_t joints = 0;
};

} // namespace

static SceneCounts CountParts(const Scene& scene)
{
    SceneCounts counts;
    for (const int index : FindShownNodes(scene))
    {
        const SceneNode& node = scene.nodes[static_cast<size_t>(index)];
        counts.meshes += node.meshes.size();
        counts.joints += node.isJoint ? 1 : 0;
    }
    return counts;
}

std::string FormatFps(double fps)
{
    char text[40];
    std::snprintf(text, sizeof(text), "%.10g", fps);
    return text;
}

// The rate at which the clip would be exported.
static double RateOf(const Scene& scene, int clip, const ExportOptions& options)
{
    return options.autoFps && !options.allClips ? ChooseFrameRate(scene, {clip}).fps : options.fps;
}

std::string ListScene(const Scene& scene, int clip, const ExportOptions& options)
{
    std::string text = "clips: " + std::to_string(scene.clips.size()) + "\n";
    for (int i = 0; i < static_cast<int>(scene.clips.size()); i++)
    {
        const double fps = RateOf(scene, i, options);
        const ClipRange range = FindClipRange(scene, i, fps);
        const size_t nKeys = FindKeyFrames(scene, i, fps).size();
        text += "  " + std::to_string(i) + "  " + PrintableText(DescribeClip(scene, i)) + ", frames " +
                std::to_string(range.start) + " to " + std::to_string(range.end) + ", " + std::to_string(nKeys) +
                (nKeys == 1 ? " key" : " keys") +
                (fps == options.fps ? "\n" : ", at " + FormatFps(fps) + " frames per second\n");
    }
    const SceneCounts counts = CountParts(scene);
    const ClipRange play = FindPlayRange(scene, clip, options);
    text += "meshes: " + std::to_string(counts.meshes) + "\n";
    text += "joints: " + std::to_string(counts.joints) + "\n";
    text += "play range: " + std::to_string(play.start) + " to " + std::to_string(play.end) + "\n";
    text += "frames per second: " + FormatFps(options.fps) + "\n";
    return text;
}

std::string ListSceneAsJson(const Scene& scene, const ExportOptions& options)
{
    nlohmann::ordered_json list;
    list["clips"] = nlohmann::ordered_json::array();
    for (int i = 0; i < static_cast<int>(scene.clips.size()); i++)
    {
        const double fps = RateOf(scene, i, options);
        const ClipRange range = FindClipRange(scene, i, fps);
        list["clips"].push_back({{"name", scene.clips[static_cast<size_t>(i)].name},
                                 {"start", range.start},
                                 {"end", range.end},
                                 {"keys", FindKeyFrames(scene, i, fps).size()},
                                 {"fps", fps}});
    }
    const SceneCounts counts = CountParts(scene);
    list["meshes"] = counts.meshes;
    list["joints"] = counts.joints;
    list["fps"] = options.fps;
    // A name that is no valid UTF-8 must not spoil the whole.
    return list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}
