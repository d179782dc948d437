#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/matrix4.h"

#include <cmath>

ZOLT_BEGIN_NAMESPACE

// A rotation: vector part x, y, z and scalar part w. The identity, (0, 0, 0, 1), is the default. Everything is
// evaluated in double and rounded once.
struct Quaternion
{
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 1.0f;

    Quaternion() = default;
    constexpr Quaternion(float newX, float newY, float newZ, float newW) : x(newX), y(newY), z(newZ), w(newW) {}

    void Set(float newX, float newY, float newZ, float newW)
    {
        x = newX;
        y = newY;
        z = newZ;
        w = newW;
    }

    // The rotation matrix. The quaternion needn't be of unit length, but not zero.
    void ToMatrix(Matrix4& out) const { ToMatrix(out, Vector3(0.0f, 0.0f, 0.0f)); }
    // The same with a translation.
    void ToMatrix(Matrix4& out, const Vector3& translation) const
    {
        const double s = 2.0 / (double(x) * x + double(y) * y + double(z) * z + double(w) * w);
        const double xs = s * x, ys = s * y, zs = s * z;
        const double wx = xs * w, wy = ys * w, wz = zs * w;
        const double xx = xs * x, xy = ys * x, xz = zs * x;
        const double yy = ys * y, yz = zs * y, zz = zs * z;
        const auto round = [](double value) { return static_cast<float>(value); };
        out.SetRow(0, round(1.0 - (yy + zz)), round(xy - wz), round(xz + wy), translation.x);
        out.SetRow(1, round(xy + wz), round(1.0 - (xx + zz)), round(yz - wx), translation.y);
        out.SetRow(2, round(xz - wy), round(yz + wx), round(1.0 - (xx + yy)), translation.z);
        out.SetRow(3, 0.0f, 0.0f, 0.0f, 1.0f);
    }

    // From the upper left 3×3 part, a rotation.
    void FromMatrix(const Matrix4& m)
    {
        // A half turn has t near 0, where float sums would be all noise.
        const double t = double(m(0, 0)) + m(1, 1) + m(2, 2) + 1.0;
        if (!(t >= 0.00001))
        {
            FromHalfTurn(m);
            return;
        }
        const double r = std::sqrt(t);
        const double f = 0.5 / r;
        Set(static_cast<float>((double(m(2, 1)) - m(1, 2)) * f), static_cast<float>((double(m(0, 2)) - m(2, 0)) * f),
            static_cast<float>((double(m(1, 0)) - m(0, 1)) * f), static_cast<float>(r / 2.0));
    }

private:
    void FromHalfTurn(const Matrix4& m);
};

static_assert(sizeof(Quaternion) == 16);

// The Hamilton product a b; `out` may be one of them.
void QuatMultiply(Quaternion& out, const Quaternion& a, const Quaternion& b);

// Spherical interpolation from a (t = 0) to b (t = 1) the short way round; `out` may be one of them, and isn't
// normalised.
void QuatSlerp(Quaternion& out, const Quaternion& a, const Quaternion& b, float t);

ZOLT_END_NAMESPACE
