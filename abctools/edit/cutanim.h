#pragma once

#include <cstdint>

class ModelAnim;

// Keeps what an animation plays from one time to another, in milliseconds, which begins at 0 from then on: every pose
// in between stays, and where no key stands at an end, one is put there. Needs nFrom < nTo, and nTo within the
// animation. False without memory, with the animation to be discarded.
bool CutAnim(ModelAnim& anim, uint32_t nFrom, uint32_t nTo);
