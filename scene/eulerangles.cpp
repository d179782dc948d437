#include "scene/eulerangles.h"

#include "zoltshared/stdzolt/float4.h"

#include <cmath>

// Most rotations are about one axis alone, if at all, which leaves angles of 0, -0 among them: these are known without
// a call.
static double AngleOf(double y, double x)
{
    return y == 0.0 && x > 0.0 ? y : std::atan2(y, x);
}

Double3 EulerAnglesFromQuat(const DoubleQuat& q)
{
    // Elements of the rotation's matrix.
    const double m00 = 1.0 - 2.0 * (q.y * q.y + q.z * q.z);
    const double m10 = 2.0 * (q.x * q.y + q.z * q.w);
    const double m20 = 2.0 * (q.x * q.z - q.y * q.w);
    const double cosineY = m10 == 0.0 ? std::fabs(m00) : std::hypot(m00, m10);
    const double y = AngleOf(-m20, cosineY);
    if (cosineY < 1e-6)
    {
        const double m11 = 1.0 - 2.0 * (q.x * q.x + q.z * q.z);
        const double m12 = 2.0 * (q.y * q.z - q.x * q.w);
        return {AngleOf(-m12, m11), y, 0.0};
    }
    const double m21 = 2.0 * (q.y * q.z + q.x * q.w);
    const double m22 = 1.0 - 2.0 * (q.x * q.x + q.y * q.y);
    return {AngleOf(m21, m22), y, AngleOf(m10, m00)};
}

// Sine and cosine of an angle.
struct SineAndCosine
{
    explicit SineAndCosine(double angle)
        : sine(angle == 0.0 ? angle : std::sin(angle)), cosine(angle == 0.0 ? 1.0 : std::cos(angle))
    {
    }

    double sine;
    double cosine;
};

void RowMatrixFromEulerAngles(const float* angles, float* matrix)
{
    const SineAndCosine x(angles[0]);
    const SineAndCosine y(angles[1]);
    const SineAndCosine z(angles[2]);
    const double sx = x.sine;
    const double cx = x.cosine;
    const double sy = y.sine;
    const double cy = y.cosine;
    const double sz = z.sine;
    const double cz = z.cosine;
    // Row by row, each as a whole: a caller that reads whole rows back needn't wait until parts of them are in memory.
    const auto row = [](double a, double b, double c)
    { return Float4(static_cast<float>(a), static_cast<float>(b), static_cast<float>(c), 0.0F); };
    row(cy * cz, cy * sz, -sy).Store(matrix);
    row(sx * sy * cz - cx * sz, sx * sy * sz + cx * cz, sx * cy).Store(matrix + 4);
    row(cx * sy * cz + sx * sz, cx * sy * sz - sx * cz, cx * cy).Store(matrix + 8);
    Float4(0.0F, 0.0F, 0.0F, 1.0F).Store(matrix + 12);
}
