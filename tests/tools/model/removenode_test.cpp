#include "tests/tools/model/testmodel.h"

#include "tools/model/convmodel.h"

#include <cstring>

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
// The key that holds a pose, by the keys' own rule, which is poor near half turns.
NodeKeyFrame KeyOf(const Pose& pose)
{
    Matrix4 matrix;
    for (uint32_t i = 0; i < 12; ++i)
        matrix(i / 4, i % 4) = static_cast<float>(pose.m[i / 4][i % 4]);
    NodeKeyFrame key;
    key.FromMatrix(matrix);
    return key;
}

Pose InverseOf(const Pose& pose)
{
    Pose out;
    for (int i = 0; i < 9; ++i)
    {
        out.m[i / 3][i % 3] = pose.m[i % 3][i / 3];
        out.m[i / 3][3] -= pose.m[i % 3][i / 3] * pose.m[i % 3][3];
    }
    return out;
}

Pose Rounded(const Pose& pose)
{
    Pose out;
    for (int i = 0; i < 12; ++i)
        out.m[i / 4][i % 4] = static_cast<float>(pose.m[i / 4][i % 4]);
    return out;
}

// How far the poses of `model`, which has fewer nodes than `source`, must stray if each matrix and key on the way to
// model space and back, once each, is the nearest one in floats and all else is exact.
double BestRoundTrip(Model& source, Model& model)
{
    double worst = 0;
    for (uint32_t iKey = 0; iKey < source.GetAnim(0)->NumKeyFrames(); ++iKey)
    {
        std::map<std::string, Pose> wanted, global, stored, played;
        std::vector<std::string> names;
        for (uint32_t i = 0; i < source.NumNodes(); ++i)
        {
            names.push_back(source.GetNode(i)->GetName());
            const std::string above = i == 0 ? "" : names[source.GetNode(i)->GetParentIndex()];
            const Pose local = PoseOf(source.GetAnim(0)->m_AnimNodes[i]->m_KeyFrames[iKey]);
            wanted[names[i]] = wanted[above] * local;
            global[names[i]] = Rounded(global[above] * Rounded(local));
            stored[names[i]] = PoseOf(KeyOf(global[names[i]]));
        }
        for (uint32_t i = 0; i < model.NumNodes(); ++i)
        {
            const std::string name = model.GetNode(i)->GetName();
            const std::string above = i == 0 ? "" : model.GetNode(model.GetNode(i)->GetParentIndex())->GetName();
            played[name] = played[above] * PoseOf(KeyOf(InverseOf(stored[above]) * stored[name]));
            for (int k = 0; k < 12; ++k)
                worst = std::max(worst, std::fabs(played[name].m[k / 4][k % 4] - wanted[name].m[k / 4][k % 4]));
        }
    }
    return worst;
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

TEST(RemoveNode, ManyAtOnceGoAsOneAfterTheOther)
{
    const uint32_t nNodes = 300;
    for (uint32_t seed = 1; seed <= 3; ++seed)
    {
        ConvModel source, model, oneByOne;
        for (ConvModel* pModel : {&source, &model, &oneByOne})
        {
            std::mt19937 rng(seed);
            std::vector<ModelNode*> nodes = {AddNode(*pModel, nullptr, "0")};
            std::vector<std::string> weighted = {"0"};
            for (uint32_t i = 1; i < nNodes; ++i)
            {
                const uint32_t iParent = seed == 1 ? i - 1 - std::min<uint32_t>(i - 1, rng() % 3) : rng() % i;
                nodes.push_back(AddNode(*pModel, nodes[iParent], std::to_string(i)));
                const uint32_t kind = rng() % 8;
                nodes[i]->m_Flags = kind > 1 ? MNODE_REMOVEABLE : 0;
                if (kind < 3)
                    weighted.push_back(std::to_string(i));
            }
            ASSERT_TRUE(pModel->Precalc(QZTRUE));
            AddWeightedPiece(*pModel, weighted);
            AddRandomAnim(*pModel, "walk", 2, seed);
        }
        const std::vector<Poses> before = AllPoses(source.GetAnim(0));

        EXPECT_FALSE(model.RemoveRemovableNodes()); // some have weights
        for (uint32_t i = 0; i < oneByOne.NumNodes();)
            i = oneByOne.RemoveNode(oneByOne.GetNode(i)) ? 0 : i + 1;
        EXPECT_EQ(TextOf(model.GetRootNode()), TextOf(oneByOne.GetRootNode()));
        ExpectConsistent(model);
        const double rounding = BestRoundTrip(source, model);
        ExpectSamePoses(before, AllPoses(model.GetAnim(0)), 1.5 * rounding);
        for (uint32_t i = 0; i < model.m_VertexWeights.GetSize(); ++i)
            EXPECT_EQ(model.m_VertexWeights[i].m_iNode, oneByOne.m_VertexWeights[i].m_iNode);

        // An append that prunes gives the very keys of a removal.
        ASSERT_EQ(model.AddAnims(&source), 0u);
        for (uint32_t i = 0; i < model.NumNodes(); ++i)
        {
            const NodeKeyFrame& added = model.GetAnim(1)->m_AnimNodes[i]->m_KeyFrames[1];
            const NodeKeyFrame& own = model.GetAnim(0)->m_AnimNodes[i]->m_KeyFrames[1];
            EXPECT_EQ(0, std::memcmp(&added, &own, sizeof(own)));
        }
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
