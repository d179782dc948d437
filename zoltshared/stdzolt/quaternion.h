#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"

ZOLT_BEGIN_NAMESPACE

// A rotation: vector part x, y, z and scalar part w. The identity, (0, 0, 0, 1), is the default. Everything is
// evaluated in double and rounded once.
struct Quaternion
{
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 1.0f;

    Quaternion() = default;
    constexpr Quaternion(float newX, float newY, float newZ, float newW) : x(newX), y(newY), z(newZ), w(newW) {}

    void Set(float newX, float newY, float newZ, float newW)
    {
        x = newX;
        y = newY;
        z = newZ;
        w = newW;
    }

    // The rotation matrix. The quaternion needn't be of unit length, but not zero.
    void ToMatrix(Matrix4& out) const;

    // From the upper left 3×3 part, a rotation.
    void FromMatrix(const Matrix4& matrix);
};

static_assert(sizeof(Quaternion) == 16);

// The Hamilton product a b; `out` may be one of them.
void QuatMultiply(Quaternion& out, const Quaternion& a, const Quaternion& b);

// Spherical interpolation from a (t = 0) to b (t = 1) the short way round; `out` may be one of them, and isn't
// normalised.
void QuatSlerp(Quaternion& out, const Quaternion& a, const Quaternion& b, float t);

ZOLT_END_NAMESPACE
