#include "tools/model/orthonormalise.h"

#include <cmath>

// Sine of the angle below which two columns count as parallel: their plane is rounding noise then.
static constexpr double PARALLEL_SINE = 1e-6;

static double Length(const Vector3& v)
{
    return std::sqrt(double(v.x) * v.x + double(v.y) * v.y + double(v.z) * v.z);
}

static bool HasDirection(const Vector3& v)
{
    const double length = Length(v);
    return std::isfinite(length) && length > 0.0;
}

static bool AreParallel(const Vector3& a, const Vector3& b)
{
    const double x = double(a.y) * b.z - double(a.z) * b.y;
    const double y = double(a.z) * b.x - double(a.x) * b.z;
    const double z = double(a.x) * b.y - double(a.y) * b.x;
    return std::sqrt(x * x + y * y + z * z) < PARALLEL_SINE * Length(a) * Length(b);
}

QZBOOL Orthonormalise(Matrix4& m, const Matrix4& unscaled)
{
    Vector3 a, b, c;
    m.GetBasisVectors(a, b, c);
    Vector3 plainA, plainB, plainC;
    unscaled.GetBasisVectors(plainA, plainB, plainC);
    if (!HasDirection(plainA) || !HasDirection(plainB) || AreParallel(plainA, plainB))
    {
        plainA.Set(1.0f, 0.0f, 0.0f);
        plainB.Set(0.0f, 1.0f, 0.0f);
    }

    QZBOOL bReplaced = QZFALSE;
    if (!HasDirection(a))
    {
        a = plainA;
        bReplaced = QZTRUE;
    }
    if (!HasDirection(b))
    {
        b = plainB;
        bReplaced = QZTRUE;
    }
    if (AreParallel(a, b))
    {
        a = plainA;
        b = plainB;
        bReplaced = QZTRUE;
    }
    if (bReplaced)
        m.SetBasisVectors(a, b, c);
    m.Normalize();
    return bReplaced;
}
