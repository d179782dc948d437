#include "tests/faults/memoryfault.h"

#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>

static bool s_bCounting = false;
static bool s_bRefuseRest = false;
static long s_nRequests = 0;
static long s_iRefused = 0;

static bool Refuse()
{
    if (!s_bCounting)
        return false;
    ++s_nRequests;
    return s_bRefuseRest ? s_nRequests >= s_iRefused : s_nRequests == s_iRefused;
}

extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size)
{
    return Refuse() ? nullptr : __real_malloc(size);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return Refuse() ? nullptr : ::operator new(size);
}

void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return Refuse() ? nullptr : ::operator new[](size);
}

MemoryFault::MemoryFault()
{
    s_bCounting = true;
}

MemoryFault::~MemoryFault()
{
    s_bCounting = false;
}

long RefuseEachRequest(const std::function<void()>& run)
{
    for (const bool bRest : {false, true})
    {
        for (long i = 1;; ++i)
        {
            SCOPED_TRACE("request " + std::to_string(i) + (bRest ? " and all behind it" : ""));
            s_bRefuseRest = bRest;
            s_iRefused = i;
            s_nRequests = 0;
            run();
            if (testing::Test::HasFailure())
                return s_nRequests;
            if (s_nRequests < i)
                break;
        }
    }
    return s_nRequests;
}
