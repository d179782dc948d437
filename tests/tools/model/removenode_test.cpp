#include "tests/tools/model/testmodel.h"

namespace
{
// The tree as BuildTree takes it, without stars.
std::string TextOf(ModelNode* pNode)
{
    std::string text = pNode->GetName();
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
        text += (i == 0 ? "(" : ",") + TextOf(pNode->GetChild(i));
    return pNode->NumChildren() ? text + ")" : text;
}

// One vertex for each node name, with one weight on that node.
void AddWeightedPiece(Model& model, const std::vector<std::string>& names)
{
    ModelPiece* pPiece = AddPiece(model, std::vector<Vector3>(names.size(), Vector3(0, 0, 0)), {});
    model.m_VertexWeights.SetSize(static_cast<uint32_t>(names.size()), model.m_pAllocator);
    for (uint32_t i = 0; i < names.size(); ++i)
    {
        pPiece->m_Verts[i].m_Weights = &model.m_VertexWeights[i];
        pPiece->m_Verts[i].m_nWeights = 1;
        ASSERT_TRUE(model.FindNode(names[i].c_str(), &model.m_VertexWeights[i].m_iNode));
    }
}

// All tables and the two trees agree.
void ExpectConsistent(Model& model)
{
    ASSERT_EQ(model.NumNodes(), model.GetRootNode()->CountNodes());
    ASSERT_EQ(model.m_FlatNodeList.GetSize(), model.NumNodes());
    EXPECT_EQ(model.m_nDWordNodes, (model.NumNodes() + 3) / 4);
    EXPECT_EQ(model.GetSelfChildModel()->m_Relations.GetSize(), model.NumNodes());
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        ModelNode* pNode = model.GetNode(i);
        EXPECT_EQ(pNode->GetNodeIndex(), i);
        EXPECT_EQ(model.GetSelfChildModel()->m_Relations[i].m_qRotation.w, 1.0f);
        for (uint32_t k = 0; k < pNode->NumChildren(); ++k)
            EXPECT_EQ(pNode->GetChild(k)->GetParentIndex(), i);
        for (uint32_t iAnim = 0; iAnim < model.NumAnims(); ++iAnim)
        {
            AnimNode* pTrack = model.GetAnim(iAnim)->m_AnimNodes[i];
            ASSERT_EQ(pTrack->m_pNode, pNode);
            ASSERT_EQ(pTrack->NumChildren(), pNode->NumChildren());
            for (uint32_t k = 0; k < pTrack->NumChildren(); ++k)
                EXPECT_EQ(pTrack->GetChild(k)->m_pParent, pTrack);
        }
    }
}
} // namespace

TEST(RemoveNode, ChildrenGoBehindAndEveryIndexFollows)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    BuildTree(model, "P(A,X*(C(E),D),B(leaf*),F)");
    AddWeightedPiece(model, {"A", "E", "B", "F", "P", "F"});
    ModelAnim* pWalk = AddRandomAnim(model, "walk", 3, 1);
    ModelAnim* pStill = AddRandomAnim(model, "still", 1, 2);
    const std::vector<Poses> walk = AllPoses(pWalk), still = AllPoses(pStill);
    model.GetNode(2)->m_mGlobal(0, 3) = 5.0f;

    ASSERT_TRUE(model.RemoveNode(model.FindNode("X", nullptr)));
    EXPECT_EQ(TextOf(model.GetRootNode()), "P(A,B(leaf),F,C(E),D)");
    ExpectConsistent(model);
    ASSERT_TRUE(model.RemoveNode(model.FindNode("leaf", nullptr)));
    EXPECT_EQ(TextOf(model.GetRootNode()), "P(A,B,F,C(E),D)");
    ExpectConsistent(model);
    ExpectSamePoses(walk, AllPoses(pWalk), 1e-5);
    ExpectSamePoses(still, AllPoses(pStill), 1e-5);
    const uint32_t expected[] = {1, 5, 2, 3, 0, 3};
    for (uint32_t i = 0; i < 6; ++i)
        EXPECT_EQ(model.m_VertexWeights[i].m_iNode, expected[i]);
    EXPECT_EQ(pWalk->m_KeyFrames[2].m_Time, 300u);
}

TEST(RemoveNode, RefusalsChangeNothing)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator), other(&g_DefaultAllocator, &g_DefaultAllocator);
    BuildTree(model, "r*(a*(b),c)");
    BuildTree(other, "r(a(b),foreign*)");
    AddRandomAnim(model, "walk", 2, 1);
    AddWeightedPiece(model, {"b", "a"});
    model.FindNode("c", nullptr)->m_Flags = MNODE_FIXEDOFFSET;
    const Bytes before = Snapshot(model);
    EXPECT_FALSE(model.RemoveNode(nullptr));
    EXPECT_FALSE(model.RemoveNode(model.GetRootNode()));
    EXPECT_FALSE(model.RemoveNode(model.FindNode("a", nullptr))); // weighted
    EXPECT_FALSE(model.RemoveNode(model.FindNode("c", nullptr))); // not marked
    EXPECT_FALSE(model.RemoveNode(other.FindNode("foreign", nullptr)));
    EXPECT_FALSE(model.RemoveRemovableNodes());
    EXPECT_EQ(Snapshot(model), before);
}

TEST(RemoveNode, WideTreesKeepTheirPoses)
{
    const uint32_t nNodes = 300;
    for (uint32_t seed = 1; seed <= 3; ++seed)
    {
        std::mt19937 rng(seed);
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        std::vector<ModelNode*> nodes = {AddNode(model, nullptr, "0")};
        for (uint32_t i = 1; i < nNodes; ++i)
        {
            const uint32_t iParent = seed == 1 ? i - 1 - std::min<uint32_t>(i - 1, rng() % 3) : rng() % i;
            nodes.push_back(AddNode(model, nodes[iParent], std::to_string(i)));
            nodes[i]->m_Flags = rng() % 4 != 0 ? MNODE_REMOVEABLE : 0;
        }
        ASSERT_TRUE(model.Precalc(QZTRUE));
        std::vector<std::string> weighted;
        for (uint32_t i = 0; i < nNodes; ++i)
        {
            if (!(nodes[i]->m_Flags & MNODE_REMOVEABLE))
                weighted.push_back(std::to_string(i));
        }
        AddWeightedPiece(model, weighted);
        ModelAnim* pAnim = AddRandomAnim(model, "walk", 2, seed);
        const std::vector<Poses> before = AllPoses(pAnim);

        EXPECT_TRUE(model.RemoveRemovableNodes());
        EXPECT_EQ(model.NumNodes(), weighted.size());
        ExpectConsistent(model);
        ExpectSamePoses(before, AllPoses(pAnim), 2e-3);
        for (uint32_t i = 0; i < weighted.size(); ++i)
            EXPECT_EQ(model.GetNode(model.m_VertexWeights[i].m_iNode)->GetName(), weighted[i]);
    }
}

TEST(RemoveNode, AllMarkedNodesGoOneAfterTheOther)
{
    for (const auto& [tree, left] : std::map<std::string, std::string>{
             {"r(a*(b*(c,d),e),f)", "r(f,e,c,d)"}, {"r*(a*(b*(c*(d*))))", "r"}, {"r*(a*(b(c*(d*(e)))))", "r(b(e))"}})
    {
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        BuildTree(model, tree);
        ModelAnim* pAnim = AddRandomAnim(model, "walk", 2, 1);
        const std::vector<Poses> before = AllPoses(pAnim);
        EXPECT_EQ(model.RemoveRemovableNodes() != QZFALSE, tree[1] != '*'); // a marked root is refused
        EXPECT_EQ(TextOf(model.GetRootNode()), left);
        ExpectConsistent(model);
        ExpectSamePoses(before, AllPoses(pAnim), 1e-5);
    }
}
