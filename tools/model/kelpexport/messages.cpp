#include "tools/model/kelpexport/messages.h"

#include "saa/SAA.h"
#include "tools/model/kelpexport/log.h"
#include "win32/zoltwin32.h"

#include <cstdarg>
#include <cstdio>

int ShowMessage(int bYesNo, const char* pFormat, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(text, sizeof(text), pFormat, arguments);
    va_end(arguments);
    LogWrite("MessageBox: %s", text);
    switch (MessageBoxA(nullptr, text, "KelpExport", bYesNo ? MB_YESNO : MB_OK))
    {
    case IDOK:
        return ANSWER_OK;
    case IDYES:
        return ANSWER_YES;
    default:
        return ANSWER_OTHER;
    }
}

void ShowOutOfMemory()
{
    ShowMessage(MESSAGE_OK, "Out of memory.");
}

void SetStatus(int bLog, const char* pFormat, ...)
{
    char text[4096];
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(text, sizeof(text), pFormat, arguments);
    va_end(arguments);
    SAA_statusBarSet(text, 1);
    if (bLog)
        LogWrite("StatusBar: %s\n", text);
}
