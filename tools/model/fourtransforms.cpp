// The passes of a conversion go over every key of every node, with sums in double that round to float at fixed places.
// The keys of a node don't depend on each other: every line of arithmetic here is done to four of them at once, each
// lane in the order of the single operation, so that the bits are the same. Vectors of the compiler's own are what
// SSE2 and AVX have; elsewhere it takes them apart. What lies off the common way (no finite number, no direction, out
// of range) isn't repeated here: the caller falls back on the single operations for that subtree, which are tested by
// themselves, and a test holds the two against each other.

#include "tools/model/fourtransforms.h"

#include "tools/model/orthonormalise.h"
#include "zoltshared/stdzolt/float4.h"
#include "zoltshared/stdzolt/runkernel.h"

#include <cmath>
#include <cstddef>
#include <cstring>

#pragma GCC diagnostic ignored "-Wpsabi" // how a vector is passed differs, but none is: all is one function in the end

typedef float Floats __attribute__((vector_size(16)));
typedef double Doubles __attribute__((vector_size(32)));

[[gnu::always_inline]] static inline Doubles Widen(const float* pFloats)
{
    return Doubles{pFloats[0], pFloats[1], pFloats[2], pFloats[3]};
}

[[gnu::always_inline]] static inline void Round(float* pFloats, const Doubles& values)
{
    const Floats floats = __builtin_convertvector(values, Floats);
    std::memcpy(pFloats, &floats, sizeof(floats));
}

[[gnu::always_inline]] static inline Doubles Sqrt(const Doubles& values)
{
    return Doubles{std::sqrt(values[0]), std::sqrt(values[1]), std::sqrt(values[2]), std::sqrt(values[3])};
}

// A key is 7 floats: the translation, then the rotation.
static_assert(sizeof(NodeKeyFrame) == 28 && offsetof(NodeKeyFrame, m_qRotation) == 12);

[[gnu::always_inline]] static inline void FromKeys(FourTransforms& out, const NodeKeyFrame* pKeys)
{
    const float* pFloats = reinterpret_cast<const float*>(pKeys);
    // All nodes come in between before it is this node's turn again, for its next keys.
    Prefetch(pKeys + FOUR_KEYS, 0);
    Prefetch(pKeys + FOUR_KEYS, FOUR_KEYS * sizeof(NodeKeyFrame) - 1);
    Float4 tx = Float4::Load(pFloats), ty = Float4::Load(pFloats + 7), tz = Float4::Load(pFloats + 14),
           rest = Float4::Load(pFloats + 21);
    Float4 qx = Float4::Load(pFloats + 3), qy = Float4::Load(pFloats + 10), qz = Float4::Load(pFloats + 17),
           qw = Float4::Load(pFloats + 24);
    Transpose(tx, ty, tz, rest);
    Transpose(qx, qy, qz, qw);
    float q[4][4];
    qx.Store(q[0]);
    qy.Store(q[1]);
    qz.Store(q[2]);
    qw.Store(q[3]);
    const Doubles x = Widen(q[0]), y = Widen(q[1]), z = Widen(q[2]), w = Widen(q[3]);
    const Doubles s = 2.0 / (x * x + y * y + z * z + w * w);
    const Doubles xs = s * x, ys = s * y, zs = s * z;
    const Doubles wx = xs * w, wy = ys * w, wz = zs * w;
    const Doubles xx = xs * x, xy = ys * x, xz = zs * x;
    const Doubles yy = ys * y, yz = zs * y, zz = zs * z;
    Round(out.m[0], 1.0 - (yy + zz));
    Round(out.m[1], xy - wz);
    Round(out.m[2], xz + wy);
    tx.Store(out.m[3]);
    Round(out.m[4], xy + wz);
    Round(out.m[5], 1.0 - (xx + zz));
    Round(out.m[6], yz - wx);
    ty.Store(out.m[7]);
    Round(out.m[8], xz - wy);
    Round(out.m[9], yz + wx);
    Round(out.m[10], 1.0 - (xx + yy));
    tz.Store(out.m[11]);
}

// Not so for a NaN.
[[gnu::always_inline]] static inline bool AllAbove(const Doubles& values, const Doubles& limits)
{
    const auto above = values > limits;
    return (above[0] & above[1] & above[2] & above[3]) != 0;
}

[[gnu::always_inline]] static inline void ToKeys(NodeKeyFrame* pKeys, const FourTransforms& in)
{
    const Doubles t = Widen(in.m[0]) + Widen(in.m[5]) + Widen(in.m[10]) + 1.0;
    const Doubles r = Sqrt(t);
    const Doubles f = 0.5 / r;
    float q[4][4];
    Round(q[0], (Widen(in.m[9]) - Widen(in.m[6])) * f);
    Round(q[1], (Widen(in.m[2]) - Widen(in.m[8])) * f);
    Round(q[2], (Widen(in.m[4]) - Widen(in.m[1])) * f);
    Round(q[3], r / 2.0);
    Float4 tx = Float4::Load(in.m[3]), ty = Float4::Load(in.m[7]), tz = Float4::Load(in.m[11]), rest(0.0f);
    Float4 qx = Float4::Load(q[0]), qy = Float4::Load(q[1]), qz = Float4::Load(q[2]), qw = Float4::Load(q[3]);
    Transpose(tx, ty, tz, rest);
    Transpose(qx, qy, qz, qw);
    // The fourth float of a translation gives way to the rotation.
    float* pFloats = reinterpret_cast<float*>(pKeys);
    tx.Store(pFloats);
    qx.Store(pFloats + 3);
    ty.Store(pFloats + 7);
    qy.Store(pFloats + 10);
    tz.Store(pFloats + 14);
    qz.Store(pFloats + 17);
    rest.Store(pFloats + 21);
    qw.Store(pFloats + 24);
    if (AllAbove(t, Doubles{} + 0.00002))
        return;
    for (uint32_t k = 0; k < FOUR_KEYS; ++k)
        pKeys[k].m_qRotation.FromMatrix(in.At(k)); // half turns
}

// What isn't finite makes a NaN of 0.
[[gnu::always_inline]] static inline bool AreFinite(const FourTransforms& four)
{
    const Float4 zero(0.0f);
    Float4 sum = zero;
    for (const auto& element : four.m)
        sum = sum + Float4::Load(element) * zero;
    return Bits(sum == zero) == 15;
}

// The sums of a product of matrices, less what their rows 3 add to it: nothing, if the result is finite.
[[gnu::always_inline]] static inline bool Product(FourTransforms& out, const FourTransforms& a, const FourTransforms& b)
{
    for (int r = 0; r < 12; r += 4)
    {
        const Doubles a0 = Widen(a.m[r]), a1 = Widen(a.m[r + 1]), a2 = Widen(a.m[r + 2]), a3 = Widen(a.m[r + 3]);
        for (int c = 0; c < 4; ++c)
        {
            const Doubles sum = 0.0 + a0 * Widen(b.m[c]) + a1 * Widen(b.m[4 + c]) + a2 * Widen(b.m[8 + c]);
            Round(out.m[r + c], c == 3 ? sum + a3 : sum);
        }
    }
    return AreFinite(out);
}

[[gnu::always_inline]] static inline void Inverse(FourTransforms& out, const FourTransforms& in)
{
    const Doubles x = Widen(in.m[3]), y = Widen(in.m[7]), z = Widen(in.m[11]);
    for (int r = 0; r < 3; ++r)
    {
        // Rounding knows no direction, so that the sign may change ahead of it.
        Round(out.m[4 * r + 3], -(Widen(in.m[r]) * x + Widen(in.m[4 + r]) * y + Widen(in.m[8 + r]) * z));
        for (int c = 0; c < 3; ++c)
            std::memcpy(out.m[4 * r + c], in.m[4 * c + r], sizeof(out.m[0]));
    }
}

// NormalizeIfUsable, of finite elements. Columns that are near enough to parallel for a closer look are left to it.
[[gnu::always_inline]] static inline bool Normalize(FourTransforms& four)
{
    const Doubles ax = Widen(four.m[0]), ay = Widen(four.m[4]), az = Widen(four.m[8]);
    const Doubles bx = Widen(four.m[1]), by = Widen(four.m[5]), bz = Widen(four.m[9]);
    const Doubles squareA = ax * ax + ay * ay + az * az;
    const Doubles squareB = bx * bx + by * by + bz * bz;
    const Doubles x = ay * bz - az * by, y = az * bx - ax * bz, z = ax * by - ay * bx;
    // Not so for a length of 0, either.
    if (!AllAbove(x * x + y * y + z * z, FAR_FROM_PARALLEL * squareA * squareB))
        return false;
    const Doubles lengthA = Sqrt(squareA), lengthB = Sqrt(squareB);
    Round(four.m[0], ax / lengthA);
    Round(four.m[4], ay / lengthA);
    Round(four.m[8], az / lengthA);
    Round(four.m[1], bx / lengthB);
    Round(four.m[5], by / lengthB);
    Round(four.m[9], bz / lengthB);
    const Doubles unitAX = Widen(four.m[0]), unitAY = Widen(four.m[4]), unitAZ = Widen(four.m[8]);
    const Doubles unitBX = Widen(four.m[1]), unitBY = Widen(four.m[5]), unitBZ = Widen(four.m[9]);
    Round(four.m[2], unitAY * unitBZ - unitAZ * unitBY);
    Round(four.m[6], unitAZ * unitBX - unitAX * unitBZ);
    Round(four.m[10], unitAX * unitBY - unitAY * unitBX);
    return true;
}

static bool ToGlobal(FourTransforms& global, const FourTransforms& parent, NodeKeyFrame* pKeys)
{
    FourTransforms local;
    FromKeys(local, pKeys);
    if (!Product(global, parent, local))
        return false;
    ToKeys(pKeys, global);
    return true;
}

static bool ToLocal(FourTransforms& inverse, const FourTransforms& parentInverse, NodeKeyFrame* pKeys)
{
    FourTransforms global, local;
    FromKeys(global, pKeys);
    if (!Product(local, parentInverse, global))
        return false;
    ToKeys(pKeys, local);
    Inverse(inverse, global);
    return true;
}

static bool FoldScale(FourTransforms& global, FourTransforms& local, const FourTransforms& parent, const Vector3& scale,
                      float limit, NodeKeyFrame* pKeys)
{
    FromKeys(local, pKeys);
    if (!Product(global, parent, local))
        return false;
    for (int r = 0; r < 12; r += 4)
    {
        Round(global.m[r], 0.0 + Widen(global.m[r]) * double(scale.x));
        Round(global.m[r + 1], 0.0 + Widen(global.m[r + 1]) * double(scale.y));
        Round(global.m[r + 2], 0.0 + Widen(global.m[r + 2]) * double(scale.z));
        Round(global.m[r + 3], 0.0 + Widen(global.m[r + 3]));
    }
    if (!AreFinite(global))
        return false;
    FourTransforms rigid = global;
    if (!Normalize(rigid))
        return false;
    for (int i = 3; i < 12; i += 4)
    {
        const Float4 coordinate = Float4::Load(rigid.m[i]);
        if (Bits(Float4(limit) < XorBits(coordinate, SignBit(coordinate))) != 0)
            return false;
    }
    ToKeys(pKeys, rigid);
    return true;
}

static bool Convert(FourTransforms& global, FourTransforms& flipped, FourTransforms& inverse,
                    const FourTransforms& parent, const FourTransforms& parentInverse, NodeKeyFrame* pKeys)
{
    FourTransforms local;
    FromKeys(local, pKeys);
    if (!Product(global, parent, local))
        return false;
    const Float4 zero(0.0f);
    for (auto& element : global.m)
        (Float4::Load(element) + zero).Store(element); // the product with the scale 1: no -0
    if (!Normalize(global))
        return false;
    for (int i = 0; i < 12; ++i)
    {
        const Float4 element = Float4::Load(global.m[i]);
        (i < 8 ? zero - element : element + zero).Store(flipped.m[i]);
    }
    Float4::Load(global.m[3]).Store(flipped.m[3]);
    Float4::Load(global.m[7]).Store(flipped.m[7]);
    XorBits(Float4::Load(global.m[11]), Float4(-0.0f)).Store(flipped.m[11]);
    if (!Product(local, parentInverse, flipped))
        return false;
    ToKeys(pKeys, local);
    Inverse(inverse, flipped);
    return true;
}

bool FourToGlobal(FourTransforms& global, const FourTransforms& parent, NodeKeyFrame* pKeys)
{
    return RunKernel<ToGlobal>(global, parent, pKeys);
}

bool FourToLocal(FourTransforms& inverse, const FourTransforms& parentInverse, NodeKeyFrame* pKeys)
{
    return RunKernel<ToLocal>(inverse, parentInverse, pKeys);
}

bool FourFoldScale(FourTransforms& global, FourTransforms& local, const FourTransforms& parent, const Vector3& scale,
                   float limit, NodeKeyFrame* pKeys)
{
    return RunKernel<FoldScale>(global, local, parent, scale, limit, pKeys);
}

bool FourConvert(FourTransforms& global, FourTransforms& flipped, FourTransforms& inverse, const FourTransforms& parent,
                 const FourTransforms& parentInverse, NodeKeyFrame* pKeys)
{
    return RunKernel<Convert>(global, flipped, inverse, parent, parentInverse, pKeys);
}
