#pragma once

#include "tests/engine/model/src/abcbytes.h"

// Poses in double precision, from the definitions: rotations are interpolated as powers of the relative rotation,
// matrices are composed node by node up to the root.
namespace reference
{
using Mat = std::array<double, 16>;
using Vec = std::array<double, 3>;
using Quat = std::array<double, 4>; // x, y, z, w

inline Mat Product(const Mat& a, const Mat& b)
{
    Mat out{};
    for (int i = 0; i < 16; ++i)
        for (int k = 0; k < 4; ++k)
            out[i] += a[i / 4 * 4 + k] * b[4 * k + i % 4];
    return out;
}

inline Mat RigidInverse(const Mat& m)
{
    Mat out{m[0], m[4], m[8], 0, m[1], m[5], m[9], 0, m[2], m[6], m[10], 0, 0, 0, 0, 1};
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k)
            out[4 * r + 3] -= out[4 * r + k] * m[4 * k + 3];
    return out;
}

inline Quat Product(const Quat& a, const Quat& b)
{
    return {
        a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
        a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}

inline Quat Conjugate(const Quat& q)
{
    return {-q[0], -q[1], -q[2], q[3]};
}

// a turned towards b by the fraction t of the angle between them, the short way.
inline Quat Between(const Quat& a, const Quat& b, double t)
{
    Quat turn = Product(Conjugate(a), b);
    if (turn[3] < 0)
        for (double& c : turn)
            c = -c;
    const double sine = std::sqrt(turn[0] * turn[0] + turn[1] * turn[1] + turn[2] * turn[2]);
    if (sine == 0)
        return a;
    const double half = std::atan2(sine, turn[3]) * t;
    const double f = std::sin(half) / sine;
    return Product(a, Quat{turn[0] * f, turn[1] * f, turn[2] * f, std::cos(half)});
}

inline Vec Between(const Vec& a, const Vec& b, double t)
{
    return {a[0] + (b[0] - a[0]) * t, a[1] + (b[1] - a[1]) * t, a[2] + (b[2] - a[2]) * t};
}

// v' = q v q*
inline Mat Matrix(const Vec& t, const Quat& q)
{
    Mat out{};
    for (int c = 0; c < 3; ++c)
    {
        Quat axis{};
        axis[c] = 1;
        const Quat turned = Product(Product(q, axis), Conjugate(q));
        const double norm = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
        for (int r = 0; r < 3; ++r)
            out[4 * r + c] = turned[r] / norm;
    }
    out[3] = t[0], out[7] = t[1], out[11] = t[2], out[15] = 1;
    return out;
}

template <class Out, class In> Out Widened(const In& in)
{
    Out out{};
    for (size_t i = 0; i < in.size(); ++i)
        out[i] = in[i];
    return out;
}

struct Place
{
    Vec t;
    Quat q;
};

// A point between two keys; weights are null for the base.
struct Position
{
    const abc::Anim *pPrev, *pCur;
    uint32_t iPrevKey, iCurKey;
    double percent;
    const std::vector<float>* pWeights;
};

inline Place At(const Position& p, size_t iNode, bool bOffset)
{
    const abc::Key& a = p.pPrev->tracks[iNode][p.iPrevKey];
    const abc::Key& b = p.pCur->tracks[iNode][p.iCurKey];
    Place place{Between(Widened<Vec>(a.t), Widened<Vec>(b.t), p.percent),
                Between(Widened<Quat>(a.q), Widened<Quat>(b.q), p.percent)};
    const Vec offset = Between(Widened<Vec>(p.pPrev->translation), Widened<Vec>(p.pCur->translation), p.percent);
    for (int i = 0; i < 3 && bOffset && iNode == 0; ++i)
        place.t[i] += offset[i];
    return place;
}

// The pose of one node in its parent's space.
inline Place Blended(const std::vector<Position>& positions, size_t iNode)
{
    Place pose = At(positions[0], iNode, true);
    for (size_t i = 1; i < positions.size(); ++i)
    {
        const float w = (*positions[i].pWeights)[iNode];
        if (w == 2.0f) // the motion since the first key, on top
        {
            const Place place = At(positions[i], iNode, false);
            const abc::Key& first = positions[i].pPrev->tracks[iNode][0];
            pose.q = Product(pose.q, Product(Conjugate(Widened<Quat>(first.q)), place.q));
            for (int k = 0; k < 3; ++k)
                pose.t[k] += place.t[k] - first.t[k];
        }
        else if (w != 0.0f)
        {
            const Place place = At(positions[i], iNode, true);
            pose = {Between(pose.t, place.t, w), Between(pose.q, place.q, w)};
        }
    }
    return pose;
}

inline Mat Bind(const std::vector<abc::Node>& nodes, size_t iNode)
{
    return Widened<Mat>(nodes[iNode].global);
}

// In the parent's space.
inline Mat BindLocal(const std::vector<abc::Node>& nodes, size_t iNode)
{
    const int parent = nodes[iNode].parent;
    return parent < 0 ? Bind(nodes, iNode) : Product(RigidInverse(Bind(nodes, parent)), Bind(nodes, iNode));
}

// From the node's space to its parent's, or to that of the starting matrix.
inline Mat Local(const std::vector<abc::Node>& nodes, const std::vector<Position>& positions,
                 const std::vector<Mat>& relations, size_t iNode)
{
    Place pose = Blended(positions, iNode);
    if (nodes[iNode].flags & 2)
    {
        const Mat local = BindLocal(nodes, iNode);
        pose.t = nodes[iNode].parent < 0 ? Vec{} : Vec{local[3], local[7], local[11]};
    }
    return Product(Matrix(pose.t, pose.q), relations[iNode]);
}

inline Mat Global(const std::vector<abc::Node>& nodes, const std::vector<Position>& positions,
                  const std::vector<Mat>& relations, const Mat& start, size_t iNode)
{
    const int parent = nodes[iNode].parent;
    return Product(parent < 0 ? start : Global(nodes, positions, relations, start, parent),
                   Local(nodes, positions, relations, iNode));
}
} // namespace reference
