#pragma once

#include "engine/model/src/animnode.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/qzbool.h"

// Sets the global transform of the node of each track, which must be a ConvNode, to mParent × key iKey × the node's
// scale, and goes on into the children. Without bKeepScale the global transform is orthonormalised, and goes
// down so. Each node's m_mLocal is overwritten.
void EvaluateNodeTransforms(AnimNode* pAnimNode, uint32_t iKey, const Matrix4& mParent, QZBOOL bKeepScale);
