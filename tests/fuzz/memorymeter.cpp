#include "tests/fuzz/memorymeter.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <new>

MemoryMeter g_Meter;

void MemoryMeter::Take(void* pMemory)
{
    m_Live += malloc_usable_size(pMemory);
    m_Peak = std::max(m_Peak, m_Live);
}

void MemoryMeter::Give(void* pMemory)
{
    m_Live -= malloc_usable_size(pMemory);
}

void* MeteredAllocator::Alloc(uint32_t size)
{
    void* pMemory = Allocator::Alloc(size);
    g_Meter.Take(pMemory);
    return pMemory;
}

void MeteredAllocator::Free(void* pMemory)
{
    g_Meter.Give(pMemory);
    Allocator::Free(pMemory);
}

// Every form of its own: the sanitizers' forms don't call each other.
static void* MeteredNew(size_t size) noexcept
{
    void* pMemory = malloc(size);
    g_Meter.Take(pMemory);
    return pMemory;
}

static void* MeteredNewOrThrow(size_t size)
{
    void* pMemory = MeteredNew(size);
    if (!pMemory)
        throw std::bad_alloc();
    return pMemory;
}

static void MeteredDelete(void* pMemory) noexcept
{
    g_Meter.Give(pMemory);
    free(pMemory);
}

// clang-format off
void* operator new(size_t size) { return MeteredNewOrThrow(size); }
void* operator new[](size_t size) { return MeteredNewOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return MeteredNew(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return MeteredNew(size); }
void operator delete(void* p) noexcept { MeteredDelete(p); }
void operator delete[](void* p) noexcept { MeteredDelete(p); }
void operator delete(void* p, size_t) noexcept { MeteredDelete(p); }
void operator delete[](void* p, size_t) noexcept { MeteredDelete(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { MeteredDelete(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { MeteredDelete(p); }
// clang-format on
