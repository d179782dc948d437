// Poses, four nodes at a time.
//
// All that happens to a node in its parent's space happens to four at once, in floats: rotations and translations are
// gathered from the tracks as they lie, so that there is no copy of the keys that could go stale. Parents stand ahead
// of their children, so one loop over the nodes then puts them together, with 3 × 4 products in place of 4 × 4 ones
// where nothing can give a bottom row but 0, 0, 0, 1, and without the relations where all of them are the identity.
//
// The factors of a spherical interpolation need no trigonometry: with z = 1 - cos x,
//     sin(n x) / sin x = n (1 + (1 - n²) z/3 (1 + (4 - n²) z/10 (1 + ((k + 1)² - n²) z/((2k + 3)(k + 1)) (...)))),
// the hypergeometric form of the Chebyshev polynomials of the second kind (Abramowitz & Stegun 22.5.48), which holds
// for any n. Within a position all nodes share the fraction, and for neighbouring keys six terms do, whose coefficients
// are made once a pose; over half the angle, eight terms serve any pair. Each stays within 1e-7 of the true factor.

#include "engine/model/src/evaluatepose.h"

#include "engine/model/src/animnode.h"
#include "engine/model/src/modelnode.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/float4.h"

#include <algorithm>
#include <bit>
#include <cstddef>

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
    Pose4 m_Poses[BLOCKS];
};

struct Factors
{
    Float4 a, b;
};

// 1 - cos of the angle between two quaternions up to which the short series holds: rotations 63 degrees apart.
constexpr float NEAR_PAIR = 0.15f;
constexpr int NEAR_TERMS = 6;

// The coefficients of the short series for a fraction and for what it leaves.
struct NearSeries
{
    void Init(float t)
    {
        double a = 1.0 - t, b = t;
        const double aa = a * a, bb = b * b;
        static constexpr double ratios[NEAR_TERMS] = {1.0 / 3, 1.0 / 10, 1.0 / 21, 1.0 / 36, 1.0 / 55, 1.0 / 78};
        for (int k = 0; k < NEAR_TERMS; ++k)
        {
            m_A[k] = Float4(static_cast<float>(a));
            m_B[k] = Float4(static_cast<float>(b));
            const double square = (k + 1) * (k + 1);
            a *= (square - aa) * ratios[k];
            b *= (square - bb) * ratios[k];
        }
    }

    Factors At(Float4 z) const
    {
        Factors f{m_A[NEAR_TERMS - 1], m_B[NEAR_TERMS - 1]};
        for (int k = NEAR_TERMS - 2; k >= 0; --k)
        {
            f.a = f.a * z + m_A[k];
            f.b = f.b * z + m_B[k];
        }
        return f;
    }

    Float4 m_A[NEAR_TERMS], m_B[NEAR_TERMS];
};

// The factors at any angle up to 90 degrees, for weights from -1 to 2: with h half the angle,
// sin(w 2h) / sin(2h) = (sin(2w h) / sin h) / (2 cos h).
inline Factors FactorsOfAnyPair(Float4 z, Float4 weight)
{
    const Float4 one(1.0f);
    const Float4 cosine = Sqrt(one - Float4(0.5f) * z);
    const Float4 half = one - cosine;
    const Float4 rest = one - weight;
    const Float4 aa = Float4(4.0f) * rest * rest;
    const Float4 bb = Float4(4.0f) * weight * weight;
    static constexpr float squares[] = {1, 4, 9, 16, 25, 36, 49};
    static constexpr float ratios[] = {1.0f / 3, 1.0f / 10, 1.0f / 21, 1.0f / 36, 1.0f / 55, 1.0f / 78, 1.0f / 105};
    Factors f{one, one};
    for (int k = 6; k >= 0; --k)
    {
        const Float4 step = Float4(ratios[k]) * half;
        f.a = (Float4(squares[k]) - aa) * step * f.a + one;
        f.b = (Float4(squares[k]) - bb) * step * f.b + one;
    }
    const Float4 f0 = one / cosine;
    return {rest * f0 * f.a, weight * f0 * f.b};
}

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

// The places of `lanes` anew, in double.
[[gnu::noinline]] void SlerpLanes(int lanes, Quat4& out, const Quat4& a, const Quat4& b, Float4 weight)
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
    out = {Float4::Load(result[0]), Float4::Load(result[1]), Float4::Load(result[2]), Float4::Load(result[3])};
}

// Replaces the factors of those beyond the short series.
[[gnu::noinline]] void ReplaceFarFactors(Factors& f, Float4 z, Float4 weight)
{
    const Mask4 isFar = Float4(NEAR_PAIR) < z;
    const Factors any = FactorsOfAnyPair(z, weight);
    f = {Select(isFar, any.a, f.a), Select(isFar, any.b, f.b)};
}

// Spherical interpolation the short way round, as QuatSlerp. With pNear, which belongs to the weight, all weights are
// the same and from 0 to 1.
inline Quat4 Slerp(const Quat4& a, const Quat4& b, Float4 weight, const NearSeries* pNear)
{
    const Float4 one(1.0f), zero(0.0f);
    const Float4 dot = Dot(a, b);
    const Mask4 away = dot < zero;
    const Float4 cosine = NegatedWhere(away, dot);
    // Beyond 1, where there is no angle, both series give the weight itself.
    const Float4 z = Max(one - cosine, zero);
    // Which way is the short one is a matter of rounding near a half turn.
    Mask4 special = cosine < Float4(2e-6f);
    Factors f;
    bool bSpecial = false;
    if (pNear)
    {
        f = pNear->At(z);
        if (Bits(Float4(NEAR_PAIR) < z))
        {
            ReplaceFarFactors(f, z, weight);
            bSpecial = Bits(special) != 0;
        }
    }
    else
    {
        f = FactorsOfAnyPair(z, weight);
        special = special | (weight < Float4(-1.0f)) | (Float4(2.0f) < weight);
        bSpecial = Bits(special) != 0;
    }
    f.b = NegatedWhere(away, f.b);
    Quat4 out{f.a * a.x + f.b * b.x, f.a * a.y + f.b * b.y, f.a * a.z + f.b * b.z, f.a * a.w + f.b * b.w};
    if (bSpecial)
        SlerpLanes(Bits(special), out, a, b, weight);
    return out;
}

Quat4 RotationsOf(const NodeKeyFrame* const keys[LANES])
{
    Quat4 q{Float4::Load(&keys[0]->m_qRotation.x), Float4::Load(&keys[1]->m_qRotation.x),
            Float4::Load(&keys[2]->m_qRotation.x), Float4::Load(&keys[3]->m_qRotation.x)};
    Transpose(q.x, q.y, q.z, q.w);
    return q;
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

// The keys of some nodes, as the tracks lie. They come from all over the memory, so each is asked for well ahead of its
// use, along with the one iStep behind it.
inline void FindKeys(AnimNode* const* pTracks, ptrdiff_t iKey, ptrdiff_t iStep, const uint32_t* pNodes, uint32_t nNodes,
                     const NodeKeyFrame** pKeys)
{
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        pKeys[i] = pTracks[pNodes[i]]->m_KeyFrames.GetArray() + iKey;
        Prefetch(pKeys[i]);
        Prefetch(reinterpret_cast<const char*>(pKeys[i] + iStep) + sizeof(NodeKeyFrame) - 1);
    }
}

// A position of some nodes between its two keys, without the root offset.
void InterpolateKeys(const PosePosition& position, const NearSeries& series, const uint32_t* pNodes, uint32_t nBlocks,
                     Pose4* pPoses)
{
    const NodeKeyFrame* prevKeys[CHUNK];
    const NodeKeyFrame* curKeys[CHUNK];
    // Two keys of one track lie the same way apart in all of them.
    const bool bSameTracks = position.m_pPrevTracks == position.m_pCurTracks;
    const ptrdiff_t iPrev = position.m_iPrevKey, iCur = position.m_iCurKey;
    const ptrdiff_t iStep = bSameTracks ? iCur - iPrev : 0;
    FindKeys(position.m_pPrevTracks, iPrev, iStep, pNodes, LANES * nBlocks, prevKeys);
    if (!bSameTracks)
        FindKeys(position.m_pCurTracks, iCur, 0, pNodes, LANES * nBlocks, curKeys);
    const NodeKeyFrame* const* pPrev = prevKeys;
    const NodeKeyFrame* const* pCur = bSameTracks ? prevKeys : curKeys;
    const Float4 percent(position.m_Percent);
    for (uint32_t iBlock = 0; iBlock < nBlocks; ++iBlock, pPrev += LANES, pCur += LANES)
    {
        const NodeKeyFrame* cur[LANES] = {pCur[0] + iStep, pCur[1] + iStep, pCur[2] + iStep, pCur[3] + iStep};
        Float4 t[LANES];
        for (uint32_t i = 0; i < LANES; ++i)
        {
            const Float4 from = TranslationOf(pPrev[i]);
            t[i] = from + (TranslationOf(cur[i]) - from) * percent;
        }
        Transpose(t[0], t[1], t[2], t[3]);
        pPoses[iBlock].t = {t[0], t[1], t[2]};
        pPoses[iBlock].q = Slerp(RotationsOf(pPrev), RotationsOf(cur), percent, &series);
    }
}

// The pose and what the layer has done since the first key of its animation.
Pose4 Sum(const Pose4& pose, const Pose4& layer, const PosePosition& position, const uint32_t* pNodes)
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
    Pose4 layer[BLOCKS];
    InterpolateKeys(position, series, read, nTouched, layer);
    for (uint32_t i = 0; i < nTouched; ++i)
    {
        Pose4& pose = chunk.m_Poses[blocks[i]];
        const Mask4 isTouched = weights[i] != Float4(0.0f), isAdded = weights[i] == Float4(2.0f);
        Pose4 result = pose;
        if (Bits(isAdded) != Bits(isTouched))
        {
            Vec4 t = layer[i].t;
            if (blocks[i] == 0 && chunk.m_bRoot)
                AddRootOffset(t, position.m_vRootOffset);
            result = {Slerp(pose.q, layer[i].q, weights[i], nullptr), Lerp(pose.t, t, weights[i])};
        }
        if (Bits(isAdded))
        {
            const Pose4 sum = Sum(pose, layer[i], position, read + size_t(LANES) * i);
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
    const Float4 s = Float4(2.0f) / Dot(q, q);
    const Float4 xs = s * q.x, ys = s * q.y, zs = s * q.z;
    const Float4 wx = xs * q.w, wy = ys * q.w, wz = zs * q.w;
    const Float4 xx = xs * q.x, xy = ys * q.x, xz = zs * q.x;
    const Float4 yy = ys * q.y, yz = zs * q.y, zz = zs * q.z;
    Float4 x[LANES] = {one - (yy + zz), xy - wz, xz + wy, pose.t.x};
    Float4 y[LANES] = {xy + wz, one - (xx + zz), yz - wx, pose.t.y};
    Float4 z[LANES] = {xz - wy, yz + wx, one - (xx + yy), pose.t.z};
    Transpose(x[0], x[1], x[2], x[3]);
    Transpose(y[0], y[1], y[2], y[3]);
    Transpose(z[0], z[1], z[2], z[3]);
    for (uint32_t i = 0; i < LANES; ++i)
        pRows[i] = {x[i], y[i], z[i]};
}

// out = parent × the matrix with these upper rows and the bottom row 0, 0, 0, 1. Without bBottom the parent's bottom
// row is that as well. `out` may be the parent.
inline void Compose(Matrix4& out, const Matrix4& parent, const Rows& rows, bool bBottom)
{
    const Float4 x = rows.x, y = rows.y, z = rows.z;
    for (int r = 0; r < 3; ++r)
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
    // Four at a time, which are seven vectors with ones at these places.
    const float* p = &pRelations->m_vTranslation.x;
    const Float4 one3(0.0f, 0.0f, 1.0f, 0.0f), one2(0.0f, 1.0f, 0.0f, 0.0f), one1(1.0f, 0.0f, 0.0f, 0.0f);
    const Float4 one4(0.0f, 0.0f, 0.0f, 1.0f);
    Float4 differs(0.0f);
    for (; nRelations >= 4; nRelations -= 4, p += 28)
    {
        const Float4 a = OrBits(Float4::Load(p), XorBits(Float4::Load(p + 4), one3));
        const Float4 b = OrBits(Float4::Load(p + 8), XorBits(Float4::Load(p + 12), one2));
        const Float4 c = OrBits(Float4::Load(p + 16), XorBits(Float4::Load(p + 20), one1));
        differs = OrBits(OrBits(OrBits(a, b), OrBits(c, XorBits(Float4::Load(p + 24), one4))), differs);
    }
    for (; nRelations > 0; --nRelations, p += 7)
        differs = OrBits(OrBits(Float4::Load(p), XorBits(Float4::Load(p + 3), one4)), differs);
    return !AnyBit(differs);
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
        ToRows({RotationsOf(relations), TranslationsOf(relations)}, pRows + LANES * iBlock);
    }
}

// A node that turns but doesn't leave its place.
void FixOffset(Rows& rows, const Vector3& offset)
{
    const Float4 x(0.0f, 0.0f, 0.0f, offset.x), y(0.0f, 0.0f, 0.0f, offset.y), z(0.0f, 0.0f, 0.0f, offset.z);
    const Mask4 isLast = Float4(0.0f, 0.0f, 0.0f, 1.0f) != Float4(0.0f);
    rows = {Select(isLast, x, rows.x), Select(isLast, y, rows.y), Select(isLast, z, rows.z)};
}

// Parents first, each node onto its parent's finished matrix.
void ComposeChunk(const PoseCall& call, const uint32_t* pIndices, uint32_t nNodes, Rows* pRows)
{
    ModelNode* const* pNodes = call.m_pNodes;
    Matrix4* pOutput = call.m_pOutput;
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        const uint32_t iNode = pIndices[i];
        const ModelNode* pNode = pNodes[iNode];
        const uint32_t iParent = pNode->m_iParent;
        if (pNode->m_Flags & MNODE_FIXEDOFFSET)
            FixOffset(pRows[i], pNode->m_vOffsetFromParent);
        Compose(pOutput[iNode], iParent == MNODE_NO_PARENT ? *call.m_pStartMat : pOutput[iParent], pRows[i], false);
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
} // namespace

void EvaluatePose(const PoseCall& call, const uint32_t* pPath, uint32_t nNodes)
{
    const bool bRelations = !AreIdentities(call.m_pRelations, call.m_nRelations);
    // A callback may leave anything in the bottom row.
    const bool bBottom = call.m_pCallback || !IsAffine(*call.m_pStartMat);
    NearSeries series[MAX_ANIM_POSITIONS];
    for (uint32_t i = 0; i < call.m_nPositions; ++i)
        series[i].Init(call.m_Positions[i].m_Percent);

    Chunk chunk;
    Rows rows[CHUNK], relations[CHUNK];
    for (uint32_t iFirst = 0; iFirst < nNodes; iFirst += CHUNK)
    {
        chunk.m_bRoot = iFirst == 0;
        chunk.m_nNodes = std::min(CHUNK, nNodes - iFirst);
        chunk.m_nBlocks = (chunk.m_nNodes + LANES - 1) / LANES;
        for (uint32_t i = 0; i < LANES * chunk.m_nBlocks; ++i)
        {
            const uint32_t iNode = std::min(iFirst + i, nNodes - 1);
            chunk.m_Nodes[i] = pPath ? pPath[iNode] : iNode;
        }
        InterpolateKeys(call.m_Positions[0], series[0], chunk.m_Nodes, chunk.m_nBlocks, chunk.m_Poses);
        if (chunk.m_bRoot)
            AddRootOffset(chunk.m_Poses[0].t, call.m_Positions[0].m_vRootOffset);
        for (uint32_t i = 1; i < call.m_nPositions; ++i)
            AddLayer(chunk, call.m_Positions[i], series[i]);
        for (uint32_t iBlock = 0; iBlock < chunk.m_nBlocks; ++iBlock)
            ToRows(chunk.m_Poses[iBlock], rows + LANES * iBlock);
        if (bRelations)
            RelationRows(call, chunk, relations);
        if (bRelations || bBottom)
            ComposeWithExtras(call, chunk.m_Nodes, chunk.m_nNodes, rows, bRelations ? relations : nullptr, bBottom);
        else
            ComposeChunk(call, chunk.m_Nodes, chunk.m_nNodes, rows);
    }
}
