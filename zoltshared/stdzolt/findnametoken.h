#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// Finds the token "_z" + `pWord` in a name, the word ignoring case. The result is the place of the word (behind the
// "_z") in the name, or null. Whatever follows the word is the caller's business: the word "N" matches "_zNose".
const char* FindNameToken(const char* pName, const char* pWord);

ZOLT_END_NAMESPACE
