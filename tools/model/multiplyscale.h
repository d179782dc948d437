#pragma once

#include "zoltshared/stdzolt/matrix4.h"

// out = m S, S being the matrix that scales x, y and z. The same bits as the product, but quick for the scale 1 that
// nearly every node has.
void MultiplyScale(Matrix4& out, const Matrix4& m, const Vector3& scale);
