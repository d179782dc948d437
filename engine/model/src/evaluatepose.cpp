// Poses, four nodes at a time, and with AVX some of it for eight, or by two rows of a matrix.
//
// All that happens to a node in its parent's space happens to four at once, in floats: rotations and translations are
// gathered from the tracks as they lie, so that there is no copy of the keys that could go stale. Parents stand ahead
// of their children, so one loop over the nodes then puts them together, with 3 × 4 products in place of 4 × 4 ones
// where nothing can give a bottom row but 0, 0, 0, 1, and without the relations where all of them are the identity.
//
// The factors of a spherical interpolation need no trigonometry: with z = 1 - cos x,
//     sin(n x) / sin x = n (1 + (1 - n²) z/3 (1 + (4 - n²) z/10 (1 + ((k + 1)² - n²) z/((2k + 3)(k + 1)) (...)))),
// the hypergeometric form of the Chebyshev polynomials of the second kind (Abramowitz & Stegun 22.5.48), which holds
// for any n. Within a position all nodes share the fraction, and for neighbouring keys four terms do, whose
// coefficients are made once a pose; over half the angle, eight terms serve any pair. Each stays within 1e-7 of the
// true factor.

#include "engine/model/src/evaluatepose.h"

#include "engine/model/src/animnode.h"
#include "engine/model/src/modelnode.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/float4.h"
#include "zoltshared/stdzolt/float8.h"
#include "zoltshared/stdzolt/runkernel.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

ZOLT_BEGIN_NAMESPACE

namespace
{
constexpr uint32_t LANES = 4;

struct Quat4
{
    Float4 x, y, z, w;
};

struct Vec4
{
    Float4 x, y, z;
};

// The poses of four nodes in their parents' spaces.
struct Pose4
{
    Quat4 q;
    Vec4 t;
};

// So many nodes go through each step at a time: their poses stay in the nearest cache, and on the stack.
constexpr uint32_t BLOCKS = 16;
constexpr uint32_t CHUNK = LANES * BLOCKS;

struct Chunk
{
    uint32_t m_Nodes[CHUNK]; // filled up with the last node
    uint32_t m_nNodes;
    uint32_t m_nBlocks;
    bool m_bRoot; // the first node is the root
    alignas(64) Pose4 m_Poses[BLOCKS];
};

struct Factors
{
    Float4 a, b;
};

// 1 - cos of the angle between two quaternions up to which the short series holds: rotations 36 degrees apart.
constexpr float NEAR_PAIR = 0.05f;
constexpr int NEAR_TERMS = 4;
constexpr int FULL_TERMS = 8;

// 1 / ((2k + 3)(k + 1))
constexpr double RATIOS[FULL_TERMS - 1] = {1.0 / 3, 1.0 / 10, 1.0 / 21, 1.0 / 36, 1.0 / 55, 1.0 / 78, 1.0 / 105};

// Two series at once.
inline Factors LinearAt(const Factors& c, const Factors& slope, Float4 z)
{
    return {c.a + slope.a * z, c.b + slope.b * z};
}

inline Factors SeriesAt(const Factors (&terms)[4], Float4 z)
{
    return LinearAt(LinearAt(terms[0], terms[1], z), LinearAt(terms[2], terms[3], z), z * z);
}

inline Factors SeriesAt(const Factors (&terms)[8], Float4 z)
{
    const Float4 zz = z * z;
    const Factors low = LinearAt(LinearAt(terms[0], terms[1], z), LinearAt(terms[2], terms[3], z), zz);
    const Factors high = LinearAt(LinearAt(terms[4], terms[5], z), LinearAt(terms[6], terms[7], z), zz);
    return LinearAt(low, high, zz * zz);
}

// The short series for a fraction and for what it leaves.
struct NearSeries
{
    void Init(float t)
    {
        double a = 1.0 - t, b = t;
        const double aa = a * a, bb = b * b;
        for (int k = 0; k < NEAR_TERMS; ++k)
        {
            m_Terms[k] = {Float4(static_cast<float>(a)), Float4(static_cast<float>(b))};
            const double square = (k + 1) * (k + 1);
            a *= (square - aa) * RATIOS[k];
            b *= (square - bb) * RATIOS[k];
        }
    }

    Factors m_Terms[NEAR_TERMS];
};

// The factors at any angle up to 90 degrees, for weights from -1 to 2: with h half the angle,
// sin(w 2h) / sin(2h) = (sin(2w h) / sin h) / (2 cos h).
struct FullSeries
{
    void Init(Float4 weight)
    {
        const Float4 four(4.0f);
        Factors term{Float4(1.0f) - weight, weight};
        const Float4 aa = four * term.a * term.a, bb = four * term.b * term.b;
        m_Terms[0] = term;
        for (int k = 0; k < FULL_TERMS - 1; ++k)
        {
            const Float4 square(static_cast<float>((k + 1) * (k + 1))), ratio(static_cast<float>(RATIOS[k]));
            term = {(square - aa) * ratio * term.a, (square - bb) * ratio * term.b};
            m_Terms[k + 1] = term;
        }
        m_Weight = weight;
        m_Outside = (weight < Float4(-1.0f)) | (Float4(2.0f) < weight);
    }

    Factors At(Float4 z) const
    {
        const Float4 one(1.0f);
        const Float4 cosine = Sqrt(one - Float4(0.5f) * z);
        const Factors f = SeriesAt(m_Terms, one - cosine);
        const Float4 scale = one / cosine;
        return {f.a * scale, f.b * scale};
    }

    Float4 m_Weight;
    Mask4 m_Outside; // where the weight isn't one of those
    Factors m_Terms[FULL_TERMS];
};

Float4 Dot(const Quat4& a, const Quat4& b)
{
    return (a.x * b.x + a.y * b.y) + (a.z * b.z + a.w * b.w);
}

Quat4 Product(const Quat4& a, const Quat4& b)
{
    return {(a.w * b.x + a.x * b.w) + (a.y * b.z - a.z * b.y), (a.w * b.y - a.x * b.z) + (a.y * b.w + a.z * b.x),
            (a.w * b.z + a.x * b.y) + (a.z * b.w - a.y * b.x), (a.w * b.w - a.x * b.x) - (a.y * b.y + a.z * b.z)};
}

Vec4 Lerp(const Vec4& a, const Vec4& b, Float4 t)
{
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t};
}

Quat4 Select(Mask4 mask, const Quat4& a, const Quat4& b)
{
    return {Select(mask, a.x, b.x), Select(mask, a.y, b.y), Select(mask, a.z, b.z), Select(mask, a.w, b.w)};
}

Vec4 Select(Mask4 mask, const Vec4& a, const Vec4& b)
{
    return {Select(mask, a.x, b.x), Select(mask, a.y, b.y), Select(mask, a.z, b.z)};
}

// `out` with the places of `lanes` anew, in double. This and the next take and give values, so that the fast way need
// not keep them in memory.
[[gnu::noinline]] Quat4 SlerpLanes(int lanes, Quat4 out, Quat4 a, Quat4 b, Float4 weight)
{
    float from[4][LANES], to[4][LANES], result[4][LANES], weights[LANES];
    weight.Store(weights);
    a.x.Store(from[0]), a.y.Store(from[1]), a.z.Store(from[2]), a.w.Store(from[3]);
    b.x.Store(to[0]), b.y.Store(to[1]), b.z.Store(to[2]), b.w.Store(to[3]);
    out.x.Store(result[0]), out.y.Store(result[1]), out.z.Store(result[2]), out.w.Store(result[3]);
    for (uint32_t i = 0; i < LANES; ++i)
    {
        if (!(lanes >> i & 1))
            continue;
        Quaternion q;
        QuatSlerp(q, Quaternion(from[0][i], from[1][i], from[2][i], from[3][i]),
                  Quaternion(to[0][i], to[1][i], to[2][i], to[3][i]), weights[i]);
        result[0][i] = q.x, result[1][i] = q.y, result[2][i] = q.z, result[3][i] = q.w;
    }
    return {Float4::Load(result[0]), Float4::Load(result[1]), Float4::Load(result[2]), Float4::Load(result[3])};
}

// Which way is the short one is a matter of rounding near a half turn.
constexpr float HALF_TURN = 2e-6f;

inline Quat4 Sum(const Factors& f, const Quat4& a, const Quat4& b)
{
    return {f.a * a.x + f.b * b.x, f.a * a.y + f.b * b.y, f.a * a.z + f.b * b.z, f.a * a.w + f.b * b.w};
}

// Spherical interpolation the short way round, as QuatSlerp. Where the cosine is beyond 1, and there is no angle,
// either series gives the weight itself.
inline Quat4 Slerp(const Quat4& a, const Quat4& b, const FullSeries& series)
{
    const Float4 dot = Dot(a, b);
    const Float4 sign = SignBit(dot);
    const Float4 cosine = XorBits(dot, sign);
    Factors f = series.At(Max(Float4(1.0f) - cosine, Float4(0.0f)));
    const int special = Bits((cosine < Float4(HALF_TURN)) | series.m_Outside);
    f.b = XorBits(f.b, sign);
    Quat4 out = Sum(f, a, b);
    if (special) [[unlikely]]
        out = SlerpLanes(special, out, a, b, series.m_Weight);
    return out;
}

Quat4 RotationsOf(const NodeKeyFrame* const keys[LANES])
{
    Quat4 q{Float4::Load(&keys[0]->m_qRotation.x), Float4::Load(&keys[1]->m_qRotation.x),
            Float4::Load(&keys[2]->m_qRotation.x), Float4::Load(&keys[3]->m_qRotation.x)};
    Transpose(q.x, q.y, q.z, q.w);
    return q;
}

// What the spherical interpolation between neighbouring keys starts from.
struct NearPair
{
    NearPair(const Quat4& a, const Quat4& b)
    {
        const Float4 dot = Dot(a, b);
        m_Sign = SignBit(dot);
        m_Cosine = XorBits(dot, m_Sign);
        m_Z = Max(Float4(1.0f) - m_Cosine, Float4(0.0f));
    }

    Float4 m_Sign, m_Cosine, m_Z;
};

// Rotations between keys some of which are beyond the short series. It begins with the keys again, so that the fast way
// keeps nothing in memory for it.
[[gnu::noinline]] Quat4 SlerpFarKeys(const NodeKeyFrame* const* pFrom, ptrdiff_t iStep, const NodeKeyFrame* const* pTo,
                                     const NearSeries& series)
{
    const NodeKeyFrame* to[LANES] = {pTo[0] + iStep, pTo[1] + iStep, pTo[2] + iStep, pTo[3] + iStep};
    const Quat4 a = RotationsOf(pFrom), b = RotationsOf(to);
    const NearPair pair(a, b);
    const Float4 weight = series.m_Terms[0].b;
    FullSeries fullSeries;
    fullSeries.Init(weight);
    const Factors full = fullSeries.At(pair.m_Z), near = SeriesAt(series.m_Terms, pair.m_Z);
    const Mask4 isFar = Float4(NEAR_PAIR) < pair.m_Z;
    const Factors f{Select(isFar, full.a, near.a), XorBits(Select(isFar, full.b, near.b), pair.m_Sign)};
    return SlerpLanes(Bits(pair.m_Cosine < Float4(HALF_TURN)), Sum(f, a, b), a, b, weight);
}

// The fourth float of each is the first of the rotation behind it.
static_assert(offsetof(NodeKeyFrame, m_qRotation) == 12);

Float4 TranslationOf(const NodeKeyFrame* pKey)
{
    return Float4::Load(&pKey->m_vTranslation.x);
}

Vec4 TranslationsOf(const NodeKeyFrame* const keys[LANES])
{
    Float4 x = TranslationOf(keys[0]), y = TranslationOf(keys[1]), z = TranslationOf(keys[2]);
    Float4 rest = TranslationOf(keys[3]);
    Transpose(x, y, z, rest);
    return {x, y, z};
}

// Some nodes: those that m_pIndices lists, or, where it is null, one after the other from m_iFirst on.
struct Nodes
{
    const uint32_t* m_pIndices;
    uint32_t m_iFirst;
    uint32_t m_nNodes;
};

// The keys of some nodes, as the tracks lie, the last again for the places that are left in its block. They come from
// all over the memory, so each is asked for well ahead of its use, by the end of the one behind the one iStep behind
// it, which is the next to be played.
inline void FindKeys(AnimNode* const* pTracks, ptrdiff_t iKey, ptrdiff_t iStep, const Nodes& nodes,
                     const NodeKeyFrame** pKeys)
{
    const auto find = [=](uint32_t i, const AnimNode* pTrack)
    {
        pKeys[i] = pTrack->m_KeyFrames.GetArray() + iKey;
        Prefetch(pKeys[i] + iStep, 2 * sizeof(NodeKeyFrame) - 1);
    };
    if (nodes.m_pIndices)
    {
        for (uint32_t i = 0; i < nodes.m_nNodes; ++i)
            find(i, pTracks[nodes.m_pIndices[i]]);
    }
    else
    {
        for (uint32_t i = 0; i < nodes.m_nNodes; ++i)
            find(i, pTracks[nodes.m_iFirst + i]);
    }
    for (uint32_t i = nodes.m_nNodes; i % LANES != 0; ++i)
        pKeys[i] = pKeys[i - 1];
}

#if ZOLT_HAS_AVX_KERNELS
// The floats from the given one of eight keys on, component by component: of keys 0 to 3 on one side, of 4 to 7 on the
// other.
ZOLT_AVX inline void LoadByTwo(Float8 (&out)[LANES], const NodeKeyFrame* const* pKeys, ptrdiff_t iStep, size_t iFloat)
{
    const auto at = [=](uint32_t i) { return reinterpret_cast<const float*>(pKeys[i] + iStep) + iFloat; };
    for (uint32_t i = 0; i < LANES; ++i)
        out[i] = Float8(Float4::Load(at(i)), Float4::Load(at(LANES + i)));
}

// InterpolateKeys, of eight nodes at a time; returns how many of the blocks are done.
ZOLT_AVX [[gnu::noinline]] uint32_t InterpolateByTwo(const NodeKeyFrame* const* pPrev, const NodeKeyFrame* const* pCur,
                                                     ptrdiff_t iStep, uint32_t nBlocks, const NearSeries& series,
                                                     Pose4* pPoses)
{
    constexpr size_t ROTATION = offsetof(NodeKeyFrame, m_qRotation) / sizeof(float);
    Float8 termsA[NEAR_TERMS], termsB[NEAR_TERMS];
    for (int k = 0; k < NEAR_TERMS; ++k)
    {
        termsA[k] = Float8(series.m_Terms[k].a, series.m_Terms[k].a);
        termsB[k] = Float8(series.m_Terms[k].b, series.m_Terms[k].b);
    }
    const Float8 percent = termsB[0]; // the fraction as it is
    uint32_t iBlock = 0;
    for (; iBlock + 2 <= nBlocks; iBlock += 2, pPrev += size_t{2} * LANES, pCur += size_t{2} * LANES)
    {
        Float8 t[LANES], to[LANES], a[LANES], b[LANES];
        LoadByTwo(t, pPrev, 0, 0);
        LoadByTwo(to, pCur, iStep, 0);
        for (uint32_t i = 0; i < LANES; ++i)
            t[i] = t[i] + (to[i] - t[i]) * percent;
        Transpose(t[0], t[1], t[2], t[3]);
        LoadByTwo(a, pPrev, 0, ROTATION);
        LoadByTwo(b, pCur, iStep, ROTATION);
        Transpose(a[0], a[1], a[2], a[3]);
        Transpose(b[0], b[1], b[2], b[3]);
        const Float8 dot = (a[0] * b[0] + a[1] * b[1]) + (a[2] * b[2] + a[3] * b[3]);
        const Float8 sign = SignBit(dot);
        const Float8 z = Max(Float8(1.0f) - XorBits(dot, sign), Float8(0.0f)), zz = z * z;
        const Float8 fromA = (termsA[0] + termsA[1] * z) + (termsA[2] + termsA[3] * z) * zz;
        const Float8 fromB = XorBits((termsB[0] + termsB[1] * z) + (termsB[2] + termsB[3] * z) * zz, sign);
        Float8 q[LANES];
        for (uint32_t i = 0; i < LANES; ++i)
            q[i] = fromA * a[i] + fromB * b[i];
        Pose4 &low = pPoses[iBlock], &up = pPoses[iBlock + 1];
        low = {{q[0].Lower(), q[1].Lower(), q[2].Lower(), q[3].Lower()}, {t[0].Lower(), t[1].Lower(), t[2].Lower()}};
        up = {{q[0].Upper(), q[1].Upper(), q[2].Upper(), q[3].Upper()}, {t[0].Upper(), t[1].Upper(), t[2].Upper()}};
        const int isFar = BitsOfLess(Float8(NEAR_PAIR), z);
        if (isFar & 0x0F) [[unlikely]]
            low.q = SlerpFarKeys(pPrev, iStep, pCur, series);
        if (isFar & 0xF0) [[unlikely]]
            up.q = SlerpFarKeys(pPrev + LANES, iStep, pCur + LANES, series);
    }
    return iBlock;
}
#endif

// A position of some nodes between its two keys, without the root offset.
inline void InterpolateKeys(const PosePosition& position, const NearSeries& series, const Nodes& nodes, Pose4* pPoses)
{
    const NodeKeyFrame* prevKeys[CHUNK];
    const NodeKeyFrame* curKeys[CHUNK];
    // Two keys of one track lie the same way apart in all of them.
    const bool bSameTracks = position.m_pPrevTracks == position.m_pCurTracks;
    const ptrdiff_t iPrev = position.m_iPrevKey, iCur = position.m_iCurKey;
    const ptrdiff_t iStep = bSameTracks ? iCur - iPrev : 0;
    FindKeys(position.m_pPrevTracks, iPrev, iStep, nodes, prevKeys);
    if (!bSameTracks)
        FindKeys(position.m_pCurTracks, iCur, 0, nodes, curKeys);
    const uint32_t nBlocks = (nodes.m_nNodes + LANES - 1) / LANES;
    const NodeKeyFrame* const* pPrev = prevKeys;
    const NodeKeyFrame* const* pCur = bSameTracks ? prevKeys : curKeys;
    const Float4 percent(position.m_Percent);
    uint32_t iBlock = 0;
#if ZOLT_HAS_AVX_KERNELS
    if (HasAvx())
        iBlock = InterpolateByTwo(pPrev, pCur, iStep, nBlocks, series, pPoses);
#endif
    for (; iBlock < nBlocks; ++iBlock)
    {
        const NodeKeyFrame* const* from = pPrev + size_t{LANES} * iBlock;
        const NodeKeyFrame* const* to = pCur + size_t{LANES} * iBlock;
        const NodeKeyFrame* cur[LANES] = {to[0] + iStep, to[1] + iStep, to[2] + iStep, to[3] + iStep};
        Float4 t[LANES];
        for (uint32_t i = 0; i < LANES; ++i)
        {
            const Float4 start = TranslationOf(from[i]);
            t[i] = start + (TranslationOf(cur[i]) - start) * percent;
        }
        Transpose(t[0], t[1], t[2], t[3]);
        const Quat4 a = RotationsOf(from), b = RotationsOf(cur);
        const NearPair pair(a, b);
        Factors f = SeriesAt(series.m_Terms, pair.m_Z);
        f.b = XorBits(f.b, pair.m_Sign);
        pPoses[iBlock] = {Sum(f, a, b), {t[0], t[1], t[2]}};
        if (Bits(Float4(NEAR_PAIR) < pair.m_Z)) [[unlikely]]
            pPoses[iBlock].q = SlerpFarKeys(from, iStep, to, series);
    }
}

// The pose and what the layer has done since the first key of its animation.
Pose4 SumOf(const Pose4& pose, const Pose4& layer, const PosePosition& position, const uint32_t* pNodes)
{
    const NodeKeyFrame* first[LANES];
    for (uint32_t i = 0; i < LANES; ++i)
        first[i] = position.m_pPrevTracks[pNodes[i]]->m_KeyFrames.GetArray();
    const Float4 zero(0.0f);
    const Quat4 q = RotationsOf(first);
    const Vec4 t = TranslationsOf(first);
    const Quat4 motion = Product({zero - q.x, zero - q.y, zero - q.z, q.w}, layer.q);
    return {Product(pose.q, motion),
            {pose.t.x + (layer.t.x - t.x), pose.t.y + (layer.t.y - t.y), pose.t.z + (layer.t.z - t.z)}};
}

// To the first place alone, which is the root's in the first four.
inline void AddRootOffset(Vec4& t, const Vector3& offset)
{
    t.x = t.x + Float4(offset.x, 0.0f, 0.0f, 0.0f);
    t.y = t.y + Float4(offset.y, 0.0f, 0.0f, 0.0f);
    t.z = t.z + Float4(offset.z, 0.0f, 0.0f, 0.0f);
}

// Goes on from the poses of the positions before.
void AddLayer(Chunk& chunk, const PosePosition& position, const NearSeries& series)
{
    // The blocks that the layer touches, one after the other.
    uint32_t blocks[BLOCKS], read[CHUNK];
    Float4 weights[BLOCKS];
    uint32_t nTouched = 0;
    const float* pWeights = position.m_pWeights;
    for (uint32_t iBlock = 0; iBlock < chunk.m_nBlocks; ++iBlock)
    {
        const uint32_t* pNodes = chunk.m_Nodes + size_t(LANES) * iBlock;
        const Float4 w(pWeights[pNodes[0]], pWeights[pNodes[1]], pWeights[pNodes[2]], pWeights[pNodes[3]]);
        const uint32_t touched = static_cast<uint32_t>(Bits(w != Float4(0.0f)));
        if (!touched)
            continue;
        // The track of another node stands in where the own one isn't to be read.
        const uint32_t first = pNodes[std::countr_zero(touched)];
        for (uint32_t i = 0; i < LANES; ++i)
            read[LANES * nTouched + i] = touched >> i & 1 ? pNodes[i] : first;
        weights[nTouched] = w;
        blocks[nTouched++] = iBlock;
    }
    // As a rule neighbours share their weight.
    FullSeries full;
    full.Init(Float4(0.0f));
    alignas(64) Pose4 layers[BLOCKS];
    InterpolateKeys(position, series, {read, 0, LANES * nTouched}, layers);
    for (uint32_t i = 0; i < nTouched; ++i)
    {
        const Pose4& layer = layers[i];
        Pose4& pose = chunk.m_Poses[blocks[i]];
        const Mask4 isTouched = weights[i] != Float4(0.0f), isAdded = weights[i] == Float4(2.0f);
        Pose4 result = pose;
        if ((position.m_bAdd || Bits(isAdded) != Bits(isTouched)) && Bits(weights[i] != full.m_Weight))
            full.Init(weights[i]);
        if (position.m_bAdd)
        {
            const Pose4 sum = SumOf(pose, layer, position, read + size_t(LANES) * i);
            result = {Slerp(pose.q, sum.q, full), Lerp(pose.t, sum.t, weights[i])};
        }
        else if (Bits(isAdded) != Bits(isTouched))
        {
            Vec4 t = layer.t;
            if (blocks[i] == 0 && chunk.m_bRoot)
                AddRootOffset(t, position.m_vRootOffset);
            result = {Slerp(pose.q, layer.q, full), Lerp(pose.t, t, weights[i])};
        }
        if (Bits(isAdded) && !position.m_bAdd)
        {
            const Pose4 sum = SumOf(pose, layer, position, read + size_t(LANES) * i);
            result = {Select(isAdded, sum.q, result.q), Select(isAdded, sum.t, result.t)};
        }
        if (Bits(isTouched) != 15)
            result = {Select(isTouched, result.q, pose.q), Select(isTouched, result.t, pose.t)};
        pose = result;
    }
}

// The upper three rows of a matrix.
struct Rows
{
    Float4 x, y, z;
};

// The matrices of four nodes.
inline void ToRows(const Pose4& pose, Rows* pRows)
{
    const Quat4& q = pose.q;
    const Float4 one(1.0f);
    const Float4 xx = q.x * q.x, yy = q.y * q.y, zz = q.z * q.z;
    const Float4 s = Float4(2.0f) / ((xx + yy) + (zz + q.w * q.w));
    const Float4 xy = q.x * q.y, xz = q.x * q.z, yz = q.y * q.z;
    const Float4 wx = q.w * q.x, wy = q.w * q.y, wz = q.w * q.z;
    Float4 x[LANES] = {one - s * (yy + zz), s * (xy - wz), s * (xz + wy), pose.t.x};
    Float4 y[LANES] = {s * (xy + wz), one - s * (xx + zz), s * (yz - wx), pose.t.y};
    Float4 z[LANES] = {s * (xz - wy), s * (yz + wx), one - s * (xx + yy), pose.t.z};
    Transpose(x[0], x[1], x[2], x[3]);
    Transpose(y[0], y[1], y[2], y[3]);
    Transpose(z[0], z[1], z[2], z[3]);
    for (uint32_t i = 0; i < LANES; ++i)
        pRows[i] = {x[i], y[i], z[i]};
}

#if ZOLT_HAS_AVX_KERNELS
// The columns of a row of eight nodes.
ZOLT_AVX inline void StoreRows(Float8 a, Float8 b, Float8 c, Float8 d, Float4 Rows::*row, Rows* pRows)
{
    Transpose(a, b, c, d);
    const Float8 rows[LANES] = {a, b, c, d};
    for (uint32_t i = 0; i < LANES; ++i)
    {
        pRows[i].*row = rows[i].Lower();
        pRows[LANES + i].*row = rows[i].Upper();
    }
}

// ToRows, of eight nodes at a time; returns how many of the blocks are done.
ZOLT_AVX [[gnu::noinline]] uint32_t ToRowsByTwo(const Pose4* pPoses, uint32_t nBlocks, Rows* pRows)
{
    const Float8 one(1.0f), two(2.0f);
    uint32_t iBlock = 0;
    for (; iBlock + 2 <= nBlocks; iBlock += 2, pRows += size_t{2} * LANES)
    {
        const Pose4 &low = pPoses[iBlock], &up = pPoses[iBlock + 1];
        const Float8 x(low.q.x, up.q.x), y(low.q.y, up.q.y), z(low.q.z, up.q.z), w(low.q.w, up.q.w);
        const Float8 xx = x * x, yy = y * y, zz = z * z;
        const Float8 s = two / ((xx + yy) + (zz + w * w));
        const Float8 xy = x * y, xz = x * z, yz = y * z;
        const Float8 wx = w * x, wy = w * y, wz = w * z;
        StoreRows(one - s * (yy + zz), s * (xy - wz), s * (xz + wy), Float8(low.t.x, up.t.x), &Rows::x, pRows);
        StoreRows(s * (xy + wz), one - s * (xx + zz), s * (yz - wx), Float8(low.t.y, up.t.y), &Rows::y, pRows);
        StoreRows(s * (xz - wy), s * (yz + wx), one - s * (xx + yy), Float8(low.t.z, up.t.z), &Rows::z, pRows);
    }
    return iBlock;
}
#endif

void ToRows(const Pose4* pPoses, uint32_t nBlocks, Rows* pRows)
{
    uint32_t iBlock = 0;
#if ZOLT_HAS_AVX_KERNELS
    if (HasAvx())
        iBlock = ToRowsByTwo(pPoses, nBlocks, pRows);
#endif
    for (; iBlock < nBlocks; ++iBlock)
        ToRows(pPoses[iBlock], pRows + size_t{LANES} * iBlock);
}

// out = parent × the matrix with these upper rows and the bottom row 0, 0, 0, 1. Without bBottom the parent's bottom
// row is that as well. `out` may be the parent.
inline void Compose(Matrix4& out, const Matrix4& parent, const Rows& rows, bool bBottom)
{
    const Float4 x = rows.x, y = rows.y, z = rows.z;
    for (size_t r = 0; r < 3; ++r)
    {
        const Float4 p = Float4::Load(parent.m + 4 * r);
        ((p.Splat<0>() * x + p.Splat<1>() * y) + (p.Splat<2>() * z + p.OnlyLast())).Store(out.m + 4 * r);
    }
    Float4 bottom(0.0f, 0.0f, 0.0f, 1.0f);
    if (bBottom)
    {
        const Float4 p = Float4::Load(parent.m + 12);
        bottom = (p.Splat<0>() * x + p.Splat<1>() * y) + (p.Splat<2>() * z + p.OnlyLast());
    }
    bottom.Store(out.m + 12);
}

bool AreIdentities(const NodeKeyFrame* pRelations, uint32_t nRelations)
{
    if (nRelations == 0)
        return true; // There may be no list at all.
    static_assert(sizeof(NodeKeyFrame) == 7 * sizeof(float));
    static constexpr float identity[7] = {0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f};
    // The first, and each of the others the same as the one before it. The bits are meant, a -0 is none of them.
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison,cert-exp42-c,cert-flp37-c)
    return !std::memcmp(pRelations, identity, sizeof(identity)) &&
           // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison,cert-exp42-c,cert-flp37-c)
           !std::memcmp(pRelations, pRelations + 1, (nRelations - 1) * sizeof(NodeKeyFrame));
}

bool IsAffine(const Matrix4& m)
{
    return m.m[12] == 0.0f && m.m[13] == 0.0f && m.m[14] == 0.0f && m.m[15] == 1.0f;
}

void RelationRows(const PoseCall& call, const Chunk& chunk, Rows* pRows)
{
    NodeKeyFrame identity;
    identity.SetIdentity();
    for (uint32_t iBlock = 0; iBlock < chunk.m_nBlocks; ++iBlock)
    {
        const NodeKeyFrame* relations[LANES];
        for (uint32_t i = 0; i < LANES; ++i)
        {
            const uint32_t iNode = chunk.m_Nodes[LANES * iBlock + i];
            relations[i] = iNode < call.m_nRelations ? &call.m_pRelations[iNode] : &identity;
        }
        ToRows({RotationsOf(relations), TranslationsOf(relations)}, pRows + size_t{LANES} * iBlock);
    }
}

// A node that turns but doesn't leave its place.
void FixOffset(Rows& rows, const Vector3& offset)
{
    const Float4 x(0.0f, 0.0f, 0.0f, offset.x), y(0.0f, 0.0f, 0.0f, offset.y), z(0.0f, 0.0f, 0.0f, offset.z);
    const Mask4 isLast = Float4(0.0f, 0.0f, 0.0f, 1.0f) != Float4(0.0f);
    rows = {Select(isLast, x, rows.x), Select(isLast, y, rows.y), Select(isLast, z, rows.z)};
}

// The matrix above a node, and its rows as its flags want them.
inline const Matrix4& PrepareNode(const PoseCall& call, uint32_t iNode, Rows& rows)
{
    const ModelNode* pNode = call.m_pNodes[iNode];
    if (pNode->m_Flags & MNODE_FIXEDOFFSET)
        FixOffset(rows, pNode->m_vOffsetFromParent);
    return iNode == 0 ? *call.m_pStartMat : call.m_pOutput[pNode->m_iParent];
}

#if ZOLT_HAS_AVX_KERNELS
// Compose without bBottom; the rows x and y share a register.
ZOLT_AVX inline void ComposeByTwo(Matrix4& out, const Matrix4& parent, const Rows& rows)
{
    const Float8 x = Float8::LoadTwice(&rows.x), y = Float8::LoadTwice(&rows.y), z = Float8::LoadTwice(&rows.z);
    const Float8 p = Float8::Load(parent.m);
    ((p.Splat<0>() * x + p.Splat<1>() * y) + (p.Splat<2>() * z + p.OnlyLast())).Store(out.m);
    // The last row is no more work alone, and a matrix may lie across cache lines behind the second.
    const Float4 q = Float4::Load(parent.m + 8);
    ((q.Splat<0>() * rows.x + q.Splat<1>() * rows.y) + (q.Splat<2>() * rows.z + q.OnlyLast())).Store(out.m + 8);
    Float4(0.0f, 0.0f, 0.0f, 1.0f).Store(out.m + 12);
}

ZOLT_AVX [[gnu::noinline]] void ComposeChunkByTwo(const PoseCall& call, uint32_t iFirst, uint32_t nNodes, Rows* pRows)
{
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        const Matrix4& parent = PrepareNode(call, iFirst + i, pRows[i]);
        ComposeByTwo(call.m_pOutput[iFirst + i], parent, pRows[i]);
    }
}
#endif

// Puts nodes iFirst to iFirst + nNodes - 1 onto their parents' finished matrices.
void ComposeChunk(const PoseCall& call, uint32_t iFirst, uint32_t nNodes, Rows* pRows)
{
#if ZOLT_HAS_AVX_KERNELS
    if (HasAvx())
        return ComposeChunkByTwo(call, iFirst, nNodes, pRows);
#endif
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        const Matrix4& parent = PrepareNode(call, iFirst + i, pRows[i]);
        Compose(call.m_pOutput[iFirst + i], parent, pRows[i], false);
    }
}

// The same where there is more to it. pRelations is null where all are the identity.
void ComposeWithExtras(const PoseCall& call, const uint32_t* pIndices, uint32_t nNodes, Rows* pRows,
                       const Rows* pRelations, bool bBottom)
{
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        const uint32_t iNode = pIndices[i];
        const ModelNode* pNode = call.m_pNodes[iNode];
        const uint32_t iParent = pNode->m_iParent;
        const Matrix4& parent = iParent == MNODE_NO_PARENT ? *call.m_pStartMat : call.m_pOutput[iParent];
        Matrix4& out = call.m_pOutput[iNode];
        if (pNode->m_Flags & MNODE_FIXEDOFFSET)
            FixOffset(pRows[i], pNode->m_vOffsetFromParent);
        Compose(pRelations ? g_TempMat : out, parent, pRows[i], bBottom);
        if (pRelations)
            Compose(out, g_TempMat, pRelations[i], bBottom);
        if (call.m_pCallback)
            call.m_pCallback(call.m_pUserA, iNode, &out, call.m_pUserB);
    }
}

void EvaluateNodes(const PoseCall& call, const uint32_t* pPath, uint32_t nNodes)
{
    const bool bRelations = !AreIdentities(call.m_pRelations, call.m_nRelations);
    // A callback may leave anything in the bottom row.
    const bool bBottom = call.m_pCallback || !IsAffine(*call.m_pStartMat);
    NearSeries series[MAX_ANIM_POSITIONS];
    for (uint32_t i = 0; i < call.m_nPositions; ++i)
        series[i].Init(call.m_Positions[i].m_Percent);

    Chunk chunk;
    alignas(64) Rows rows[CHUNK], relations[CHUNK];
    for (uint32_t iFirst = 0; iFirst < nNodes; iFirst += CHUNK)
    {
        chunk.m_bRoot = iFirst == 0;
        chunk.m_nNodes = std::min(CHUNK, nNodes - iFirst);
        chunk.m_nBlocks = (chunk.m_nNodes + LANES - 1) / LANES;
        for (uint32_t i = 0; i < chunk.m_nNodes; ++i)
            chunk.m_Nodes[i] = pPath ? pPath[iFirst + i] : iFirst + i;
        for (uint32_t i = chunk.m_nNodes; i < LANES * chunk.m_nBlocks; ++i)
            chunk.m_Nodes[i] = chunk.m_Nodes[chunk.m_nNodes - 1];
        InterpolateKeys(call.m_Positions[0], series[0], {pPath ? chunk.m_Nodes : nullptr, iFirst, chunk.m_nNodes},
                        chunk.m_Poses);
        if (chunk.m_bRoot)
            AddRootOffset(chunk.m_Poses[0].t, call.m_Positions[0].m_vRootOffset);
        for (uint32_t i = 1; i < call.m_nPositions; ++i)
            AddLayer(chunk, call.m_Positions[i], series[i]);
        ToRows(chunk.m_Poses, chunk.m_nBlocks, rows);
        if (bRelations)
            RelationRows(call, chunk, relations);
        if (bRelations || bBottom || pPath)
            ComposeWithExtras(call, chunk.m_Nodes, chunk.m_nNodes, rows, bRelations ? relations : nullptr, bBottom);
        else
            ComposeChunk(call, iFirst, chunk.m_nNodes, rows);
    }
}
} // namespace

void EvaluatePose(const PoseCall& call, const uint32_t* pPath, uint32_t nNodes)
{
    RunKernel<EvaluateNodes>(call, pPath, nNodes);
}

ZOLT_END_NAMESPACE
