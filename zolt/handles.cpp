#include "zolt/handles.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>
#include <unordered_set>

static thread_local char t_Error[LOAD_ERROR_TEXT_SIZE + 256];

int SetZoltError(const char* pFormat, ...)
{
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(t_Error, sizeof(t_Error), pFormat, arguments);
    va_end(arguments);
    return 0;
}

const char* zolt_error(void)
{
    return t_Error;
}

uint32_t zolt_version(void)
{
    return ZOLT_VERSION;
}

#ifdef NDEBUG
void AddHandle(const void* /*pHandle*/) {}
void RemoveHandle(const void* /*pHandle*/) {}
bool IsHandle(const void* /*pHandle*/)
{
    return true;
}
#else
static std::mutex g_HandleMutex;

static std::unordered_set<const void*>& Handles()
{
    static std::unordered_set<const void*> handles;
    return handles;
}

void AddHandle(const void* pHandle)
{
    const std::lock_guard lock(g_HandleMutex);
    Handles().insert(pHandle);
}

void RemoveHandle(const void* pHandle)
{
    const std::lock_guard lock(g_HandleMutex);
    Handles().erase(pHandle);
}

bool IsHandle(const void* pHandle)
{
    const std::lock_guard lock(g_HandleMutex);
    return Handles().contains(pHandle);
}
#endif

bool CheckIndex(uint32_t index, uint32_t count, const char* pWhat)
{
    return index < count || SetZoltError("%s %u of %u", pWhat, index, count);
}

bool WriteBounds(const zolt::Bounds& bounds, zolt_bounds* pOut)
{
    zolt_bounds out = {};
    if (!bounds.IsEmpty())
    {
        std::memcpy(out.min, &bounds.m_Min, sizeof(out.min));
        std::memcpy(out.max, &bounds.m_Max, sizeof(out.max));
        out.radius = bounds.GetRadius();
    }
    return WriteStruct(out, pOut);
}

zolt_pool* zolt_pool_create(uint32_t threads)
{
    zolt_pool* pPool = new (std::nothrow) zolt_pool(threads);
    if (pPool)
        AddHandle(pPool);
    else
        SetZoltError("out of memory");
    return pPool;
}

void zolt_pool_free(zolt_pool* pool)
{
    if (!pool || !CheckHandle(pool, "the pool"))
        return;
    RemoveHandle(pool);
    delete pool;
}
