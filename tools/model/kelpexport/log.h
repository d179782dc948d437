#pragma once

#include "zoltshared/stdzolt/debugprintf.h"

#include <cstdint>

// The text log of one run, closed at the start: "c:\KE_Error.log" on Windows, elsewhere what GetLogPath
// (win32/stateplaces.h) says. No levels, no time stamps; a text brings its own line ends.

// Closes the log and begins a new one in place of that of the run before. If it can't be opened it stays closed.
void LogOpen();
// Harmless when the log is closed.
void LogClose();
// Does nothing while the log is closed. A text is cut to 4095 characters.
void LogWrite(const char* pFormat, ...) ZOLT_PRINTF_FORMAT(1, 2);
// As many spaces, under the same condition.
void LogSpaces(uint32_t nSpaces);
