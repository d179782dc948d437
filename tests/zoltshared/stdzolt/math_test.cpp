#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "zoltshared/stdzolt/rotations.h"

static constexpr float PI = 3.14159265358979f;

static void ExpectNear(const Matrix4& a, const Matrix4& b, float tolerance)
{
    for (int i = 0; i < 16; i++)
        EXPECT_NEAR(a.m[i], b.m[i], tolerance) << "element " << i;
}

static void ExpectQuaternion(const Quaternion& q, float x, float y, float z, float w, double tolerance = 1e-6)
{
    EXPECT_NEAR(q.x, x, tolerance);
    EXPECT_NEAR(q.y, y, tolerance);
    EXPECT_NEAR(q.z, z, tolerance);
    EXPECT_NEAR(q.w, w, tolerance);
}

static Quaternion RandomRotation(std::mt19937& random)
{
    std::normal_distribution<float> normal;
    const Quaternion q(normal(random), normal(random), normal(random), normal(random));
    const float mag = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
    return Quaternion(q.x / mag, q.y / mag, q.z / mag, q.w / mag);
}

// The rotation of v by a unit quaternion, as q v q*, in double: v + 2 u × (u × v + w v).
static void RotateInDouble(const Quaternion& q, const Vector3& v, double (&out)[3])
{
    const double u[3] = {q.x, q.y, q.z}, p[3] = {v.x, v.y, v.z};
    double inner[3];
    for (int i = 0; i < 3; i++)
    {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        inner[i] = u[j] * p[k] - u[k] * p[j] + q.w * p[i];
    }
    for (int i = 0; i < 3; i++)
    {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        out[i] = p[i] + 2.0 * (u[j] * inner[k] - u[k] * inner[j]);
    }
}

TEST(Vector3, Operations)
{
    const Vector3 x(1.0f, 0.0f, 0.0f), y(0.0f, 1.0f, 0.0f);
    EXPECT_TRUE(x.Cross(y).NearlyEquals(Vector3(0.0f, 0.0f, -1.0f), 0.0f)); // y × x
    EXPECT_TRUE(
        Vector3(2.0f, 3.0f, 5.0f).Cross(Vector3(7.0f, 11.0f, 13.0f)).NearlyEquals(Vector3(16.0f, -9.0f, -1.0f), 0.0f));
    Vector3 v(0.0f, 0.0f, 0.0f);
    v.Norm(5.0f);
    EXPECT_TRUE(v.NearlyEquals(Vector3(0.0f, 0.0f, 0.0f), 0.0f));
    v.Set(3e30f, 0.0f, 4e30f); // the square is out of a float's range
    v.Norm();
    EXPECT_TRUE(v.NearlyEquals(Vector3(0.6f, 0.0f, 0.8f), 1e-6f));
    EXPECT_TRUE(x.NearlyEquals(Vector3(1.5f, -0.5f, 0.5f), 0.5f));
    EXPECT_FALSE(x.NearlyEquals(Vector3(1.0f, 0.0f, 0.5f), 0.25f));
}

TEST(Matrix4, ProductsAndParts)
{
    Matrix4 a, b, product;
    ExpectNear(a, b, 0.0f);
    for (int i = 0; i < 16; i++)
    {
        a.m[i] = static_cast<float>(i);
        b.m[i] = static_cast<float>((i * 7) % 5);
    }
    Multiply(product, a, b);
    // b is 0 2 4 1 / 3 0 2 4 / 1 3 0 2 / 4 1 3 0.
    EXPECT_EQ(product(0, 0), 3.0f + 2.0f + 12.0f);
    EXPECT_EQ(product(1, 2), 16.0f + 10.0f + 0.0f + 21.0f);
    EXPECT_EQ(product(3, 1), 24.0f + 0.0f + 42.0f + 15.0f);
    a = a * b;
    ExpectNear(a, product, 0.0f);

    Matrix4 m;
    m.SetBasisVectors(Vector3(1, 2, 3), Vector3(4, 5, 6), Vector3(7, 8, 9));
    m.SetTranslation(10, 11, 12);
    const float rows[16] = {1, 4, 7, 10, 2, 5, 8, 11, 3, 6, 9, 12, 0, 0, 0, 1};
    Matrix4 same;
    same.Set(rows);
    ExpectNear(m, same, 0.0f);
    Vector3 v(1.0f, 0.0f, 2.0f);
    m.Apply3x3(v, v);
    EXPECT_TRUE(v.NearlyEquals(Vector3(15.0f, 18.0f, 21.0f), 0.0f));
    const float in[4] = {1.0f, 0.0f, 2.0f, 1.0f};
    float out[4];
    m.Transform(out, in);
    EXPECT_TRUE(out[0] == 25.0f && out[1] == 29.0f && out[2] == 33.0f && out[3] == 1.0f);
}

TEST(Matrix4, RigidInverseAndNormalize)
{
    std::mt19937 random(3);
    for (int i = 0; i < 100; i++)
    {
        const Vector3 translation(1.0f + static_cast<float>(i), -3.0f, 0.5f);
        const Quaternion rotation = RandomRotation(random);
        Matrix4 m, inverse, back, unit;
        BuildTransform(&translation, &rotation, nullptr, m);
        m.Inverse(inverse);
        ExpectNear(m * inverse, unit, 2e-5f);
        inverse.Inverse(back);
        ExpectNear(back, m, 2e-5f);
        back = m;
        back.Inverse(back);
        ExpectNear(back, inverse, 0.0f);

        const Vector3 scale(2.0f, 0.25f, -7.0f);
        Matrix4 scaled;
        BuildTransform(&translation, &rotation, &scale, scaled);
        Vector3 a, b, c, s;
        m.GetBasisVectors(a, b, c);
        scaled.GetBasisVectors(s, s, s);
        EXPECT_TRUE(s.NearlyEquals(c * -7.0f, 0.0f));
        scaled.Normalize(); // the mirroring is gone
        ExpectNear(scaled, m, 1e-6f);
    }
}

TEST(Quaternion, RotatesAsInDouble)
{
    std::mt19937 random(5);
    for (int i = 0; i < 500; i++)
    {
        const Quaternion q = RandomRotation(random), r = RandomRotation(random);
        const Vector3 v(1.0f, -2.0f, 3.0f);
        Matrix4 m, n, mn, twice;
        q.ToMatrix(m);
        Vector3 rotated;
        m.Apply3x3(rotated, v);
        double expected[3];
        RotateInDouble(q, v, expected);
        EXPECT_NEAR(rotated.x, expected[0], 2e-6);
        EXPECT_NEAR(rotated.y, expected[1], 2e-6);
        EXPECT_NEAR(rotated.z, expected[2], 2e-6);

        Quaternion(2 * q.x, 2 * q.y, 2 * q.z, 2 * q.w).ToMatrix(twice);
        ExpectNear(twice, m, 0.0f);

        Quaternion back;
        back.FromMatrix(m);
        const float sign = back.x * q.x + back.y * q.y + back.z * q.z + back.w * q.w < 0.0f ? -1.0f : 1.0f;
        // The rounding of the diagonal weighs the more, the smaller w is.
        const double tolerance = 1e-6 + 1e-7 / (8.0 * q.w * q.w);
        ExpectQuaternion(back, sign * q.x, sign * q.y, sign * q.z, sign * q.w, tolerance);

        // The product of quaternions is that of the matrices.
        r.ToMatrix(n);
        Quaternion product = q;
        QuatMultiply(product, product, r);
        product.ToMatrix(mn);
        ExpectNear(mn, m * n, 1e-6f);
    }
}

TEST(Quaternion, FromMatrixBranches)
{
    Matrix4 m;
    Quaternion q(9.0f, 9.0f, 9.0f, 9.0f);
    q.FromMatrix(m);
    ExpectQuaternion(q, 0.0f, 0.0f, 0.0f, 1.0f);
    MatrixFromAxisAngle(m, 0.0f, 1.0f, 0.0f, PI);
    q.FromMatrix(m);
    ExpectQuaternion(q, 0.0f, std::copysign(1.0f, q.y), 0.0f, 0.0f);
    m.Identity();
    m(1, 1) = m(2, 2) = -1.0f;
    q.FromMatrix(m);
    ExpectQuaternion(q, 1.0f, 0.0f, 0.0f, 0.0f);
    // Half turns between two axes, whose diagonal elements are equal: the lower index is the positive one.
    for (int other = 0; other < 3; other++)
    {
        const int i = other == 0 ? 1 : 0, j = other == 2 ? 1 : 2;
        for (float& element : m.m)
            element = 0.0f;
        m(other, other) = m(i, j) = m(j, i) = -1.0f;
        q.FromMatrix(m);
        const float h = std::sqrt(0.5f);
        ExpectQuaternion(q, i == 0 ? h : 0.0f, i == 1 ? h : (j == 1 ? -h : 0.0f), j == 2 ? -h : 0.0f, 0.0f);
    }
    // Near a half turn about z a float sum would lose the last bits of what is left: t = 2⁻¹⁶ + 2⁻²⁴.
    m.Identity();
    m(0, 0) = -1.0f + std::ldexp(1.0f, -16) + std::ldexp(1.0f, -24);
    m(1, 1) = -1.0f;
    q.FromMatrix(m);
    EXPECT_NEAR(q.w, std::sqrt(std::ldexp(257.0, -24)) / 2.0, 1e-9);
}

TEST(Quaternion, Slerp)
{
    std::mt19937 random(7);
    for (int i = 0; i < 200; i++)
    {
        const Quaternion a = RandomRotation(random), minusA(-a.x, -a.y, -a.z, -a.w);
        Quaternion b = RandomRotation(random), out;
        QuatSlerp(out, a, minusA, 0.5f);
        ExpectQuaternion(out, a.x, a.y, a.z, a.w);
        QuatSlerp(out, a, b, 0.0f);
        ExpectQuaternion(out, a.x, a.y, a.z, a.w);
        const float dot = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
        const float sign = dot < 0.0f ? -1.0f : 1.0f;
        // A third of the angle, on the unit sphere.
        QuatSlerp(out, a, b, 1.0f / 3.0f);
        EXPECT_NEAR(out.x * out.x + out.y * out.y + out.z * out.z + out.w * out.w, 1.0f, 1e-5f);
        EXPECT_NEAR(std::acos(std::min(1.0f, a.x * out.x + a.y * out.y + a.z * out.z + a.w * out.w)),
                    std::acos(std::min(1.0f, std::fabs(dot))) / 3.0f, 2e-3f);
        QuatSlerp(b, a, b, 1.0f); // into itself
        EXPECT_NEAR(sign * (a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w), sign * std::fabs(dot), 1e-5f);
    }
    // Up to 0.00001 from each other it's a plain blend, from there on the sphere: a little more than a quarter.
    Quaternion out;
    QuatSlerp(out, Quaternion(0, 0, 0, 1), Quaternion(0.00436f, 0, 0, 0.9999905f), 0.25f);
    EXPECT_EQ(out.x, 0.00109f);
    QuatSlerp(out, Quaternion(0, 0, 0, 1), Quaternion(0.0046f, 0, 0, 0.99998942f), 0.25f);
    EXPECT_NEAR(out.x / 0.0046, 0.25 * (1.0 + (1.0 - 1.0 / 16) * 2e-5 / 6), 2e-7);
}

TEST(Rotations, EulerIsTheProductOfThreeTurns)
{
    Matrix4 x, y, z, euler;
    MatrixFromAxisAngle(x, 1.0f, 0.0f, 0.0f, 0.3f);
    MatrixFromAxisAngle(y, 0.0f, 1.0f, 0.0f, -1.1f);
    MatrixFromAxisAngle(z, 0.0f, 0.0f, 1.0f, 2.5f);
    EXPECT_NEAR(z(1, 0), std::sin(2.5), 1e-6); // right-handed: x turns toward y
    EXPECT_NEAR(x(2, 1), std::sin(0.3), 1e-6);
    EXPECT_NEAR(y(0, 2), std::sin(-1.1), 1e-6);
    MatrixFromEuler(euler, 0.3f, -1.1f, 2.5f);
    ExpectNear(euler, y * (x * z), 1e-6f);
    Quaternion q;
    QuaternionFromEuler(q, 0.3f, -1.1f, 2.5f);
    Matrix4 back;
    q.ToMatrix(back);
    ExpectNear(back, euler, 1e-6f);

    // About an oblique axis: the quaternion of half the angle.
    const float s = std::sin(0.35f) / 3.0f;
    MatrixFromAxisAngle(x, 1.0f / 3.0f, 2.0f / 3.0f, -2.0f / 3.0f, 0.7f);
    Quaternion(s, 2.0f * s, -2.0f * s, std::cos(0.35f)).ToMatrix(y);
    ExpectNear(x, y, 1e-6f);
}

TEST(Rotations, UpVectors)
{
    const Vector3 y(0.0f, 1.0f, 0.0f), z(0.0f, 0.0f, 1.0f), minusY(0.0f, -1.0f, 0.0f);
    Vector3 up;
    BuildUpVector(z, nullptr, up);
    EXPECT_TRUE(up.NearlyEquals(y, 0.0f));
    BuildUpVector(minusY, nullptr, up); // nudged along z
    EXPECT_TRUE(up.NearlyEquals(z, 1e-6f));
    up = z;
    BuildUpVector(z, &up, up); // z + 5 z is still parallel; then (5, 5, 1)
    EXPECT_TRUE(up.NearlyEquals(Vector3(std::sqrt(0.5f), std::sqrt(0.5f), 0.0f), 1e-6f));
    const Vector3 oblique(0.6f, 0.48f, 0.64f);
    BuildUpVector(oblique, &y, up);
    EXPECT_NEAR(up.Dot(oblique), 0.0f, 1e-6f);
    EXPECT_NEAR(up.Mag(), 1.0f, 1e-6f);
    EXPECT_GT(up.y, 0.8f);
}
