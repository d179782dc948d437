#pragma once

class ModelAnim;

// Turns an animation round: it begins with its last pose. Keys keep their command strings. False without memory, with
// the animation to be discarded.
bool ReverseAnim(ModelAnim& anim);
