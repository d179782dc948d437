// Operations on the scene as a whole: start, names, elements, time, status bar.
#include "saa/arguments.h"
#include "saa/operations.h"
#include "scene/keyframe.h"

#include <cmath>
#include <cstring>

int SAA_sceneInitInternal(const char* version)
{
    return RunOperation(OP_SAA_sceneInitInternal,
                        [&]() -> int
                        {
                            if (version == nullptr || std::strcmp(version, "SDKv1.70.3") != 0)
                            {
                                return SAA_STATUS_VERSION;
                            }
                            const bool before = g_HostState.isInitialised;
                            g_HostState.isInitialised = true;
                            return before ? 3 : 0;
                        });
}

int SAA_sceneGetCurrent(SAA_Scene* scene)
{
    return RunOperation(OP_SAA_sceneGetCurrent,
                        [&]() -> int
                        {
                            if (scene == nullptr)
                            {
                                return SAA_STATUS_ARGUMENT;
                            }
                            if (g_HostState.scene == nullptr)
                            {
                                return SAA_STATUS_NO_SCENE;
                            }
                            *scene = SceneRecord(*g_HostState.scene);
                            return 0;
                        });
}

int SAA_sceneGetName(const SAA_Scene* scene, int size, char* text)
{
    return RunSceneOperation(OP_SAA_sceneGetName, scene,
                             [&](RecordedScene& current) -> int { return StoreText(current.Name(), size, text); });
}

int SAA_sceneGetNbModels(const SAA_Scene* scene, int* count)
{
    return RunSceneOperation(OP_SAA_sceneGetNbModels, scene,
                             [&](RecordedScene& current) -> int { return StoreInt(current.NumElements(), count); });
}

int SAA_sceneGetModels(const SAA_Scene* scene, int count, SAA_Elem* models)
{
    return RunSceneOperation(OP_SAA_sceneGetModels, scene,
                             [&](RecordedScene& current) -> int
                             {
                                 if (models == nullptr || count != current.NumElements())
                                 {
                                     return models == nullptr ? SAA_STATUS_ARGUMENT : SAA_STATUS_COUNT;
                                 }
                                 for (int i = 0; i < count; ++i)
                                 {
                                     models[i] = ModelHandle(current, i);
                                 }
                                 return 0;
                             });
}

int SAA_sceneGetPlayCtrlStartFrame(const SAA_Scene* scene, int* frame)
{
    return RunSceneOperation(OP_SAA_sceneGetPlayCtrlStartFrame, scene,
                             [&](RecordedScene& current) -> int { return StoreInt(current.StartFrame(), frame); });
}

int SAA_sceneGetPlayCtrlEndFrame(const SAA_Scene* scene, int* frame)
{
    return RunSceneOperation(OP_SAA_sceneGetPlayCtrlEndFrame, scene,
                             [&](RecordedScene& current) -> int { return StoreInt(current.EndFrame(), frame); });
}

int SAA_sceneSetPlayCtrlCurrentFrame(const SAA_Scene* scene, int frame)
{
    return RunSceneOperation(OP_SAA_sceneSetPlayCtrlCurrentFrame, scene,
                             [&](RecordedScene& current) -> int
                             {
                                 current.SetCurrentFrame(frame);
                                 const HostState& state = g_HostState;
                                 if (state.frameSink != nullptr)
                                 {
                                     state.frameSink(frame, state.frameContext);
                                 }
                                 return 0;
                             });
}

int SAA_seconds2Frame(const SAA_Scene* scene, float seconds, int* frame)
{
    return RunSceneOperation(OP_SAA_seconds2Frame, scene,
                             [&](RecordedScene& current) -> int
                             {
                                 if (frame == nullptr || !std::isfinite(seconds))
                                 {
                                     return SAA_STATUS_ARGUMENT;
                                 }
                                 *frame = NearestFrame(static_cast<double>(seconds), current.Fps());
                                 return 0;
                             });
}

int SAA_frame2Seconds(const SAA_Scene* scene, int frame, float* seconds)
{
    return RunSceneOperation(OP_SAA_frame2Seconds, scene,
                             [&](RecordedScene& current) -> int
                             {
                                 if (seconds == nullptr)
                                 {
                                     return SAA_STATUS_ARGUMENT;
                                 }
                                 *seconds = static_cast<float>(frame / current.Fps());
                                 return 0;
                             });
}

int SAA_statusBarSet(const char* text, int show)
{
    return RunOperation(OP_SAA_statusBarSet,
                        [&]() -> int
                        {
                            const HostState& state = g_HostState;
                            if (text == nullptr || show != 1)
                            {
                                return SAA_STATUS_ARGUMENT;
                            }
                            if (state.statusSink != nullptr)
                            {
                                state.statusSink(text, state.statusContext);
                            }
                            return 0;
                        });
}
