#include "zoltshared/stdzolt/allocator.h"

#include <cstdlib>

ZOLT_BEGIN_NAMESPACE

// Holds the allocator without ever destroying it: globals that are destroyed late still give their memory back.
union AllocatorHolder
{
    Allocator m_Allocator;

    constexpr AllocatorHolder() : m_Allocator() {}
    ~AllocatorHolder() {} // NOLINT(modernize-use-equals-default): a defaulted one would be deleted
};

static constinit AllocatorHolder g_Holder;

constinit Allocator& g_DefaultAllocator = g_Holder.m_Allocator;

Allocator::~Allocator() = default;

void* Allocator::Alloc(uint32_t size)
{
    return size == 0 ? nullptr : std::malloc(size);
}

void Allocator::Free(void* pMemory)
{
    std::free(pMemory);
}

ZOLT_END_NAMESPACE
