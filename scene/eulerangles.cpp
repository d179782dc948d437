#include "scene/eulerangles.h"

#include <cmath>

Double3 EulerAnglesFromQuat(const DoubleQuat& q)
{
    const DoubleMatrix rotation = MatrixFromTransform({{}, q, {1.0, 1.0, 1.0}});
    const auto& m = rotation.m;
    const double cosineY = std::hypot(m[0][0], m[1][0]);
    const double y = std::atan2(-m[2][0], cosineY);
    if (cosineY < 1e-6)
    {
        return {std::atan2(-m[1][2], m[1][1]), y, 0.0};
    }
    return {std::atan2(m[2][1], m[2][2]), y, std::atan2(m[1][0], m[0][0])};
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
