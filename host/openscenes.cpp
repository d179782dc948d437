#include "host/openscenes.h"

#include "host/console.h"
#include "host/sceneclips.h"
#include "host/scenelisting.h"
#include "scene/framerate.h"
#include "scene/readfile.h"
#include "scene/readscene.h"
#include "scene/transformscene.h"

// The rate that suits the keys of the clips that are exported: `clip`, or all of them.
static FrameRateChoice ChooseRate(const Scene& scene, int clip, const ExportOptions& options)
{
    std::vector<int> clips;
    for (int i = 0; i < static_cast<int>(scene.clips.size()); i++)
    {
        if (options.allClips || i == clip)
            clips.push_back(i);
    }
    return ChooseFrameRate(scene, clips);
}

static std::string DescribeRate(const FrameRateChoice& choice)
{
    std::string text = FormatFps(choice.fps) + " frames per second";
    switch (choice.reason)
    {
    case FrameRateReason::FitsKeys:
        return text + ": every key lies on a frame.";
    case FrameRateReason::StatedRate:
        return text + ", as the file states.";
    case FrameRateReason::NoneFits:
        break;
    }
    return text + ".";
}

// Brings the scene to the unit, the axes and the texture coordinates that the model gets. What was done is told.
static std::string TransformAsAsked(Scene& scene, const ExportOptions& options)
{
    std::string done = ConvertStatedUnits(scene);
    SceneTransform transform;
    transform.scale = options.scale;
    transform.toUp = options.up ? options.up : transform.toUp;
    transform.flipV = options.flipV;
    TransformScene(scene, transform);
    return done;
}

static bool OpenScene(Console& console, bool isOneOfSeveral, OpenedScene& opened, std::vector<std::string>& files)
{
    Scene& scene = opened.scene;
    ExportOptions& options = opened.options;
    files.push_back(options.scenePath);
    std::string error;
    if (!ReadScene(options.scenePath.c_str(), scene, error))
    {
        console.Error(error);
        return false;
    }
    files.insert(files.end(), scene.files.begin(), scene.files.end());
    opened.clip = scene.clips.empty() ? -1 : 0;
    if (options.clip)
    {
        opened.clip = FindClip(scene, *options.clip, error);
        if (opened.clip < 0)
        {
            console.Error(error);
            return false;
        }
        const std::string others = NameTwins(scene, opened.clip, *options.clip);
        if (!others.empty())
            console.Warning(others);
    }
    const std::string name = isOneOfSeveral ? FileNameOf(options.scenePath) + ": " : "";
    const std::string done = TransformAsAsked(scene, options);
    if (!done.empty() && !options.list)
        console.Say(name + done);
    if (options.autoFps)
    {
        const FrameRateChoice choice = ChooseRate(scene, opened.clip, options);
        options.fps = choice.fps;
        if (!options.list && opened.clip >= 0)
            console.Say(name + DescribeRate(choice));
    }
    return true;
}

bool OpenScenes(const ExportOptions& options, Console& console, std::vector<OpenedScene>& scenes,
                std::vector<std::string>& files)
{
    scenes.resize(1 + options.moreScenes.size());
    for (size_t i = 0; i < scenes.size(); i++)
    {
        scenes[i].options = options;
        if (i > 0)
            scenes[i].options.scenePath = options.moreScenes[i - 1];
        if (!OpenScene(console, scenes.size() > 1, scenes[i], files))
            return false;
    }
    return true;
}
