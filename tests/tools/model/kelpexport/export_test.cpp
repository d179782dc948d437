// Whole exports: every field of a fresh file, appends by position, by name and refused.

#include "tests/tools/model/kelpexport/exporttest.h"
#include "tools/model/kelpexport/checkstatus.h"

static constexpr float HALF_SQRT = 0.70710678f;

static void ExpectVector(const Vector3& v, const Vector3& expected)
{
    EXPECT_TRUE(v.NearlyEquals(expected, 1e-5f))
        << v.x << " " << v.y << " " << v.z << " for " << expected.x << " " << expected.y << " " << expected.z;
}

// The sign of a quaternion says nothing.
static void ExpectKey(const NodeKeyFrame& key, const Vector3& translation, const Quaternion& rotation)
{
    ExpectVector(key.m_vTranslation, translation);
    const Quaternion& q = key.m_qRotation;
    const float dot = q.x * rotation.x + q.y * rotation.y + q.z * rotation.z + q.w * rotation.w;
    EXPECT_NEAR(std::fabs(dot), 1.0f, 1e-5f) << q.x << " " << q.y << " " << q.z << " " << q.w;
}

TEST_F(ExportTest, FreshExportHoldsWhatWasWorkedOutByHand)
{
    OpenScene(MakeTestScene());
    // Only a part of the texture is in use: the coordinates of the file come out all the same.
    ASSERT_GE(m_pRecorded->NumTextures(), 1);
    RecordedTexture& texture = m_pRecorded->Texture(m_pRecorded->TextureOf(2));
    texture.cropMin[0] = 16;
    texture.cropMax[0] = 47;
    texture.cropMin[1] = 4;
    texture.cropMax[1] = 27;
    ASSERT_EQ(Export("walk", false), 0);
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(texture.cropMax[0], 47);
    EXPECT_EQ(texture.cropMax[1], 27);

    const auto pModel = LoadModelFile(m_Path);
    ASSERT_TRUE(pModel);
    EXPECT_EQ(pModel->GetFileVersion(), 12u);
    EXPECT_STREQ(pModel->m_CommandString, "");
    EXPECT_EQ(pModel->NumSockets() + pModel->NumWeightSets(), 0u);
    EXPECT_EQ(pModel->NumChildModels(), 1u);

    // The mesh node is gone, its piece stays. Nodes carry the pose of the first key.
    ASSERT_EQ(pModel->NumNodes(), 3u);
    const char* const names[] = {"root", "bone", "hat"};
    const Vector3 translations[3] = {{0, 0, 0}, {2, 0, 0}, {2, 0, -2}};
    for (uint32_t i = 0; i < 3; ++i)
    {
        const ModelNode* pNode = pModel->GetNode(i);
        EXPECT_STREQ(pNode->GetName(), names[i]);
        EXPECT_EQ(pNode->m_Flags, 0);
        EXPECT_EQ(pNode->NumChildren(), i < 2 ? 1u : 0u);
        Vector3 a, b, c, t;
        pNode->m_mGlobal.GetBasisVectors(a, b, c);
        pNode->m_mGlobal.GetTranslation(t);
        ExpectVector(t, translations[i]);
        // A half turn about z; below the root a quarter turn goes ahead.
        ExpectVector(a, i ? Vector3(0, -1, 0) : Vector3(-1, 0, 0));
        ExpectVector(b, i ? Vector3(1, 0, 0) : Vector3(0, -1, 0));
        ExpectVector(c, Vector3(0, 0, 1));
    }

    // Pieces stand in pre-order: the hat is below the bone, which comes first.
    ASSERT_EQ(pModel->NumPieces(), 2u);
    ModelPiece* pHat = pModel->GetPiece(0);
    ModelPiece* pSkin = pModel->GetPiece(1);
    EXPECT_STREQ(pHat->GetName(), "hat");
    EXPECT_STREQ(pSkin->GetName(), "skin_zTex1");
    EXPECT_EQ(pHat->m_iTexture, 0u);
    EXPECT_EQ(pSkin->m_iTexture, 1u);
    const Vector3 positions[2][3] = {{{2, 0, -2}, {2, 2, -2}, {0, 0, -2}}, {{0, 0, 0}, {4, 0, 0}, {0, 4, -2}}};
    const Vector3 normals[2] = {{0, 0, -1}, {0, -0.4472136f, -0.8944272f}};
    const float uvs[2][3][2] = {{}, {{0.0f, 0.25f}, {0.5f, 0.5f}, {1.0f, 0.125f}}};
    // By piece and vertex: node, offset times share, share.
    const std::vector<ModelVertWeight> weights[2][3] = {
        {{{{0, 0, 0, 1}, 2}}, {{{-2, 0, 0, 1}, 2}}, {{{0, -2, 0, 1}, 2}}},
        {{{{0, -2, 0, 1}, 1}}, {{{0, 2, 0, 1}, 1}}, {{{0, -1, -0.5f, 0.25f}, 0}, {{-3, -1.5f, -1.5f, 0.75f}, 1}}}};
    ASSERT_EQ(pModel->CalcNumWeights(), 7u);
    for (uint32_t p = 0; p < 2; ++p)
    {
        ModelPiece* pPiece = pModel->GetPiece(p);
        ASSERT_TRUE(pPiece->NumVerts() == 3 && pPiece->NumTris() == 1);
        for (uint32_t i = 0; i < 3; ++i)
        {
            SCOPED_TRACE(std::to_string(p) + " " + std::to_string(i));
            const ModelVert& vert = *pPiece->GetVert(i);
            ExpectVector(vert.m_vPos, positions[p][i]);
            ExpectVector(vert.m_vNormal, normals[p]);
            EXPECT_EQ(pPiece->GetTri(0)->m_Indices[i], 2 - i);
            EXPECT_NEAR(pPiece->GetTri(0)->m_UVs[i].u, uvs[p][2 - i][0], 1e-7f);
            EXPECT_NEAR(pPiece->GetTri(0)->m_UVs[i].v, uvs[p][2 - i][1], 1e-7f);
            ASSERT_EQ(vert.m_nWeights, weights[p][i].size());
            for (uint32_t w = 0; w < vert.m_nWeights; ++w)
            {
                EXPECT_EQ(vert.m_Weights[w].m_iNode, weights[p][i][w].m_iNode);
                for (int c = 0; c < 4; ++c)
                    EXPECT_NEAR(vert.m_Weights[w].m_Vec[c], weights[p][i][w].m_Vec[c], 1e-5f) << c;
            }
        }
    }

    // Frames 2 and 7 at 10 frames per second: 200 and, of the float nearest to 0.7, 699 milliseconds.
    ASSERT_EQ(pModel->NumAnims(), 1u);
    ModelAnim* pAnim = pModel->GetAnim(0);
    EXPECT_STREQ(pAnim->GetName(), "walk");
    ASSERT_EQ(pAnim->NumKeyFrames(), 2u);
    EXPECT_EQ(pAnim->m_KeyFrames[0].m_Time, 0u);
    EXPECT_EQ(pAnim->m_KeyFrames[1].m_Time, 499u);
    EXPECT_STREQ(pAnim->m_KeyFrames[1].m_pString, "");
    for (uint32_t k = 0; k < 2; ++k)
    {
        ExpectKey(pAnim->m_AnimNodes[0]->m_KeyFrames[k], Vector3(0, 0, 0), Quaternion(0, 0, 1, 0));
        ExpectKey(pAnim->m_AnimNodes[1]->m_KeyFrames[k], Vector3(-2, 0, k ? -8.0f : 0.0f),
                  Quaternion(0, 0, HALF_SQRT, HALF_SQRT));
        ExpectKey(pAnim->m_AnimNodes[2]->m_KeyFrames[k], Vector3(0, 0, -2), Quaternion(0, 0, 0, 1));
    }

    EXPECT_EQ(Log(), "StatusBar: Reading geometry...\n"
                     "- root, mode: , type: SAA_MJNT, piece: -1\n"
                     "  - bone, mode: , type: SAA_MJNT, piece: -1\n"
                     "    - hat, mode: , type: SAA_MSMSH, piece: 0\n"
                     "- Piece: tris: 1, verts: 3\n"
                     "  - skin_zTex1, mode: , type: SAA_MSMSH, piece: 1\n"
                     "- Piece: tris: 1, verts: 3\n"
                     "StatusBar: Getting vertex weights...\n"
                     "Envelope skin_zTex1 bound to root.\n"
                     "Envelope skin_zTex1 bound to bone.\n"
                     "Piece hat not enveloped, weighting 100% to its node.\n"
                     "StatusBar: Reading animation...\n"
                     "StatusBar: Converting data...\n"
                     "StatusBar: Writing file...\n");
    EXPECT_EQ(m_Status, (std::vector<std::string>{"Reading geometry...", "Getting vertex weights...",
                                                  "Reading animation...", "Converting data...", "Writing file..."}));
    EXPECT_EQ(m_pRecorded->CurrentFrame(), 7);
    // From where the scene stands now, the geometry comes from the first frame again.
    ASSERT_EQ(Export("walk", true), 0);
    ExpectVector(LoadModelFile(m_Path)->GetPiece(0)->GetVert(1)->m_vPos, positions[0][1]);
}

// The vertices of a model in the pose of a key, as a loader puts them there.
static std::vector<Vector3> Deformed(Model* pModel, uint32_t iAnim, uint32_t iKey)
{
    std::vector<Matrix4> globals(pModel->NumNodes());
    for (uint32_t i = 0; i < pModel->NumNodes(); ++i)
    {
        Matrix4 local;
        pModel->GetAnim(iAnim)->m_AnimNodes[i]->m_KeyFrames[iKey].ToMatrix(local);
        globals[i] = i == 0 ? local : globals[pModel->GetNode(i)->GetParentIndex()] * local;
    }
    std::vector<Vector3> result;
    for (uint32_t i = 0; i < pModel->NumPieces(); ++i)
    {
        for (uint32_t v = 0; v < pModel->GetPiece(i)->NumVerts(); ++v)
        {
            const ModelVert* pVert = pModel->GetPiece(i)->GetVert(v);
            Vector3 sum(0, 0, 0);
            for (uint32_t w = 0; w < pVert->m_nWeights; ++w)
            {
                float out[4];
                globals[pVert->m_Weights[w].m_iNode].Transform(out, pVert->m_Weights[w].m_Vec);
                sum += Vector3(out[0], out[1], out[2]);
            }
            result.push_back(sum);
        }
    }
    return result;
}

TEST_F(ExportTest, AppendsByNameToAPrunedFileAndKeepsItsGeometry)
{
    OpenScene(MakeTestScene());
    ASSERT_EQ(Export("walk", false), 0);
    const auto pBefore = LoadModelFile(m_Path);

    // The mesh node was removed from the file, so the trees differ in shape; "extra" is in none of the files. "walk"
    // is taken.
    OpenScene(MakeTestScene({.extra = true, .end = 1.2}));
    ASSERT_EQ(Export("walk", false, {IDYES}), 0);
    EXPECT_EQ(Boxes(), "Filename exists - append current animation to this file?|");
    const auto pModel = LoadModelFile(m_Path);
    ASSERT_TRUE(pModel && pBefore);
    ASSERT_EQ(pModel->NumAnims(), 2u);
    EXPECT_STREQ(pModel->GetAnim(0)->GetName(), "walk");
    EXPECT_STREQ(pModel->GetAnim(1)->GetName(), "walk0");
    EXPECT_EQ(pModel->GetAnim(1)->m_KeyFrames[1].m_Time, 1000u);
    EXPECT_EQ(pModel->NumNodes(), 3u);
    EXPECT_EQ(pModel->CalcNumWeights(), 7u);
    EXPECT_NE(Log().find("StatusBar: Getting vertex weights...\nStatusBar: Reading animation..."), std::string::npos);
    EXPECT_EQ(Log().find("Envelope"), std::string::npos);

    // Both animations move the mesh alike, and as the host moves it: z mirrored, the joint 4 up and doubled.
    const std::vector<Vector3> first = Deformed(pModel.get(), 0, 0);
    const std::vector<Vector3> last = Deformed(pModel.get(), 1, 1);
    const std::vector<Vector3> same = Deformed(pBefore.get(), 0, 1);
    const float raised[] = {8, 8, 8, 8, 8, 6};
    for (size_t i = 0; i < first.size(); ++i)
    {
        ExpectVector(last[i], same[i]);
        ExpectVector(last[i], first[i] - Vector3(0, 0, raised[i]));
    }
    ExpectVector(first[5], Vector3(0, 4, -2));
}

TEST_F(ExportTest, AppendsByPositionWhateverTheNames)
{
    OpenScene(MakeTestScene({.skinName = "skin_zN"}));
    ASSERT_EQ(Export("one", false), 0);
    EXPECT_NE(Log().find("Node skin_zN marked with token 'N', not removing.\n"), std::string::npos);
    // The same shape under other names.
    Scene scene = MakeTestScene({.skinName = "other"});
    scene.nodes[0].name = "renamed";
    OpenScene(scene);
    ASSERT_EQ(Export("two", false, {IDYES}), 0);
    const auto pModel = LoadModelFile(m_Path);
    ASSERT_TRUE(pModel);
    ASSERT_EQ(pModel->NumAnims(), 2u);
    EXPECT_STREQ(pModel->GetAnim(1)->GetName(), "two");
    EXPECT_STREQ(pModel->GetNode(0)->GetName(), "root");
    ASSERT_EQ(pModel->NumNodes(), 4u);
    EXPECT_EQ(pModel->GetNode(3)->m_Flags, 0);
}

TEST_F(ExportTest, RefusesToAppendToOtherGeometry)
{
    OpenScene(MakeTestScene());
    ASSERT_EQ(Export("walk", false), 0);
    const std::string before = ReadWholeFile(m_Path);
    OpenScene(MakeTestScene({.hat = false}));
    EXPECT_EQ(Export("run", false, {IDYES}), 124);
    EXPECT_EQ(m_User.m_Boxes.back().text, "Geometry in " + m_Path + " is different.");
    EXPECT_EQ(ReadWholeFile(m_Path), before);
    // Nodes that the file doesn't have are taken out, but not those that their author wants to stay.
    OpenScene(MakeTestScene({.skinName = "skin_zN"}));
    EXPECT_EQ(Export("run", false, {IDYES}), 124);
    EXPECT_EQ(m_User.m_Boxes.back().text, "Geometry in " + m_Path + " is different.");
    EXPECT_EQ(ReadWholeFile(m_Path), before);
}

TEST_F(ExportTest, AsksBeforeItReplacesAFile)
{
    OpenScene(MakeTestScene());
    // No model: append fails, No keeps it, Yes replaces it.
    WriteWholeFile(m_Path, "no model");
    EXPECT_EQ(Export("a", false, {IDYES, IDNO}), 124);
    EXPECT_EQ(Boxes(), "Filename exists - append current animation to this file?|" + m_Path +
                           " is an invalid model file, overwrite?|");
    EXPECT_EQ(ReadWholeFile(m_Path), "no model");
    EXPECT_EQ(Export("a", false, {IDNO}), 124);
    EXPECT_EQ(Export("a", false, {IDCANCEL}), 124);
    EXPECT_EQ(m_User.m_Boxes.size(), 1u);
    EXPECT_EQ(ReadWholeFile(m_Path), "no model");
    // A failure of the conversion after the user has agreed.
    FailOperation("SAA_sceneGetNbModels", 1, 5);
    EXPECT_EQ(Export("a", false, {IDYES, IDYES}), 124);
    EXPECT_EQ(m_User.m_Boxes.back().text, "Unable to get elements in scene.");
    EXPECT_EQ(ReadWholeFile(m_Path), "no model");
    EXPECT_EQ(Export("a", false, {IDYES, IDYES}), 0);
    EXPECT_EQ(LoadModelFile(m_Path)->NumAnims(), 1u);
    // With the switch nobody is asked, and nothing is appended.
    EXPECT_EQ(Export("b", true), 0);
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(LoadModelFile(m_Path)->NumAnims(), 1u);
}

TEST_F(ExportTest, SaysWhatCantBeWritten)
{
    OpenScene(MakeTestScene());
    m_Path = m_Folder / "missing/model.abc";
    EXPECT_EQ(Export("a", false), 124);
    EXPECT_EQ(Boxes(), "Unable to open " + m_Path + " for writing.|");
    m_Path = "";
    EXPECT_EQ(Export("a", false), 124);
    EXPECT_EQ(Boxes(), "Unable to open  for writing.|");
    m_Path = m_Folder.Path(); // opens for reading, though
    EXPECT_EQ(Export("a", true), 124);
    EXPECT_EQ(Boxes(), "Unable to open " + m_Path + " for writing.|");
    m_Path = "/dev/full";
    EXPECT_EQ(Export("a", true), 124);
    EXPECT_EQ(Boxes(), "Unable to write /dev/full.|");
    // A name that looks like a format.
    m_Path = m_Folder / "%s%n%d";
    WriteWholeFile(m_Path, "no model");
    EXPECT_EQ(Export("%n%s", false, {IDYES, IDYES}), 0);
    EXPECT_EQ(m_User.m_Boxes.back().text, m_Path + " is an invalid model file, overwrite?");
    EXPECT_STREQ(LoadModelFile(m_Path)->GetAnim(0)->GetName(), "%n%s");
}
