#include "tools/model/matchnodes.h"

#include <algorithm>
#include <iterator>
#include <map>

std::string LowerCaseName(const std::string& name)
{
    std::string lower = name;
    for (char& c : lower)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return lower;
}

std::string BareNodeName(const std::string& name)
{
    const size_t prefix = name.find_last_of(":|");
    // A name that ends with such a character is no prefix of nothing.
    const bool hasBare = prefix != std::string::npos && prefix + 1 < name.size();
    return LowerCaseName(hasBare ? name.substr(prefix + 1) : name);
}

int NodeMatch::CountNamed() const
{
    const auto matched = std::count_if(sourceOf.begin(), sourceOf.end(), [](int source) { return source >= 0; });
    return static_cast<int>(matched) - (rootsByPlace ? 1 : 0);
}

// By node: the first node behind its subtree.
static std::vector<int> FindEnds(const NamedTree& tree)
{
    std::vector<int> ends(tree.names.size());
    for (int i = tree.NumNodes() - 1; i >= 0; --i)
    {
        ends[i] = std::max(ends[i], i + 1);
        if (tree.parents[i] >= 0)
            ends[tree.parents[i]] = std::max(ends[tree.parents[i]], ends[i]);
    }
    return ends;
}

static void Pair(NodeMatch& match, int source, int target)
{
    match.sourceOf[target] = source;
    match.targetOf[source] = target;
}

static void MatchWholeNames(const NamedTree& source, const NamedTree& target, NodeMatch& match)
{
    std::map<std::string, int> sources;
    for (int i = 0; i < source.NumNodes(); ++i)
        sources.emplace(LowerCaseName(source.names[i]), i);
    for (int i = 0; i < target.NumNodes(); ++i)
    {
        const auto found = sources.find(LowerCaseName(target.names[i]));
        if (found != sources.end() && match.targetOf[found->second] < 0)
            Pair(match, found->second, i);
    }
}

// The best free one: below the counterpart of what stands above the target node, preferred, first.
static int ChooseSource(const std::vector<int>& candidates, const NodeMatch& match, int above, int aboveEnd,
                        const std::vector<bool>& preferred)
{
    int chosen = -1;
    int best = -1;
    for (const int candidate : candidates)
    {
        const bool isBelow = candidate > above && candidate < aboveEnd;
        const bool isPreferred = static_cast<size_t>(candidate) < preferred.size() && preferred[candidate];
        const int rank = (isBelow ? 2 : 0) + (isPreferred ? 1 : 0);
        if (match.targetOf[candidate] < 0 && rank > best)
        {
            chosen = candidate;
            best = rank;
        }
    }
    return chosen;
}

static void MatchBareNames(const NamedTree& source, const NamedTree& target, const std::vector<bool>& preferred,
                           NodeMatch& match)
{
    const std::vector<int> ends = FindEnds(source);
    std::map<std::string, std::vector<int>> sources;
    for (int i = 0; i < source.NumNodes(); ++i)
        sources[BareNodeName(source.names[i])].push_back(i);
    for (int i = 0; i < target.NumNodes(); ++i)
    {
        const auto found = match.sourceOf[i] >= 0 ? sources.end() : sources.find(BareNodeName(target.names[i]));
        if (found == sources.end())
            continue;
        int above = target.parents[i];
        while (above >= 0 && match.sourceOf[above] < 0)
            above = target.parents[above];
        const int aboveSource = above < 0 ? -1 : match.sourceOf[above];
        const int end = aboveSource < 0 ? source.NumNodes() : ends[aboveSource];
        const int chosen = ChooseSource(found->second, match, aboveSource, end, preferred);
        if (chosen >= 0)
            Pair(match, chosen, i);
    }
}

// What shares the bare name of a pair and was left alone. A whole name leaves no doubt.
static void FindChoices(const NamedTree& source, const NamedTree& target, NodeMatch& match)
{
    std::map<std::string, NodeChoice> choices;
    for (int i = 0; i < target.NumNodes(); ++i)
    {
        NodeChoice& choice = choices[BareNodeName(target.names[i])];
        if (match.sourceOf[i] < 0)
            choice.otherTargets.push_back(i);
        else if (choice.target < 0 && LowerCaseName(target.names[i]) != LowerCaseName(source.names[match.sourceOf[i]]))
        {
            choice.target = i;
            choice.source = match.sourceOf[i];
        }
    }
    for (int i = 0; i < source.NumNodes(); ++i)
    {
        const auto found = choices.find(BareNodeName(source.names[i]));
        if (found != choices.end() && match.targetOf[i] < 0)
            found->second.otherSources.push_back(i);
    }
    for (const auto& [name, choice] : choices)
    {
        if (choice.target >= 0 && !(choice.otherTargets.empty() && choice.otherSources.empty()))
            match.choices.push_back(choice);
    }
    std::sort(match.choices.begin(), match.choices.end(),
              [](const NodeChoice& a, const NodeChoice& b) { return a.target < b.target; });
}

NodeMatch MatchNodes(const NamedTree& source, const NamedTree& target, NameRule rule,
                     const std::vector<bool>& preferred)
{
    NodeMatch match;
    match.sourceOf.assign(target.names.size(), -1);
    match.targetOf.assign(source.names.size(), -1);
    if (source.names.empty() || target.names.empty())
        return match;
    MatchWholeNames(source, target, match);
    if (rule == NameRule::Bare)
    {
        MatchBareNames(source, target, preferred, match);
        FindChoices(source, target, match);
    }
    if (match.sourceOf[0] < 0 && match.targetOf[0] < 0)
    {
        Pair(match, 0, 0);
        match.rootsByPlace = true;
    }
    return match;
}

std::vector<int> FindMatchedAbove(const NamedTree& tree, const std::vector<int>& counterparts)
{
    std::vector<int> above(tree.names.size(), -1);
    for (int i = 0; i < tree.NumNodes(); ++i)
    {
        const int parent = tree.parents[i];
        if (parent >= 0)
            above[i] = counterparts[parent] >= 0 ? parent : above[parent];
    }
    return above;
}

PrunedTree PruneTree(const NamedTree& tree, const std::vector<bool>& stays)
{
    std::vector<std::vector<int>> children(tree.names.size());
    for (int i = 1; i < tree.NumNodes(); ++i)
        children[tree.parents[i]].push_back(i);
    PrunedTree pruned;
    std::vector<std::pair<int, int>> todo; // nodes, and the places of their parents
    if (tree.NumNodes() > 0)
        todo.emplace_back(0, -1);
    while (!todo.empty())
    {
        const auto [node, parent] = todo.back();
        todo.pop_back();
        const int place = static_cast<int>(pruned.nodes.size());
        pruned.nodes.push_back(node);
        pruned.parents.push_back(parent);
        // The list grows while it is walked: a child that leaves puts its own at the end.
        std::vector<int> list = children[node];
        std::vector<int> kept;
        for (size_t i = 0; i < list.size(); ++i)
        {
            const int child = list[i];
            if (stays[child])
                kept.push_back(child);
            else
                list.insert(list.end(), children[child].begin(), children[child].end());
        }
        for (auto child = kept.rbegin(); child != kept.rend(); ++child)
            todo.emplace_back(*child, place);
    }
    return pruned;
}

// The source as an append leaves it: as it is if the shapes agree, else without the nodes that the target doesn't
// know.
static PrunedTree FindAppended(const NamedTree& source, const NamedTree& target, const std::vector<bool>& fixed)
{
    PrunedTree whole = PruneTree(source, std::vector<bool>(source.names.size(), true));
    if (whole.parents == target.parents)
        return whole;
    std::map<std::string, int> known;
    for (const std::string& name : target.names)
        known.emplace(LowerCaseName(name), 0);
    std::vector<bool> stays(fixed);
    stays.resize(source.names.size(), false);
    for (int i = 0; i < source.NumNodes(); ++i)
        stays[i] = stays[i] || known.count(LowerCaseName(source.names[i])) != 0;
    return PruneTree(source, stays);
}

TreeDifference CompareTrees(const NamedTree& source, const NamedTree& target, const NodeMatch& match,
                            const std::vector<bool>& fixed)
{
    TreeDifference difference;
    const PrunedTree appended = FindAppended(source, target, fixed);
    difference.fits = appended.parents == target.parents;
    for (int i = 0; difference.fits && i < target.NumNodes(); ++i)
    {
        if (match.sourceOf[i] != appended.nodes[i])
            difference.misplaced.emplace_back(i, appended.nodes[i]);
    }

    // The order of all that has a counterpart, as an append would leave it.
    std::vector<bool> stays(source.names.size());
    for (int i = 0; i < source.NumNodes(); ++i)
    {
        stays[i] = match.targetOf[i] >= 0;
        if (!stays[i])
            difference.foreign.push_back(i);
    }
    difference.sourceOrder.assign(source.names.size(), -1);
    const PrunedTree common = PruneTree(source, stays);
    for (size_t i = 0; i < common.nodes.size(); ++i)
        difference.sourceOrder[common.nodes[i]] = static_cast<int>(i);

    const std::vector<int> targetAbove = FindMatchedAbove(target, match.sourceOf);
    const std::vector<int> sourceAbove = FindMatchedAbove(source, match.targetOf);
    std::vector<int> lastChild(target.names.size(), -1); // places of the counterparts
    for (int i = 0; i < target.NumNodes(); ++i)
    {
        const int counterpart = match.sourceOf[i];
        if (counterpart < 0)
        {
            difference.missing.push_back(i);
            continue;
        }
        if (!(match.rootsByPlace && i == 0) &&
            LowerCaseName(source.names[counterpart]) != LowerCaseName(target.names[i]))
            difference.renamed.push_back(i);
        const int above = targetAbove[i] < 0 ? -1 : match.sourceOf[targetAbove[i]];
        if (above != sourceAbove[counterpart])
        {
            difference.otherParents.push_back(i);
            continue;
        }
        const int parent = target.parents[i];
        if (parent < 0)
            continue;
        if (difference.sourceOrder[counterpart] < lastChild[parent] &&
            (difference.otherOrders.empty() || difference.otherOrders.back() != parent))
            difference.otherOrders.push_back(parent);
        lastChild[parent] = std::max(lastChild[parent], difference.sourceOrder[counterpart]);
    }
    std::sort(difference.otherOrders.begin(), difference.otherOrders.end());
    difference.otherOrders.erase(std::unique(difference.otherOrders.begin(), difference.otherOrders.end()),
                                 difference.otherOrders.end());
    return difference;
}
