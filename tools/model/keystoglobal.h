#pragma once

#include "engine/model/src/animnode.h"
#include "zoltshared/stdzolt/matrix4.h"

// Key iKey of a subtree of tracks from local to model space, and back. mParent is the global matrix above the track.
// A child that is null, for room that is kept free, is passed over by the first.
void KeysToGlobal(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent);
void KeysToLocal(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent);

// The same for the first nKeys keys of a root track and all below it.
void AllKeysToGlobal(AnimNode* pRoot, uint32_t nKeys);
void AllKeysToLocal(AnimNode* pRoot, uint32_t nKeys);
