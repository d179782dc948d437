#include "tests/tools/model/testmodel.h"

#include "tools/model/buildvertexnormals.h"

static void ExpectNormal(ModelPieceLOD* pMesh, uint32_t iVert, float x, float y, float z)
{
    EXPECT_TRUE(pMesh->GetVert(iVert)->m_vNormal.NearlyEquals(Vector3(x, y, z), 1e-6f)) << iVert;
}

TEST(BuildVertexNormals, ByHand)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    // A large triangle that faces z, a small one that faces y, one without an area, a vertex in none.
    ModelPiece* pPiece = AddPiece(model, {{0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {0, 0, 1}, {1, 0, 0}, {2, 0, 0}, {7, 7, 7}},
                                  {{0, 1, 2}, {0, 3, 1}, {4, 5, 4}});
    pPiece->GetVert(6)->m_vNormal.Set(1, 2, 3);
    // The other LOD's own triangle faces -x.
    ASSERT_TRUE(pPiece->m_LODs.SetSize(1));
    ModelPieceLOD* pLOD = pPiece->GetLOD(1);
    pLOD->m_pModel = &model;
    ASSERT_TRUE(pLOD->m_Verts.SetSize(3) && pLOD->m_Tris.SetSize(1));
    pLOD->GetVert(1)->m_vPos.Set(0, 0, 2);
    pLOD->GetVert(2)->m_vPos.Set(0, 2, 0);
    for (uint16_t k = 0; k < 3; ++k)
        pLOD->GetTri(0)->m_Indices[k] = k;

    ASSERT_TRUE(BuildVertexNormals(&model));
    const float half = std::sqrt(0.5f);
    ExpectNormal(pPiece, 0, 0, half, half);
    ExpectNormal(pPiece, 1, 0, half, half);
    ExpectNormal(pPiece, 2, 0, 0, 1);
    ExpectNormal(pPiece, 3, 0, 1, 0);
    ExpectNormal(pPiece, 4, 0, 0, 0);
    ExpectNormal(pPiece, 6, 0, 0, 0);
    for (uint32_t i = 0; i < 3; ++i)
        ExpectNormal(pLOD, i, -1, 0, 0);
}

TEST(FindTriangle, FirstWithinATenthInEachAxis)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    ModelPiece* pPiece = AddPiece(model, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {{0, 1, 2}, {1, 2, 0}, {1, 2, 0}});
    const Vector3 positions[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    uint32_t iTri = 77;
    EXPECT_TRUE(pPiece->FindTriangle(positions, {1, 0, 0}, {0, 1, 0}, {0.1f, -0.1f, 0.1f}, &iTri));
    EXPECT_EQ(iTri, 1u);
    iTri = 77;
    EXPECT_TRUE(pPiece->FindTriangle(positions, {1, 0, 0}, {0, 1, 0}, {0, 0.101f, 0}, &iTri));
    EXPECT_TRUE(pPiece->FindTriangle(positions, {0, 1, 0}, {1, 0, 0}, {0, 0, 0}, &iTri));
    EXPECT_EQ(iTri, 77u);
}
