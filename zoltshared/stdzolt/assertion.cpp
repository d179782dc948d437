#include "zoltshared/stdzolt/assertion.h"

#include <cstdio>

ZOLT_BEGIN_NAMESPACE

static void PrintAssertion(const char* expression, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: assertion failed: %s\n", file, line, expression);
}

static AssertionSink g_AssertionSink = nullptr;

AssertionSink SetAssertionSink(AssertionSink sink)
{
    AssertionSink old = g_AssertionSink;
    g_AssertionSink = sink;
    return old;
}

void ReportAssertion(const char* expression, const char* file, int line)
{
    AssertionSink sink = g_AssertionSink ? g_AssertionSink : PrintAssertion;
    sink(expression, file, line);
}

ZOLT_END_NAMESPACE
