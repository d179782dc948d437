#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/vector3.h"

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// A way over the ground: a turn about the vertical axis, y, and a translation in the plane x, z. It takes a point to
// the point turned and then moved.
struct RootMotion
{
    float m_X = 0.0f; // model units
    float m_Z = 0.0f;
    float m_Turn = 0.0f; // radians, from z towards x

    Matrix4 ToMatrix() const;
    RootMotion Inverse() const;
    // This way first, then `next`, as seen from where this one leads to.
    RootMotion Then(const RootMotion& next) const;
    // The share of it from 0 to 1 that a figure has gone.
    RootMotion Scaled(float share) const;
};

// Where on the ground a node stands and which way it faces, as seen from its bind pose: the turn about y nearest to its
// rotation since then, and what brings it from there to above or below its place.
RootMotion FindRootMotion(const Matrix4& bindPose, const Matrix4& pose);
ZOLT_END_NAMESPACE
} // namespace zolt
