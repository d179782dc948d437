#include "tools/model/kelpexport/log.h"

#include <cstdarg>
#include <cstdio>

#ifndef _WIN32
#include "win32/stateplaces.h"
#endif

static FILE* s_pLog = nullptr;

static const char* LogPath()
{
#ifdef _WIN32
    return "c:\\KE_Error.log";
#else
    return GetLogPath();
#endif
}

void LogOpen()
{
    LogClose();
#ifdef _WIN32
    s_pLog = std::fopen(LogPath(), "wt");
#else
    s_pLog = std::fopen(LogPath(), "w");
#endif
}

void LogClose()
{
    if (s_pLog)
        std::fclose(s_pLog);
    s_pLog = nullptr;
}

void LogWrite(const char* pFormat, ...)
{
    if (!s_pLog)
        return;
    char text[4096];
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(text, sizeof(text), pFormat, arguments);
    va_end(arguments);
    std::fputs(text, s_pLog);
}

void LogSpaces(uint32_t nSpaces)
{
    static const char spaces[] = "                                                                ";
    constexpr uint32_t CHUNK = sizeof(spaces) - 1;
    for (uint32_t nLeft = s_pLog ? nSpaces : 0; nLeft != 0; nLeft -= nLeft < CHUNK ? nLeft : CHUNK)
        std::fwrite(spaces, 1, nLeft < CHUNK ? nLeft : CHUNK, s_pLog);
}
