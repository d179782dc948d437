// The pose in which a scene's meshes were bound to their joints.
#pragma once

#include "scene/scene.h"

// Moves the joints at rest to where their skins were bound, where the two differ; all other nodes keep their own
// transforms. A joint stands at M times the inverse of its inverse bind matrix. M, the mesh's own space in the world,
// is the product of rest transform and inverse bind matrix on which most joints agree, so that a skin that rests as it
// was bound stays where it is; without two that agree it is that of the mesh's node, if its scale fits, else that of
// the skin's topmost joint.
//
// Only skins of meshes that are shown count. Where two of them bind a joint differently, the first one wins; that, and
// a joint that can't be placed, gets a warning in the scene. Clips stay as they are.
void PoseAtBind(Scene& scene);
