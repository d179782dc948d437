// Takes an affine matrix apart into translation, rotation and scale.
#pragma once

#include "scene/doublemath.h"

// The scale of an axis is the length of its column; the rotation is the columns made perpendicular in their order
// (Gram-Schmidt), and an axis without length stands perpendicular to the others. A mirrored matrix gets a negative
// scale in x, so the rotation is always a proper one. Returns false if columns weren't perpendicular (by more than
// 0.00001 of their lengths): then the transform isn't the whole of the matrix.
bool DecomposeMatrix(const DoubleMatrix& matrix, DoubleTransform& transform);
