#include "scene/eulerangles.h"

#include <cmath>

Double3 EulerAnglesFromQuat(const DoubleQuat& q)
{
    // Elements of the rotation's matrix.
    const double m00 = 1.0 - 2.0 * (q.y * q.y + q.z * q.z);
    const double m10 = 2.0 * (q.x * q.y + q.z * q.w);
    const double m20 = 2.0 * (q.x * q.z - q.y * q.w);
    const double cosineY = std::hypot(m00, m10);
    const double y = std::atan2(-m20, cosineY);
    if (cosineY < 1e-6)
    {
        const double m11 = 1.0 - 2.0 * (q.x * q.x + q.z * q.z);
        const double m12 = 2.0 * (q.y * q.z - q.x * q.w);
        return {std::atan2(-m12, m11), y, 0.0};
    }
    const double m21 = 2.0 * (q.y * q.z + q.x * q.w);
    const double m22 = 1.0 - 2.0 * (q.x * q.x + q.y * q.y);
    return {std::atan2(m21, m22), y, std::atan2(m10, m00)};
}

void RowMatrixFromEulerAngles(const float* angles, float* matrix)
{
    const double sx = std::sin(static_cast<double>(angles[0]));
    const double cx = std::cos(static_cast<double>(angles[0]));
    const double sy = std::sin(static_cast<double>(angles[1]));
    const double cy = std::cos(static_cast<double>(angles[1]));
    const double sz = std::sin(static_cast<double>(angles[2]));
    const double cz = std::cos(static_cast<double>(angles[2]));
    const double product[16] = {cy * cz,
                                cy * sz,
                                -sy,
                                0.0,
                                sx * sy * cz - cx * sz,
                                sx * sy * sz + cx * cz,
                                sx * cy,
                                0.0,
                                cx * sy * cz + sx * sz,
                                cx * sy * sz - sx * cz,
                                cx * cy,
                                0.0,
                                0.0,
                                0.0,
                                0.0,
                                1.0};
    for (int i = 0; i < 16; ++i)
    {
        matrix[i] = static_cast<float>(product[i]);
    }
}
