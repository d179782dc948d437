#pragma once

#include "zoltshared/stdzolt/float4.h"
#include "zoltshared/stdzolt/runkernel.h"

#if ZOLT_HAS_AVX_KERNELS

#include <immintrin.h>

ZOLT_BEGIN_NAMESPACE

// Two Float4s side by side, such as two rows of a matrix. Every operation rounds as that of a Float4 does.
struct Float8
{
    __m256 v;

    Float8() = default;
    ZOLT_AVX Float8(__m256 value) : v(value) {}
    ZOLT_AVX explicit Float8(float all) : v(_mm256_set1_ps(all)) {}
    ZOLT_AVX Float8(Float4 lower, Float4 upper) : v(_mm256_insertf128_ps(_mm256_castps128_ps256(lower.v), upper.v, 1))
    {
    }

    ZOLT_AVX static Float8 Load(const float* p) { return _mm256_loadu_ps(p); }
    // The same four floats on both sides.
    ZOLT_AVX static Float8 LoadTwice(const Float4* p) { return _mm256_broadcast_ps(&p->v); }
    ZOLT_AVX void Store(float* p) const { _mm256_storeu_ps(p, v); }

    // On either side four times its float at place I.
    template <int I> ZOLT_AVX Float8 Splat() const { return _mm256_permute_ps(v, _MM_SHUFFLE(I, I, I, I)); }
    // On either side 0, 0, 0 and its last.
    ZOLT_AVX Float8 OnlyLast() const { return _mm256_blend_ps(_mm256_setzero_ps(), v, 0x88); }
    ZOLT_AVX Float4 Lower() const { return _mm256_castps256_ps128(v); }
    ZOLT_AVX Float4 Upper() const { return _mm256_extractf128_ps(v, 1); }
};

ZOLT_AVX inline Float8 operator+(Float8 a, Float8 b)
{
    return _mm256_add_ps(a.v, b.v);
}

ZOLT_AVX inline Float8 operator-(Float8 a, Float8 b)
{
    return _mm256_sub_ps(a.v, b.v);
}

ZOLT_AVX inline Float8 operator*(Float8 a, Float8 b)
{
    return _mm256_mul_ps(a.v, b.v);
}

ZOLT_AVX inline Float8 operator/(Float8 a, Float8 b)
{
    return _mm256_div_ps(a.v, b.v);
}

// b where one of the two is a NaN.
ZOLT_AVX inline Float8 Max(Float8 a, Float8 b)
{
    return _mm256_max_ps(a.v, b.v);
}

// Bit i is the truth of a < b at place i.
ZOLT_AVX inline int BitsOfLess(Float8 a, Float8 b)
{
    return _mm256_movemask_ps(_mm256_cmp_ps(a.v, b.v, _CMP_LT_OS));
}

// Bit i is the truth of a != b at place i; true for a NaN.
ZOLT_AVX inline int BitsOfUnequal(Float8 a, Float8 b)
{
    return _mm256_movemask_ps(_mm256_cmp_ps(a.v, b.v, _CMP_NEQ_UQ));
}

// a / b, and 0 where b is 0.
ZOLT_AVX inline Float8 QuotientOrZero(Float8 a, Float8 b)
{
    return _mm256_and_ps(_mm256_div_ps(a.v, b.v), _mm256_cmp_ps(b.v, _mm256_setzero_ps(), _CMP_NEQ_UQ));
}

// -0 where the sign is set, else 0.
ZOLT_AVX inline Float8 SignBit(Float8 a)
{
    return _mm256_and_ps(a.v, _mm256_set1_ps(-0.0f));
}

ZOLT_AVX inline Float8 XorBits(Float8 a, Float8 b)
{
    return _mm256_xor_ps(a.v, b.v);
}

// On either side.
ZOLT_AVX inline void Transpose(Float8& a, Float8& b, Float8& c, Float8& d)
{
    const __m256 abLow = _mm256_unpacklo_ps(a.v, b.v), abHigh = _mm256_unpackhi_ps(a.v, b.v);
    const __m256 cdLow = _mm256_unpacklo_ps(c.v, d.v), cdHigh = _mm256_unpackhi_ps(c.v, d.v);
    a.v = _mm256_shuffle_ps(abLow, cdLow, _MM_SHUFFLE(1, 0, 1, 0));
    b.v = _mm256_shuffle_ps(abLow, cdLow, _MM_SHUFFLE(3, 2, 3, 2));
    c.v = _mm256_shuffle_ps(abHigh, cdHigh, _MM_SHUFFLE(1, 0, 1, 0));
    d.v = _mm256_shuffle_ps(abHigh, cdHigh, _MM_SHUFFLE(3, 2, 3, 2));
}

ZOLT_END_NAMESPACE

#endif
