#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// The letters A to Z become a to z, whatever the locale; as a byte from 0 to 255.
inline int FoldCase(char c)
{
    const unsigned char u = static_cast<unsigned char>(c);
    return u >= 'A' && u <= 'Z' ? u + ('a' - 'A') : u;
}

// Compares as strcmp does, with the letters A to Z taken for a to z, whatever the locale.
int CompareNoCase(const char* pA, const char* pB);

ZOLT_END_NAMESPACE
