#pragma once

#include <cstdint>

// Copies a text into a buffer of `destSize` bytes: always terminated, cut silently, the rest of the buffer zero. With a
// `destSize` of 0 nothing happens.
void SafeStrCopy(char* pDest, const char* pSource, uint32_t destSize);
