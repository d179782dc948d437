#pragma once

#include "zoltshared/stdzolt/matrix4.h"
#include "zoltshared/stdzolt/qzbool.h"

// Sine of the angle below which two columns count as parallel: their plane is rounding noise then. The square of their
// product's length is above FAR_FROM_PARALLEL times those of the two only if they aren't, however it is rounded.
constexpr double PARALLEL_SINE = 1e-6;
constexpr double FAR_FROM_PARALLEL = 2.0 * PARALLEL_SINE * PARALLEL_SINE;

// Matrix4::Normalize for matrices that may have lost a direction to a scale of 0 or to an overflow: a column 0 or 1 of
// `m` without a finite length above 0 takes its direction from `unscaled`, which is the same product without scale, and
// so do both columns if they are parallel. Where `unscaled` has none either, the axis stands in. Returns whether it had
// to; if not, the result is that of Normalize. The translation isn't touched.
QZBOOL Orthonormalise(Matrix4& m, const Matrix4& unscaled);

// The part of Orthonormalise that needs no `unscaled`: with two columns that have directions of their own it is done,
// else `m` stays as it is and the result is false.
bool NormalizeIfUsable(Matrix4& m);
