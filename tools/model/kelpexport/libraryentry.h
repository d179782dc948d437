#pragma once

#include "win32/zoltwin32.h"

// The handle of this library, for finding its dialog template. On Windows DllMain sets it; elsewhere it is set, and the
// template made known, when the library is loaded.
extern HINSTANCE g_ModuleHandle;
