#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/vector3.h"

#include <cstring>

ZOLT_BEGIN_NAMESPACE

// A 4×4 matrix, row by row: element (r, c) is float number 4r + c. It acts on column vectors: a translation stands in
// column 3, and a product A * B applies B first. Sums are evaluated in double and rounded once.
struct Matrix4
{
    float m[16];

    Matrix4() { Identity(); }

    float& operator()(int row, int column) { return m[4 * row + column]; }
    float operator()(int row, int column) const { return m[4 * row + column]; }

    void Identity()
    {
        for (int i = 0; i < 16; i++)
            m[i] = i % 5 == 0 ? 1.0f : 0.0f;
    }
    void Set(const float* pValues) { std::memcpy(m, pValues, sizeof(m)); } // 16 floats, row by row

    Matrix4 operator*(const Matrix4& b) const;

    // out = M v; `out` must not be `v`.
    void Transform(float out[4], const float v[4]) const;

    // The upper left 3×3 part times v, without translation; `out` may be `v`.
    void Apply3x3(Vector3& out, const Vector3& v) const;

    // Columns 0, 1, 2, their first three rows.
    void GetBasisVectors(Vector3& a, Vector3& b, Vector3& c) const
    {
        a = Column(0);
        b = Column(1);
        c = Column(2);
    }
    void SetBasisVectors(const Vector3& a, const Vector3& b, const Vector3& c)
    {
        SetColumn(0, a);
        SetColumn(1, b);
        SetColumn(2, c);
    }

    // Column 3, its first three rows.
    void GetTranslation(Vector3& v) const { v = Column(3); }
    void SetTranslation(float x, float y, float z) { SetColumn(3, Vector3(x, y, z)); }
    void SetTranslation(const Vector3& v) { SetTranslation(v.x, v.y, v.z); }

    // The inverse of a rigid transform (a rotation and a translation), by transposing its rotation; wrong for a matrix
    // with scale or shear. `out` may be this matrix.
    void Inverse(Matrix4& out) const
    {
        const Vector3 a = Column(0), b = Column(1), c = Column(2), translation = Column(3);
        out.SetRow(0, a.x, a.y, a.z, -a.Dot(translation));
        out.SetRow(1, b.x, b.y, b.z, -b.Dot(translation));
        out.SetRow(2, c.x, c.y, c.z, -c.Dot(translation));
        out.SetRow(3, 0.0f, 0.0f, 0.0f, 1.0f);
    }

    // Makes the rotation part orthonormal: columns 0 and 1 get the length 1, column 2 becomes column 0 × column 1.
    // Columns 0 and 1 must not be of length 0.
    void Normalize();

    // Columns 0 to 3 of a row.
    void SetRow(int row, float a, float b, float c, float d)
    {
        (*this)(row, 0) = a;
        (*this)(row, 1) = b;
        (*this)(row, 2) = c;
        (*this)(row, 3) = d;
    }

private:
    Vector3 Column(int column) const { return Vector3(m[column], m[4 + column], m[8 + column]); }
    void SetColumn(int column, const Vector3& v)
    {
        m[column] = v.x;
        m[4 + column] = v.y;
        m[8 + column] = v.z;
    }
};

static_assert(sizeof(Matrix4) == 64);

// out = A B; `out` must not be A or B.
void Multiply(Matrix4& out, const Matrix4& a, const Matrix4& b);

ZOLT_END_NAMESPACE
