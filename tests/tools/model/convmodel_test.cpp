#include "tests/tools/model/testmodel.h"

#include "tools/model/convmodel.h"
#include "tools/model/evaluatenodetransforms.h"

namespace
{
ConvNode* NodeAt(Model& model, uint32_t i)
{
    return dynamic_cast<ConvNode*>(model.GetNode(i));
}

void ExpectMatrix(const Matrix4& matrix, std::initializer_list<float> expected, float tolerance = 1e-6f)
{
    int i = 0;
    for (const float value : expected)
    {
        EXPECT_NEAR(matrix.m[i], value, tolerance) << i;
        ++i;
    }
}
} // namespace

TEST(EvaluateNodeTransforms, KeepsOrDropsTheScale)
{
    ConvModel model;
    BuildTree<ConvNode>(model, "r(a)");
    ModelAnim* pAnim = AddRandomAnim(model, "walk", 2, 1);
    for (uint32_t i = 0; i < 2; ++i)
        pAnim->m_AnimNodes[i]->m_KeyFrames[1].SetIdentity();
    pAnim->m_AnimNodes[1]->m_KeyFrames[1].m_vTranslation.Set(1, 0, 0);
    NodeAt(model, 0)->m_Scale.Set(2, 3, -4);
    NodeAt(model, 1)->m_Scale.Set(5, 1, 1);
    Matrix4 parent;
    parent.SetTranslation(0, 0, 7);

    EvaluateNodeTransforms(pAnim->GetRootNode(), 1, parent, QZTRUE);
    ExpectMatrix(model.GetNode(0)->m_mGlobal, {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, -4, 7, 0, 0, 0, 1});
    ExpectMatrix(model.GetNode(1)->m_mGlobal, {10, 0, 0, 2, 0, 3, 0, 0, 0, 0, -4, 7, 0, 0, 0, 1});
    ExpectMatrix(NodeAt(model, 1)->m_mLocal, {1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});

    // What goes down is the orthonormal matrix, without the mirror.
    EvaluateNodeTransforms(pAnim->GetRootNode(), 1, parent, QZFALSE);
    ExpectMatrix(model.GetNode(0)->m_mGlobal, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 7, 0, 0, 0, 1});
    ExpectMatrix(model.GetNode(1)->m_mGlobal, {1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 7, 0, 0, 0, 1});
    ExpectMatrix(model.GetNode(1)->m_mGlobalInverse, {1, 0, 0, -1, 0, 1, 0, 0, 0, 0, 1, -7, 0, 0, 0, 1});

    // A scale of 0 leaves the directions of the rotations, here a quarter turn about z.
    NodeAt(model, 1)->m_Scale.Set(0, 0, 0);
    pAnim->m_AnimNodes[1]->m_KeyFrames[1].m_qRotation.Set(0, 0, std::sqrt(0.5f), std::sqrt(0.5f));
    EvaluateNodeTransforms(pAnim->GetRootNode(), 1, parent, QZFALSE);
    ExpectMatrix(model.GetNode(1)->m_mGlobal, {0, -1, 0, 1, 1, 0, 0, 0, 0, 0, 1, 7, 0, 0, 0, 1});
}

TEST(ConvertCoordinates, MirrorsPlacesAndTurnsFrames)
{
    ConvModel model;
    BuildTree<ConvNode>(model, "r(a(b),c)");
    ModelAnim* pAnim = AddRandomAnim(model, "walk", 4, 1);
    AddRandomAnim(model, "run", 2, 2);
    NodeKeyFrame& rootKey = pAnim->GetRootNode()->m_KeyFrames[0];
    rootKey.SetIdentity();
    rootKey.m_vTranslation.Set(1, 2, 3);
    std::vector<std::vector<Poses>> expected = {AllPoses(pAnim), AllPoses(model.GetAnim(1))};
    for (std::vector<Poses>& anim : expected)
    {
        for (Poses& atKey : anim)
        {
            for (auto& [name, pose] : atKey)
            {
                for (int c = 0; c < 3; ++c)
                {
                    pose.m[0][c] = -pose.m[0][c];
                    pose.m[1][c] = -pose.m[1][c];
                }
                pose.m[2][3] = -pose.m[2][3];
            }
        }
    }
    model.ConvertCoordinates();
    for (uint32_t i = 0; i < 2; ++i)
        ExpectSamePoses(expected[i], AllPoses(model.GetAnim(i)), 1e-5);
    Matrix4 root;
    rootKey.ToMatrix(root);
    ExpectMatrix(root, {-1, 0, 0, 1, 0, -1, 0, 2, 0, 0, 1, -3, 0, 0, 0, 1});
    // The nodes keep the last key.
    for (int i = 0; i < 12; ++i)
        EXPECT_NEAR(model.FindNode("b", nullptr)->m_mGlobal.m[i], expected[1][1]["b"].m[i / 4][i % 4], 1e-5);
}

TEST(FinishAnim, TheFirstKeyStandsAtZero)
{
    ConvModel model;
    BuildTree<ConvNode>(model, "r(a)");
    AddRandomAnim(model, "walk", 3, 1);
    AddRandomAnim(model, "still", 1, 2);
    AddRandomAnim(model, "none", 0, 3);
    model.GetAnim(0)->m_KeyFrames[2].m_Time = 1007;
    AnimNode* pTrack = model.GetAnim(1)->m_AnimNodes[1];
    for (uint32_t i = 0; i < 3; ++i)
        ASSERT_TRUE(model.FinishAnim(i));
    for (uint32_t i = 0; i < 3; ++i)
        EXPECT_EQ(model.GetAnim(0)->m_KeyFrames[i].m_Time, (std::vector<uint32_t>{0, 100, 907})[i]);
    EXPECT_EQ(model.GetAnim(1)->m_KeyFrames[0].m_Time, 0u);
    EXPECT_EQ(model.GetAnim(1)->m_AnimNodes[1], pTrack);
    EXPECT_EQ(model.GetSelfChildModel()->m_Relations.GetSize(), 2u);
}

TEST(ConvModel, FinishRunsAllSteps)
{
    for (const bool bAll : {true, false})
    {
        ConvModel model;
        BuildTree<ConvNode>(model, "r*(a*(b),c)");
        ModelAnim* pAnim = AddRandomAnim(model, "walk", 2, 1);
        const std::vector<Poses> before = AllPoses(pAnim);
        ModelPiece* pPiece = AddPiece(model, {{0, 0, 0}, {256, 0, 0}, {256.01f, 0, 0}, {0, 256, 0}, {5, 5, 5}},
                                      {{0, 1, 3}, {0, 2, 3}, {0, 1, 2}});
        ASSERT_TRUE(model.Finish(bAll, bAll));
        EXPECT_EQ(model.NumNodes(), bAll ? 3u : 4u);
        EXPECT_EQ(pAnim->m_KeyFrames[1].m_Time, 100u);
        ExpectSamePoses(before, AllPoses(pAnim), 1e-5);
        EXPECT_EQ(pPiece->NumVerts(), bAll ? 3u : 5u);
        EXPECT_EQ(pPiece->NumTris(), bAll ? 2u : 3u);
        EXPECT_FLOAT_EQ(pPiece->GetVert(1)->m_vNormal.z, 1.0f);
    }
}
