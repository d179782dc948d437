// Which nodes of two trees belong together, and how the trees differ.
//
// An animation joins a model by the shape of the two trees alone: node by node in order, after the nodes whose names
// the model doesn't have have left (AddAnims). What is here tells beforehand whether that goes well, or why it doesn't.
#pragma once

#include <string>
#include <utility>
#include <vector>

// A tree by names and parents: the root first, each node behind its parent and before the parent's next child.
struct NamedTree
{
    std::vector<std::string> names;
    std::vector<int> parents; // -1 for the root

    int NumNodes() const { return static_cast<int>(names.size()); }
};

enum class NameRule
{
    Whole, // but for the case of ASCII letters, as an append goes by
    Bare   // without a prefix up to the last ':' or '|' on either side, where the whole names don't agree
};

std::string LowerCaseName(const std::string& name);
// In lower case and without such a prefix.
std::string BareNodeName(const std::string& name);

// Of several nodes of one name, which one was taken.
struct NodeChoice
{
    int target = -1;
    int source = -1;
    std::vector<int> otherTargets; // called alike and left without a source node
    std::vector<int> otherSources; // called alike and left without a target node
};

struct NodeMatch
{
    std::vector<int> sourceOf; // by target node, -1 for none
    std::vector<int> targetOf; // by source node, -1 for none
    std::vector<NodeChoice> choices;
    bool rootsByPlace = false; // the two roots, which no name ties to any node, belong together

    // Pairs of nodes, less that of roots by place.
    int CountNamed() const;
};

// Every node belongs to at most one. Of several that are called alike those below the counterpart of what stands above
// come first, so that two figures in one scene don't mix, then those of `preferred` (by source node; may be empty),
// then those that stand first.
NodeMatch MatchNodes(const NamedTree& source, const NamedTree& target, NameRule rule,
                     const std::vector<bool>& preferred = {});

// By node: the next one above that has a counterpart, -1 for none.
std::vector<int> FindMatchedAbove(const NamedTree& tree, const std::vector<int>& counterparts);

// What is left of a tree when nodes leave as in an append: the children of one that leaves stand behind its siblings.
struct PrunedTree
{
    std::vector<int> nodes;   // in the order that they then have
    std::vector<int> parents; // places in `nodes`, -1 for the root
};

// The root stays in any case.
PrunedTree PruneTree(const NamedTree& tree, const std::vector<bool>& stays);

struct TreeDifference
{
    std::vector<int> missing;                   // target nodes without counterpart
    std::vector<int> foreign;                   // source nodes without counterpart
    std::vector<int> renamed;                   // target nodes whose counterpart has another whole name
    std::vector<int> otherParents;              // target nodes whose counterpart hangs under another node
    std::vector<int> otherOrders;               // target nodes whose children stand in another order
    bool fits = false;                          // an append accepts the source
    std::vector<std::pair<int, int>> misplaced; // if it does: target nodes, and the source nodes that would move them
    std::vector<int> sourceOrder;               // by source node: its place once the append has taken nodes out
};

// `match` is one of these trees. `fixed` tells which source nodes can't leave; it may be empty.
TreeDifference CompareTrees(const NamedTree& source, const NamedTree& target, const NodeMatch& match,
                            const std::vector<bool>& fixed);
