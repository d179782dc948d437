#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// The index of the first of `count` elements of `elementSize` bytes that equals the one at `pKey` byte for byte; -1 if
// none does.
int FindBlock(const void* pKey, const void* pBase, uint32_t count, uint32_t elementSize);

ZOLT_END_NAMESPACE
