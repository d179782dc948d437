#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
class JobPool;
class ModelInstance;

// Evaluates a crowd on the threads of a pool; null for the pool does it on this thread. No two of the instances may be
// the same, and none may be carried by another of them: their carriers see to those. Null pointers are left out. The
// result is the same whatever the pool. False if one of them couldn't be evaluated, the others are.
bool EvaluateMany(ModelInstance* const* pInstances, uint32_t nInstances, JobPool* pPool);
ZOLT_END_NAMESPACE
} // namespace zolt
