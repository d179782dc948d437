#include "zoltshared/stdzolt/rotations.h"

#include <cmath>

ZOLT_BEGIN_NAMESPACE

static void SetRotation(Matrix4& out, const double (&rows)[9])
{
    out.Identity();
    for (int r = 0; r < 3; r++)
    {
        for (int c = 0; c < 3; c++)
            out(r, c) = static_cast<float>(rows[3 * r + c]);
    }
}

void MatrixFromEuler(Matrix4& out, float x, float y, float z)
{
    const double sx = std::sin(double(x)), cx = std::cos(double(x));
    const double sy = std::sin(double(y)), cy = std::cos(double(y));
    const double sz = std::sin(double(z)), cz = std::cos(double(z));
    const double rows[9] = {
        cz * cy + sz * sx * sy,
        -sz * cy + cz * sx * sy,
        cx * sy, //
        sz * cx,
        cz * cx,
        -sx, //
        -cz * sy + sz * sx * cy,
        sz * sy + cz * sx * cy,
        cx * cy,
    };
    SetRotation(out, rows);
}

void QuaternionFromEuler(Quaternion& out, float x, float y, float z)
{
    Matrix4 matrix;
    MatrixFromEuler(matrix, x, y, z);
    out.FromMatrix(matrix);
}

void MatrixFromAxisAngle(Matrix4& out, float x, float y, float z, float angle)
{
    const double s = std::sin(double(angle)), c = std::cos(double(angle)), u = 1.0 - c;
    const double rows[9] = {
        u * x * x + c,     u * x * y - s * z, u * x * z + s * y, //
        u * x * y + s * z, u * y * y + c,     u * y * z - s * x, //
        u * x * z - s * y, u * y * z + s * x, u * z * z + c,
    };
    SetRotation(out, rows);
}

void BuildTransform(const Vector3* pTranslation, const Quaternion* pRotation, const Vector3* pScale, Matrix4& out)
{
    out.Identity();
    if (pRotation)
        pRotation->ToMatrix(out);
    if (pScale)
    {
        Vector3 a, b, c;
        out.GetBasisVectors(a, b, c);
        out.SetBasisVectors(a * pScale->x, b * pScale->y, c * pScale->z);
    }
    if (pTranslation)
        out.SetTranslation(*pTranslation);
}

static bool AlmostParallel(const Vector3& a, const Vector3& b)
{
    const float d = a.Dot(b);
    return d > 0.99f || d < -0.99f;
}

static void Nudge(Vector3& v, float x, float y, float z)
{
    v += Vector3(x, y, z);
    v.Norm();
}

void BuildUpVector(const Vector3& forward, const Vector3* pUp, Vector3& upOut)
{
    Vector3 up = pUp ? *pUp : Vector3(0.0f, 1.0f, 0.0f);
    if (AlmostParallel(up, forward))
    {
        Nudge(up, 0.0f, 0.0f, 5.0f);
        if (AlmostParallel(up, forward))
        {
            Nudge(up, 5.0f, 5.0f, 0.0f);
            if (AlmostParallel(up, forward))
                Nudge(up, 5.0f, -2.0f, -5.0f);
        }
    }
    upOut = up - forward * up.Dot(forward);
    upOut.Norm();
}

ZOLT_END_NAMESPACE
