#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE
class ModelAnim;
ZOLT_END_NAMESPACE

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// A moment of an animation: two keys and the fraction from the first to the second.
struct KeyPair
{
    uint32_t m_iPrev = 0;
    uint32_t m_iCur = 0;
    float m_Percent = 0.0f; // 0 to 1
};

// The keys around a time in milliseconds, which is clamped to the animation; NaN counts as 0. Of several keys at one
// time the last one holds. Takes constant time where iHint, the m_iPrev of an earlier call, is the key sought or a
// neighbour of it, else a search by halves. False for an animation without keys.
bool FindKeyPair(const ModelAnim& anim, double time, uint32_t iHint, KeyPair& out);
ZOLT_END_NAMESPACE
} // namespace zolt
