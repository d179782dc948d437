// What the snippets of docs/runtime.md do, on the model of the example player; its poses are worked out by hand there.
#include "tests/docs/runtime_snippets.h"
#include "tests/install/playermodel.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <vector>

namespace fs = std::filesystem;

class RuntimeSnippets : public testing::Test
{
protected:
    void SetUp() override
    {
        m_Folder = fs::path(testing::TempDir()) / ("runtime_snippets");
        fs::remove_all(m_Folder);
        fs::create_directories(m_Folder);
        const std::string path = (m_Folder / "guard.abc").string();
        ASSERT_TRUE(SavePlayerModel(path.c_str(), false));
        m_pModel = LoadModel(path.c_str());
        ASSERT_NE(m_pModel, nullptr);
    }

    void TearDown() override
    {
        Model::DeleteModel(m_pModel);
        fs::remove_all(m_Folder);
    }

    AnimTracker At(uint32_t iAnim, uint32_t iKey)
    {
        AnimTracker tracker;
        tracker.Init(m_pModel, iAnim, iKey, iAnim, iKey, 0.0f);
        return tracker;
    }

    static Vector3 Place(const Matrix4& matrix)
    {
        Vector3 place;
        matrix.GetTranslation(place);
        return place;
    }

    static void ExpectNear(const Vector3& v, float x, float y, float z)
    {
        EXPECT_TRUE(v.NearlyEquals(Vector3(x, y, z), 0.0001f)) << v.x << ' ' << v.y << ' ' << v.z;
    }

    fs::path m_Folder;
    Model* m_pModel = nullptr;
};

TEST_F(RuntimeSnippets, PosesTransitionsAndLayers)
{
    ASSERT_TRUE(EvaluatePose(*m_pModel, 0, 0, 1, 0.5f));
    ExpectNear(Place(m_pModel->GetTransform(2)), 1.0f + 3.535534f, 10.0f + 3.535534f, 0.0f);

    AnimTracker transition;
    SetTransition(transition, *m_pModel, 0, 1, 0.5f);
    TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0] = transition;
    ASSERT_TRUE(maker.SetupTransforms());
    ExpectNear(Place(m_pModel->GetTransform(1)), 6.0f, 10.0f, 0.5f);

    // All from the arm down, added: the last key of "nod" lifts the arm by 16 and leaves the hand where it is.
    const WeightSet* pSet = AddWeightSetBelow(*m_pModel, "from arm", 1, 2.0f);
    ASSERT_NE(pSet, nullptr);
    EXPECT_EQ(pSet->m_Weights[0], 0.0f);
    EXPECT_EQ(pSet->m_Weights[2], 2.0f);
    ASSERT_TRUE(EvaluateLayers(At(0, 1), At(2, 1), 1));
    ExpectNear(Place(m_pModel->GetTransform(2)), 2.0f, 15.0f, 16.0f);
}

TEST_F(RuntimeSnippets, SocketsCallbackAndFixedOffsets)
{
    Matrix4 world;
    world.SetTranslation(0.0f, 0.0f, 100.0f);
    Vector3 grip;
    AnimTracker time = At(0, 1);
    ASSERT_TRUE(FindMuzzle(*m_pModel, time, world, grip));
    ExpectNear(grip, 2.0f, 16.0f, 100.0f);

    // The arm is turned by another quarter about z, so the hand is 5 to its left; the model's table isn't touched.
    HeadControl control{1, 1.57079633f};
    std::vector<Matrix4> matrices(m_pModel->NumNodes());
    m_pModel->GetTransform(2).SetTranslation(1.0f, 2.0f, 3.0f);
    ASSERT_TRUE(EvaluateInstance(At(0, 1), world, control, matrices.data()));
    ExpectNear(Place(matrices[2]), -3.0f, 10.0f, 100.0f);
    ExpectNear(Place(m_pModel->GetTransform(2)), 1.0f, 2.0f, 3.0f);

    // "nod" puts the hand 7 from the arm; its bind pose has 5.
    ASSERT_TRUE(EvaluatePose(*m_pModel, 2, 0, 0, 0.0f));
    ExpectNear(Place(m_pModel->GetTransform(2)), 7.0f, 10.0f, 50.0f);
    KeepBoneLengths(*m_pModel);
    ASSERT_TRUE(EvaluatePose(*m_pModel, 2, 0, 0, 0.0f));
    ExpectNear(Place(m_pModel->GetTransform(2)), 5.0f, 10.0f, 50.0f);
}
