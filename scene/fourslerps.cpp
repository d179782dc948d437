// A kernel: every line of arithmetic is done to four rotations at once, each lane in the order of NormalizeQuat and
// Slerp, so that the bits are the same. What has no direction isn't repeated here, but left to those. Vectors of the
// compiler's own are what SSE2 and AVX have; elsewhere it takes them apart.
#include "scene/fourslerps.h"

#include "zoltshared/stdzolt/runkernel.h"

#include <cmath>

#pragma GCC diagnostic ignored "-Wpsabi" // how a vector is passed differs, but none is: all is one function in the end

typedef double Doubles __attribute__((vector_size(32)));

namespace
{

struct FourQuats
{
    Doubles x;
    Doubles y;
    Doubles z;
    Doubles w;
};

} // namespace

[[gnu::always_inline]] static inline FourQuats LoadFour(const double* const* keys, std::size_t at)
{
    FourQuats q;
    for (int i = 0; i < 4; ++i)
    {
        q.x[i] = keys[i][at];
        q.y[i] = keys[i][at + 1];
        q.z[i] = keys[i][at + 2];
        q.w[i] = keys[i][at + 3];
    }
    return q;
}

// False if NormalizeQuat would have none of one of them.
[[gnu::always_inline]] static inline bool Normalize(FourQuats& q)
{
    const Doubles square = q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w;
    const Doubles length = {std::sqrt(square[0]), std::sqrt(square[1]), std::sqrt(square[2]), std::sqrt(square[3])};
    const auto usable = (length > Doubles{} + 1e-150) & (length < Doubles{} + HUGE_VAL);
    q = {q.x / length, q.y / length, q.z / length, q.w / length};
    return (usable[0] & usable[1] & usable[2] & usable[3]) != 0;
}

static bool SlerpFour(const double* const* keys, const double* parts, DoubleQuat* const* results)
{
    FourQuats a = LoadFour(keys, 0);
    FourQuats b = LoadFour(keys, 4);
    if (!Normalize(a) || !Normalize(b))
    {
        return false;
    }
    const Doubles cosine = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
    Doubles fromA = {};
    Doubles fromB = {};
    for (int i = 0; i < 4; ++i)
    {
        const SlerpFactors factors = FactorsOfSlerp(cosine[i], parts[i]);
        fromA[i] = factors.a;
        fromB[i] = factors.b;
    }
    FourQuats q = {fromA * a.x + fromB * b.x, fromA * a.y + fromB * b.y, fromA * a.z + fromB * b.z,
                   fromA * a.w + fromB * b.w};
    // Once by Slerp, and once more.
    for (int i = 0; i < 2; ++i)
    {
        if (!Normalize(q))
        {
            return false;
        }
    }
    for (int i = 0; i < 4; ++i)
    {
        *results[i] = {q.x[i], q.y[i], q.z[i], q.w[i]};
    }
    return true;
}

void FourSlerps::WriteFour()
{
    if (RunKernel<SlerpFour>(m_Keys, m_Parts, m_Results))
    {
        m_nArcs = 0;
    }
    else
    {
        WriteEach();
    }
}

void FourSlerps::WriteEach()
{
    for (std::size_t i = 0; i < m_nArcs; ++i)
    {
        const double* k = m_Keys[i];
        *m_Results[i] = NormalizeQuat(
            Slerp(NormalizeQuat({k[0], k[1], k[2], k[3]}), NormalizeQuat({k[4], k[5], k[6], k[7]}), m_Parts[i]));
    }
    m_nArcs = 0;
}

void FourSlerps::Flush()
{
    WriteEach();
}
