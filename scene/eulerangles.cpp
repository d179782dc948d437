#include "scene/eulerangles.h"

#include <cmath>
#include <cstddef>
#include <cstring>

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

typedef float Row __attribute__((vector_size(16)));

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
    const auto round = [](double value) { return static_cast<float>(value); };
    const Row rows[4] = {{round(cy * cz), round(cy * sz), round(-sy), 0.0F},
                         {round(sx * sy * cz - cx * sz), round(sx * sy * sz + cx * cz), round(sx * cy), 0.0F},
                         {round(cx * sy * cz + sx * sz), round(cx * sy * sz - sx * cz), round(cx * cy), 0.0F},
                         {0.0F, 0.0F, 0.0F, 1.0F}};
    for (int r = 0; r < 4; ++r)
    {
        std::memcpy(matrix + static_cast<std::ptrdiff_t>(4) * r, &rows[r], sizeof rows[r]);
    }
}
