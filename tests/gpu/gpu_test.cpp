#include "examples/gpu/figurerenderer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <meshoptimizer.h>
#include <set>

// The picture of a figure in motion: every vertex of the instance's own positions lies on it or next to it, and it
// reaches as far as they do and no further.
TEST(FigureRenderer, DrawsWhereTheVerticesAre)
{
    constexpr uint32_t SIZE = 400;
    zolt::Model model(&zolt::g_DefaultAllocator, &zolt::g_DefaultAllocator);
    zolt::ModelStream* pStream = zolt::OpenStdioStream(ZOLT_TEST_MODEL, "rb");
    ASSERT_NE(pStream, nullptr);
    zolt::LoadRequest request;
    request.m_pStream = pStream;
    const uint32_t result = model.Load(&request);
    pStream->Release();
    ASSERT_EQ(result, zolt::RESULT_OK);

    zolt::ModelInstance figure;
    zolt::AnimPlayer player(figure);
    ASSERT_TRUE(figure.Init(model) && player.Play("wave", {.m_Start = 0.6f}) && player.Apply());
    zolt::Matrix4 world, view;
    zolt::MatrixFromAxisAngle(world, 0, 1, 0, 1);
    figure.SetWorld(world);
    ASSERT_TRUE(figure.Evaluate());
    std::vector<zolt::Vector3> places(model.CalcNumVerts());
    ASSERT_TRUE(figure.GetVertexPositions(places.data()));
    zolt::Bounds box;
    for (const zolt::Vector3& place : places)
        box.Add(place);
    const float scale = 1.0f / box.GetRadius();
    view(0, 0) = view(1, 1) = scale;
    view(2, 2) = -scale;

    FigureRenderer renderer;
    ASSERT_TRUE(renderer.Init(model, SIZE, SIZE)) << renderer.GetError();
    renderer.Clear();
    renderer.Draw(figure, view);
    std::vector<uint8_t> pixels;
    ASSERT_TRUE(renderer.GetPicture(pixels)) << renderer.GetError();

    const auto IsDrawn = [&](int x, int y)
    { return x >= 0 && y >= 0 && x < int(SIZE) && y < int(SIZE) && pixels[4 * (size_t(SIZE) * y + x) + 3] != 0; };
    int left = SIZE, right = -1, top = SIZE, bottom = -1;
    for (int y = 0; y < int(SIZE); ++y)
    {
        for (int x = 0; x < int(SIZE); ++x)
        {
            if (!IsDrawn(x, y))
                continue;
            left = std::min(left, x);
            right = std::max(right, x);
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
    }
    const auto X = [&](float x) { return (x * scale + 1.0f) * 0.5f * SIZE; };
    const auto Y = [&](float y) { return (1.0f - y * scale) * 0.5f * SIZE; };
    EXPECT_NEAR(left, X(box.m_Min.x), 2.0);
    EXPECT_NEAR(right + 1, X(box.m_Max.x), 2.0);
    EXPECT_NEAR(top, Y(box.m_Max.y), 2.0);
    EXPECT_NEAR(bottom + 1, Y(box.m_Min.y), 2.0);
    for (const zolt::Vector3& place : places)
    {
        const int x = static_cast<int>(X(place.x)), y = static_cast<int>(Y(place.y));
        bool bNear = false;
        for (int i = 0; i < 25; ++i)
            bNear = bNear || IsDrawn(x + i % 5 - 2, y + i / 5 - 2);
        EXPECT_TRUE(bNear) << x << " " << y;
    }
}

// The same triangles in another order, with fewer misses of the cache, and records that come as they are first used.
TEST(RenderMesh, OrderedForTheVertexCache)
{
    constexpr uint32_t SIDE = 40, N_TRIS = 2 * SIDE * SIDE; // quads of two triangles, those seven apart side by side
    zolt::Model model(&zolt::g_DefaultAllocator, &zolt::g_DefaultAllocator);
    zolt::ModelPiece piece(&model);
    ASSERT_TRUE(piece.m_Verts.SetSize((SIDE + 1) * (SIDE + 1)) && piece.m_Tris.SetSize(N_TRIS));
    for (uint32_t i = 0; i < N_TRIS; ++i)
    {
        const uint32_t iTri = i * 7 % N_TRIS, iQuad = iTri / 2;
        const uint32_t iFirst = iQuad / SIDE * (SIDE + 1) + iQuad % SIDE, iBelow = iFirst + SIDE + 1;
        const uint32_t corners[] = {iTri % 2 ? iBelow + 1 : iFirst, iFirst + 1, iBelow};
        for (int k = 0; k < 3; ++k)
            piece.m_Tris[i].m_Indices[k] = static_cast<uint16_t>(corners[k]);
    }
    const auto Triangles = [](const zolt::RenderMesh& mesh, bool bSources)
    {
        std::vector<uint32_t> indices(mesh.m_nIndices);
        for (size_t i = 0; i < indices.size(); ++i)
        {
            uint16_t index = 0;
            std::memcpy(&index, &mesh.m_Indices[2 * i], 2);
            indices[i] = bSources ? mesh.m_SourceVert[index] : index;
        }
        return indices;
    };
    const auto Sorted = [&](const zolt::RenderMesh& mesh)
    {
        const std::vector<uint32_t> indices = Triangles(mesh, true);
        std::multiset<std::array<uint32_t, 3>> sorted;
        for (size_t i = 0; i < indices.size(); i += 3)
            sorted.insert({indices[i], indices[i + 1], indices[i + 2]});
        return sorted;
    };
    zolt::RenderMesh plain, ordered;
    ASSERT_TRUE(zolt::BuildRenderMesh(piece, 0, {}, plain));
    zolt::RenderMeshOptions options;
    options.m_pOrder = [](uint32_t* p, size_t n, size_t nVertices) { meshopt_optimizeVertexCache(p, p, n, nVertices); };
    ASSERT_TRUE(zolt::BuildRenderMesh(piece, 0, options, ordered));
    EXPECT_EQ(Sorted(ordered), Sorted(plain));
    const std::vector<uint32_t> indices = Triangles(ordered, false), plainIndices = Triangles(plain, false);
    const auto Misses = [&](const std::vector<uint32_t>& list)
    { return meshopt_analyzeVertexCache(list.data(), list.size(), plain.m_nVertices, 16, 0, 0).acmr; };
    EXPECT_LT(Misses(indices), 0.5f * Misses(plainIndices));
    uint32_t nSeen = 0;
    for (const uint32_t index : indices)
    {
        EXPECT_LE(index, nSeen);
        nSeen = std::max(nSeen, index + 1);
    }
    options.m_pOrder = [](uint32_t* p, size_t, size_t nVertices) { *p = static_cast<uint32_t>(nVertices); };
    EXPECT_FALSE(zolt::BuildRenderMesh(piece, 0, options, ordered));
    EXPECT_EQ(ordered.m_nVertices, 0u);
}
