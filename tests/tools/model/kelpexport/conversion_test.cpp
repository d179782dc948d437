// Cases of the conversion that a whole export of the test scene doesn't show.

#include "tests/tools/model/kelpexport/exporttest.h"
#include "tests/tools/model/kelpexport/lyinghost.h"
#include "tests/tools/model/testmodel.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/keystoglobal.h"
#include "tools/model/orthonormalise.h"
#include "tools/model/removevertices.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

static const SAA_Elem s_NoElem = {};

// A NaN counts as any other.
template <class T> static std::vector<uint32_t> BitsOf(const T& floats)
{
    std::vector<uint32_t> bits(sizeof(T) / sizeof(float));
    for (size_t i = 0; i < bits.size(); ++i)
    {
        float value = 0.0f;
        std::memcpy(&value, reinterpret_cast<const char*>(&floats) + i * sizeof(value), sizeof(value));
        bits[i] = std::isnan(value) ? 0x7FC00000u : std::bit_cast<uint32_t>(value);
    }
    return bits;
}

class ConversionTest : public ExportTest
{
protected:
    ConversionTest()
    {
        m_pModel = std::make_unique<ConvModel_Soft>();
        m_pModel->SetRootNode(new SoftNode(m_pModel.get()));
    }
    ~ConversionTest() override { g_HostLies.clear(); }

    // Converts the open scene with a new model.
    bool Convert(bool bAppend = false)
    {
        m_pModel = std::make_unique<ConvModel_Soft>();
        m_pModel->SetRootNode(new SoftNode(m_pModel.get()));
        EXPECT_EQ(SAA_sceneInitInternal("SDKv1.70.3") & ~3, 0);
        EXPECT_EQ(SAA_sceneGetCurrent(&m_Record), 0);
        return m_pModel->ConvertScene(&m_Record, bAppend, "anim") != QZFALSE;
    }
    SoftNode* Node(const char* pName)
    {
        ModelNode* pNode = m_pModel->FindNode(pName, nullptr);
        EXPECT_NE(pNode, nullptr) << pName;
        return static_cast<SoftNode*>(pNode);
    }
    const NodeKeyFrame& Key(const char* pName, uint32_t iKey)
    {
        return m_pModel->GetAnim(0)->m_AnimNodes[Node(pName)->GetNodeIndex()]->m_KeyFrames[iKey];
    }
    std::vector<uint32_t> Times()
    {
        std::vector<uint32_t> times;
        for (uint32_t i = 0; i < m_pModel->GetAnim(0)->NumKeyFrames(); ++i)
            times.push_back(m_pModel->GetAnim(0)->m_KeyFrames[i].m_Time);
        return times;
    }

    std::unique_ptr<ConvModel_Soft> m_pModel;
    SAA_Scene m_Record = {};
};

TEST_F(ConversionTest, KeysComeFromEveryCurveAndStayInTheRange)
{
    Scene scene = MakeTestScene();
    SceneChannel channel;
    channel.node = 3; // the hat
    channel.path = ScenePath::Rotation;
    channel.times = {0.2, 0.5, 0.9};
    channel.values = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
    scene.clips[0].channels.push_back(channel);
    channel.path = ScenePath::Scale; // makes no key
    channel.times = {0.3, 0.6};
    channel.values = {1, 1, 1, 1, 1, 1};
    scene.clips[0].channels.push_back(channel);
    RecordedSceneOptions options;
    options.clip = 0;
    options.fps = 10.0;
    OpenScene(scene, options);
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Times(), (std::vector<uint32_t>{0, 300, 499, 699}));
    // A key whose time is before the one ahead of it, or too late, gets that one's.
    for (const float seconds : {0.1f, 1e8f})
    {
        g_HostLies["SAA_frame2Seconds"] = [seconds](HostAnswer& answer)
        {
            if (answer.lastNumber == 7)
                *answer.floats[0] = seconds;
        };
        ASSERT_TRUE(Convert());
        EXPECT_EQ(Times(), (std::vector<uint32_t>{0, 300, 300, 699})) << seconds;
    }
    g_HostLies.clear();
    // One curve of three will do, whichever it is.
    for (size_t i = 0; i < 6; ++i)
    {
        const char* const names[] = {"SAA_modelFcurveGetTranslation", "SAA_modelFcurveGetRotation"};
        g_HostLies[names[i / 3]] = [i](HostAnswer& answer)
        {
            for (size_t j = 0; j < 3; ++j)
            {
                if (j != i % 3)
                    *answer.elems[j] = SAA_Elem();
            }
        };
        ASSERT_TRUE(Convert());
        EXPECT_EQ(Times(), (std::vector<uint32_t>{0, 300, 499, 699})) << i;
        g_HostLies.clear();
    }
    // And so will that of a shape, which stands in here for the others.
    SAA_Elem curve;
    const auto take = [&curve](HostAnswer& answer)
    {
        curve = std::memcmp(answer.elems[0], &s_NoElem, sizeof(SAA_Elem)) ? *answer.elems[0] : curve;
        for (SAA_Elem* pElem : answer.elems)
            *pElem = SAA_Elem();
    };
    g_HostLies["SAA_modelFcurveGetRotation"] = [&](HostAnswer& answer) { curve = SAA_Elem(), take(answer); };
    g_HostLies["SAA_modelFcurveGetTranslation"] = take;
    g_HostLies["SAA_modelFcurveGetShapeInterpolation"] = [&](HostAnswer& answer) { *answer.elems[0] = curve; };
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Times(), (std::vector<uint32_t>{0, 300, 499, 699}));
    g_HostLies.clear();
    // Keys outside the range count for its ends.
    options.start = 3;
    options.end = 6;
    OpenScene(scene, options);
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Times(), (std::vector<uint32_t>{0, 200, 300}));
    EXPECT_NEAR(Key("bone", 0).m_vTranslation.z, -2 * 0.8f, 1e-5f);
    options.end = 3;
    OpenScene(scene, options);
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Times(), (std::vector<uint32_t>{0}));
    // Before the host's time 0.
    options.start = -5;
    options.extraKeys = {-20};
    OpenScene(scene, options);
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Times(), (std::vector<uint32_t>{0, 700, 800})) << "-500, 200 and 300";
    g_HostLies["SAA_frame2Seconds"] = [](HostAnswer& answer)
    { *answer.floats[0] -= *answer.floats[0] < 0.0f ? 0.0009f : 0.0f; };
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Times(), (std::vector<uint32_t>{0, 700, 800})) << "-500.9 as well";
    g_HostLies.clear();
    // Without any curve the start frame has the one key.
    options = RecordedSceneOptions();
    options.start = 4;
    options.end = 9;
    OpenScene(scene, options);
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Times(), (std::vector<uint32_t>{0}));
    EXPECT_EQ(m_pRecorded->CurrentFrame(), 4);
    options.end = 3;
    OpenScene(scene, options);
    EXPECT_FALSE(Convert());
    EXPECT_EQ(Boxes(), "Invalid play range: 4 to 3.|");
}

TEST_F(ConversionTest, TypesAndTheTopOfTheTree)
{
    const char* const types[] = {"SAA_MNILL", "SAA_MPTCH", "SAA_MFACE", "UNKNOWN",   "SAA_MSMSH", "SAA_MJNT",
                                 "SAA_MSPLN", "SAA_MMETA", "SAA_MBALL", "SAA_MNCRV", "SAA_MNSRF", "UNKNOWN"};
    OpenScene(MakeTestScene());
    for (int type = 0; type < 12; ++type)
    {
        LieCount("SAA_modelGetType", type);
        LieCount("SAA_elementGetHierarchyLevel", 0); // the first of many counts
        const bool bMesh = type == SAA_MFACE || type == SAA_MSMSH;
        EXPECT_EQ(Export("walk", true), bMesh ? 124 : 0);
        const std::string line = std::string(", mode: , type: ") + types[type] + ", piece: " + (bMesh ? "0\n" : "-1\n");
        EXPECT_EQ(Log().find("\n- root" + line) != std::string::npos, !bMesh) << "a joint has no triangles to give";
        g_HostLies["SAA_modelGetType"] = [&](HostAnswer& answer)
        { *answer.ints[0] = *answer.ints[0] == SAA_MSMSH ? type : *answer.ints[0]; };
        EXPECT_EQ(Export("walk", true), 0);
        EXPECT_NE(Log().find("- hat" + line), std::string::npos) << Log();
    }
}

// The corners of triangles go by where their vertices are, not by how these are numbered.
TEST_F(ConversionTest, CornersAreTiedByPosition)
{
    OpenScene(MakeTestScene());
    g_HostLies["SAA_modelGetTriVertices"] = [](HostAnswer& answer)
    { std::swap(answer.positions[0][0], answer.positions[0][2]); };
    g_HostLies["SAA_ctrlVertexGetIndices"] = [](HostAnswer& answer)
    {
        for (int i = 0; i < 3; ++i)
            answer.ints[0][i] = 2 - answer.ints[0][i];
    };
    ASSERT_TRUE(Convert());
    for (uint32_t i = 0; i < 3; ++i)
        EXPECT_EQ(m_pModel->GetPiece(0)->GetTri(0)->m_Indices[i], 2 - i);
    // One with no vertex near goes to the first.
    g_HostLies["SAA_modelGetTriVertices"] = [](HostAnswer& answer) { answer.positions[0][1].v[0] += 2000.0; };
    g_HostLies.erase("SAA_ctrlVertexGetIndices");
    ASSERT_EQ(Export("walk", true), 0);
    EXPECT_EQ(Boxes(), "");
    EXPECT_NE(Log().find("WARNING: Mesh hat has lost all its triangles, it is too small.\n"), std::string::npos);
}

// Where the skin is at the first frame, not where it was modelled.
TEST_F(ConversionTest, MeshesAreTakenAsDeformed)
{
    std::vector<Vector3> places[2];
    for (int i = 0; i < 2; ++i)
    {
        Scene scene = MakeTestScene();
        const DoubleMatrix inverse = scene.skins[0].inverseBinds[0];
        DoubleTransform shift;
        shift.translation = {1.0, 0.0, 0.5};
        if (i == 1)
            scene.skins[0].inverseBinds[0] = MultiplyAffine(inverse, MatrixFromTransform(shift));
        OpenScene(scene);
        ASSERT_TRUE(Convert());
        ModelPiece* pPiece = m_pModel->FindPiece("skin_zTex1", nullptr);
        ASSERT_TRUE(pPiece && pPiece->NumVerts() == 3);
        for (uint32_t k = 0; k < 3; ++k)
            places[i].push_back(pPiece->GetVert(k)->m_vPos);
    }
    for (uint32_t k = 0; k < 3; ++k)
    {
        const float share = k == 2 ? 0.75f : 1.0f;
        EXPECT_TRUE((places[1][k] - places[0][k]).NearlyEquals(Vector3(share, 0, -0.5f * share), 1e-5f)) << k;
    }
}

TEST_F(ConversionTest, SmallMeshesVanishWithAWord)
{
    const std::string lost = "WARNING: Mesh hat has lost all its triangles, it is too small.\n";
    const std::string small = "WARNING: The scene's radius is below 0.001,";
    Scene scene = MakeTestScene();
    scene.primitives.push_back(scene.primitives[1]); // one that has none to lose
    scene.primitives[2].triangles.clear();
    scene.nodes[static_cast<size_t>(AddTestNode(scene, "points", 0))].meshes.push_back({2, -1});
    for (const double scale : {1.0, 0.003, 0.001})
    {
        // Vertices closer than 1/2560 of the radius, which is about 3, are merged.
        for (Double3& position : scene.primitives[1].positions)
            position = {position.x * scale, position.y * scale, position.z * scale};
        OpenScene(scene);
        ASSERT_EQ(Export("walk", true), 0);
        EXPECT_EQ(Log().find(lost) != std::string::npos, scale == 0.001) << scale;
        EXPECT_EQ(Log().find(small), std::string::npos);
        EXPECT_EQ(Log().find("Mesh points"), std::string::npos);
    }
    scene.nodes[0].local.scale = {1e-4, 1e-4, 1e-4};
    OpenScene(scene);
    ASSERT_EQ(Export("walk", true), 0);
    EXPECT_NE(Log().find(small), std::string::npos);
    EXPECT_EQ(LoadModelFile(m_Path)->CalcNumVerts(), 0u);
}

TEST_F(ConversionTest, NameTokens)
{
    const struct
    {
        const char* pName;
        uint32_t iTexture;
        bool bStays;
    } cases[] = {
        {"a_zTex1", 1, false},
        {"b_ztex7", 1, false},
        {"e_zTexA", 0, false},
        {"h_zNeck_zTex1", 1, true},
        {"i_ZN", 0, false},
        {"j_zn", 0, true},
        {"a2345678901234567890123456_zTex1", 0, false}, // only 31 characters reach the piece
    };
    Scene scene = MakeTestScene({.hat = false});
    for (const auto& item : cases)
    {
        const int node = AddTestNode(scene, item.pName, 0);
        scene.nodes[static_cast<size_t>(node)].meshes.push_back({0, -1});
    }
    scene.primitives[0].influenceStarts.clear();
    scene.primitives[0].influences.clear();
    scene.nodes[2].meshes[0].skin = -1;
    OpenScene(scene);
    ASSERT_TRUE(Convert(true)); // without weights, so that all nodes are marked but those with the token
    for (const auto& item : cases)
    {
        const SoftNode* pNode = Node(item.pName);
        EXPECT_EQ(m_pModel->GetPiece(static_cast<uint32_t>(pNode->m_PieceIndex))->m_iTexture, item.iTexture)
            << item.pName;
        EXPECT_EQ(pNode->m_Flags, item.bStays ? 0 : MNODE_REMOVEABLE) << item.pName;
    }
}

TEST_F(ConversionTest, SharesOfFivePercentAreDropped)
{
    Scene scene = MakeTestScene();
    OpenScene(scene);
    const auto convert = [&](float first)
    {
        g_HostLies["SAA_ctrlVertexGetEnvelopeWeights"] = [first](HostAnswer& answer)
        { std::fill_n(answer.floats[0], answer.lastNumber, first); };
        ASSERT_TRUE(Convert());
    };
    convert(5.01f);
    ASSERT_EQ(Node("root")->m_Envelopes.GetSize(), 1u);
    ASSERT_EQ(Node("bone")->m_Envelopes.GetSize(), 1u);
    const Envelope* pEnvelope = Node("bone")->m_Envelopes[0];
    ASSERT_EQ(pEnvelope->m_Weights.GetSize(), 3u);
    EXPECT_EQ(pEnvelope->m_iPiece, 1u);
    EXPECT_FLOAT_EQ(pEnvelope->m_Weights[0].m_Weight, 0.0501f);
    EXPECT_TRUE(m_pModel->IsPieceEnveloped(1));
    EXPECT_FALSE(m_pModel->IsPieceEnveloped(2));
    convert(150.0f);
    EXPECT_EQ(Node("bone")->m_Envelopes[0]->m_Weights[0].m_Weight, 1.5f) << "what the host says, also above 100 %";
    // Of a mesh that loses all its weights the node itself moves the vertices, and of one that isn't enveloped to a
    // skeleton.
    LieCount("SAA_envelopeGetType", 1);
    convert(50.0f);
    EXPECT_EQ(Node("root")->m_Envelopes.GetSize(), 0u);
    EXPECT_EQ(Node("skin_zTex1")->m_Envelopes[0]->m_Weights[2].m_Weight, 1.0f);
    g_HostLies.erase("SAA_envelopeGetType");
    convert(5.0f);
    EXPECT_EQ(Node("root")->m_Envelopes.GetSize(), 0u);
    ASSERT_EQ(Node("skin_zTex1")->m_Envelopes.GetSize(), 1u);
    EXPECT_EQ(Node("skin_zTex1")->m_Envelopes[0]->m_Weights[2].m_Weight, 1.0f);
    // A host that gives more vertices than it has announced gives none.
    g_HostLies["SAA_ctrlVertexGetEnvelopeWeights"] = [](HostAnswer& answer) { answer.status = 0; };
    LieCount("SAA_envelopeGetCtrlVertices", 1000);
    ASSERT_TRUE(Convert());
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(Node("root")->m_Envelopes.GetSize(), 0u);
    g_HostLies.clear();
    // A vertex of an enveloped mesh that loses its weights gets no other.
    g_HostLies["SAA_ctrlVertexGetEnvelopeWeights"] = [](HostAnswer& answer) { *answer.floats[0] = 0.0f; };
    ASSERT_TRUE(Convert());
    ASSERT_TRUE(m_pModel->ConvertVertexWeights());
    ModelPiece* pPiece = m_pModel->GetPiece(1);
    EXPECT_EQ(pPiece->GetVert(0)->m_nWeights, 0);
    EXPECT_EQ(pPiece->GetVert(1)->m_nWeights, 1);
    EXPECT_EQ(pPiece->GetVert(0)->m_Weights, pPiece->GetVert(1)->m_Weights);
}

// The weights of a vertex stand by node and by envelope, and a piece without vertices is skipped.
TEST_F(ConversionTest, WeightListsAndTheirLimit)
{
    ConvModel_Soft& model = *m_pModel;
    for (const uint32_t nVerts : {2u, 0u, 1u})
    {
        ModelPiece* pPiece = new ModelPiece(&model);
        ASSERT_TRUE(model.m_Pieces.Append(pPiece, model.GetAllocator()));
        ASSERT_TRUE(pPiece->m_Verts.SetSize(nVerts, model.GetAllocator()));
    }
    ASSERT_TRUE(model.CreateChildNodes(model.GetRootNode()->m_Children, 1));
    ASSERT_TRUE(model.Precalc(QZTRUE));
    const auto add = [&](uint32_t iNode, uint32_t iPiece, const std::vector<uint32_t>& verts)
    {
        Envelope* pEnvelope = new Envelope(iPiece);
        ASSERT_TRUE(static_cast<SoftNode*>(model.GetNode(iNode))->m_Envelopes.Append(pEnvelope));
        ASSERT_TRUE(pEnvelope->m_Weights.SetSize(static_cast<uint32_t>(verts.size())));
        for (uint32_t i = 0; i < verts.size(); ++i)
        {
            pEnvelope->m_Weights[i].m_iVert = verts[i];
            pEnvelope->m_Weights[i].m_Weight = 0.5f;
            pEnvelope->m_Weights[i].m_vOffset.Set(static_cast<float>(10 * iNode + i), 0, 4);
        }
    };
    add(1, 2, {0});
    add(1, 0, {1, 0, 1});
    add(0, 0, {1});
    add(0, 2, std::vector<uint32_t>(65534, 0));
    ASSERT_TRUE(model.ConvertVertexWeights());
    const ModelVertWeight* pFirst = model.m_VertexWeights.GetArray();
    const float xs[] = {11, 0, 10, 12}; // vertex 0; vertex 1
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(pFirst[i].m_Vec[0], 0.5f * xs[i]) << i;
        EXPECT_EQ(pFirst[i].m_Vec[2], 2.0f);
        EXPECT_EQ(pFirst[i].m_Vec[3], 0.5f);
        EXPECT_EQ(pFirst[i].m_iNode, i == 1 ? 0u : 1u);
    }
    EXPECT_EQ(model.GetPiece(0)->GetVert(1)->m_Weights, pFirst + 1);
    EXPECT_EQ(model.GetPiece(0)->GetVert(1)->m_nWeights, 3);
    EXPECT_EQ(model.GetPiece(2)->GetVert(0)->m_nWeights, 65535); // as many as its count can hold; and one more:
    add(0, 2, {0});
    EXPECT_FALSE(model.ConvertVertexWeights());
}

TEST_F(ConversionTest, WeightsStandByNodesThatWereReordered)
{
    TestSceneParts parts;
    parts.extra = true;
    Scene scene = MakeTestScene(parts);
    scene.skins[0].joints[1] = 1; // the extra node, in front of the bone
    OpenScene(scene);
    for (const bool bSwap : {false, true})
    {
        ASSERT_TRUE(Convert());
        if (bSwap)
            std::swap(m_pModel->GetRootNode()->m_Children[0], m_pModel->GetRootNode()->m_Children[1]);
        ASSERT_TRUE(m_pModel->Precalc(QZTRUE) && m_pModel->ConvertVertexWeights());
        const ModelVert* pShared = m_pModel->GetPiece(1)->GetVert(2);
        ASSERT_EQ(pShared->m_nWeights, 2);
        EXPECT_LT(pShared->m_Weights[0].m_iNode, pShared->m_Weights[1].m_iNode);
        EXPECT_EQ(pShared->m_Weights[0].m_Vec[3], bSwap ? 0.75f : 0.25f);
    }
}

// A host that gives one element twice among the children: each node of it moves the mesh, offer or not.
TEST_F(ConversionTest, NodesOfOneHandleBothMoveAMesh)
{
    TestSceneParts parts;
    parts.extra = true;
    const Scene scene = MakeTestScene(parts);
    OpenScene(scene);
    for (const bool bOffered : {true, false})
    {
        g_HostLies["SAA_modelGetChildren"] = [](HostAnswer& answer)
        {
            if (answer.lastNumber == 3) // of the root: the bone in the place of the extra node
                answer.elems.at(0)[0] = answer.elems[0][1];
        };
        if (!bOffered)
            g_HostLies["SAAX_envelopeGetNbSkeletons"] = [](HostAnswer& answer) { answer.status = 7; };
        ASSERT_TRUE(Convert());
        uint32_t nBones = 0;
        for (uint32_t i = 0; i < m_pModel->NumNodes(); ++i)
        {
            const SoftNode* pNode = static_cast<SoftNode*>(m_pModel->GetNode(i));
            if (std::strcmp(pNode->GetName(), "bone") != 0)
                continue;
            ++nBones;
            EXPECT_EQ(pNode->m_Envelopes.GetSize(), 1u);
        }
        EXPECT_EQ(nBones, 2u);
    }
}

// A class of a user's own, told of each removal.
struct ListeningSoftNode : SoftNode
{
    using SoftNode::SoftNode;
    void OnVertexRemoved(ModelPieceLOD* pLOD, uint32_t iVert, uint32_t iReplacement) override
    {
        m_Heard.push_back({iVert, iReplacement});
        SoftNode::OnVertexRemoved(pLOD, iVert, iReplacement);
    }
    std::vector<std::pair<uint32_t, uint32_t>> m_Heard;
};

TEST_F(ConversionTest, WeightsFollowRemovedVertices)
{
    ConvModel_Soft& model = *m_pModel;
    for (int i = 0; i < 2; ++i)
        ASSERT_TRUE(model.m_Pieces.Append(new ModelPiece(&model), model.GetAllocator()));
    SoftNode* pNode = static_cast<SoftNode*>(model.GetRootNode());
    for (uint32_t i = 0; i < 2; ++i)
    {
        Envelope* pEnvelope = new Envelope(i);
        ASSERT_TRUE(pNode->m_Envelopes.Append(pEnvelope));
        ASSERT_TRUE(pEnvelope->m_Weights.SetSize(6));
        for (uint32_t k = 0; k < 6; ++k)
            pEnvelope->m_Weights[k].m_iVert = k;
    }
    const auto indices = [&](uint32_t iEnvelope)
    {
        std::vector<uint32_t> result;
        for (uint32_t k = 0; k < pNode->m_Envelopes[iEnvelope]->m_Weights.GetSize(); ++k)
            result.push_back(pNode->m_Envelopes[iEnvelope]->m_Weights[k].m_iVert);
        return result;
    };
    ModelPieceLOD other;
    pNode->OnVertexRemoved(&other, 2, 5);
    pNode->OnVertexRemoved(model.GetPiece(1), 2, 5);
    EXPECT_EQ(indices(0), (std::vector<uint32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(indices(1), (std::vector<uint32_t>{0, 1, 4, 2, 3, 4}));
    const uint32_t remap[] = {0, 1, 4, 2, 3, 4};
    pNode->OnVerticesRemapped(model.GetPiece(0), remap);
    EXPECT_EQ(indices(0), indices(1));
    const uint32_t drop[] = {NO_VERTEX, 0, 1, NO_VERTEX, 2};
    pNode->OnVerticesRemapped(model.GetPiece(0), drop);
    EXPECT_EQ(indices(0), (std::vector<uint32_t>{0, 2, 1, 2}));
    EXPECT_EQ(indices(1), (std::vector<uint32_t>{0, 1, 4, 2, 3, 4}));
    // A piece twice, at first in the order of the pieces and then not.
    const uint32_t moved[] = {0, 1, 3, 4, 2};
    for (const uint32_t iPiece : {1u, 0u})
    {
        Envelope* pEnvelope = new Envelope(iPiece);
        ASSERT_TRUE(pNode->m_Envelopes.Append(pEnvelope) && pEnvelope->m_Weights.SetSize(1));
        pEnvelope->m_Weights[0].m_iVert = 2;
        pNode->OnVerticesRemapped(model.GetPiece(iPiece), moved);
    }
    EXPECT_EQ(indices(0), (std::vector<uint32_t>{0, 3, 1, 3}));
    EXPECT_EQ(indices(1), (std::vector<uint32_t>{0, 1, 2, 3, 4, 2}));
    EXPECT_EQ(indices(2), (std::vector<uint32_t>{3}));
    EXPECT_EQ(indices(3), (std::vector<uint32_t>{3}));

    ListeningSoftNode* pListener = new ListeningSoftNode(&model);
    model.SetRootNode(pListener);
    ASSERT_TRUE(model.GetPiece(0)->m_Verts.SetSize(5) && model.Precalc(QZTRUE));
    const uint32_t targets[] = {0, 4, 2, 4, 4};
    ASSERT_TRUE(RemoveVertices(model.GetPiece(0), targets));
    EXPECT_EQ(pListener->m_Heard, (std::vector<std::pair<uint32_t, uint32_t>>{{1, 4}, {2, 3}}));
}

// Against the products of keys and scales in double. Only scales that shear nothing leave the turns to compare: here
// those of inner nodes are even, but for the signs, in every other tree.
TEST_F(ConversionTest, ScaleGoesIntoTheKeys)
{
    for (uint32_t seed = 0; seed < 20; ++seed)
    {
        const bool bEven = seed % 2 == 0;
        std::mt19937 random(seed);
        std::uniform_real_distribution<float> range(0.5f, 2.0f);
        ConvModel_Soft model;
        BuildTree<SoftNode>(model, "r(a(b(c),d(e,f)),g(h))");
        ModelAnim* pAnim = AddRandomAnim(model, "walk", 2, seed);
        for (uint32_t n = 0; n < model.NumNodes(); ++n)
        {
            const float even = range(random);
            const bool bAny = !bEven || model.GetNode(n)->NumChildren() == 0;
            float scale[3];
            for (float& value : scale)
                value = (bAny ? range(random) : even) * (random() % 2 ? 1.0f : -1.0f);
            static_cast<SoftNode*>(model.GetNode(n))->m_Scale.Set(scale[0], scale[1], scale[2]);
        }
        std::vector<std::vector<Pose>> expected(2, std::vector<Pose>(model.NumNodes()));
        for (uint32_t k = 0; k < 2; ++k)
        {
            for (uint32_t n = 0; n < model.NumNodes(); ++n)
            {
                const SoftNode* pNode = static_cast<SoftNode*>(model.GetNode(n));
                const Vector3& s = pNode->m_Scale;
                const Pose parent = n == 0 ? Pose() : expected[k][pNode->GetParentIndex()];
                const Pose scale = {{{s.x, 0, 0, 0}, {0, s.y, 0, 0}, {0, 0, s.z, 0}}};
                expected[k][n] = parent * PoseOf(pAnim->m_AnimNodes[n]->m_KeyFrames[k]) * scale;
            }
        }
        model.FoldScaleIntoKeys();
        const std::vector<Poses> folded = AllPoses(pAnim);
        for (uint32_t i = 0; i < 2 * model.NumNodes(); ++i)
        {
            const uint32_t k = i % 2, n = i / 2;
            const Pose& actual = folded[k].at(model.GetNode(n)->GetName());
            const auto& m = expected[k][n].m;
            for (int r = 0; r < 3; ++r)
            {
                EXPECT_NEAR(actual.m[r][3], m[r][3], 1e-3) << seed << model.GetNode(n)->GetName();
                for (int c = 0; c < 2 && bEven; ++c)
                    EXPECT_NEAR(actual.m[r][c], m[r][c] / std::hypot(m[0][c], m[1][c], m[2][c]), 1e-4) << seed;
            }
        }
        model.ResetNodeScales();
        for (uint32_t n = 0; n < model.NumNodes(); ++n)
            EXPECT_TRUE(static_cast<SoftNode*>(model.GetNode(n))->m_Scale.NearlyEquals(Vector3(1, 1, 1), 0));
    }
}

// Keys are worked on four at a time, and one by one where that can't be: with what scale, place or rotation lead out of
// range, and at the end. Each must come out as it does in a model that has no other.
TEST_F(ConversionTest, EachKeyIsConvertedForItself)
{
    constexpr uint32_t N_KEYS = 11;
    const float extremes[] = {0.0f, -0.0f, 1e-30f, 1e30f, 3e38f, std::numeric_limits<float>::infinity()};
    for (uint32_t seed = 0; seed < 60; ++seed)
    {
        std::mt19937 random(seed);
        const auto build = [&](ConvModel_Soft& model, uint32_t nKeys)
        {
            BuildTree<SoftNode>(model, "r(a(b(c),d(e,f)),g(h))");
            for (uint32_t n = 0; seed % 3 != 0 && n < model.NumNodes(); ++n)
            {
                const float scales[] = {1.0f, 0.5f, -2.0f, n == seed % 20 ? 0.0f : 1.0f, n == seed % 17 ? 1e25f : 1.0f};
                const auto scale = [&](uint32_t i) { return scales[(seed + 3 * n + i) % 5]; };
                static_cast<SoftNode*>(model.GetNode(n))->m_Scale.Set(scale(0), scale(seed % 2), scale(seed % 4));
            }
            return AddRandomAnim(model, "walk", nKeys, seed);
        };
        const auto run = [&](ConvModel_Soft& model, ModelAnim* pAnim)
        {
            if (seed % 4 == 1) // what isn't finite comes through
            {
                AllKeysToGlobal(pAnim->GetRootNode(), pAnim->NumKeyFrames());
                AllKeysToLocal(pAnim->GetRootNode(), pAnim->NumKeyFrames());
                return std::string();
            }
            LogOpen();
            model.FoldScaleIntoKeys();
            LogClose();
            model.ResetNodeScales();
            model.ConvertCoordinates();
            return Log();
        };
        ConvModel_Soft model;
        ModelAnim* pAnim = build(model, N_KEYS);
        for (uint32_t i = 0; i < model.NumNodes() * N_KEYS; ++i)
        {
            NodeKeyFrame& key = pAnim->m_AnimNodes[i / N_KEYS]->m_KeyFrames[i % N_KEYS];
            if (random() % 4 == 0) // half turns
                key.m_qRotation.Set(random() % 2 ? 1.0f : -0.0f, 0.0f, random() % 2 ? 1.0f : 0.5f, 0.0f);
            if (seed % 2 == 1 && random() % 30 == 0)
                key.m_vTranslation.y = extremes[random() % 6];
            if (seed % 5 == 1 && random() % 60 == 0)
                key.m_qRotation.w = extremes[random() % 6];
        }
        std::vector<std::unique_ptr<ConvModel_Soft>> singles;
        std::string expectedLog;
        for (uint32_t k = 0; k < N_KEYS; ++k)
        {
            singles.push_back(std::make_unique<ConvModel_Soft>());
            ModelAnim* pSingle = build(*singles.back(), 1);
            for (uint32_t n = 0; n < model.NumNodes(); ++n)
                pSingle->m_AnimNodes[n]->m_KeyFrames[0] = pAnim->m_AnimNodes[n]->m_KeyFrames[k];
            std::istringstream lines(run(*singles.back(), pSingle));
            for (std::string line; std::getline(lines, line);)
            {
                const size_t place = line.find("at key 0");
                if (place != std::string::npos)
                    line.replace(place, 8, "at key " + std::to_string(k));
                if (place != std::string::npos || k == 0) // a lost direction is told at the first key
                    expectedLog += line + "\n";
            }
        }
        EXPECT_EQ(run(model, pAnim), expectedLog) << seed;
        for (uint32_t n = 0; n < model.NumNodes(); ++n)
        {
            for (uint32_t k = 0; k < N_KEYS; ++k)
            {
                const ModelAnim* pSingle = singles[k]->GetAnim(0);
                EXPECT_EQ(BitsOf(pAnim->m_AnimNodes[n]->m_KeyFrames[k]),
                          BitsOf(pSingle->m_AnimNodes[n]->m_KeyFrames[0]))
                    << seed << " node " << n << " key " << k;
            }
            EXPECT_EQ(BitsOf(model.GetNode(n)->m_mGlobal), BitsOf(singles.back()->GetNode(n)->m_mGlobal));
            EXPECT_EQ(BitsOf(model.GetNode(n)->m_mGlobalInverse), BitsOf(singles.back()->GetNode(n)->m_mGlobalInverse));
        }
    }
}

TEST_F(ConversionTest, ScaleOfZeroOrBelow)
{
    OpenScene(MakeTestScene());
    ASSERT_TRUE(Convert());
    const Quaternion bone = Key("bone", 1).m_qRotation;
    // What a scale takes away comes from the rotations: keys turn as they do without it.
    for (const Double3& scale : {Double3{0, 0, 0}, Double3{0, 1, 1}, Double3{2, 0, 1}, Double3{1, 1, 0}})
    {
        Scene scene = MakeTestScene();
        scene.nodes[0].local.scale = scale;
        OpenScene(scene);
        ASSERT_EQ(Export("walk", true), 0);
        const auto pFile = LoadModelFile(m_Path);
        ASSERT_TRUE(pFile);
        uint32_t iBone = 0; // A skin under such a node stands elsewhere in the tree.
        ASSERT_TRUE(pFile->FindNode("bone", &iBone));
        const Quaternion& q = pFile->GetAnim(0)->m_AnimNodes[iBone]->m_KeyFrames[1].m_qRotation;
        EXPECT_NEAR(std::fabs(q.x * bone.x + q.y * bone.y + q.z * bone.z + q.w * bone.w), 1.0f, 1e-5f);
        const bool bLost = scale.x == 0.0 || scale.y == 0.0;
        const char* const names[] = {"root", "bone", "hat", "skin_zTex1"};
        for (const char* pName : names)
        {
            const std::string text = std::string("WARNING: Node ") + pName + " has lost a direction to a scale of 0";
            const size_t place = Log().find(text);
            EXPECT_EQ(place != std::string::npos, bLost) << pName;
            EXPECT_EQ(Log().find(text, place + 1) != std::string::npos, false) << "once for each node";
        }
    }
}

TEST_F(ConversionTest, Orthonormalise)
{
    const auto matrix = [](std::initializer_list<float> values)
    {
        Matrix4 m;
        std::copy(values.begin(), values.end(), m.m);
        return m;
    };
    const Matrix4 turned = matrix({0, -1, 0, 5, 1, 0, 0, 6, 0, 0, 1, 7, 0, 0, 0, 1});
    const auto expectTurned = [&](Matrix4 m, const Matrix4& unscaled, bool bReplaced)
    {
        EXPECT_EQ(Orthonormalise(m, unscaled) != QZFALSE, bReplaced);
        for (int i = 0; i < 16; ++i)
            EXPECT_FLOAT_EQ(m.m[i], turned.m[i]) << i;
    };
    const float inf = std::numeric_limits<float>::infinity();
    expectTurned(matrix({0, -3, 9, 5, 2, 0, 9, 6, 0, 0, 9, 7, 0, 0, 0, 1}), Matrix4(), false);
    expectTurned(matrix({0, -3, 0, 5, 0, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 1}), turned, true);
    expectTurned(matrix({0, 0, 0, 5, 2, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 1}), turned, true);
    expectTurned(matrix({0, inf, 0, 5, 2, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 1}), turned, true);
    expectTurned(matrix({1, 2, 0, 5, 1, 2, 0, 6, 1, 2, 0, 7, 0, 0, 0, 1}), turned, true); // parallel
    // Neither has a direction.
    Matrix4 nothing = matrix({0, 0, 0, 5, 0, 0, 0, 6, 0, 0, 0, 7, 0, 0, 0, 1});
    EXPECT_TRUE(Orthonormalise(nothing, Matrix4(nothing)));
    EXPECT_EQ(nothing(0, 0) + nothing(1, 1) + nothing(2, 2), 3.0f);
}

TEST_F(ConversionTest, DeepAndBareScenes)
{
    // 1024 levels are the most; a chain of removable nodes collapses to its root.
    Scene scene;
    int parent = -1;
    for (int i = 0; i < 1024; ++i)
        parent = AddTestNode(scene, ("n" + std::to_string(i)).c_str(), parent);
    OpenScene(scene);
    EXPECT_TRUE(Convert());
    EXPECT_EQ(m_pModel->NumNodes(), 1u);
    AddTestNode(scene, "straw", parent);
    OpenScene(scene);
    EXPECT_FALSE(Convert());
    EXPECT_EQ(Boxes(), "Node straw: deeper than 1024 levels.|");
}
