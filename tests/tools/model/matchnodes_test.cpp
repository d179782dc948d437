#include "tools/model/matchnodes.h"

#include "tests/tools/model/testmodel.h"

#include "tools/model/convmodel.h"

#include <algorithm>

namespace
{

NamedTree TreeOf(const Model& model)
{
    NamedTree tree;
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        const uint32_t parent = model.GetNode(i)->GetParentIndex();
        tree.names.emplace_back(model.GetNode(i)->GetName());
        tree.parents.push_back(parent == MNODE_NO_PARENT ? -1 : static_cast<int>(parent));
    }
    return tree;
}

NamedTree MakeTree(const std::string& text)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    BuildTree(model, text);
    return TreeOf(model);
}

std::string Names(const NamedTree& tree, const std::vector<int>& nodes)
{
    std::string text;
    for (const int node : nodes)
        text += (text.empty() ? "" : " ") + (node < 0 ? "-" : tree.names[node]);
    return text;
}

std::string Pairs(const std::string& source, const std::string& target, NameRule rule,
                  const std::vector<bool>& preferred = {})
{
    const NamedTree tree = MakeTree(source);
    return Names(tree, MatchNodes(tree, MakeTree(target), rule, preferred).sourceOf);
}

} // namespace

TEST(MatchNodes, ByWholeAndBareNames)
{
    EXPECT_EQ(Pairs("R(x:Hips(x:Arm),tip)", "r(hips(arm))", NameRule::Whole), "R - -");
    EXPECT_EQ(Pairs("R(x:Hips(x:Arm),tip)", "r(hips(arm))", NameRule::Bare), "R x:Hips x:Arm");
    EXPECT_EQ(Pairs("top(a|b:C,d:)", "q:r(y|c,:d,d:)", NameRule::Bare), "top a|b:C - d:") << "roots by place";
    EXPECT_EQ(Pairs("top(arm)", "other(top(arm))", NameRule::Bare), "- top arm") << "a root that has a name elsewhere";
    EXPECT_EQ(Pairs("r(x:a,a)", "r(a,y:a)", NameRule::Bare), "r a x:a") << "a whole name comes first";
}

TEST(MatchNodes, TwoFiguresDoNotMix)
{
    const std::string scene = "r(a:hips(a:leg(a:foot)),b:hips(b:arm,b:leg(b:foot)))";
    EXPECT_EQ(Pairs(scene, "r(hips(leg(foot),arm))", NameRule::Bare), "r a:hips a:leg a:foot b:arm");
    std::vector<bool> moved(8, false);
    moved[4] = true;
    EXPECT_EQ(Pairs(scene, "r(hips(leg(foot),arm))", NameRule::Bare, moved), "r b:hips b:leg b:foot b:arm");

    const NamedTree source = MakeTree(scene);
    const NamedTree target = MakeTree("r(hips(leg),y:hips)");
    const NodeMatch match = MatchNodes(source, target, NameRule::Bare);
    EXPECT_EQ(Names(source, match.sourceOf), "r a:hips a:leg b:hips");
    ASSERT_EQ(match.choices.size(), 1u) << "each of the hips has its own";
    EXPECT_EQ(target.names[match.choices[0].target], "leg");
    EXPECT_EQ(Names(source, match.choices[0].otherSources), "b:leg");
    const NodeMatch reverse = MatchNodes(target, source, NameRule::Bare);
    ASSERT_EQ(reverse.choices.size(), 1u);
    EXPECT_EQ(Names(source, reverse.choices[0].otherTargets), "b:leg");
}

TEST(CompareTrees, TellsEachKindOfDifference)
{
    const NamedTree source = MakeTree("r(spine(b,mid(a),c),x:d,hand,new)");
    const NamedTree target = MakeTree("r(spine(a,b,hand),D,lost(c))");
    const NodeMatch match = MatchNodes(source, target, NameRule::Bare);
    const TreeDifference difference = CompareTrees(source, target, match, {});
    EXPECT_FALSE(difference.fits);
    EXPECT_EQ(Names(target, difference.missing), "lost");
    EXPECT_EQ(Names(source, difference.foreign), "mid new");
    EXPECT_EQ(Names(target, difference.renamed), "D");
    EXPECT_EQ(Names(target, difference.otherParents), "hand c");
    EXPECT_EQ(Names(target, difference.otherOrders), "spine") << "b stands before what mid leaves behind";
}

// The prediction against the append itself, on random trees: whether it goes through, and which node moves which.
TEST(CompareTrees, ForetellsAnAppend)
{
    std::mt19937 rng(7);
    const auto pick = [&rng](size_t n) { return rng() % n; };
    const auto makeTree = [&](size_t nNodes, bool fixSome)
    {
        std::vector<std::string> names = {"a", "b", "c", "d", "e", "f", "g"};
        std::shuffle(names.begin(), names.end(), rng);
        std::vector<std::vector<size_t>> children(nNodes);
        for (size_t i = 1; i < nNodes; ++i)
            children[pick(std::min<size_t>(i, 3))].push_back(i);
        const auto print = [&](const auto& self, size_t node) -> std::string
        {
            std::string text = node == 0 && pick(2) != 0 ? "root" : names[node];
            text[0] = pick(2) != 0 ? static_cast<char>(text[0] - 'a' + 'A') : text[0];
            text += fixSome && pick(8) == 0 ? "" : "*";
            for (size_t i = 0; i < children[node].size(); ++i)
                text += (i ? "," : "(") + self(self, children[node][i]);
            return text + (children[node].empty() ? "" : ")");
        };
        return print(print, 0);
    };
    int nFits = 0;
    int nMisplaced = 0;
    for (int round = 0; round < 3000; ++round)
    {
        const size_t nTarget = 2 + pick(3);
        const std::string sourceText = makeTree(nTarget + pick(3), true);
        const std::string targetText = makeTree(nTarget, false);
        ConvModel source;
        ConvModel target;
        BuildTree(source, sourceText);
        BuildTree(target, targetText);
        ModelAnim* pAnim = AddRandomAnim(source, "walk", 1, static_cast<uint32_t>(round));
        std::vector<bool> fixed;
        for (uint32_t i = 0; i < source.NumNodes(); ++i)
            fixed.push_back(!(source.GetNode(i)->m_Flags & MNODE_REMOVEABLE));

        const NamedTree sourceTree = TreeOf(source);
        const NamedTree targetTree = TreeOf(target);
        const NodeMatch match = MatchNodes(sourceTree, targetTree, NameRule::Whole);
        const TreeDifference difference = CompareTrees(sourceTree, targetTree, match, fixed);
        SCOPED_TRACE(testing::Message() << sourceText << " to " << targetText);
        ASSERT_EQ(target.AddAnims(&source) == 0, difference.fits);
        if (!difference.fits)
            continue;
        ++nFits;
        std::vector<int> movers = match.sourceOf;
        for (const auto& [node, mover] : difference.misplaced)
        {
            ASSERT_NE(movers[node], mover);
            movers[node] = mover;
            ++nMisplaced;
        }
        Poses expected = AllPoses(pAnim)[0];
        Poses actual = AllPoses(target.GetAnim(0))[0];
        for (int i = 0; i < targetTree.NumNodes(); ++i)
        {
            const Pose& from = expected[sourceTree.names[movers[i]]];
            const Pose& to = actual[targetTree.names[i]];
            for (int r = 0; r < 3; ++r)
                ASSERT_NEAR(from.m[r][3], to.m[r][3], 1e-4) << targetTree.names[i];
        }
    }
    EXPECT_GT(nFits, 100);
    EXPECT_GT(nMisplaced, 100);
}
