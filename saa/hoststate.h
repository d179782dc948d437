// What is open in the scene library and who listens to it. One thread, as the whole library.
#pragma once

#include "saa/handles.h"
#include "saa/recordedscene.h"

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

HostState& GetHostState();

// The open scene, null if none is open or the record is that of another one.
RecordedScene* SceneOfRecord(const SAA_Scene* record);
