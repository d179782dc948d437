#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#if defined(__GNUC__)
#define ZOLT_PRINTF_FORMAT(formatIndex, firstArgument) __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define ZOLT_PRINTF_FORMAT(formatIndex, firstArgument)
#endif

ZOLT_BEGIN_NAMESPACE

// Formats a text, cut to 511 characters, for the debugger; where there is no debugger output it goes to stderr.
void DebugPrintf(const char* pFormat, ...) ZOLT_PRINTF_FORMAT(1, 2);

ZOLT_END_NAMESPACE
