#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// The boolean of the code base: as wide as an int, 0 is false, everything else is true.
typedef int QZBOOL;

constexpr QZBOOL QZFALSE = 0;
constexpr QZBOOL QZTRUE = 1;

ZOLT_END_NAMESPACE
