#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// Receives each broken check: the expression as the check words it, the source path and the line.
typedef void (*AssertionSink)(const char* expression, const char* file, int line);

// Sets where broken checks are reported; null restores the default, which prints to stderr.
// Returns the sink that was set before; null if that was the default.
AssertionSink SetAssertionSink(AssertionSink sink);

void ReportAssertion(const char* expression, const char* file, int line);

inline bool CheckAssertion(bool bHolds, const char* expression, const char* file, int line)
{
    if (!bHolds)
        ReportAssertion(expression, file, line);
    return bHolds;
}

// Checks a caller's contract. A broken check is reported under `expression`, a literal text, and the code goes on
// behind it; the value is the truth of the condition.
#define ZOLT_ASSERT(condition, expression)                                                                             \
    CheckAssertion(static_cast<bool>(condition), "" expression, __FILE__, __LINE__)

ZOLT_END_NAMESPACE
