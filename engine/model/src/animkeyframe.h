#pragma once

#include "zoltshared/stdzolt/emptystring.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

// One key time of an animation. Times don't fall from key to key; several keys may share one, as at a jump.
struct AnimKeyFrame
{
    uint32_t m_Time = 0;                   // milliseconds from the start of the animation
    const char* m_pString = g_EmptyString; // command string, in the model's string store
};

ZOLT_END_NAMESPACE
