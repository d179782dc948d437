#include "scene/rigidtransform.h"

#include "scene/decompose.h"

#include <cmath>

static Double3 Cross(const Double3& a, const Double3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

static Double3 Column(const DoubleMatrix& matrix, int column)
{
    const Double3 v = {matrix.m[0][column], matrix.m[1][column], matrix.m[2][column]};
    const double length = std::hypot(v.x, v.y, v.z);
    return length > 0.0 ? Double3{v.x / length, v.y / length, v.z / length} : Double3();
}

RigidTransform RigidFromMatrix(const DoubleMatrix& matrix)
{
    const Double3 x = Column(matrix, 0);
    const Double3 y = Column(matrix, 1);
    const Double3 z = Cross(x, y);
    DoubleTransform parts;
    DecomposeMatrix({{{x.x, y.x, z.x, matrix.m[0][3]},
                      {x.y, y.y, z.y, matrix.m[1][3]},
                      {x.z, y.z, z.z, matrix.m[2][3]},
                      {0.0, 0.0, 0.0, 1.0}}},
                    parts);
    return {parts.translation, parts.rotation};
}

RigidTransform RelativeTo(const RigidTransform& a, const RigidTransform& b)
{
    return {PointSeenFrom(a, b.translation), MultiplyQuats(Conjugate(a.rotation), b.rotation)};
}

Double3 TransformPoint(const RigidTransform& transform, const Double3& point)
{
    const Double3 turned = Turn(transform.rotation, point);
    return {transform.translation.x + turned.x, transform.translation.y + turned.y, transform.translation.z + turned.z};
}

RigidTransform Multiply(const RigidTransform& a, const RigidTransform& b)
{
    return {TransformPoint(a, b.translation), MultiplyQuats(a.rotation, b.rotation)};
}

RigidTransform Interpolate(const RigidTransform& a, const RigidTransform& b, double t)
{
    return {{a.translation.x + (b.translation.x - a.translation.x) * t,
             a.translation.y + (b.translation.y - a.translation.y) * t,
             a.translation.z + (b.translation.z - a.translation.z) * t},
            Slerp(a.rotation, b.rotation, t)};
}
