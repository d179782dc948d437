#include "zoltshared/stdzolt/quaternion.h"

#include <cmath>

ZOLT_BEGIN_NAMESPACE

void Quaternion::FromHalfTurn(const Matrix4& m)
{
    static const int next[3] = {1, 2, 0};
    int i = 0;
    if (m(1, 1) > m(0, 0))
        i = 1;
    if (m(2, 2) > m(i, i))
        i = 2;
    const int j = next[i];
    const int k = next[j];
    const double r = std::sqrt(m(i, i) - (double(m(j, j)) + m(k, k)) + 1.0);
    const double f = 0.5 / r;
    float q[3];
    q[i] = static_cast<float>(r / 2.0);
    q[j] = static_cast<float>((double(m(j, i)) + m(i, j)) * f);
    q[k] = static_cast<float>((double(m(k, i)) + m(i, k)) * f);
    Set(q[0], q[1], q[2], static_cast<float>((double(m(k, j)) - m(j, k)) * f));
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
