#include "saa/standin.h"

#ifdef _WIN32

#include "saa/saahost.h"
#include "scene/cliprange.h"
#include "scene/framerate.h"
#include "scene/gltfreader.h"
#include "scene/shapekeys.h"
#include "scene/transformscene.h"

#include <cstdio>
#include <memory>

// What is open.
struct StandInScene
{
    Scene scene;
    std::unique_ptr<RecordedScene> recorded;
};

static std::unique_ptr<StandInScene> s_Open;

static int FindClipByName(const Scene& scene, const char* name)
{
    for (int i = 0; i < static_cast<int>(scene.clips.size()); i++)
    {
        if (name == nullptr || scene.clips[i].name == name)
        {
            return i;
        }
    }
    return -1;
}

static bool OpenScene(const char* path, const char* clipName, std::string& error)
{
    auto open = std::make_unique<StandInScene>();
    Scene& scene = open->scene;
    if (!ReadGltfScene(path, scene, error))
    {
        return false;
    }
    ConvertStatedUnits(scene);
    const int clip = FindClipByName(scene, clipName);
    if (clip < 0 && clipName != nullptr)
    {
        error = "The scene has no clip called \"" + std::string(clipName) + "\".";
        return false;
    }
    RecordedSceneOptions options;
    options.clip = clip;
    if (clip >= 0)
    {
        options.fps = ChooseFrameRate(scene, {clip}).fps;
        const ClipRange range = FindClipRange(scene, clip, options.fps);
        options.extraKeys = FindShapeKeys(scene, clip, options.fps, range.start, range.end);
    }
    open->recorded = std::make_unique<RecordedScene>(scene, options);
    s_Open = std::move(open);
    return true;
}

static void PrintStatus(const char* text, void* /*context*/)
{
    std::puts(text);
    std::fflush(stdout);
}

int OpenStandInScene(const char* path, const char* clip, char* message, int size)
{
    CloseStandInScene();
    std::string error;
    if (!OpenScene(path, clip, error))
    {
        std::snprintf(message, static_cast<std::size_t>(size), "%s", error.c_str());
        return 1;
    }
    SetCurrentScene(s_Open->recorded.get());
    SetStatusSink(PrintStatus, nullptr);
    return 0;
}

void CloseStandInScene()
{
    SetCurrentScene(nullptr);
    SetStatusSink(nullptr, nullptr);
    s_Open.reset();
}

#endif
