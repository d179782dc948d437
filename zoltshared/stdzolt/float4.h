#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#if (defined(__SSE2__) || defined(_M_X64)) && !defined(ZOLT_PLAIN_FLOAT4)
#define ZOLT_SSE2 1
#include <emmintrin.h>
#else
#define ZOLT_SSE2 0
#include <bit>
#include <cmath>
#include <utility>
#endif

ZOLT_BEGIN_NAMESPACE

// Four floats that are worked on at once: an SSE2 register, or plain C++ where there is none (or ZOLT_PLAIN_FLOAT4 is
// defined). Every operation rounds as the single float operation does, so both kinds give the same bits. Addresses need
// no alignment. Mask4 holds the truth of a comparison in each of the four places.
#if ZOLT_SSE2

struct Mask4
{
    __m128 v;
};

struct Float4
{
    __m128 v;

    Float4() = default;
    Float4(__m128 value) : v(value) {}
    explicit Float4(float all) : v(_mm_set1_ps(all)) {}
    Float4(float a, float b, float c, float d) : v(_mm_setr_ps(a, b, c, d)) {}

    static Float4 Load(const float* p) { return _mm_loadu_ps(p); }
    void Store(float* p) const { _mm_storeu_ps(p, v); }
    // The first three: 12 bytes, at any address.
    void StoreXYZ(void* p) const
    {
        _mm_storel_epi64(static_cast<__m128i*>(p), _mm_castps_si128(v));
        const float z = _mm_cvtss_f32(Splat<2>().v);
        std::memcpy(static_cast<char*>(p) + 8, &z, sizeof(z)); // `p` may have any alignment.
    }

    // Four times the float at place I.
    template <int I> Float4 Splat() const
    {
        return _mm_castsi128_ps(_mm_shuffle_epi32(_mm_castps_si128(v), _MM_SHUFFLE(I, I, I, I)));
    }
    // 0, 0, 0 and the last.
    Float4 OnlyLast() const { return _mm_and_ps(v, _mm_castsi128_ps(_mm_setr_epi32(0, 0, 0, -1))); }
};

inline Float4 operator+(Float4 a, Float4 b)
{
    return _mm_add_ps(a.v, b.v);
}

inline Float4 operator-(Float4 a, Float4 b)
{
    return _mm_sub_ps(a.v, b.v);
}

inline Float4 operator*(Float4 a, Float4 b)
{
    return _mm_mul_ps(a.v, b.v);
}

inline Float4 operator/(Float4 a, Float4 b)
{
    return _mm_div_ps(a.v, b.v);
}

inline Float4 Sqrt(Float4 a)
{
    return _mm_sqrt_ps(a.v);
}

// b where one of the two is a NaN.
inline Float4 Max(Float4 a, Float4 b)
{
    return _mm_max_ps(a.v, b.v);
}

inline Mask4 operator<(Float4 a, Float4 b)
{
    return {_mm_cmplt_ps(a.v, b.v)};
}

inline Mask4 operator==(Float4 a, Float4 b)
{
    return {_mm_cmpeq_ps(a.v, b.v)};
}

// True for a NaN.
inline Mask4 operator!=(Float4 a, Float4 b)
{
    return {_mm_cmpneq_ps(a.v, b.v)};
}

inline Mask4 operator|(Mask4 a, Mask4 b)
{
    return {_mm_or_ps(a.v, b.v)};
}

// Bit i is the truth at place i.
inline int Bits(Mask4 mask)
{
    return _mm_movemask_ps(mask.v);
}

inline Float4 Select(Mask4 mask, Float4 a, Float4 b)
{
    return _mm_or_ps(_mm_and_ps(mask.v, a.v), _mm_andnot_ps(mask.v, b.v));
}

// -0 where the sign is set, else 0: the sign changes where this is XORed into a float.
inline Float4 SignBit(Float4 a)
{
    return _mm_and_ps(a.v, _mm_set1_ps(-0.0f));
}

// Of the bits that the floats are made of.
inline Float4 OrBits(Float4 a, Float4 b)
{
    return _mm_or_ps(a.v, b.v);
}

inline Float4 XorBits(Float4 a, Float4 b)
{
    return _mm_xor_ps(a.v, b.v);
}

inline bool AnyBit(Float4 a)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_castps_si128(a.v), _mm_setzero_si128())) != 0xFFFF;
}

// A hint that the cache line so many bytes behind p, which need not be readable, is wanted soon.
inline void Prefetch(const void* p, size_t nAhead = 0)
{
    _mm_prefetch(static_cast<const char*>(p) + nAhead, _MM_HINT_T0);
}

inline void Transpose(Float4& a, Float4& b, Float4& c, Float4& d)
{
    _MM_TRANSPOSE4_PS(a.v, b.v, c.v, d.v);
}

// The sum of each of the four: (a0 + a2) + (a1 + a3), and so on.
inline Float4 Sums(Float4 a, Float4 b, Float4 c, Float4 d)
{
    const __m128 ab = _mm_add_ps(_mm_unpacklo_ps(a.v, b.v), _mm_unpackhi_ps(a.v, b.v));
    const __m128 cd = _mm_add_ps(_mm_unpacklo_ps(c.v, d.v), _mm_unpackhi_ps(c.v, d.v));
    return _mm_add_ps(_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab));
}

// The same of three; the fourth float means nothing.
inline Float4 Sums(Float4 a, Float4 b, Float4 c)
{
    const __m128 ab = _mm_add_ps(_mm_unpacklo_ps(a.v, b.v), _mm_unpackhi_ps(a.v, b.v));
    const __m128i upper = _mm_shuffle_epi32(_mm_castps_si128(c.v), _MM_SHUFFLE(3, 2, 3, 2));
    const __m128 cc = _mm_add_ps(c.v, _mm_castsi128_ps(upper));
    return _mm_add_ps(_mm_movelh_ps(ab, cc), _mm_shuffle_ps(ab, cc, _MM_SHUFFLE(1, 1, 3, 2)));
}

#else

struct Mask4
{
    bool v[4];
};

struct Float4
{
    float v[4];

    Float4() = default;
    explicit Float4(float all) : v{all, all, all, all} {}
    Float4(float a, float b, float c, float d) : v{a, b, c, d} {}

    static Float4 Load(const float* p) { return Float4(p[0], p[1], p[2], p[3]); }
    void Store(float* p) const
    {
        for (int i = 0; i < 4; ++i)
            p[i] = v[i];
    }
    void StoreXYZ(void* p) const { std::memcpy(p, v, 12); }

    template <int I> Float4 Splat() const { return Float4(v[I]); }
    Float4 OnlyLast() const { return Float4(0.0f, 0.0f, 0.0f, v[3]); }
};

// F of the floats at each place.
template <class F> Float4 AtEachPlace(const Float4& a, const Float4& b, F f)
{
    return Float4(f(a.v[0], b.v[0]), f(a.v[1], b.v[1]), f(a.v[2], b.v[2]), f(a.v[3], b.v[3]));
}

template <class F> Mask4 TruthAtEachPlace(const Float4& a, const Float4& b, F f)
{
    return {{f(a.v[0], b.v[0]), f(a.v[1], b.v[1]), f(a.v[2], b.v[2]), f(a.v[3], b.v[3])}};
}

inline Float4 operator+(const Float4& a, const Float4& b)
{
    return AtEachPlace(a, b, [](float x, float y) { return x + y; });
}

inline Float4 operator-(const Float4& a, const Float4& b)
{
    return AtEachPlace(a, b, [](float x, float y) { return x - y; });
}

inline Float4 operator*(const Float4& a, const Float4& b)
{
    return AtEachPlace(a, b, [](float x, float y) { return x * y; });
}

inline Float4 operator/(const Float4& a, const Float4& b)
{
    return AtEachPlace(a, b, [](float x, float y) { return x / y; });
}

inline Float4 Sqrt(const Float4& a)
{
    return AtEachPlace(a, a, [](float x, float) { return std::sqrt(x); });
}

inline Float4 Max(const Float4& a, const Float4& b)
{
    return AtEachPlace(a, b, [](float x, float y) { return x > y ? x : y; });
}

inline Mask4 operator<(const Float4& a, const Float4& b)
{
    return TruthAtEachPlace(a, b, [](float x, float y) { return x < y; });
}

inline Mask4 operator==(const Float4& a, const Float4& b)
{
    return TruthAtEachPlace(a, b, [](float x, float y) { return x == y; });
}

inline Mask4 operator!=(const Float4& a, const Float4& b)
{
    return TruthAtEachPlace(a, b, [](float x, float y) { return x != y; });
}

inline Mask4 operator|(const Mask4& a, const Mask4& b)
{
    return {{a.v[0] || b.v[0], a.v[1] || b.v[1], a.v[2] || b.v[2], a.v[3] || b.v[3]}};
}

inline int Bits(const Mask4& mask)
{
    return mask.v[0] | mask.v[1] << 1 | mask.v[2] << 2 | mask.v[3] << 3;
}

inline Float4 Select(const Mask4& mask, const Float4& a, const Float4& b)
{
    return Float4(mask.v[0] ? a.v[0] : b.v[0], mask.v[1] ? a.v[1] : b.v[1], mask.v[2] ? a.v[2] : b.v[2],
                  mask.v[3] ? a.v[3] : b.v[3]);
}

inline Float4 SignBit(const Float4& a)
{
    return AtEachPlace(a, a, [](float x, float) { return std::signbit(x) ? -0.0f : 0.0f; });
}

inline Float4 OrBits(const Float4& a, const Float4& b)
{
    return AtEachPlace(a, b,
                       [](float x, float y)
                       { return std::bit_cast<float>(std::bit_cast<uint32_t>(x) | std::bit_cast<uint32_t>(y)); });
}

inline Float4 XorBits(const Float4& a, const Float4& b)
{
    return AtEachPlace(a, b,
                       [](float x, float y)
                       { return std::bit_cast<float>(std::bit_cast<uint32_t>(x) ^ std::bit_cast<uint32_t>(y)); });
}

inline bool AnyBit(const Float4& a)
{
    return (std::bit_cast<uint32_t>(a.v[0]) | std::bit_cast<uint32_t>(a.v[1]) | std::bit_cast<uint32_t>(a.v[2]) |
            std::bit_cast<uint32_t>(a.v[3])) != 0;
}

inline void Prefetch(const void* /*p*/, size_t /*nAhead*/ = 0) {}

inline void Transpose(Float4& a, Float4& b, Float4& c, Float4& d)
{
    std::swap(a.v[1], b.v[0]);
    std::swap(a.v[2], c.v[0]);
    std::swap(a.v[3], d.v[0]);
    std::swap(b.v[2], c.v[1]);
    std::swap(b.v[3], d.v[1]);
    std::swap(c.v[3], d.v[2]);
}

inline Float4 Sums(const Float4& a, const Float4& b, const Float4& c, const Float4& d)
{
    const auto sum = [](const Float4& f) { return (f.v[0] + f.v[2]) + (f.v[1] + f.v[3]); };
    return Float4(sum(a), sum(b), sum(c), sum(d));
}

inline Float4 Sums(const Float4& a, const Float4& b, const Float4& c)
{
    return Sums(a, b, c, c);
}

#endif

ZOLT_END_NAMESPACE
