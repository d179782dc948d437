// Pivot nodes: what Assimp puts above and below an FBX node that has pivots, offsets or a geometric transform.
#pragma once

#include "scene/scene.h"

// "Body_$AssimpFbx$_RotationPivot" is one of node Body.
bool IsPivotNode(const SceneNode& node);

// Takes the pivot nodes out of the scene. The nodes that are left stand and move as before: those below pivot nodes get
// the product of the chain as their transform, and, where a clip moves a pivot node, keys at the times of all keys of
// the chain. A clip that moves a node itself but none of its pivot nodes gives the whole transform, without the chain.
void FoldPivotNodes(Scene& scene);
