// What the snippets of docs/runtime.md do, on the model of the example player; its poses are worked out by hand there.
#include "engine/model/src/modelfolder.h"
#include "tests/docs/runtime_snippets.h"
#include "tests/install/playermodel.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/countingallocator.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/stdiostream.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <vector>

namespace fs = std::filesystem;

class RuntimeSnippets : public testing::Test
{
protected:
    void SetUp() override
    {
        m_Folder = fs::path(testing::TempDir()) / ("runtime_snippets_" + std::to_string(m_nFolders++));
        fs::remove_all(m_Folder);
        fs::create_directories(m_Folder);
        m_Path = (m_Folder / "guard.abc").string();
        ASSERT_TRUE(SavePlayerModel(m_Path.c_str(), false));
        m_pModel = LoadModel(m_Path.c_str());
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

    static inline int m_nFolders = 0;
    fs::path m_Folder;
    std::string m_Path;
    Model* m_pModel = nullptr;
};

TEST_F(RuntimeSnippets, ReportsGoToTheEngine)
{
    InstallFaultHandler();
    testing::internal::CaptureStderr();
    m_pModel->RemoveWeightSet(99);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("model.cpp"), std::string::npos);
    EXPECT_EQ(SetAssertionSink(nullptr), BreakOnFault);
}

TEST_F(RuntimeSnippets, LoadsAreOneBlockAndWithinTheBound)
{
    EXPECT_EQ(LoadModel((m_Folder / "nothing.abc").string().c_str()), nullptr);

    ModelStream* pStream = OpenStdioStream(m_Path.c_str(), "rb");
    uint32_t size = 0;
    ASSERT_TRUE(CalcBlockSize(pStream, size));
    CountingAllocator counting(&g_DefaultAllocator);
    {
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        ASSERT_TRUE(LoadIntoOneBlock(model, pStream, &counting));
        EXPECT_EQ(counting.m_nTotalAllocations, 1u);
        EXPECT_EQ(counting.m_TotalMemoryAllocated, size);
        EXPECT_EQ(model.NumAnims(), 3u);
    }
    EXPECT_EQ(counting.m_nCurrentAllocations, 0u);
    pStream->Release();
}

TEST_F(RuntimeSnippets, ChildModelsFromAFolderOrALibrary)
{
    ASSERT_TRUE(SavePlayerModel((m_Folder / "moves.abc").string().c_str(), true));
    ModelStream* pParentFile = CreateMemoryStream(4096);
    {
        Model* pMoves = LoadModel((m_Folder / "moves.abc").string().c_str());
        char error[MODEL_ERRSTR_SIZE];
        ASSERT_NE(m_pModel->AddChildModel(pMoves, "moves.abc", error, QZTRUE), nullptr) << error;
        ASSERT_TRUE(m_pModel->Save(pParentFile));
        m_pModel->Term(QZTRUE); // deletes the child, too
    }
    {
        ModelFolder folder(m_Folder.string().c_str());
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        ASSERT_TRUE(LoadWithChildren(model, pParentFile, folder));
        EXPECT_EQ(folder.NumModels(), 1u);
        EXPECT_EQ(model.NumAnims(), 6u);
        // A borrowed animation plays like an own one; the bind poses are the same here.
        ASSERT_TRUE(EvaluatePose(model, 3, 0, 1, 1.0f));
        ExpectNear(Place(model.GetTransform(2)), 2.0f, 15.0f, 0.0f);
    }
    {
        Model* pMoves = LoadModel((m_Folder / "moves.abc").string().c_str());
        ModelLibrary library{"moves.abc", pMoves};
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        LoadRequest request;
        request.m_pStream = pParentFile;
        request.m_pLoadCallback = FindInLibrary;
        request.m_pUser = &library;
        ASSERT_EQ(model.Load(&request), RESULT_OK);
        EXPECT_TRUE(request.m_bChildrenLoaded);
        EXPECT_EQ(model.NumAnims(), 6u);
        model.Term(QZFALSE); // the library deletes its models itself
        EXPECT_TRUE(pMoves->IsUnreferenced());
        Model::DeleteModel(pMoves);
    }
    pParentFile->Release();
}

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

TEST_F(RuntimeSnippets, SkinIntoAnInterleavedBuffer)
{
    std::vector<VertexFormat> verts(m_pModel->CalcNumVerts(), VertexFormat{{9, 9, 9}, {8, 8}, 7});
    Matrix4 world;
    world.SetTranslation(0.0f, 0.0f, 100.0f);
    ASSERT_TRUE(Skin(*m_pModel, At(0, 1), world, verts.data()));
    ASSERT_EQ(verts.size(), 3u);
    // The arm stands at (2, 10) and is turned by a quarter, the hand at (2, 15).
    ExpectNear(verts[0].m_Position, 2.0f, 16.0f, 100.0f);
    ExpectNear(verts[1].m_Position, 0.0f, 14.0f, 100.0f);
    ExpectNear(verts[2].m_Position, 1.0f, 10.0f, 100.0f);
    EXPECT_EQ(verts[1].m_UV[1], 8.0f);
    EXPECT_EQ(verts[2].m_Colour, 7u);
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
