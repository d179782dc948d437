#include "saa/operations.h"

#include <cstring>

// A fault that waits for its call.
struct OperationRecord
{
    int nCalls = 0;
    int callsToFault = 0; // 0 for no fault
    int status = 0;
};

static OperationRecord g_Operations[NUM_OPERATIONS];

static HostState g_State;

HostState& GetHostState()
{
    return g_State;
}

RecordedScene* SceneOfRecord(const SAA_Scene* record)
{
    if (g_State.scene == nullptr || record == nullptr)
    {
        return nullptr;
    }
    return std::memcmp(&g_State.record, record, sizeof *record) == 0 ? g_State.scene : nullptr;
}

int EnterOperation(Operation operation)
{
    OperationRecord& record = g_Operations[operation];
    ++record.nCalls;
    if (record.callsToFault == 0)
    {
        return 0;
    }
    --record.callsToFault;
    return record.callsToFault == 0 ? record.status : 0;
}

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
    g_State.scene = scene;
    g_State.record = scene == nullptr ? SAA_Scene() : SceneRecord(*scene);
}

void SetStatusSink(void (*sink)(const char* text, void* context), void* context)
{
    g_State.statusSink = sink;
    g_State.statusContext = context;
}

void SetFrameSink(void (*sink)(int frame, void* context), void* context)
{
    g_State.frameSink = sink;
    g_State.frameContext = context;
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
    g_State.isInitialised = false;
}

int CallCount(const char* name)
{
    const OperationRecord* record = FindOperation(name);
    return record == nullptr ? -1 : record->nCalls;
}
