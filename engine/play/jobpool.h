#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// Where work of many equal parts is done. An engine with threads of its own derives from it.
class JobPool
{
public:
    typedef void (*Job)(void* pUser, uint32_t iPart);

    virtual ~JobPool() = default;
    // How many parts go at the same time, at most.
    virtual uint32_t NumThreads() const = 0;
    // Calls the job for each part from 0 to nParts - 1, in any order and on any threads, and comes back when all are
    // done. Not to be called by two threads at once, or by a job.
    virtual void Run(uint32_t nParts, Job pJob, void* pUser) = 0;
};
ZOLT_END_NAMESPACE
} // namespace zolt
