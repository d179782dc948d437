#include "tools/model/kelpexport/checkstatus.h"

#include "tools/model/kelpexport/messages.h"

int32_t g_DebugMode = 0;

static void ShowFailedCall(int result, const char* pText, int line)
{
    if (g_DebugMode)
        ShowMessage(MESSAGE_OK, "DEBUG: '%s' returned %d (line %d).", pText, result, line);
}

int CheckStatus(int status, const char* pText, int line)
{
    if (status != 0)
        ShowFailedCall(status, pText, line);
    return status;
}

int CheckBool(int value, const char* pText, int line)
{
    if (!value)
        ShowFailedCall(0, pText, line);
    return value;
}
