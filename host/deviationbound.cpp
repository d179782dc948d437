#include "host/deviationbound.h"

#include <algorithm>
#include <cmath>

// The length of a vector is at most that of its largest coordinate times this, a bit more than the root of 3.
static constexpr double LENGTH = 1.7321;
// What is within the limit less this part of it stays within, however its sums are rounded.
static constexpr double MARGIN = 1e-6;
// What rounding does to a mean over MAX_BOUNDED_INFLUENCES and the steps around it, as a part of the numbers; ten times
// as much.
static constexpr double ROUNDING = 1e-12;
// A length whose square is too small for a double is taken for 0.
static constexpr double LEAST_LENGTH = 1e-150;

double MatrixDistance(const DoubleMatrix& a, const DoubleMatrix& b, double extent)
{
    double worst = 0.0;
    for (int row = 0; row < 3; row++)
    {
        double sum = std::fabs(a.m[row][3] - b.m[row][3]);
        for (int column = 0; column < 3; column++)
            sum += extent * std::fabs(a.m[row][column] - b.m[row][column]);
        worst = std::max(worst, sum);
    }
    return worst;
}

// A matrix as it is seen from a transform.
static DoubleMatrix SeenFrom(const RigidTransform& from, const DoubleMatrix& matrix)
{
    DoubleMatrix seen;
    for (int column = 0; column < 4; column++)
    {
        const Double3 own = {matrix.m[0][column], matrix.m[1][column], matrix.m[2][column]};
        const Double3 turned = column < 3 ? Turn(Conjugate(from.rotation), own) : PointSeenFrom(from, own);
        seen.m[0][column] = turned.x;
        seen.m[1][column] = turned.y;
        seen.m[2][column] = turned.z;
    }
    return seen;
}

static double Size(const Double3& v)
{
    return std::fabs(v.x) + std::fabs(v.y) + std::fabs(v.z);
}

// No less than the length of what the matrix makes of a point within `extent` of the origin, sum by sum.
static double Size(const DoubleMatrix& matrix, double extent)
{
    double size = 0.0;
    for (int row = 0; row < 3; row++)
    {
        const double* m = matrix.m[row];
        size += extent * Size({m[0], m[1], m[2]}) + std::fabs(m[3]);
    }
    return size;
}

// Where joint i wants a vertex p and where the model puts it, both as the joint sees them, are S_i p and T_i q: q is
// the mean of the K_k p over the joints k of the vertex, K the joint matrices of the pose that the skin is taken from,
// so |S_i p - T_i q| <= |S_i p - T_i K_i p| + max |K_i p - K_k p|.
DeviationBound BoundDeviations(SkinPose& start, SkinPose& skin, int iSkin, double extent)
{
    const std::vector<int>& nodes = start.matrices.GetScene().skins[static_cast<size_t>(iSkin)].joints;
    const std::vector<DoubleMatrix>& wanted = start.matrices.Joints(iSkin);
    const std::vector<DoubleMatrix>& taken = skin.matrices.Joints(iSkin);
    extent += LEAST_LENGTH;
    double own = 0.0;
    double spread = 0.0;
    double size = 0.0;
    for (size_t i = 0; i < nodes.size(); i++)
    {
        const RigidTransform& atStart = start.poses[nodes[i]];
        const RigidTransform& atSkin = skin.poses[nodes[i]];
        own = std::max(own, MatrixDistance(SeenFrom(atStart, wanted[i]), SeenFrom(atSkin, taken[i]), extent));
        spread = std::max(spread, MatrixDistance(taken[i], taken[0], extent));
        size += Size(wanted[i], extent) + Size(taken[i], extent) + Size(atStart.translation) + Size(atSkin.translation);
    }
    // A maximum drops what is no number, a sum keeps it.
    return {LENGTH * (own + 2.0 * spread), ROUNDING * size};
}

// The vertex strays by the sum of s_i R_i o_i over its joints, the offsets o as the joints see them. In the world at
// the start, where s_i o_i sum up to 0, they aren't longer than `most`; from there joint i turns them by Q_i, and with
// any one turn Q_0 taken from all of them |sum| <= max |Q_i - Q_0| most.
DeviationBound BoundStray(const DeviationBound& bound, const std::vector<int>& joints, const RigidPoses& start,
                          const RigidPoses& at)
{
    double chord = 0.0;
    DoubleQuat first;
    for (size_t i = 0; i < joints.size(); i++)
    {
        const DoubleQuat turn = MultiplyQuats(at[joints[i]].rotation, Conjugate(start[joints[i]].rotation));
        first = i == 0 ? turn : first;
        const DoubleQuat apart = MultiplyQuats(Conjugate(first), turn);
        chord = std::max(chord, 2.0 * std::sqrt(apart.x * apart.x + apart.y * apart.y + apart.z * apart.z));
    }
    return {chord * bound.most, bound.rounding};
}

bool IsWithin(const DeviationBound& bound, double limit)
{
    // Where numbers are so small that they lose digits, nothing is certain.
    return limit > 1e-100 && bound.most + bound.rounding <= (1.0 - MARGIN) * limit;
}
