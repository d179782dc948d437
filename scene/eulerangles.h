// Rotations as angles about x, then y, then z.
#pragma once

#include "scene/doublemath.h"

// The angles in radians for which, on column vectors, Rz(z) times Ry(y) times Rx(x) is the rotation `q` (of length 1).
// y lies between minus and plus a quarter turn; where it is one (to 0.000001), z is 0.
Double3 EulerAnglesFromQuat(const DoubleQuat& q);

// The product X times Y times Z of the three rotations that act on row vectors, row by row; on column vectors its
// transpose is Rz times Ry times Rx. Angles in radians; computed in double and rounded once.
void RowMatrixFromEulerAngles(const float* angles, float* matrix);
