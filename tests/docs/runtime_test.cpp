// What the snippets of docs/runtime.md do, on the model of the example player; its poses are worked out by hand there.
#include "tests/docs/runtime_snippets.h"
#include "tests/install/playermodel.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

class RuntimeSnippets : public testing::Test
{
protected:
    void SetUp() override
    {
        const std::string path = (std::filesystem::path(testing::TempDir()) / "runtime_snippets.abc").string();
        ASSERT_TRUE(SavePlayerModel(path.c_str(), false) && LoadModel(m_Model, path.c_str()));
        ASSERT_TRUE(m_Figure.Init(m_Model));
        zolt::ModelStream* pStream = zolt::OpenStdioStream(path.c_str(), "rb");
        zolt::Model copy(&zolt::g_DefaultAllocator, &zolt::g_DefaultAllocator);
        zolt::ModelFolder folder(testing::TempDir().c_str());
        uint32_t size = 0;
        EXPECT_TRUE(LoadIntoOneBlock(copy, pStream, &zolt::g_DefaultAllocator) && CalcBlockSize(pStream, size));
        EXPECT_TRUE(LoadWithChildren(copy, pStream, folder) && size > 1000);
        pStream->Release();
        std::filesystem::remove(path);
    }

    static void ExpectAt(const zolt::Matrix4& matrix, float x, float y, float z)
    {
        zolt::Vector3 place;
        matrix.GetTranslation(place);
        EXPECT_TRUE(place.NearlyEquals({x, y, z}, 1e-3f)) << place.x << ' ' << place.y << ' ' << place.z;
    }

    zolt::Model m_Model{&zolt::g_DefaultAllocator, &zolt::g_DefaultAllocator};
    zolt::ModelInstance m_Figure;
    zolt::AnimPlayer m_Player{m_Figure};
};

TEST_F(RuntimeSnippets, FiguresPlay)
{
    Renderer renderer;
    ASSERT_TRUE(ShowFirstFigure(m_Model, renderer, 3)); // 50 ms: the hips at 0.5
    EXPECT_EQ(renderer.m_nVertices, 3u);
    EXPECT_NEAR(renderer.m_Matrices[3], 0.5f, 1e-4f);

    GoOver(m_Player, "wave"); // nothing to fade from; one and a half times as fast
    Walk(m_Player, m_Figure, 1.0f / 15);
    ExpectAt(m_Figure.GetMatrices()[1], 1, 10, 0);
    const float arms[] = {0, 1, 1};
    Wave(m_Player, arms);
    Flinch(m_Player, 0.5f);
    m_Player.SetEventHandler(PlaySounds, nullptr);
    Walk(m_Player, m_Figure, 0.4f); // the wave has come round to its start, the flinch lifts the arm by half of 8
    ExpectAt(m_Figure.GetMatrices()[0], 2, 0, 0);
    ExpectAt(m_Figure.GetMatrices()[1], 2, 10, 4);

    // The arm turned by a further quarter has the hand on its other side.
    HeadControl head{1, 1.57079633f};
    m_Player.Stop(1);
    m_Player.Stop(2);
    ASSERT_TRUE(m_Player.Apply() && LookAround(m_Figure, head));
    ExpectAt(m_Figure.GetMatrices()[2], -3, 10, 0);
    m_Figure.SetNodeCallback(nullptr, nullptr, nullptr);

    zolt::ModelInstance sword;
    ASSERT_TRUE(sword.Init(m_Model) && GiveSword(m_Figure, sword) && m_Figure.Evaluate());
    ExpectAt(sword.GetMatrices()[0], 2, 16, 0);
    VertexFormat verts[3];
    ASSERT_TRUE(Skin(m_Figure, verts));
    EXPECT_NEAR(verts[0].m_Position.y, 16, 1e-3f);
    zolt::ModelBounds bounds;
    ASSERT_TRUE(bounds.Init(m_Model));
    EXPECT_TRUE(CanBeSeen(bounds, m_Figure, 0, 100));
    EXPECT_FALSE(CanBeSeen(bounds, m_Figure, 30, 100));

    std::vector<zolt::AnimPlayer> players{m_Player};
    std::vector<zolt::ModelInstance*> figures{&m_Figure};
    zolt::ThreadPool pool(2);
    m_Player.Play("wave");
    players[0] = m_Player;
    StepCrowd(players, figures, pool, 0.1f);
    ExpectAt(m_Figure.GetMatrices()[0], 1, 0, 0);
}

TEST_F(RuntimeSnippets, ByHand)
{
    zolt::Matrix4 matrices[3];
    ASSERT_TRUE(EvaluateByHand(m_Model, 0, 0, 1, 0.5f, matrices));
    ExpectAt(matrices[2], 1.0f + 3.535534f, 10.0f + 3.535534f, 0.0f);
    // "nod" puts the hand 7 from the arm; its bind pose has 5.
    KeepBoneLengths(m_Model);
    ASSERT_TRUE(EvaluateByHand(m_Model, 2, 0, 0, 0.0f, matrices));
    ExpectAt(matrices[2], 5.0f, 10.0f, 50.0f);

    ModelLibrary library{"guard.abc", &m_Model};
    zolt::LoadRequest request;
    request.m_pUser = &library;
    request.m_pFilename = "guard.abc";
    zolt::Model* pFound = nullptr;
    EXPECT_TRUE(FindInLibrary(&request, &pFound) == zolt::RESULT_OK && pFound == &m_Model);
    InstallFaultHandler();
    testing::internal::CaptureStdout();
    EXPECT_EQ(m_Model.GetAnim(99), nullptr);
    zolt::SetAssertionSink(nullptr);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
}
