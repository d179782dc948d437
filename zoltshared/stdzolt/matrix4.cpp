#include "zoltshared/stdzolt/matrix4.h"

#include "zoltshared/stdzolt/runkernel.h"

#include <cmath>

ZOLT_BEGIN_NAMESPACE

// The four sums of a row side by side, which compilers make vectors of; each is taken in the order of k.
static void MultiplyRows(Matrix4& out, const Matrix4& a, const Matrix4& b)
{
    double rows[4][4];
    for (int i = 0; i < 16; i++)
        rows[i / 4][i % 4] = b.m[i];
    for (int r = 0; r < 4; r++)
    {
        double sums[4] = {};
        for (int k = 0; k < 4; k++)
        {
            const double factor = a(r, k);
            for (int c = 0; c < 4; c++)
                sums[c] += factor * rows[k][c];
        }
        for (int c = 0; c < 4; c++)
            out(r, c) = static_cast<float>(sums[c]);
    }
}

void Multiply(Matrix4& out, const Matrix4& a, const Matrix4& b)
{
    RunKernel<MultiplyRows>(out, a, b);
}

Matrix4 Matrix4::operator*(const Matrix4& b) const
{
    Matrix4 out;
    Multiply(out, *this, b);
    return out;
}

void Matrix4::Transform(float out[4], const float v[4]) const
{
    const Matrix4& self = *this;
    for (int r = 0; r < 4; r++)
    {
        double sum = 0.0;
        for (int c = 0; c < 4; c++)
            sum += double(self(r, c)) * v[c];
        out[r] = static_cast<float>(sum);
    }
}

void Matrix4::Apply3x3(Vector3& out, const Vector3& v) const
{
    const Matrix4& self = *this;
    float result[3];
    for (int r = 0; r < 3; r++)
        result[r] = Vector3(self(r, 0), self(r, 1), self(r, 2)).Dot(v);
    out.Set(result[0], result[1], result[2]);
}

static Vector3 DividedByLength(const Vector3& v)
{
    const double mag = std::sqrt(double(v.x) * v.x + double(v.y) * v.y + double(v.z) * v.z);
    return Vector3(static_cast<float>(v.x / mag), static_cast<float>(v.y / mag), static_cast<float>(v.z / mag));
}

void Matrix4::Normalize()
{
    Vector3 a, b, c;
    GetBasisVectors(a, b, c);
    a = DividedByLength(a);
    b = DividedByLength(b);
    c = b.Cross(a); // a × b
    SetBasisVectors(a, b, c);
}

ZOLT_END_NAMESPACE
