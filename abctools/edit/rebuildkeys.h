#pragma once

#include "abctools/findanimtime.h"

#include <vector>

class ModelAnim;

// One key of an animation to come: the pose of a place in the one that is there.
struct RebuiltKey
{
    AnimPlace m_Place;
    uint32_t m_Time;       // milliseconds
    const char* m_pString; // in the model's string store
};

// Replaces an animation's keys, in all of its tracks, by poses that it has. False without memory, with the animation to
// be discarded.
bool RebuildKeys(ModelAnim& anim, const std::vector<RebuiltKey>& keys);
