#include "tools/model/fitsentences.h"

#include "tools/model/counted.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

// Factors that agree within this part are one.
static constexpr double SAME_FACTOR = 0.01;

// So many pairs of names stand in a sentence.
static constexpr std::size_t MAX_PAIRS = 3;

static const std::string& NameIn(const NamedTree& tree, int node)
{
    return tree.names[static_cast<size_t>(node)];
}

static std::vector<std::string> NamesIn(const NamedTree& tree, const std::vector<int>& nodes)
{
    std::vector<std::string> names;
    names.reserve(nodes.size());
    for (const int node : nodes)
        names.push_back(NameIn(tree, node));
    return names;
}

static std::string FormatFactor(double value)
{
    char text[40];
    std::snprintf(text, sizeof(text), "%.4g", value);
    return text;
}

static std::string CountedNodes(const NamedTree& tree, const std::vector<int>& nodes)
{
    return CountedNames(NamesIn(tree, nodes), "node");
}

static const char* Verb(size_t count, const char* one, const char* several)
{
    return count == 1 ? one : several;
}

// "mixamorig:Hips for Hips".
static std::string DescribeRenamed(const NamedTree& source, const NamedTree& model, const NodeMatch& match,
                                   const std::vector<int>& nodes)
{
    std::vector<std::string> pairs;
    pairs.reserve(nodes.size());
    for (const int node : nodes)
        pairs.push_back(NameIn(source, match.sourceOf[static_cast<size_t>(node)]) + " for " + NameIn(model, node));
    return CountedNames(pairs, "node", MAX_PAIRS);
}

static std::string NameOrTop(const NamedTree& tree, int node)
{
    return node < 0 ? "the top" : NameIn(tree, node);
}

// "LeftArm under Spine, not Chest": the model's parent first.
static std::string DescribeParents(const NamedTree& source, const NamedTree& model, const NodeMatch& match,
                                   const std::vector<int>& nodes)
{
    const std::vector<int> modelAbove = FindMatchedAbove(model, match.sourceOf);
    const std::vector<int> sceneAbove = FindMatchedAbove(source, match.targetOf);
    std::vector<std::string> parents;
    for (const int node : nodes)
    {
        const auto own = static_cast<size_t>(match.sourceOf[static_cast<size_t>(node)]);
        parents.push_back(NameIn(model, node) + " under " + NameOrTop(model, modelAbove[static_cast<size_t>(node)]) +
                          ", not " + NameOrTop(source, sceneAbove[own]));
    }
    return CountedNames(parents, "node", MAX_PAIRS);
}

// The children of a node that both have, in the model's order or in the scene's.
static std::string ListChildren(const NamedTree& model, const NodeMatch& match, const TreeDifference& difference,
                                int parent, bool inSceneOrder)
{
    std::vector<int> children;
    for (int i = 0; i < model.NumNodes(); i++)
    {
        if (model.parents[static_cast<size_t>(i)] == parent && match.sourceOf[static_cast<size_t>(i)] >= 0)
            children.push_back(i);
    }
    const auto place = [&](int node)
    {
        const auto own = static_cast<size_t>(match.sourceOf[static_cast<size_t>(node)]);
        return difference.sourceOrder[own];
    };
    if (inSceneOrder)
        std::sort(children.begin(), children.end(), [&](int a, int b) { return place(a) < place(b); });
    return ListNames(NamesIn(model, children));
}

std::vector<std::string> DescribeFit(const FitSource& from, const NamedTree& source, const NamedTree& model,
                                     const NodeMatch& match, const TreeDifference& difference)
{
    std::vector<std::string> lines;
    if (!difference.renamed.empty())
        lines.push_back("by names without a prefix or in another case: " +
                        DescribeRenamed(source, model, match, difference.renamed));
    if (!difference.otherOrders.empty())
        lines.push_back("children put into the model's order: those of " + CountedNodes(model, difference.otherOrders));
    if (!difference.otherParents.empty())
        lines.push_back("hung up as in the model: " + DescribeParents(source, model, match, difference.otherParents));
    if (!difference.missing.empty())
        lines.push_back("not in the " + from.m_Name +
                        ", as at the model's first key: " + CountedNodes(model, difference.missing));
    if (!difference.foreign.empty())
        lines.push_back("not in the model, left out with their motion handed down: " +
                        CountedNodes(source, difference.foreign));
    if (lines.empty())
        lines.push_back("the " + from.m_Name + "'s nodes are those of the model");
    for (std::string& line : lines)
        line.insert(0, "Fit: ").append(".");
    return lines;
}

// "a:Hips for Hips, not b:Hips, and so on for 3 further nodes".
static std::string DescribeFirst(const std::vector<std::string>& choices)
{
    return choices[0] + (choices.size() > 1 ? ", and so on for " + Counted(choices.size() - 1, "further node") : "");
}

std::vector<std::string> DescribeChoices(const FitSource& from, const NamedTree& source, const NamedTree& model,
                                         const NodeMatch& match)
{
    std::vector<std::string> ofScene;
    std::vector<std::string> ofModel;
    for (const NodeChoice& choice : match.choices)
    {
        const std::string pair = NameIn(source, choice.source) + " for " + NameIn(model, choice.target) + ", not ";
        if (!choice.otherSources.empty())
            ofScene.push_back(pair + ListNames(NamesIn(source, choice.otherSources)));
        if (!choice.otherTargets.empty())
            ofModel.push_back(pair + "for " + ListNames(NamesIn(model, choice.otherTargets)));
    }
    std::vector<std::string> sentences;
    if (!ofScene.empty())
        sentences.push_back("Several nodes of the " + from.m_Name + " go by the name of one in the model; taken is " +
                            DescribeFirst(ofScene) + ".");
    if (!ofModel.empty())
        sentences.push_back("A node of the " + from.m_Name + " goes by the name of several in the model; taken is " +
                            DescribeFirst(ofModel) + ".");
    return sentences;
}

std::string DescribeBoneLengths(const std::vector<BoneDifference>& different, std::size_t nBones, double scale)
{
    if (different.empty())
        return std::string();
    // The middle one of the factors is that of all, if there is one.
    std::vector<double> factors;
    for (const BoneDifference& bone : different)
    {
        if (bone.source > 0.0 && bone.model > 0.0)
            factors.push_back(bone.source / bone.model);
    }
    std::sort(factors.begin(), factors.end());
    const double factor = factors.empty() ? 1.0 : factors[factors.size() / 2];
    const auto isSame = [&](double other) { return std::fabs(other - factor) <= SAME_FACTOR * factor; };
    const auto nSame = static_cast<size_t>(std::count_if(factors.begin(), factors.end(), isSame));
    if (nBones > 1 && 2 * nSame > nBones && !isSame(1.0))
        return "Most bones are " + FormatFactor(factor) + " times as long as in the model" +
               (scale > 0.0 ? "; --scale " + FormatFactor(scale / factor) + " may help." : ".");
    std::vector<std::string> bones;
    bones.reserve(different.size());
    for (const BoneDifference& bone : different)
        bones.push_back(bone.node + " " + FormatFactor(bone.source) + " against " + FormatFactor(bone.model));
    return "Bone lengths differ from the model's by more than 1 %: " + CountedNames(bones, "bone", MAX_PAIRS) +
           "; motion isn't carried over to other proportions.";
}

// What would help, as far as the names tell.
static std::string AdviseFit(const FitSource& from, const NamedTree& model, const NodeMatch& match)
{
    const int count = match.CountNamed();
    if (count == 0)
        return "No node of the " + from.m_Name + " is called as one of the model; this is another skeleton.";
    const auto missing = std::count(match.sourceOf.begin(), match.sourceOf.end(), -1);
    if (missing == 0)
        return "--fit helps: it finds all nodes of the model in the " + from.m_Name + ".";
    return "--fit helps: it finds " + std::to_string(count) + " of the model's " + Counted(model.names.size(), "node") +
           " in the " + from.m_Name + " by name, and the others stand as at the model's first key.";
}

std::vector<std::string> ExplainRefusal(const FitSource& from, const NamedTree& source, const std::vector<bool>& fixed,
                                        const NamedTree& model)
{
    const NodeMatch match = MatchNodes(source, model, NameRule::Bare);
    const TreeDifference difference = CompareTrees(source, model, match, fixed);
    std::vector<std::string> sentences;
    if (!difference.missing.empty())
        sentences.push_back("In the model and not in the " + from.m_Name + ": " +
                            CountedNodes(model, difference.missing) + ".");
    const bool sameTop = match.sourceOf[0] == 0;
    if (!sameTop)
        sentences.push_back("At the top stands " + NameIn(model, 0) + " in the model, " + NameIn(source, 0) +
                            " in the " + from.m_Name + ".");
    std::vector<int> leaving;
    std::vector<int> staying;
    for (const int node : difference.foreign)
    {
        if (node != 0)
            (fixed[static_cast<size_t>(node)] ? staying : leaving).push_back(node);
    }
    if (!leaving.empty())
        sentences.push_back("In the " + from.m_Name +
                            " and not in the model, so left out: " + CountedNodes(source, leaving) + ".");
    if (!staying.empty())
        sentences.push_back("In the " + from.m_Name + " and not in the model, but " + from.m_WhyFixed + ": " +
                            CountedNodes(source, staying) + ".");
    if (!difference.renamed.empty())
        sentences.push_back("Called otherwise, where whole names count: " +
                            DescribeRenamed(source, model, match, difference.renamed) + ".");
    if (!difference.otherParents.empty())
        sentences.push_back("With another parent in the model: " +
                            DescribeParents(source, model, match, difference.otherParents) + ".");
    if (!difference.otherOrders.empty())
        sentences.push_back("In another order: the model has " +
                            ListChildren(model, match, difference, difference.otherOrders[0], false) + " below " +
                            NameIn(model, difference.otherOrders[0]) + ", the " + from.m_Name + " " +
                            ListChildren(model, match, difference, difference.otherOrders[0], true) +
                            (difference.otherOrders.size() > 1
                                 ? ", and so on below " + Counted(difference.otherOrders.size() - 1, "further node")
                                 : "") +
                            ".");
    sentences.push_back(AdviseFit(from, model, match));
    return sentences;
}

std::string DescribeMisplaced(const NamedTree& source, const std::vector<bool>& fixed, const NamedTree& model)
{
    const NodeMatch match = MatchNodes(source, model, NameRule::Bare);
    const TreeDifference difference = CompareTrees(source, model, match, fixed);
    std::vector<std::string> pairs;
    for (const auto& [to, from] : difference.misplaced)
    {
        if (to != 0)
            pairs.push_back(NameIn(source, from) + " moves " + NameIn(model, to));
    }
    if (pairs.empty())
        return std::string();
    const std::string advice = match.CountNamed() > 0 ? "--fit goes by names." : "This is another skeleton.";
    return "An animation goes to nodes by their place in the tree, which " +
           std::string(Verb(pairs.size(), "is", "are")) +
           " called otherwise here: " + CountedNames(pairs, "node", MAX_PAIRS) + ". " + advice;
}
