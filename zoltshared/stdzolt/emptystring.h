#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// What a text pointer that holds nothing points at. Never written, never freed.
extern char g_EmptyString[1];

ZOLT_END_NAMESPACE
