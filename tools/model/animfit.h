#pragma once

#include "engine/model/src/model.h"
#include "tools/model/fitsentences.h"

// Animations of one model brought to the nodes of another, where an append by the shape of the trees isn't possible or
// would put keys on other nodes. Nodes go by their names, without a prefix up to the last ':' or '|' and without case
// (MatchNodes). At each key, a node that the source has stands in the world where it stands there, whatever it hangs
// on; one that it lacks keeps the place below its parent that the target's first key gives it, or without any the bind
// pose. Relations of the models to themselves are taken for the identity, as every export writes them.
class AnimFit
{
public:
    // Both models must be precalculated, with their node offsets, and outlive this; until the last Add nobody changes
    // the target's nodes.
    AnimFit(Model& target, Model& source);

    // Nodes of the target that a node of the source goes by name with.
    int CountNamed() const { return m_Match.CountNamed(); }
    // Whether the append by shape does just the same.
    bool IsNeedless() const { return m_Difference.fits && m_Difference.misplaced.empty(); }
    // Adds an animation of the source to the target under a free name: its row; null without memory or a free name.
    AnimInfo* Add(const ModelAnim& anim);

    // Bones that are longer or shorter than the target's at its first key, by more than 1 %, at the animation's first.
    std::vector<BoneDifference> CompareBones(const ModelAnim& anim, size_t& nBones) const;
    std::vector<std::string> Describe(const FitSource& from) const;
    std::vector<std::string> DescribeDoubts(const FitSource& from) const;
    std::vector<std::string> ExplainRefusal(const FitSource& from) const;
    // A sentence if an append by shape puts keys on nodes of another name; else empty.
    std::string DescribeMisplaced() const { return ::DescribeMisplaced(m_SourceTree, m_Fixed, m_TargetTree); }

private:
    struct Place
    {
        double t[3] = {};
        double q[4] = {0.0, 0.0, 0.0, 1.0};
    };

    static Place Multiply(const Place& a, const Place& b);
    static Place RelativeTo(const Place& a, const Place& b);
    static Place PlaceOf(const NodeKeyFrame& key);
    std::vector<Place> WorldOf(const ModelAnim& anim, uint32_t iKey) const;
    std::vector<Place> LocalsOf(const std::vector<Place>& world) const;

    Model& m_Target;
    Model& m_Source;
    NamedTree m_TargetTree;
    NamedTree m_SourceTree;
    std::vector<bool> m_Fixed; // source nodes that an append by shape can't take out
    NodeMatch m_Match;
    TreeDifference m_Difference;
    std::vector<Place> m_FirstLocals; // of the target's nodes at its first key
};
