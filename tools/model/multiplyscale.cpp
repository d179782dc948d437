#include "tools/model/multiplyscale.h"

#include "zoltshared/stdzolt/float4.h"

void MultiplyScale(Matrix4& out, const Matrix4& m, const Vector3& scale)
{
    if (scale.x == 1.0f && scale.y == 1.0f && scale.z == 1.0f)
    {
        // A product's sums begin with 0, so that none comes out as -0; and what isn't finite becomes a NaN in all of
        // its row.
        const Float4 zero(0.0f);
        Float4 rests = zero; // 0, or a NaN
        for (int i = 0; i < 16; i += 4)
        {
            const Float4 row = Float4::Load(m.m + i);
            (row + zero).Store(out.m + i);
            rests = rests + row * zero;
        }
        if (Bits(rests == zero) == 15)
            return;
    }
    Matrix4 factor;
    factor(0, 0) = scale.x;
    factor(1, 1) = scale.y;
    factor(2, 2) = scale.z;
    Multiply(out, m, factor);
}
