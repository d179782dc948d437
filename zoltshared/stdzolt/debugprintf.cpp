#include "zoltshared/stdzolt/debugprintf.h"

#include <cstdarg>
#include <cstdio>

#ifdef _WIN32
#include <windows.h>
#endif

ZOLT_BEGIN_NAMESPACE

void DebugPrintf(const char* pFormat, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, pFormat);
    const int length = std::vsnprintf(text, sizeof(text), pFormat, arguments);
    va_end(arguments);
    if (length < 0)
        return;
#ifdef _WIN32
    OutputDebugStringA(text);
#else
    std::fputs(text, stderr);
#endif
}

ZOLT_END_NAMESPACE
