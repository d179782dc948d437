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

RigidTransform Multiply(const RigidTransform& a, const RigidTransform& b);
Double3 TransformPoint(const RigidTransform& transform, const Double3& point);

// As a model plays between two keys: t from 0 to 1, the translation straight, the rotation on the shorter arc.
RigidTransform Interpolate(const RigidTransform& a, const RigidTransform& b, double t);
