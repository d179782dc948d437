#include "scene/doublemath.h"

#include <cmath>

DoubleQuat NormalizeQuat(const DoubleQuat& q)
{
    const double length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
    if (!(length > 1e-150) || !std::isfinite(length))
    {
        return {};
    }
    return {q.x / length, q.y / length, q.z / length, q.w / length};
}

DoubleQuat MultiplyQuats(const DoubleQuat& a, const DoubleQuat& b)
{
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
            a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

SlerpFactors FactorsOfSlerp(double cosine, double t)
{
    const double sign = cosine < 0.0 ? -1.0 : 1.0;
    const double angle = std::acos(std::fmin(std::fabs(cosine), 1.0));
    // Below this angle the chord is the arc to all digits, and the sine is too small to divide by.
    if (!(angle > 1e-6))
    {
        return {1.0 - t, t * sign};
    }
    const double sine = std::sin(angle);
    return {std::sin((1.0 - t) * angle) / sine, std::sin(t * angle) / sine * sign};
}

DoubleQuat Slerp(const DoubleQuat& a, const DoubleQuat& b, double t)
{
    const SlerpFactors from = FactorsOfSlerp(a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w, t);
    return NormalizeQuat({from.a * a.x + from.b * b.x, from.a * a.y + from.b * b.y, from.a * a.z + from.b * b.z,
                          from.a * a.w + from.b * b.w});
}

DoubleMatrix MatrixFromTransform(const DoubleTransform& transform)
{
    const DoubleQuat& q = transform.rotation;
    const Double3& s = transform.scale;
    const Double3& t = transform.translation;
    return {{{(1.0 - 2.0 * (q.y * q.y + q.z * q.z)) * s.x, 2.0 * (q.x * q.y - q.z * q.w) * s.y,
              2.0 * (q.x * q.z + q.y * q.w) * s.z, t.x},
             {2.0 * (q.x * q.y + q.z * q.w) * s.x, (1.0 - 2.0 * (q.x * q.x + q.z * q.z)) * s.y,
              2.0 * (q.y * q.z - q.x * q.w) * s.z, t.y},
             {2.0 * (q.x * q.z - q.y * q.w) * s.x, 2.0 * (q.y * q.z + q.x * q.w) * s.y,
              (1.0 - 2.0 * (q.x * q.x + q.y * q.y)) * s.z, t.z},
             {0.0, 0.0, 0.0, 1.0}}};
}

DoubleMatrix MultiplyAffine(const DoubleMatrix& a, const DoubleMatrix& b)
{
    DoubleMatrix result;
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 4; ++column)
        {
            result.m[row][column] =
                a.m[row][0] * b.m[0][column] + a.m[row][1] * b.m[1][column] + a.m[row][2] * b.m[2][column];
        }
        result.m[row][3] += a.m[row][3];
    }
    return result;
}

double Determinant3(const DoubleMatrix& matrix)
{
    const auto& m = matrix.m;
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

bool InvertAffine(const DoubleMatrix& matrix, DoubleMatrix& inverse)
{
    const auto& m = matrix.m;
    const double determinant = Determinant3(matrix);
    inverse = DoubleMatrix();
    if (determinant == 0.0 || !std::isfinite(1.0 / determinant))
    {
        return false;
    }
    DoubleMatrix result;
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 3; ++column)
        {
            // The cofactor of the transposed place; taking rows and columns in cyclic order gives it its sign.
            const int r1 = (column + 1) % 3;
            const int r2 = (column + 2) % 3;
            const int c1 = (row + 1) % 3;
            const int c2 = (row + 2) % 3;
            result.m[row][column] = (m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1]) / determinant;
        }
    }
    for (int row = 0; row < 3; ++row)
    {
        result.m[row][3] = -(result.m[row][0] * m[0][3] + result.m[row][1] * m[1][3] + result.m[row][2] * m[2][3]);
        for (int column = 0; column < 4; ++column)
        {
            if (!std::isfinite(result.m[row][column]))
            {
                return false;
            }
        }
    }
    inverse = result;
    return true;
}
