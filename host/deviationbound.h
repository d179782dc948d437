// Upper bounds of what Deviations finds, of all vertices of a skin at once. They go by the joints alone and cost
// nothing beside a look at the vertices; most often they tell that there is nothing to look for.
#pragma once

#include "host/deviations.h"

// So many influences on a vertex are allowed for.
constexpr unsigned MAX_BOUNDED_INFLUENCES = 1000;

// How far one joint of a skin may see a vertex from where it should be: never farther than `most` plus `rounding`,
// whatever Deviations rounds.
struct DeviationBound
{
    double most = 0.0;
    double rounding = 0.0;
};

// For vertices within `extent` of the origin of the mesh's space, of few influences, that no morph target moves at
// either pose; an infinite one tells that there are others.
DeviationBound BoundDeviations(SkinPose& start, SkinPose& skin, int iSkin, double extent);

// The same for how far the vertices stray at another pose, where the skin is taken from `start`. Shares of a vertex
// that sum up to 1 leave nothing where all its joints turn alike, so it goes by how differently they turn. `bound` is
// that of `start` with itself.
DeviationBound BoundStray(const DeviationBound& bound, const std::vector<int>& joints, const RigidPoses& start,
                          const RigidPoses& at);

// Whether certainly nothing is found beyond the limit.
bool IsWithin(const DeviationBound& bound, double limit);

// How far apart two matrices put a point within `extent` of the origin, by its coordinate that differs most.
double MatrixDistance(const DoubleMatrix& a, const DoubleMatrix& b, double extent);
