#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE
class ModelAnim;
ZOLT_END_NAMESPACE

// A place between two keys.
struct AnimPlace
{
    uint32_t m_iPrev = 0;
    uint32_t m_iCur = 0;
    float m_Percent = 0.0f; // fraction from m_iPrev to m_iCur, 0 to 1
};

// Where a time in milliseconds lies among an animation's keys. It is clamped to the animation; of several keys at one
// time the last holds. False if there are no keys. The times must not fall from key to key; if they do, the place is a
// valid one all the same.
bool FindAnimTime(const ModelAnim& anim, double time, AnimPlace& place);
