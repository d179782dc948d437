#include "tests/tools/model/testmodel.h"

#include <algorithm>

#include "tools/model/cleangeometry.h"
#include "tools/model/convmodel.h"
#include "tools/model/mergeclosevertices.h"

namespace
{
// Follows vertices of the first piece, told of each removal.
class ToldNode : public ConvNode
{
public:
    using ConvNode::ConvNode;
    void OnVertexRemoved(ModelPieceLOD* pLOD, uint32_t iVert, uint32_t iReplacement) override
    {
        if (pLOD != m_pModel->GetPiece(0))
            return;
        for (uint32_t& i : m_Followed)
        {
            if (i == iVert)
                i = iReplacement;
            if (i > iVert)
                --i;
        }
    }

    std::vector<uint32_t> m_Followed;
};

// The same, told once; NO_VERTEX for what went without a replacement.
class RemapNode : public ConvNode
{
public:
    explicit RemapNode(Model* pModel) : ConvNode(pModel) { m_pOnVerticesRemapped = OnRemap; }

    std::vector<uint32_t> m_Followed;

private:
    static bool OnRemap(ConvNode* pNode, ModelPieceLOD* pLOD, const uint32_t* pNewIndices)
    {
        if (pLOD != pNode->m_pModel->GetPiece(0))
            return true;
        for (uint32_t& i : static_cast<RemapNode*>(pNode)->m_Followed)
            i = i == NO_VERTEX ? i : pNewIndices[i];
        return true;
    }
};

// Two pieces under two nodes that follow every vertex of the first.
struct Scene
{
    Scene(const std::vector<Vector3>& positions, const std::vector<std::vector<uint16_t>>& tris)
    {
        ModelNode* pRoot = AddNode<ConvNode>(m_Model, nullptr, "root");
        m_pTold = AddNode<ToldNode>(m_Model, pRoot, "told");
        m_pRemapped = AddNode<RemapNode>(m_Model, pRoot, "remapped");
        AddPiece(m_Model, positions, tris);
        AddPiece(m_Model, std::vector<Vector3>(positions.rbegin(), positions.rend()), tris);
        for (uint32_t i = 0; i < positions.size(); ++i)
            m_pTold->m_Followed.push_back(i);
        m_pRemapped->m_Followed = m_pTold->m_Followed;
        EXPECT_TRUE(m_Model.Precalc(QZTRUE));
    }

    ConvModel m_Model;
    ToldNode* m_pTold;
    RemapNode* m_pRemapped;
};

// Corner, coordinate and position of everything in a piece.
std::vector<float> ContentsOf(ModelPiece* pPiece)
{
    std::vector<float> out;
    for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
    {
        const Vector3& p = pPiece->GetVert(i)->m_vPos;
        out.insert(out.end(), {p.x, p.y, p.z});
    }
    for (uint32_t i = 0; i < pPiece->NumTris(); ++i)
    {
        for (int k = 0; k < 3; ++k)
        {
            const ModelTri* pTri = pPiece->GetTri(i);
            out.insert(out.end(), {float(pTri->m_Indices[k]), pTri->m_UVs[k].u, pTri->m_UVs[k].v});
        }
    }
    return out;
}

// The definition: all pairs, one vertex after the other.
void MergePlain(ModelPiece* pPiece, float magScale)
{
    for (uint32_t i = 0; i < pPiece->NumVerts();)
    {
        uint32_t j = 0;
        for (; j < pPiece->NumVerts(); ++j)
        {
            if (j != i && (pPiece->GetVert(i)->m_vPos - pPiece->GetVert(j)->m_vPos).Mag() * magScale < 0.1f)
                break;
        }
        if (j < pPiece->NumVerts())
            pPiece->RemoveVertex(i, j);
        else
            ++i;
    }
}

std::vector<std::vector<uint16_t>> RandomTris(uint32_t nTris, uint32_t nVerts, std::mt19937& rng)
{
    std::vector<std::vector<uint16_t>> tris(nTris, std::vector<uint16_t>(3));
    for (std::vector<uint16_t>& tri : tris)
    {
        for (uint16_t& index : tri)
            index = static_cast<uint16_t>(rng() % nVerts);
    }
    return tris;
}

std::vector<float> XOf(ModelPiece* pPiece)
{
    std::vector<float> x;
    for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
        x.push_back(pPiece->GetVert(i)->m_vPos.x);
    return x;
}
} // namespace

TEST(CleanGeometry, GivesWhatTheRemovalsOneByOneGive)
{
    // On a lattice as wide as the limit or half of it there are ties, duplicates and exact distances; the jitter makes
    // chains.
    for (uint32_t seed = 0; seed < 24; ++seed)
    {
        std::mt19937 rng(seed);
        const float magScale = std::vector<float>{1.0f, 64.0f, 0.37f, 999.0f}[seed % 4];
        const float step = 0.1f / magScale * (seed % 3 == 0 ? 0.5f : 1.0f);
        const float jitter = seed % 2 ? 0.3f : 0.0f;
        const int nWide = seed < 12 ? 6 : 40;
        std::vector<Vector3> positions(250);
        for (Vector3& p : positions)
        {
            float values[3];
            for (float& value : values)
            {
                const float off = jitter * static_cast<float>(rng() % 1000) / 1000.0f;
                value = (static_cast<float>(static_cast<int>(rng() % nWide) - (nWide >> 1)) + off) * step;
            }
            p.Set(values[0], values[1], seed % 5 ? values[2] * 0.25f : -0.0f);
        }
        const std::vector<std::vector<uint16_t>> tris = RandomTris(150, 250, rng);
        Scene fast(positions, tris), plain(positions, tris);
        ASSERT_TRUE(MergeCloseVertices(&fast.m_Model, magScale));
        for (uint32_t i = 0; i < 2; ++i)
        {
            MergePlain(plain.m_Model.GetPiece(i), magScale);
            EXPECT_EQ(ContentsOf(fast.m_Model.GetPiece(i)), ContentsOf(plain.m_Model.GetPiece(i))) << seed;
        }
        ModelPiece* pPlain = plain.m_Model.GetPiece(0);
        EXPECT_LT(pPlain->NumVerts(), 250u);
        EXPECT_EQ(fast.m_pTold->m_Followed, plain.m_pTold->m_Followed);
        EXPECT_EQ(fast.m_pRemapped->m_Followed, plain.m_pTold->m_Followed);

        // Unused vertices: who is told of each gets the replacement 0, who takes a remap loses them.
        std::vector<uint32_t> remapped = plain.m_pTold->m_Followed;
        std::vector<bool> used(250);
        for (uint32_t i = 0; i < pPlain->NumVerts(); ++i)
            used[i] = IsVertexUsed(pPlain, i) != QZFALSE;
        for (uint32_t& i : remapped)
            i = used[i] ? static_cast<uint32_t>(std::count(used.begin(), used.begin() + i, true)) : NO_VERTEX;
        for (uint32_t i = 0; i < pPlain->NumVerts();)
        {
            if (IsVertexUsed(pPlain, i))
                ++i;
            else
                pPlain->RemoveVertex(i, 0);
        }
        ASSERT_TRUE(RemoveUnusedVerts(&fast.m_Model));
        EXPECT_EQ(ContentsOf(fast.m_Model.GetPiece(0)), ContentsOf(pPlain));
        EXPECT_EQ(fast.m_pTold->m_Followed, plain.m_pTold->m_Followed);
        EXPECT_EQ(fast.m_pRemapped->m_Followed, remapped);
    }
}

TEST(MergeCloseVertices, ChainsLimitsAndCollapse)
{
    ConvModel model;
    ModelPiece* pChain = AddPiece(model, {{0, 0, 0}, {0.0625f, 0, 0}, {0.125f, 0, 0}}, {{0, 1, 2}});
    // Two at the limit exactly, and of two close ones the lower index.
    ModelPiece* pLimit = AddPiece(model, {{0.1f, 0, 0}, {0, 0, 0}}, {});
    ModelPiece* pLowest = AddPiece(model, {{0, 0, 0}, {5, 0, 0}, {-0.09f, 0, 0}, {0.09f, 0, 0}}, {{0, 1, 3}});
    ASSERT_TRUE(MergeCloseVertices(&model, 1.0f));
    EXPECT_EQ(XOf(pChain), std::vector<float>{0.125f});
    EXPECT_EQ(XOf(pLimit), (std::vector<float>{0.1f, 0}));
    EXPECT_EQ(XOf(pLowest), (std::vector<float>{5, -0.09f, 0.09f}));
    EXPECT_EQ(pLowest->GetTri(0)->m_Indices[0], 1);
    EXPECT_EQ(pLowest->GetTri(0)->m_Indices[1], 0);
    EXPECT_EQ(pLowest->GetTri(0)->m_Indices[2], 2);

    ModelPiece* pTiny = AddPiece(model, {{0, 0, 0}, {1e-4f, 0, 0}, {0, 2e-4f, 0}}, {{0, 1, 2}});
    model.SwapPieces(0, 3);
    for (uint32_t i = 3; i > 0; --i)
    {
        FreeObject(g_DefaultAllocator, model.GetPiece(i));
        model.m_Pieces.Remove(i);
    }
    ASSERT_TRUE(CleanGeometry(&model));
    EXPECT_EQ(pTiny->NumVerts(), 0u); // all were one, and then the triangle was none
    EXPECT_EQ(pTiny->NumTris(), 0u);
}

TEST(CleanGeometry, DegenerateTrianglesGoByIndexInOrder)
{
    ConvModel model;
    ModelPiece* pPiece = AddPiece(model, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
                                  {{0, 0, 1}, {0, 1, 2}, {1, 2, 1}, {2, 1, 1}, {2, 1, 0}, {1, 1, 1}});
    RemoveDegenerateTris(&model);
    ASSERT_EQ(pPiece->NumTris(), 2u);
    EXPECT_EQ(pPiece->GetTri(0)->m_UVs[2].u, 1.0f);
    EXPECT_EQ(pPiece->GetTri(1)->m_UVs[2].u, 4.0f);
}

TEST(CleanGeometry, MagScaleOfRadiusAndName)
{
    struct
    {
        const char* pName;
        float radius;
        float magScale;
    } const cases[] = {
        {"base", 256, 1},
        {"base", 2560, 0.1f},
        {"base_zMagScale064", 256, 64},
        {"base_zmagscale064", 2560, 64},
        {"base_ZMagScale064", 256, 1},
        {"base_zMagScale12", 256, 1},
        {"base_zMagScale1x3", 256, 1},
        {"base_zMagScale1234", 256, 123},
        {"base_zMagScale999_zMagScale001", 256, 999},
        {"base_zMagScale000", 256, 1},
        {"_zMagScale", 256, 1},
    };
    for (const auto& test : cases)
    {
        // One pair a little closer than the limit, one a little farther.
        const float limit = 0.1f / test.magScale;
        const float away = (test.pName[1] == 'a' ? 7 : -7) * test.radius; // the box is far from the origin
        ConvModel model;
        AddNode<ConvNode>(model, nullptr, test.pName);
        ASSERT_TRUE(model.Precalc(QZTRUE));
        ModelPiece* pPiece = AddPiece(model,
                                      {{-test.radius, 0, away},
                                       {test.radius, 0, away},
                                       {0, 0, away},
                                       {0.99f * limit, 0, away},
                                       {0, 1.01f * limit, away}},
                                      {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}});
        EXPECT_FLOAT_EQ(CalcModelRadius(&model), test.radius);
        ASSERT_TRUE(CleanGeometry(&model));
        EXPECT_EQ(XOf(pPiece), (std::vector<float>{-test.radius, test.radius, 0.99f * limit, 0})) << test.pName;
    }
}
