#include "tools/model/orthonormalise.h"

#include <cmath>

static double SquaredLength(const Vector3& v)
{
    return double(v.x) * v.x + double(v.y) * v.y + double(v.z) * v.z;
}

// The square of a float that isn't 0 is a double that isn't, either.
static bool IsDirection(double squaredLength)
{
    return std::isfinite(squaredLength) && squaredLength > 0.0;
}

static bool HasDirection(const Vector3& v)
{
    return IsDirection(SquaredLength(v));
}

static bool AreParallel(const Vector3& a, const Vector3& b, double squareA, double squareB)
{
    const double x = double(a.y) * b.z - double(a.z) * b.y;
    const double y = double(a.z) * b.x - double(a.x) * b.z;
    const double z = double(a.x) * b.y - double(a.y) * b.x;
    const double product = x * x + y * y + z * z;
    // What is far from it, as nearly all is, needs no roots.
    if (product > FAR_FROM_PARALLEL * squareA * squareB)
        return false;
    return std::sqrt(product) < PARALLEL_SINE * std::sqrt(squareA) * std::sqrt(squareB);
}

static bool AreParallel(const Vector3& a, const Vector3& b)
{
    return AreParallel(a, b, SquaredLength(a), SquaredLength(b));
}

bool NormalizeIfUsable(Matrix4& m)
{
    Vector3 a, b, c;
    m.GetBasisVectors(a, b, c);
    const double squareA = SquaredLength(a);
    const double squareB = SquaredLength(b);
    if (!IsDirection(squareA) || !IsDirection(squareB) || AreParallel(a, b, squareA, squareB))
        return false;
    m.Normalize();
    return true;
}

QZBOOL Orthonormalise(Matrix4& m, const Matrix4& unscaled)
{
    if (NormalizeIfUsable(m))
        return QZFALSE;
    Vector3 a, b, c;
    m.GetBasisVectors(a, b, c);
    Vector3 plainA, plainB, plainC;
    unscaled.GetBasisVectors(plainA, plainB, plainC);
    if (!HasDirection(plainA) || !HasDirection(plainB) || AreParallel(plainA, plainB))
    {
        plainA.Set(1.0f, 0.0f, 0.0f);
        plainB.Set(0.0f, 1.0f, 0.0f);
    }

    if (!HasDirection(a))
        a = plainA;
    if (!HasDirection(b))
        b = plainB;
    if (AreParallel(a, b))
    {
        a = plainA;
        b = plainB;
    }
    m.SetBasisVectors(a, b, c);
    m.Normalize();
    return QZTRUE;
}
