// What is open in the scene library, and who listens to it. One thread, as the whole library.
#pragma once

#include "saa/handles.h"
#include "saa/recordedscene.h"

#include <cstring>

// Data of this library alone, which its code can get at without a table.
#ifdef _WIN32
#define SAA_PRIVATE
#else
#define SAA_PRIVATE __attribute__((visibility("hidden")))
#endif

struct HostState
{
    RecordedScene* scene = nullptr;
    SAA_Scene record = {}; // of the scene
    bool isInitialised = false;
    void (*statusSink)(const char* text, void* context) = nullptr;
    void* statusContext = nullptr;
    void (*frameSink)(int frame, void* context) = nullptr;
    void* frameContext = nullptr;
};

// The one of the process.
SAA_PRIVATE extern HostState g_HostState;

// The open scene, null if none is open or the record is that of another one.
inline RecordedScene* SceneOfRecord(const SAA_Scene* record)
{
    if (g_HostState.scene == nullptr || record == nullptr)
    {
        return nullptr;
    }
    return std::memcmp(&g_HostState.record, record, SCENE_RECORD_BYTES) == 0 ? g_HostState.scene : nullptr;
}
