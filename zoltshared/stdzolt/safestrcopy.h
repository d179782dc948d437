#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// Copies a text into a buffer of `destSize` bytes: always terminated, cut silently, the rest of the buffer zero. With a
// `destSize` of 0 nothing happens.
void SafeStrCopy(char* pDest, const char* pSource, uint32_t destSize);

ZOLT_END_NAMESPACE
