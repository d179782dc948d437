#pragma once

#include <cstdint>

// The run's debug flag: with it set, each failing call that is checked below shows a box with the text of the call.
extern int32_t g_DebugMode;

// For a call that gives 0 on success, and for one that gives non-zero on success. The first argument is returned
// unchanged, so that a caller can test it as if the check weren't there.
int CheckStatus(int status, const char* pText, int line);
int CheckBool(int value, const char* pText, int line);

// The text is a literal of its own: it doesn't follow what the code looks like.
#define CHECK_STATUS(call, text) CheckStatus((call), "" text, __LINE__)
#define CHECK_BOOL(call, text) CheckBool((call), "" text, __LINE__)
