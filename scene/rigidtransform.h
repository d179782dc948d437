// Transforms without scale, as the keys of a model hold them.
#pragma once

#include "scene/doublemath.h"

struct RigidTransform
{
    Double3 translation;
    DoubleQuat rotation; // of length 1
};

// What is left of an affine matrix without its scale: the first two columns brought to length 1, the third
// perpendicular to them, so that a mirrored axis is lost; shear in the first two is left out.
RigidTransform RigidFromMatrix(const DoubleMatrix& matrix);

// The inverse of a, times b: b as it is seen from a.
RigidTransform RelativeTo(const RigidTransform& a, const RigidTransform& b);

// q must be of length 1.
inline Double3 Turn(const DoubleQuat& q, const Double3& point)
{
    const Double3 c = {q.y * point.z - q.z * point.y + q.w * point.x, q.z * point.x - q.x * point.z + q.w * point.y,
                       q.x * point.y - q.y * point.x + q.w * point.z};
    const Double3 turned = {q.y * c.z - q.z * c.y, q.z * c.x - q.x * c.z, q.x * c.y - q.y * c.x};
    return {point.x + 2.0 * turned.x, point.y + 2.0 * turned.y, point.z + 2.0 * turned.z};
}

inline DoubleQuat Conjugate(const DoubleQuat& q)
{
    return {-q.x, -q.y, -q.z, q.w};
}

// A point of the world as it is seen from a: what RelativeTo makes of a translation.
inline Double3 PointSeenFrom(const RigidTransform& a, const Double3& point)
{
    return Turn(Conjugate(a.rotation),
                {point.x - a.translation.x, point.y - a.translation.y, point.z - a.translation.z});
}

RigidTransform Multiply(const RigidTransform& a, const RigidTransform& b);
Double3 TransformPoint(const RigidTransform& transform, const Double3& point);

// As a model plays between two keys: t from 0 to 1, the translation straight, the rotation on the shorter arc.
RigidTransform Interpolate(const RigidTransform& a, const RigidTransform& b, double t);
