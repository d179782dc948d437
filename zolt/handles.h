#pragma once

// What stands behind the handles of zolt/zolt.h, and the checks that all of its calls begin with.

#include "zolt/play.h"
#include "zolt/zolt.h"

#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

struct zolt_model
{
    Model m_Model{&g_DefaultAllocator, &g_DefaultAllocator};
    zolt::ModelBounds m_Bounds;
    std::atomic<uint32_t> m_nUsers{1}; // the program, and figures
};

struct zolt_figure
{
    zolt_model* m_pModel = nullptr; // a counted reference
    zolt::ModelInstance m_Instance;
    zolt::AnimPlayer m_Player{m_Instance};
    std::vector<float> m_Masks[ZOLT_NUM_LAYERS];
    zolt_event_handler m_pHandler = nullptr;
    void* m_pUser = nullptr;
};

struct zolt_mesh
{
    zolt::RenderMesh m_Mesh;
};

struct zolt_pool
{
    explicit zolt_pool(uint32_t nThreads) : m_Threads(nThreads) {}

    zolt::ThreadPool m_Threads;
};

// Sets the text of zolt_error, by printf's rules. Always 0.
int SetZoltError(const char* pFormat, ...) ZOLT_PRINTF_FORMAT(1, 2);

// Handles that are in use, in a build without NDEBUG; otherwise every one is.
void AddHandle(const void* pHandle);
void RemoveHandle(const void* pHandle);
bool IsHandle(const void* pHandle);

// Failures: null, and freed handles.
template <class T> bool CheckHandle(const T* pHandle, const char* pWhat)
{
    return (pHandle && IsHandle(pHandle)) || SetZoltError("%s is %s", pWhat, pHandle ? "freed" : "null");
}

// A failure for an index that isn't below the count.
bool CheckIndex(uint32_t index, uint32_t count, const char* pWhat);

// Takes one user away, the last one with the model.
void ReleaseModel(zolt_model* pModel);

// A caller's structure, of whatever version, laid over the defaults. A failure for a size that can't be.
template <class T> bool ReadStruct(const T* pFrom, T& out)
{
    if (!pFrom)
        return true;
    if (pFrom->size < sizeof(size_t))
        return SetZoltError("the structure's size is %zu", pFrom->size);
    std::memcpy(&out, pFrom, pFrom->size < sizeof(T) ? pFrom->size : sizeof(T));
    return true;
}

// The other way; the caller's size stays.
template <class T> bool WriteStruct(const T& from, T* pOut)
{
    if (!pOut)
        return SetZoltError("out is null");
    const size_t size = pOut->size;
    if (size < sizeof(size_t))
        return SetZoltError("the structure's size is %zu", size);
    std::memcpy(pOut, &from, size < sizeof(T) ? size : sizeof(T));
    pOut->size = size;
    return true;
}

bool WriteBounds(const zolt::Bounds& bounds, zolt_bounds* pOut);
