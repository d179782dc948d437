#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "zoltshared/stdzolt/allocator.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// What class-level operator new asks for: null when there is no memory, or when the size exceeds 32 bits.
inline void* AllocForNew(size_t size) noexcept
{
    return size <= UINT32_MAX ? g_DefaultAllocator.Alloc(static_cast<uint32_t>(size)) : nullptr;
}

// Written into a class, gives it and the classes below it an operator new and delete on `g_DefaultAllocator`: a `new`
// without memory is null and doesn't throw. Placement new works as ever. It adds nothing to the objects.
#define ZOLT_ALLOCATED_NEW                                                                                             \
public:                                                                                                                \
    static void* operator new(size_t size) noexcept                                                                    \
    {                                                                                                                  \
        return AllocForNew(size);                                                                                      \
    }                                                                                                                  \
    static void* operator new(size_t size, const std::nothrow_t&) noexcept                                             \
    {                                                                                                                  \
        return AllocForNew(size);                                                                                      \
    }                                                                                                                  \
    static void* operator new(size_t, void* pPlace) noexcept                                                           \
    {                                                                                                                  \
        return pPlace;                                                                                                 \
    }                                                                                                                  \
    static void* operator new[](size_t size) noexcept                                                                  \
    {                                                                                                                  \
        return AllocForNew(size);                                                                                      \
    }                                                                                                                  \
    static void* operator new[](size_t size, const std::nothrow_t&) noexcept                                           \
    {                                                                                                                  \
        return AllocForNew(size);                                                                                      \
    }                                                                                                                  \
    static void operator delete(void* pMemory) noexcept                                                                \
    {                                                                                                                  \
        g_DefaultAllocator.Free(pMemory);                                                                              \
    }                                                                                                                  \
    static void operator delete(void* pMemory, const std::nothrow_t&) noexcept                                         \
    {                                                                                                                  \
        g_DefaultAllocator.Free(pMemory);                                                                              \
    }                                                                                                                  \
    static void operator delete(void*, void*) noexcept {}                                                              \
    static void operator delete[](void* pMemory) noexcept                                                              \
    {                                                                                                                  \
        g_DefaultAllocator.Free(pMemory);                                                                              \
    }                                                                                                                  \
    static void operator delete[](void* pMemory, const std::nothrow_t&) noexcept                                       \
    {                                                                                                                  \
        g_DefaultAllocator.Free(pMemory);                                                                              \
    }

// An object in memory of the allocator; null if there is none. Ends with `FreeObject` and the same allocator.
template <class T, class... Args> T* AllocNew(Allocator& allocator, Args&&... args)
{
    void* pMemory = allocator.Alloc(static_cast<uint32_t>(sizeof(T)));
    return pMemory ? ::new (pMemory) T(std::forward<Args>(args)...) : nullptr;
}

// Destroys an object and gives its memory back; null is allowed. A polymorphic T must have a virtual destructor.
template <class T> void FreeObject(Allocator& allocator, T* pObject)
{
    if (!pObject)
        return;
    void* pMemory = nullptr;
    if constexpr (std::is_polymorphic_v<T>)
    {
        static_assert(std::has_virtual_destructor_v<T>);
        pMemory = dynamic_cast<void*>(pObject);
    }
    else
        pMemory = pObject;
    std::destroy_at(pObject);
    allocator.Free(pMemory);
}

ZOLT_END_NAMESPACE
