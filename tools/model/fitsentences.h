// What is said of a tree of nodes that is fitted to a model's, or that doesn't fit it.
#pragma once

#include "tools/model/matchnodes.h"

#include <string>
#include <vector>

// What the sentences call that which has the animation.
struct FitSource
{
    std::string m_Name;     // "scene"
    std::string m_WhyFixed; // of nodes that can't leave: "with _zN in the name, which keeps them"
};

// A line for each kind of difference that a fit has settled; one line if there is none.
std::vector<std::string> DescribeFit(const FitSource& from, const NamedTree& source, const NamedTree& model,
                                     const NodeMatch& match, const TreeDifference& difference);

// A sentence for each direction in which a name was ambiguous.
std::vector<std::string> DescribeChoices(const FitSource& from, const NamedTree& source, const NamedTree& model,
                                         const NodeMatch& match);

struct BoneDifference
{
    std::string node;
    double source = 0.0; // how long it is
    double model = 0.0;
};

// One sentence; empty without a difference. `nBones` have been compared, `scale` is what the source was scaled by:
// where one scale would settle it all, that is said. 0 for what can't be scaled.
std::string DescribeBoneLengths(const std::vector<BoneDifference>& different, std::size_t nBones, double scale);

// Why the model refuses the animation of `source`, and what would help: a sentence for each kind of difference. `fixed`
// tells which source nodes can't leave.
std::vector<std::string> ExplainRefusal(const FitSource& from, const NamedTree& source, const std::vector<bool>& fixed,
                                        const NamedTree& model);

// A sentence if an append that went through has put keys on nodes of another name; else empty.
std::string DescribeMisplaced(const NamedTree& source, const std::vector<bool>& fixed, const NamedTree& model);
