#include "zoltshared/stdzolt/quaternion.h"

#include <cmath>

ZOLT_BEGIN_NAMESPACE

void Quaternion::ToMatrix(Matrix4& out) const
{
    const double s = 2.0 / (double(x) * x + double(y) * y + double(z) * z + double(w) * w);
    const double xs = s * x, ys = s * y, zs = s * z;
    const double wx = xs * w, wy = ys * w, wz = zs * w;
    const double xx = xs * x, xy = ys * x, xz = zs * x;
    const double yy = ys * y, yz = zs * y, zz = zs * z;
    out.Identity();
    out.SetBasisVectors(
        Vector3(static_cast<float>(1.0 - (yy + zz)), static_cast<float>(xy + wz), static_cast<float>(xz - wy)),
        Vector3(static_cast<float>(xy - wz), static_cast<float>(1.0 - (xx + zz)), static_cast<float>(yz + wx)),
        Vector3(static_cast<float>(xz + wy), static_cast<float>(yz - wx), static_cast<float>(1.0 - (xx + yy))));
}

void Quaternion::FromMatrix(const Matrix4& matrix)
{
    double m[3][3];
    for (int r = 0; r < 3; r++)
    {
        for (int c = 0; c < 3; c++)
            m[r][c] = matrix(r, c);
    }

    // A half turn has t near 0, where float sums would be all noise.
    const double t = m[0][0] + m[1][1] + m[2][2] + 1.0;
    if (t >= 0.00001)
    {
        const double r = std::sqrt(t);
        const double f = 0.5 / r;
        x = static_cast<float>((m[2][1] - m[1][2]) * f);
        y = static_cast<float>((m[0][2] - m[2][0]) * f);
        z = static_cast<float>((m[1][0] - m[0][1]) * f);
        w = static_cast<float>(r / 2.0);
        return;
    }

    static const int next[3] = {1, 2, 0};
    int i = 0;
    if (m[1][1] > m[0][0])
        i = 1;
    if (m[2][2] > m[i][i])
        i = 2;
    const int j = next[i];
    const int k = next[j];
    const double r = std::sqrt(m[i][i] - (m[j][j] + m[k][k]) + 1.0);
    const double f = 0.5 / r;
    float q[3];
    q[i] = static_cast<float>(r / 2.0);
    q[j] = static_cast<float>((m[j][i] + m[i][j]) * f);
    q[k] = static_cast<float>((m[k][i] + m[i][k]) * f);
    Set(q[0], q[1], q[2], static_cast<float>((m[k][j] - m[j][k]) * f));
}

void QuatMultiply(Quaternion& out, const Quaternion& a, const Quaternion& b)
{
    const double ax = a.x, ay = a.y, az = a.z, aw = a.w;
    const double bx = b.x, by = b.y, bz = b.z, bw = b.w;
    out.Set(static_cast<float>(aw * bx + ax * bw + ay * bz - az * by),
            static_cast<float>(aw * by - ax * bz + ay * bw + az * bx),
            static_cast<float>(aw * bz + ax * by - ay * bx + az * bw),
            static_cast<float>(aw * bw - ax * bx - ay * by - az * bz));
}

void QuatSlerp(Quaternion& out, const Quaternion& a, const Quaternion& b, float t)
{
    double c = double(a.x) * b.x + double(a.y) * b.y + double(a.z) * b.z + double(a.w) * b.w;
    const double sign = c < 0.0 ? -1.0 : 1.0;
    c *= sign;
    double s0 = 1.0 - t;
    double s1 = t;
    if (1.0 - c > 0.00001)
    {
        const double omega = std::acos(c);
        const double f = std::sin(omega);
        s0 = std::sin((1.0 - t) * omega) / f;
        s1 = std::sin(t * omega) / f;
    }
    s1 *= sign;
    out.Set(static_cast<float>(s0 * a.x + s1 * b.x), static_cast<float>(s0 * a.y + s1 * b.y),
            static_cast<float>(s0 * a.z + s1 * b.z), static_cast<float>(s0 * a.w + s1 * b.w));
}

ZOLT_END_NAMESPACE
