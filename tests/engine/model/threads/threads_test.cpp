#include "engine/model/src/transformmaker.h"
#include "tests/engine/model/src/loadbytes.h"

#include <gtest/gtest.h>

#include <thread>

constexpr uint32_t NODES = 70;
constexpr uint32_t VERTS = 50;

static abc::File RandomFile(uint32_t seed)
{
    abc::Random random(seed);
    abc::File file;
    file.nodes = random.Tree(NODES);
    for (uint32_t n = 0; n < NODES; ++n)
        file.links[0].relations.push_back(random.Place());
    file.anims = {random.Animation("a", NODES, 4), random.Animation("b", NODES, 4)};
    file.sets = {{"half", std::vector<float>(NODES, 0.5f)}};
    file.sockets = {{NODES / 2, "socket", random.Place()}};
    file.pieces.resize(1);
    file.pieces[0].lods = {random.RandomMesh(VERTS, 0, NODES)};
    return file;
}

struct Outputs
{
    std::vector<Matrix4> transforms{NODES};
    std::vector<Vector3> verts{VERTS};
};

// Pose i of 30, with all that a thread may ask of it. Without bOwn the matrices go to the model's own table.
static Outputs Evaluate(Model& model, uint32_t i, bool bOwn)
{
    Outputs out;
    VertexDeformRequest request;
    request.m_nAnims = 2;
    request.m_Anims[0].Init(&model, 0, i % 3, 0, i % 3 + 1, static_cast<float>(i) / 30.0f);
    request.m_Anims[1].Init(&model, 1, 3, 1, i % 4, 0.25f);
    request.m_Anims[1].m_iWeightSet = 0;
    request.m_pVertOut = out.verts.data();
    request.m_pTransforms = bOwn ? out.transforms.data() : nullptr;
    EXPECT_TRUE(model.GetVertexPositions(&request, QZTRUE));
    TransformMaker maker;
    maker.InitFromRequest(&request);
    EXPECT_TRUE(maker.SetupNodePath(NODES - 1));
    if (bOwn)
        return out;
    Matrix4 socket;
    EXPECT_TRUE(model.GetSocketTransform(&maker, 0, &socket));
    std::copy_n(model.m_Transforms.GetArray(), NODES, out.transforms.begin());
    return out;
}

TEST(Threads, OneModelForAllAndOneForEach)
{
    LoadedModel models[] = {LoadedModel(RandomFile(1)), LoadedModel(RandomFile(2))};
    std::vector<Outputs> alone[2];
    for (int m = 0; m < 2; ++m)
    {
        ASSERT_EQ(models[m].m_Result, RESULT_OK);
        for (uint32_t i = 0; i < 30; ++i)
            alone[m].push_back(Evaluate(models[m], i, true));
    }
    const auto expectTheSame = [&](int m, bool bOwn)
    {
        for (uint32_t i = 0; i < 30; ++i)
        {
            const Outputs out = Evaluate(models[m], i, bOwn);
            EXPECT_EQ(memcmp(out.transforms.data(), alone[m][i].transforms.data(), NODES * sizeof(Matrix4)), 0);
            EXPECT_EQ(memcmp(out.verts.data(), alone[m][i].verts.data(), VERTS * sizeof(Vector3)), 0);
        }
    };
    for (const bool bOwn : {true, false})
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < (bOwn ? 8 : 2); ++i)
            threads.emplace_back([&expectTheSame, i, bOwn] { expectTheSame(i % 2, bOwn); });
        for (std::thread& thread : threads)
            thread.join();
    }
}
