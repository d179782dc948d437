#include "tools/model/multiplyscale.h"

void MultiplyScale(Matrix4& out, const Matrix4& m, const Vector3& scale)
{
    if (scale.x == 1.0f && scale.y == 1.0f && scale.z == 1.0f)
    {
        // A product's sums begin with 0, so that none comes out as -0; and what isn't finite becomes a NaN in all of
        // its row.
        float rests[4] = {}; // 0, or a NaN
        for (int i = 0; i < 16; ++i)
        {
            out.m[i] = m.m[i] + 0.0f;
            rests[i % 4] += m.m[i] * 0.0f;
        }
        if (rests[0] + rests[1] + rests[2] + rests[3] == 0.0f)
            return;
    }
    Matrix4 factor;
    factor(0, 0) = scale.x;
    factor(1, 1) = scale.y;
    factor(2, 2) = scale.z;
    Multiply(out, m, factor);
}
