#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cmath>

ZOLT_BEGIN_NAMESPACE

// x, y, z. Default construction leaves it unset. Sums are evaluated in double and rounded once.
struct Vector3
{
    float x, y, z;

    Vector3() = default;
    constexpr Vector3(float newX, float newY, float newZ) : x(newX), y(newY), z(newZ) {}

    void Set(float newX, float newY, float newZ)
    {
        x = newX;
        y = newY;
        z = newZ;
    }

    float Dot(const Vector3& v) const { return static_cast<float>(DotDouble(v)); }

    // The product v × this: the argument stands on the left.
    Vector3 Cross(const Vector3& v) const
    {
        return Vector3(static_cast<float>(double(v.y) * z - double(v.z) * y),
                       static_cast<float>(double(v.z) * x - double(v.x) * z),
                       static_cast<float>(double(v.x) * y - double(v.y) * x));
    }

    float Mag() const { return static_cast<float>(std::sqrt(DotDouble(*this))); }

    // Scales to a length; a vector of magnitude 0 stays as it is.
    void Norm(float length = 1.0f)
    {
        const double mag = std::sqrt(DotDouble(*this));
        if (mag == 0.0)
            return;
        const double scale = length / mag;
        Set(static_cast<float>(x * scale), static_cast<float>(y * scale), static_cast<float>(z * scale));
    }

    Vector3 operator+(const Vector3& v) const { return Vector3(x + v.x, y + v.y, z + v.z); }
    Vector3 operator-(const Vector3& v) const { return Vector3(x - v.x, y - v.y, z - v.z); }
    Vector3 operator*(float factor) const { return Vector3(x * factor, y * factor, z * factor); }

    Vector3& operator+=(const Vector3& v)
    {
        Set(x + v.x, y + v.y, z + v.z);
        return *this;
    }

    Vector3& operator*=(float factor)
    {
        Set(x * factor, y * factor, z * factor);
        return *this;
    }

    Vector3& operator/=(float divisor)
    {
        Set(x / divisor, y / divisor, z / divisor);
        return *this;
    }

    // True if no component differs by more than `tolerance`; a difference equal to it is still near.
    bool NearlyEquals(const Vector3& v, float tolerance) const
    {
        return std::fabs(x - v.x) <= tolerance && std::fabs(y - v.y) <= tolerance && std::fabs(z - v.z) <= tolerance;
    }

private:
    double DotDouble(const Vector3& v) const { return double(x) * v.x + double(y) * v.y + double(z) * v.z; }
};

static_assert(sizeof(Vector3) == 12);

ZOLT_END_NAMESPACE
