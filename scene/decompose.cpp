#include "scene/decompose.h"

#include <cmath>

static double Dot(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// Takes the parts of `axis` along those of the first `count` axes that are in use out of it and brings it to length 1.
// False if nothing is left.
static bool MakePerpendicular(double* axis, const double (*axes)[3], const bool* inUse, int count)
{
    for (int i = 0; i < count; ++i)
    {
        if (inUse[i])
        {
            const double along = Dot(axis, axes[i]);
            for (int k = 0; k < 3; ++k)
            {
                axis[k] -= along * axes[i][k];
            }
        }
    }
    const double length = std::sqrt(Dot(axis, axis));
    if (!(length > 1e-9))
    {
        return false;
    }
    for (int k = 0; k < 3; ++k)
    {
        axis[k] /= length;
    }
    return true;
}

static void Cross(const double* a, const double* b, double* result)
{
    for (int k = 0; k < 3; ++k)
    {
        result[k] = a[(k + 1) % 3] * b[(k + 2) % 3] - a[(k + 2) % 3] * b[(k + 1) % 3];
    }
}

// Gives the axes that aren't in use a direction that completes a right-handed frame.
static void CompleteAxes(double (*axes)[3], bool* inUse)
{
    for (int i = 0; i < 3; ++i)
    {
        if (inUse[i] || (inUse[(i + 1) % 3] && inUse[(i + 2) % 3]))
        {
            continue;
        }
        // At most one other axis is known: the axis' own direction, or the next one if that is taken.
        for (int k = 0; k < 3 && !inUse[i]; ++k)
        {
            for (int j = 0; j < 3; ++j)
            {
                axes[i][j] = j == (i + k) % 3 ? 1.0 : 0.0;
            }
            double along = 0.0;
            for (int j = 0; j < 3; ++j)
            {
                along = inUse[j] ? std::fmax(along, std::fabs(Dot(axes[i], axes[j]))) : along;
            }
            inUse[i] = along < 0.9 && MakePerpendicular(axes[i], axes, inUse, 3);
        }
    }
    for (int i = 0; i < 3; ++i)
    {
        if (!inUse[i])
        {
            Cross(axes[(i + 1) % 3], axes[(i + 2) % 3], axes[i]);
            inUse[i] = true;
        }
    }
}

// Shepperd's method: the largest of the four components is computed first.
static DoubleQuat QuatFromAxes(const double (*axes)[3])
{
    const double m00 = axes[0][0];
    const double m11 = axes[1][1];
    const double m22 = axes[2][2];
    const double m21 = axes[1][2];
    const double m12 = axes[2][1];
    const double m02 = axes[2][0];
    const double m20 = axes[0][2];
    const double m10 = axes[0][1];
    const double m01 = axes[1][0];
    DoubleQuat q;
    if (m00 + m11 + m22 > 0.0)
    {
        q = {m21 - m12, m02 - m20, m10 - m01, 1.0 + m00 + m11 + m22};
    }
    else if (m00 >= m11 && m00 >= m22)
    {
        q = {1.0 + m00 - m11 - m22, m01 + m10, m02 + m20, m21 - m12};
    }
    else if (m11 >= m22)
    {
        q = {m01 + m10, 1.0 + m11 - m00 - m22, m12 + m21, m02 - m20};
    }
    else
    {
        q = {m02 + m20, m12 + m21, 1.0 + m22 - m00 - m11, m10 - m01};
    }
    return NormalizeQuat(q);
}

bool DecomposeMatrix(const DoubleMatrix& matrix, DoubleTransform& transform)
{
    double axes[3][3];
    double scale[3];
    bool inUse[3] = {false, false, false};
    bool perpendicular = true;
    for (int i = 0; i < 3; ++i)
    {
        double columnLargest = 0.0;
        for (int k = 0; k < 3; ++k)
        {
            axes[i][k] = matrix.m[k][i];
            columnLargest = std::fmax(columnLargest, std::fabs(axes[i][k]));
        }
        scale[i] = 0.0;
        if (columnLargest == 0.0)
        {
            continue;
        }
        for (int k = 0; k < 3; ++k)
        {
            axes[i][k] /= columnLargest;
        }
        const double length = std::sqrt(Dot(axes[i], axes[i]));
        for (int k = 0; k < 3; ++k)
        {
            axes[i][k] /= length;
        }
        scale[i] = length * columnLargest;
        for (int j = 0; j < i; ++j)
        {
            perpendicular = perpendicular && (!inUse[j] || std::fabs(Dot(axes[i], axes[j])) <= 1e-5);
        }
        inUse[i] = MakePerpendicular(axes[i], axes, inUse, i);
    }
    CompleteAxes(axes, inUse);
    double third[3];
    Cross(axes[0], axes[1], third);
    if (Dot(third, axes[2]) < 0.0)
    {
        scale[0] = -scale[0];
        for (double& component : axes[0])
        {
            component = -component;
        }
    }
    transform.translation = {matrix.m[0][3], matrix.m[1][3], matrix.m[2][3]};
    transform.rotation = QuatFromAxes(axes);
    transform.scale = {scale[0], scale[1], scale[2]};
    return perpendicular;
}
