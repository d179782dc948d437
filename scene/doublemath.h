// Points, rotations and matrices in double precision, as the scene library computes with them.
#pragma once

// A point, a direction or a scale.
struct Double3
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// A rotation; of length 1 unless said otherwise.
struct DoubleQuat
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double w = 1.0;
};

// Row by row, acting on column vectors: the translation stands in column 3. Starts as the identity.
struct DoubleMatrix
{
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
};

// A local transform: scale first, then rotation, then translation.
struct DoubleTransform
{
    Double3 translation;
    DoubleQuat rotation;
    Double3 scale = {1.0, 1.0, 1.0};
};

// The same rotation with length 1; a quaternion of length 0 or without a finite length gives the identity.
DoubleQuat NormalizeQuat(const DoubleQuat& q);

// The turn b, then the turn a.
DoubleQuat MultiplyQuats(const DoubleQuat& a, const DoubleQuat& b);

// What two rotations count for at t between them, with the cosine of the angle between them as four numbers.
struct SlerpFactors
{
    double a = 0.0;
    double b = 0.0;
};

SlerpFactors FactorsOfSlerp(double cosine, double t);

// From a to b on the shorter arc, t from 0 to 1; both of length 1, and so is the result.
DoubleQuat Slerp(const DoubleQuat& a, const DoubleQuat& b, double t);

DoubleMatrix MatrixFromTransform(const DoubleTransform& transform);

// a times b, both affine (fourth row 0, 0, 0, 1).
DoubleMatrix MultiplyAffine(const DoubleMatrix& a, const DoubleMatrix& b);

inline Double3 TransformPoint(const DoubleMatrix& matrix, const Double3& point)
{
    const auto& m = matrix.m;
    return {m[0][0] * point.x + m[0][1] * point.y + m[0][2] * point.z + m[0][3],
            m[1][0] * point.x + m[1][1] * point.y + m[1][2] * point.z + m[1][3],
            m[2][0] * point.x + m[2][1] * point.y + m[2][2] * point.z + m[2][3]};
}

// The determinant of the upper left 3 by 3.
double Determinant3(const DoubleMatrix& matrix);

// The inverse of an affine matrix. A matrix without one (an axis scaled to 0) or whose inverse isn't finite gives
// false, and `inverse` becomes the identity.
bool InvertAffine(const DoubleMatrix& matrix, DoubleMatrix& inverse);
