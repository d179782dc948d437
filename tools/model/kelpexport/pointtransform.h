#pragma once

#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/vector3.h"

// Matrix4::Transform of many points by one matrix, divided by the fourth component. The sums of the four rows are taken
// side by side, which compilers make vectors of.
class PointTransform
{
public:
    explicit PointTransform(const Matrix4& m)
    {
        for (int i = 0; i < 16; ++i)
            m_Columns[i % 4][i / 4] = m.m[i];
    }

    Vector3 operator()(const Vector3& point) const
    {
        const double in[4] = {point.x, point.y, point.z, 1.0};
        double sums[4] = {};
        for (int c = 0; c < 4; ++c)
        {
            for (int r = 0; r < 4; ++r)
                sums[r] += m_Columns[c][r] * in[c];
        }
        float out[4];
        for (int r = 0; r < 4; ++r)
            out[r] = static_cast<float>(sums[r]);
        if (out[3] == 1.0f) // as a rule; nothing need be divided
            return Vector3(out[0], out[1], out[2]);
        const float w = 1.0f / out[3];
        return Vector3(out[0] * w, out[1] * w, out[2] * w);
    }

private:
    double m_Columns[4][4];
};
