#include "saa/operations.h"

#include <cstring>

OperationRecord g_Operations[NUM_OPERATIONS];

HostState g_HostState;

const std::vector<const char*>& ListOperations()
{
#define SAA_NAME(name) #name,
    static const std::vector<const char*> names = {SAA_OPERATIONS(SAA_NAME)};
#undef SAA_NAME
    return names;
}

static OperationRecord* FindOperation(const char* name)
{
    const std::vector<const char*>& names = ListOperations();
    for (std::size_t i = 0; name != nullptr && i < names.size(); ++i)
    {
        if (std::strcmp(names[i], name) == 0)
        {
            return &g_Operations[i];
        }
    }
    return nullptr;
}

void SetCurrentScene(RecordedScene* scene)
{
    g_HostState.scene = scene;
    g_HostState.record = scene == nullptr ? SAA_Scene() : SceneRecord(*scene);
}

void SetStatusSink(void (*sink)(const char* text, void* context), void* context)
{
    g_HostState.statusSink = sink;
    g_HostState.statusContext = context;
}

void SetFrameSink(void (*sink)(int frame, void* context), void* context)
{
    g_HostState.frameSink = sink;
    g_HostState.frameContext = context;
}

const SAA_CusvalSet* GetCustomValues(RecordedScene& scene, int element)
{
    return &scene.CustomValues(element);
}

bool FailOperation(const char* name, int nthCall, int status)
{
    OperationRecord* record = FindOperation(name);
    if (record == nullptr || nthCall < 1 || status == 0)
    {
        return false;
    }
    record->callsToFault = nthCall;
    record->status = status;
    return true;
}

void ClearFaults()
{
    for (OperationRecord& record : g_Operations)
    {
        record = OperationRecord();
    }
    g_HostState.isInitialised = false;
}

int CallCount(const char* name)
{
    const OperationRecord* record = FindOperation(name);
    return record == nullptr ? -1 : static_cast<int>(record->nCalls);
}
