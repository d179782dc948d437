#include "engine/play/animplayer.h"
#include "engine/play/evaluatemany.h"
#include "engine/play/modelbounds.h"
#include "engine/play/rendermesh.h"
#include "engine/play/threadpool.h"
#include "tests/engine/play/playfigure.h"
#include "tests/zoltshared/stdzolt/assertioncatcher.h"

#include <gtest/gtest.h>

using namespace zolt;

static Vector3 At(const uint8_t* p)
{
    Vector3 v;
    std::memcpy(&v, p, sizeof(v));
    return v;
}

// Buffers and skin matrices give the positions and normals that the instance gives; every corner of every triangle is
// there with its coordinates, and a pair of vertex and coordinates only once.
TEST(RenderMesh, SkinsToTheSamePlaces)
{
    for (uint32_t seed = 0; seed < 12; ++seed)
    {
        abc::File file = MakeFigure(seed, 9, 3);
        for (size_t i = 0; i + 1 < file.pieces[0].lods[0].tris.size(); i += 2) // some that agree
            file.pieces[0].lods[0].tris[i] = file.pieces[0].lods[0].tris[i + 1];
        LoadedModel model(file);
        ASSERT_EQ(model.m_Result, RESULT_OK);
        ModelInstance instance;
        ASSERT_TRUE(instance.Init(model) && instance.AddPosition({seed % 3, 0, 1, 2, 0.3f}));
        Matrix4 world;
        world.SetTranslation(7, -8, 9);
        instance.SetWorld(world);
        std::vector<Vector3> positions(40), normals(40);
        ASSERT_TRUE(instance.Evaluate() && instance.GetVertexPositions(positions.data()));
        ASSERT_TRUE(instance.GetVertexNormals(normals.data()));

        RenderMesh mesh;
        ASSERT_TRUE(
            BuildRenderMesh(*model.GetPiece(0), 0, {8, seed % 2 ? ShareFormat::BYTES : ShareFormat::FLOATS}, mesh));
        EXPECT_EQ(mesh.m_nCutShares, 0u);
        std::vector<float> rows(9 * 12), columns(9 * 16);
        ASSERT_TRUE(instance.GetSkinMatrices(rows.data(), MatrixLayout::ROWS_3X4));
        ASSERT_TRUE(instance.GetSkinMatrices(columns.data(), MatrixLayout::COLUMNS_4X4));
        const float tolerance = seed % 2 ? 1.0f : 1e-3f; // bytes hold a share to 1/510; places are some 100 apart
        for (uint32_t i = 0; i < mesh.m_nVertices; ++i)
        {
            const uint8_t* pRecord = mesh.m_Vertices.data() + size_t(i) * mesh.m_Stride;
            const Vector3 from = At(pRecord), up = At(pRecord + RenderMesh::NORMAL_OFFSET);
            double at[3] = {}, normal[3] = {}, sum = 0;
            for (uint32_t k = 0; k < 8; ++k)
            {
                uint16_t iNode;
                std::memcpy(&iNode, pRecord + RenderMesh::NODES_OFFSET + 2 * size_t(k), 2);
                float share;
                if (seed % 2)
                    share = static_cast<float>(pRecord[mesh.m_SharesOffset + k]) / 255.0f;
                else
                    std::memcpy(&share, pRecord + mesh.m_SharesOffset + 4 * size_t(k), 4);
                sum += share;
                for (size_t r = 0; r < 3; ++r)
                {
                    const float* m = &rows[12 * size_t(iNode) + 4 * r];
                    at[r] += share * (double(m[0]) * from.x + m[1] * from.y + m[2] * from.z + m[3]);
                    normal[r] += share * (double(m[0]) * up.x + m[1] * up.y + m[2] * up.z);
                    ASSERT_EQ(m[1], columns[16 * size_t(iNode) + 4 + r]);
                }
            }
            EXPECT_NEAR(sum, 1, 1e-6);
            const Vector3& expected = positions[mesh.m_SourceVert[i]];
            ASSERT_TRUE(Vector3(float(at[0]), float(at[1]), float(at[2])).NearlyEquals(expected, tolerance)) << seed;
            Vector3 unit{float(normal[0]), float(normal[1]), float(normal[2])};
            unit.Norm();
            ASSERT_TRUE(unit.NearlyEquals(normals[mesh.m_SourceVert[i]], seed % 2 ? 0.1f : 1e-4f));
        }
        std::set<std::array<float, 3>> pairs;
        const std::vector<abc::Tri>& tris = file.pieces[0].lods[0].tris;
        ASSERT_EQ(mesh.m_nIndices, 3 * tris.size());
        ASSERT_EQ(mesh.m_IndexSize, 2u);
        for (size_t i = 0; i < mesh.m_nIndices; ++i)
        {
            uint16_t iVert;
            std::memcpy(&iVert, &mesh.m_Indices[2 * i], 2);
            float uv[2];
            std::memcpy(uv, &mesh.m_Vertices[size_t(iVert) * mesh.m_Stride + RenderMesh::TEXTURE_OFFSET], 8);
            const abc::Tri& tri = tris[i / 3];
            ASSERT_EQ(mesh.m_SourceVert[iVert], tri.indices[i % 3]);
            ASSERT_EQ(uv[0], tri.uvs[2 * (i % 3)]);
            ASSERT_EQ(uv[1], tri.uvs[2 * (i % 3) + 1]);
            pairs.insert({static_cast<float>(tri.indices[i % 3]), uv[0], uv[1]});
        }
        EXPECT_EQ(mesh.m_nVertices, pairs.size());

        // Four of up to six shares: the greatest stay.
        uint32_t nCut = 0;
        ASSERT_TRUE(BuildRenderMesh(*model.GetPiece(0), 0, {}, mesh));
        for (uint32_t iVert : mesh.m_SourceVert)
            nCut += static_cast<uint32_t>(std::max<size_t>(file.pieces[0].lods[0].verts[iVert].weights.size(), 4) - 4);
        EXPECT_EQ(mesh.m_nCutShares, nCut);
        EXPECT_FALSE(BuildRenderMesh(*model.GetPiece(0), 1, {}, mesh) ||
                     BuildRenderMesh(*model.GetPiece(0), 0, {5}, mesh));
    }
}

// The boxes hold all vertices at any moment, also where limbs swing far between two keys, and aren't much larger than
// the union of those of all moments needs to be.
TEST(ModelBounds, HoldWhatTheyShould)
{
    for (uint32_t seed = 0; seed < 8; ++seed)
    {
        SCOPED_TRACE(seed);
        const abc::File file = MakeFigure(seed, 7, 4);
        LoadedModel model(file);
        ModelBounds bounds;
        ModelInstance instance;
        ASSERT_TRUE(bounds.Init(model) && instance.Init(model));
        const auto Holds = [&](const Bounds& box)
        {
            std::vector<Vector3> out(40);
            EXPECT_TRUE(instance.Evaluate() && instance.GetVertexPositions(out.data()));
            for (const Vector3& v : out)
            {
                Bounds grown = box;
                grown.Add(v);
                if (!grown.m_Min.NearlyEquals(box.m_Min, 1e-3f) || !grown.m_Max.NearlyEquals(box.m_Max, 1e-3f))
                    return false;
            }
            return true;
        };
        EXPECT_TRUE(Holds(bounds.AtRest()));
        const Bounds box = bounds.OfAnim(1);
        Bounds all;
        for (uint32_t iKey = 0; iKey < 3; ++iKey)
        {
            for (int i = 0; i <= 50; ++i)
            {
                instance.ClearPositions();
                ASSERT_TRUE(instance.AddPosition({1, iKey, 1, iKey + 1, static_cast<float>(i) / 50.0f}));
                ASSERT_TRUE(Holds(box)) << iKey << " " << i;
                ASSERT_TRUE(Holds(bounds.OfInstance(instance)));
                all.Add(bounds.OfInstance(instance));
            }
        }
        EXPECT_LT(box.GetRadius(), 1.1f * all.GetRadius());
        EXPECT_TRUE(bounds.OfAnim(3).IsEmpty());
    }
}

// A crowd on threads of a pool gives what each instance alone gives; instances that are carried stand at the socket.
TEST(ModelInstance, CrowdsAndCarriers)
{
    const abc::File file = MakeFigure(5, 70, 4);
    LoadedModel model(file);
    ASSERT_EQ(model.m_Result, RESULT_OK);
    std::vector<ModelInstance> crowd(203), carried(203), alone(1);
    std::vector<ModelInstance*> all{nullptr};
    std::vector<uint8_t> memory(crowd.size() * ModelInstance::GetMemorySize(model) + 16);
    uint8_t* pNext = memory.data() + (16 - reinterpret_cast<uintptr_t>(memory.data()) % 16);
    Matrix4 offset;
    offset.SetTranslation(1, 2, 3);
    std::vector<float> weights(70, 0.25f);
    for (uint32_t i = 0; i < crowd.size(); ++i, pNext += ModelInstance::GetMemorySize(model))
    {
        const bool bOwn = i % 2 == 0 || i + 1 == crowd.size();
        ASSERT_TRUE(crowd[i].Init(model, bOwn ? nullptr : pNext, ModelInstance::GetMemorySize(model)));
        ASSERT_TRUE(carried[i].Init(model) && crowd[i].Attach(&carried[i], 0, offset));
        ASSERT_TRUE(crowd[i].AddPosition({0, i % 4, 1, 0, static_cast<float>(i) / 203}));
        ASSERT_TRUE(crowd[i].AddPosition({2, 0, 2, i % 4, 0.5f}, LayerKind::BLEND, weights.data()));
        all.push_back(&crowd[i]);
    }
    ThreadPool pool(4);
    for (int i = 0; i < 20; ++i) // no run may find what the one before has left
        ASSERT_TRUE(EvaluateMany(all.data(), static_cast<uint32_t>(all.size()), &pool));
    for (uint32_t i = 0; i < crowd.size(); ++i)
    {
        ASSERT_TRUE(alone[0].Init(model) && alone[0].AddPosition({0, i % 4, 1, 0, static_cast<float>(i) / 203}));
        ASSERT_TRUE(alone[0].AddPosition({2, 0, 2, i % 4, 0.5f}, LayerKind::BLEND, weights.data()));
        ASSERT_TRUE(alone[0].Evaluate());
        ASSERT_EQ(std::memcmp(alone[0].GetMatrices(), crowd[i].GetMatrices(), 70 * sizeof(Matrix4)), 0);
        Matrix4 socket;
        ASSERT_TRUE(crowd[i].GetSocketMatrix(0, socket));
        const Matrix4 expected = socket * offset * *model.GetNode(69)->GetGlobalTransform();
        for (int k = 0; k < 16; ++k)
            ASSERT_NEAR(carried[i].GetMatrices()[69].m[k], expected.m[k], 1e-3);
    }
    // What would go round in a circle, and what goes away.
    EXPECT_FALSE(carried[0].Attach(&crowd[0], 0, offset) || crowd[0].Attach(&crowd[0], 0, offset));
    EXPECT_FALSE(crowd[1].Attach(&carried[0], 0, offset) || crowd[1].Attach(nullptr, 0, offset));
    crowd[0].Term();
    EXPECT_EQ(carried[0].GetCarrier(), nullptr);
    carried[1].Term();
    EXPECT_TRUE(crowd[1].Evaluate());
    EXPECT_FALSE(crowd[0].Evaluate() || crowd[0].AddPosition({}) || crowd[1].Detach(&carried[1]));
}

TEST(ModelInstance, RefusesWhatDoesNotFit)
{
    const abc::File file = MakeFigure(1, 5, 2);
    LoadedModel model(file);
    ModelInstance instance;
    alignas(16) uint8_t memory[1024];
    const size_t size = ModelInstance::GetMemorySize(model);
    EXPECT_FALSE(instance.Init(model, memory, size - 1) || instance.Init(model, memory + 4, size));
    ASSERT_TRUE(instance.Init(model, memory, size));
    const float bad[] = {0, 0, std::nanf(""), 0, 0};
    EXPECT_FALSE(instance.AddPosition({3, 0, 0, 0, 0}) || instance.AddPosition({0, 2, 0, 0, 0}));
    EXPECT_FALSE(instance.AddPosition({0, 0, 0, 0, std::nanf("")}) || instance.AddPosition({0, 0, 0, 0, 1.5f}));
    EXPECT_TRUE(instance.AddPosition({0, 0, 0, 1, 1.0f}));
    EXPECT_FALSE(instance.AddPosition({0, 0, 0, 1, 1.0f}, LayerKind::BLEND, bad));
    EXPECT_EQ(instance.NumPositions(), 1u);
    Matrix4 out;
    Vector3 v;
    EXPECT_FALSE(instance.EvaluateNode(5, out) || instance.GetSocketMatrix(1, out));
    EXPECT_FALSE(instance.GetVertexPositions(nullptr) || instance.GetVertexPositions(&v, 12, 1));
    AssertionCatcher catcher;
    EXPECT_EQ(instance.GetNodeMatrix(5), nullptr);
    EXPECT_EQ(catcher.Caught().size(), 1u);
}
