#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/quaternion.h"

ZOLT_BEGIN_NAMESPACE

// Angles are in radians.

// Ry(y) · Rx(x) · Rz(z).
void MatrixFromEuler(Matrix4& out, float x, float y, float z);
void QuaternionFromEuler(Quaternion& out, float x, float y, float z);

// The right-handed rotation by `angle` about a unit vector.
void MatrixFromAxisAngle(Matrix4& out, float x, float y, float z, float angle);

// Translation · rotation · scale, each of which may be null.
void BuildTransform(const Vector3* pTranslation, const Quaternion* pRotation, const Vector3* pScale, Matrix4& out);

// A unit vector perpendicular to the unit vector `forward`, near to `*pUp`, or near to (0, 1, 0) if that is null.
// `upOut` may be `*pUp`.
void BuildUpVector(const Vector3& forward, const Vector3* pUp, Vector3& upOut);

ZOLT_END_NAMESPACE
