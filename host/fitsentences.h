// What is said of a scene that is fitted to a model, or that doesn't fit one.
#pragma once

#include "host/nodetrees.h"

#include <string>
#include <vector>

struct AppendTarget;

// A line for each kind of difference that a fit has settled; one line if there is none.
std::vector<std::string> DescribeFit(const NamedTree& scene, const NamedTree& model, const NodeMatch& match,
                                     const TreeDifference& difference);

// A sentence for each direction in which a name was ambiguous.
std::vector<std::string> DescribeChoices(const NamedTree& scene, const NamedTree& model, const NodeMatch& match);

struct BoneDifference
{
    std::string node;
    double scene = 0.0; // how long it is
    double model = 0.0;
};

// One sentence; empty without a difference. `nBones` have been compared, `scale` is what the scene was scaled by: where
// one scale would settle it all, that is said.
std::string DescribeBoneLengths(const std::vector<BoneDifference>& different, std::size_t nBones, double scale);

// Why the model refuses the scene's animation, and what would help: a sentence for each kind of difference.
std::vector<std::string> ExplainRefusal(const RecordedScene& recorded, const AppendTarget& target);

// A sentence if an append that went through has put keys on nodes of another name; else empty.
std::string DescribeMisplaced(const RecordedScene& recorded, const NamedTree& model);
