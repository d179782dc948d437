#include "win32/zoltwin32.h"

#include <cstdio>

extern "C" void WINAPI OutputDebugStringA(LPCSTR text)
{
    if (text)
        std::fputs(text, stderr);
}
