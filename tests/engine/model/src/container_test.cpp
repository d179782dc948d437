#include "tests/engine/model/src/loadbytes.h"
#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "tests/zoltshared/stdzolt/testallocator.h"
#include "zoltshared/stdzolt/emptystring.h"

#include <gtest/gtest.h>

using Reports = std::vector<std::string>;

static ModelNode* AddNode(ModelNode* pParent, const char* pName)
{
    ModelNode* pNode = pParent->CreateNode(pParent->GetModel());
    pNode->SetName(pName);
    EXPECT_TRUE(pParent->m_Children.Append(pNode, pParent->GetModel()->GetAllocator()));
    return pNode;
}

TEST(Model, FreshAndEmptied)
{
    const uint32_t memory = g_ModelMemory;
    TestAllocator allocator;
    {
        Model model(&allocator, &allocator);
        EXPECT_EQ(g_ModelMemory - memory, sizeof(Model));
        EXPECT_LE(model.GetModelStamp(), 32767u);
        for (int round = 0; round < 3; ++round)
        {
            EXPECT_EQ(model.NumNodes() + model.GetRootNode()->NumChildren() + model.NumAnims(), 0u);
            EXPECT_EQ(model.NumPieces() + model.NumSockets() + model.NumWeightSets(), 0u);
            EXPECT_TRUE(model.NumLODs() == 1 && model.NumChildModels() == 1);
            EXPECT_TRUE(model.m_Filename == g_EmptyString && model.m_CommandString == g_EmptyString);
            EXPECT_EQ(allocator.m_nLive, 0);
            if (round == 1) // Term again on an empty model
                model.Term(QZTRUE);
            if (round != 0)
                continue;
            EXPECT_EQ(LoadBytes(model, abc::Random(3).Model().Write()), RESULT_OK);
            EXPECT_GT(allocator.m_nLive, 0);
            EXPECT_TRUE(model.SetFilename("a.abc"));
            EXPECT_TRUE(model.SetFilename(model.m_Filename));
            EXPECT_STREQ(model.m_Filename, "a.abc");
            const uint32_t stamp = model.GetModelStamp();
            model.Term(QZFALSE);
            EXPECT_EQ(model.GetModelStamp(), stamp);
            EXPECT_EQ(model.m_nTotalVerts, 0u);
            allocator.m_nLeft = 1; // for one of two tables
            EXPECT_FALSE(model.Precalc(QZTRUE));
            EXPECT_EQ(model.FindNode("", nullptr), nullptr);
            EXPECT_EQ(model.GetAllocator(), &allocator);
        }
    }
    EXPECT_EQ(g_ModelMemory, memory);
    EXPECT_EQ(allocator.m_nLive, 0);

    Model::DeleteModel(nullptr);
}

TEST(Model, Strings)
{
    AssertionCatcher catcher;
    TestAllocator allocator;
    Model model(&allocator, &g_DefaultAllocator);
    const char* pWalk = model.AddString("walk");
    EXPECT_EQ(model.AddString("walk"), pWalk);
    EXPECT_NE(model.AddString("Walk"), pWalk);
    EXPECT_EQ(model.AddString(""), g_EmptyString);
    EXPECT_EQ(model.AddString(nullptr), g_EmptyString);
    EXPECT_EQ(model.m_Strings.NumStrings(), 2u);
    EXPECT_EQ(model.m_Strings.StringLengths(), 8u);
    EXPECT_STREQ(model.m_Strings.m_pHead->m_Text, "Walk"); // the newest first

    // The index gives what the list gives, also for texts from before, and when it grows.
    model.BeginStringIndex();
    std::vector<const char*> stored;
    stored.reserve(1000);
    for (int i = 0; i < 1000; ++i)
        stored.push_back(model.AddString(std::to_string(i).c_str()));
    EXPECT_EQ(model.AddString("walk"), pWalk);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(model.AddString(std::to_string(i).c_str()), stored[i]);
    model.EndStringIndex();
    EXPECT_EQ(model.AddString("500"), stored[500]);
    EXPECT_EQ(model.m_Strings.NumStrings(), 1002u);

    allocator.m_nLeft = 0;
    EXPECT_EQ(model.AddString("no memory"), g_EmptyString);
    EXPECT_FALSE(model.m_Strings.SetAllocator(&g_DefaultAllocator));
    EXPECT_EQ(catcher.Caught().size(), 1u);
}

// With the index as without: taken are names of animations in any case, but not the other texts of the model.
TEST(ModelContainer, FreeAnimationNamesAreFoundByTheIndex)
{
    for (const bool hasIndex : {false, true})
    {
        SCOPED_TRACE(hasIndex);
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        model.AddString("node");
        if (hasIndex)
            model.BeginStringIndex();
        const auto makeName = [&](const std::string& base)
        {
            char name[32] = "";
            return model.MakeUniqueAnimName(base.c_str(), name, sizeof(name)) ? std::string(name) : "none";
        };
        const auto add = [&](const std::string& name)
        {
            ModelAnim* pAnim = AllocNew<ModelAnim>(g_DefaultAllocator, &model);
            pAnim->SetName(name.c_str());
            EXPECT_TRUE(model.AddAnim(pAnim));
        };
        EXPECT_EQ(makeName("Walk"), "Walk");
        add("Walk");
        add("wALK0");
        add("walk2");
        EXPECT_EQ(makeName("walk"), "walk1");
        EXPECT_EQ(makeName("node"), "node");
        EXPECT_EQ(makeName(""), "");
        for (int i = 0; i < 600; ++i)
            add("run" + std::to_string(i));
        EXPECT_EQ(makeName("RUN"), "RUN");
        add("RUN");
        EXPECT_EQ(makeName("run"), "run600");
        EXPECT_EQ(makeName("Run599"), "Run5990");
        model.GetAnim(2)->SetName("crawl");
        EXPECT_EQ(makeName("WALK2"), "WALK2");
        EXPECT_EQ(makeName("CRAWL"), "CRAWL0");
        EXPECT_EQ(makeName(std::string(31, 'x')), std::string(31, 'x'));
        EXPECT_EQ(makeName(std::string(32, 'x')), "none");
    }
}

TEST(Model, LookUps)
{
    abc::File file;
    abc::Random random(1);
    file.nodes.resize(4);
    const char* names[] = {"Root", "arm", "HAND", "arm"};
    const int parents[] = {-1, 0, 1, 0};
    for (int i = 0; i < 4; ++i)
        file.nodes[i].name = names[i], file.nodes[i].parent = parents[i];
    for (const char* pName : {"Skin", "skin", "Cape"})
    {
        file.pieces.push_back({});
        file.pieces.back().name = pName;
        file.sets.push_back({pName, std::vector<float>(4)});
        file.sockets.push_back({0, pName, {}});
        file.anims.push_back(random.Animation(pName, 4, 2));
    }
    AssertionCatcher catcher; // two animations of one name meet in the bindings
    LoadedModel model(file);
    ASSERT_EQ(model.m_Result, RESULT_OK);
    EXPECT_EQ(catcher.Caught(), Reports{"pInfo->m_pModel != this"});
    // Both bindings went to the first of the two.
    EXPECT_EQ(model.GetAnimInfo(0)->m_vTranslation.x, file.anims[1].translation[0]);
    EXPECT_EQ(model.GetAnimInfo(1)->m_vTranslation.x, 0.0f);

    uint32_t i = 77;
    AnimInfo* pInfo = nullptr;
    EXPECT_EQ(model.FindPiece("sKIN", &i), model.GetPiece(0));
    EXPECT_EQ(model.FindWeightSet("CAPE", &i), model.GetWeightSet(2));
    EXPECT_EQ(i, 2u);
    EXPECT_EQ(model.FindSocket("SKIN", &i), model.GetSocket(0));
    EXPECT_EQ(i, 0u);
    EXPECT_EQ(model.FindNode("ARM", &i), model.GetNode(1));
    EXPECT_EQ(model.FindNode("hand", &i), model.GetNode(2));
    EXPECT_EQ(model.FindAnim("cape", &i, &pInfo), model.GetAnim(2));
    EXPECT_EQ(pInfo, model.GetAnimInfo(2));
    EXPECT_EQ(model.FindAnimInfo("skin", &model, &i), model.GetAnimInfo(0));
    EXPECT_TRUE(model.GetAnimInfoIndex(pInfo, &i));
    EXPECT_EQ(i, 2u);
    EXPECT_EQ(model.GetOwnAnim(2), model.GetAnim(2));

    i = 77, pInfo = nullptr;
    EXPECT_FALSE(model.FindPiece("x", &i) || model.FindWeightSet("x", &i) || model.FindSocket("x", &i));
    EXPECT_FALSE(model.FindNode("x", &i) || model.FindAnim("x", &i, &pInfo));
    EXPECT_FALSE(model.FindAnimInfo("skin", nullptr, &i) || model.GetAnimInfoIndex(nullptr, &i));
    EXPECT_FALSE(model.FindPiece(nullptr, &i) || model.FindAnim(nullptr, &i, &pInfo) || model.AddSocket(nullptr));
    EXPECT_EQ(i, 77u);
    EXPECT_EQ(pInfo, nullptr);
    EXPECT_TRUE(model.FindPiece("Cape", nullptr) && model.FindAnim("Cape", nullptr, nullptr));

    ModelNode* pRoot = model.GetRootNode();
    EXPECT_EQ(Model::FindParent(model.GetNode(2), pRoot, &i), model.GetNode(1));
    EXPECT_EQ(i, 0u);
    EXPECT_EQ(Model::FindParent(model.GetNode(3), pRoot, &i), pRoot);
    EXPECT_EQ(i, 1u);
    EXPECT_EQ(Model::FindParent(pRoot, pRoot, nullptr), nullptr);
}

TEST(Model, CountsAndStructure)
{
    abc::Random random(2);
    abc::File file;
    file.lodDistances = {100};
    file.pieces.resize(2);
    file.pieces[0].lods = {random.RandomMesh(10, 4, 1), random.RandomMesh(5, 2, 1)};
    file.pieces[1].lods = {random.RandomMesh(7, 3, 1), random.RandomMesh(3, 3, 1)};
    LoadedModel model(file);
    ASSERT_EQ(model.m_Result, RESULT_OK);
    EXPECT_EQ(model.m_nTotalVerts, 17u);
    EXPECT_EQ(model.m_nTotalTris, 7u);
    EXPECT_EQ(model.CalcNumTris(1), 5u);
    EXPECT_EQ(model.CalcNumWeights(), file.Counts()[7]);
    EXPECT_EQ(model.GetPiece(1)->m_iFirstVert, 10u);
    EXPECT_TRUE(model.IsNodeWeighted(0));
    EXPECT_FALSE(model.IsNodeWeighted(1));
    AssertionCatcher catcher;
    EXPECT_EQ(model.CalcNumTris(2), 0u);
    EXPECT_EQ(catcher.Caught(), (Reports{"FALSE", "FALSE"}));
    EXPECT_EQ(model.GetPiece(0)->GetLOD(0), model.GetPiece(0));

    EXPECT_FALSE(model.SwapPieces(0, 2));
    EXPECT_TRUE(model.SwapPieces(0, 1));
    // The tables have their sizes: only what Precalc always does is done.
    const Matrix4* pTransforms = model.m_Transforms.GetArray();
    model.m_FlatNodeList[0] = nullptr;
    EXPECT_TRUE(model.Precalc(QZFALSE));
    EXPECT_EQ(model.m_Transforms.GetArray(), pTransforms);
    EXPECT_EQ(model.GetNode(0), nullptr);
    EXPECT_EQ(model.GetPiece(1)->m_iFirstVert, 7u);

    model.RemoveWeightSet(0); // there is none
    EXPECT_TRUE(!model.GetNode(9) && !model.GetAnim(9) && !model.GetAnimInfo(9) && !model.GetOwnAnim(9));
    EXPECT_TRUE(!model.GetPiece(9) && !model.GetWeightSet(9) && !model.GetSocket(9) && &model.GetTransform(9));
    EXPECT_TRUE(!model.GetRootNode()->GetChild(9) && !model.GetPiece(0)->GetVert(99) && !model.GetPiece(0)->GetTri(99));
    EXPECT_EQ(catcher.Caught().size(), 14u);

    LoadedModel other(file);
    EXPECT_FALSE(other.CopyUVs(&model) || model.CopyUVs(&other)); // the swapped pieces have other triangle counts
    EXPECT_TRUE(model.SwapPieces(0, 1));
    for (uint32_t i = 0; i < 4; ++i)
        model.GetPiece(0)->GetTri(i)->m_UVs[2].v = static_cast<float>(i + 10);
    EXPECT_TRUE(other.CopyUVs(&model));
    EXPECT_EQ(other.GetPiece(0)->GetTri(3)->m_UVs[2].v, 13.0f);

    ModelVertWeight records[2];
    records[0].m_iNode = 0;
    records[1].m_iNode = 1;
    model.GetPiece(1)->GetVert(2)->m_Weights = records;
    model.GetPiece(1)->GetVert(2)->m_nWeights = 2;
    EXPECT_TRUE(model.IsNodeWeighted(1)) << "by a second record";
}

static uint32_t g_nTold;

TEST(Model, TermTellsAttachments)
{
    const auto tell = [](AttachmentList* pList, AttachmentRecord* pRecord, int32_t event, uint32_t* pWord)
    {
        g_nTold += *pWord + static_cast<uint32_t>(event);
        pList->Remove(pRecord);
    };
    const AttachmentType base = {tell, nullptr};
    const AttachmentType derived = {tell, &base};
    AttachmentRecord a, b;
    a.m_pType = &base, b.m_pType = &derived;
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    model.m_Attachments.Add(&a);
    model.m_Attachments.Add(&b);
    model.Term(QZFALSE);
    EXPECT_EQ(g_nTold, 3u); // b by its type and by the one below
    EXPECT_EQ(model.m_Attachments.Find(&derived), nullptr);
}

TEST(ModelNode, NumbersAndMoves)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    Model other(&g_DefaultAllocator, &g_DefaultAllocator);
    ModelNode* pRoot = new ModelNode(&model);
    model.SetRootNode(pRoot);
    model.SetRootNode(pRoot);
    ASSERT_TRUE(model.Precalc(QZTRUE));
    EXPECT_EQ(pRoot->GetParentIndex(), MNODE_NO_PARENT);
    EXPECT_EQ(model.m_nDWordNodes, 1u);

    ModelNode* pA = AddNode(pRoot, "A");
    ModelNode* pC = AddNode(pA, "C");
    ModelNode* pB = AddNode(pRoot, "B");
    uint32_t index = 0;
    EXPECT_FALSE(pRoot->AssignIndices(&index)); // the list is still that of one node
    EXPECT_EQ(index, 1u);
    ASSERT_TRUE(model.Precalc(QZTRUE));
    EXPECT_EQ(pRoot->CountNodes(), 4u);
    EXPECT_EQ(model.m_nDWordNodes, 1u);
    const ModelNode* expected[] = {pRoot, pA, pC, pB};
    const uint32_t parents[] = {MNODE_NO_PARENT, 0, 1, 0};
    for (uint32_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(model.GetNode(i), expected[i]);
        EXPECT_EQ(expected[i]->GetNodeIndex(), i);
        EXPECT_EQ(expected[i]->GetParentIndex(), parents[i]);
    }
    AddNode(pB, "D");
    ASSERT_TRUE(model.Precalc(QZTRUE));
    EXPECT_EQ(model.m_nDWordNodes, 2u);

    // A quarter turn about z at (10, 0, 0): a child at (10, 5, 0) lies 5 along the parent's own x.
    Matrix4 turned;
    turned(0, 0) = turned(1, 1) = 0;
    turned(0, 1) = -1, turned(1, 0) = 1, turned(0, 3) = 10;
    pA->SetGlobalTransform(turned);
    turned(1, 3) = 5;
    pC->SetGlobalTransform(turned);
    model.PrecalcNodeOffsets();
    EXPECT_TRUE(pC->m_vOffsetFromParent.NearlyEquals(Vector3(5, 0, 0), 0));
    EXPECT_TRUE(pA->m_vOffsetFromParent.NearlyEquals(Vector3(10, 0, 0), 0));
    EXPECT_TRUE(pRoot->m_vOffsetFromParent.NearlyEquals(Vector3(0, 0, 0), 0));

    const char* pOldName = pC->GetName();
    pRoot->SetModel(&other);
    EXPECT_STREQ(pC->GetName(), "C");
    EXPECT_NE(pC->GetName(), pOldName);
    EXPECT_EQ(pC->GetModel(), &other);
    pRoot->SetModel(&model);
    pB->SetName("B");
    pB->m_Flags = 3;
    pB->SetGlobalTransform(turned);
    pB->m_vOffsetFromParent.Set(1, 2, 3);
    pB->Clear();
    EXPECT_TRUE(pB->NumChildren() == 0 && pB->m_Name == g_EmptyString && pB->m_NodeIndex == 0 && pB->m_Flags == 0);
    EXPECT_TRUE(pB->m_vOffsetFromParent.NearlyEquals(Vector3(0, 0, 0), 0));
    for (const Matrix4* pMatrix : {&pB->m_mGlobal, &pB->m_mGlobalInverse})
        EXPECT_TRUE(std::equal(pMatrix->m, pMatrix->m + 16, Matrix4().m));
    EXPECT_EQ(pB->GetModel(), &model);
}

struct ListeningNode : ModelNode
{
    using ModelNode::ModelNode;
    void OnVertexRemoved(ModelPieceLOD* pLOD, uint32_t iVert, uint32_t iReplacement) override
    {
        m_Heard.push_back(iVert * 1000 + iReplacement);
        EXPECT_EQ(pLOD, GetModel()->GetPiece(0));
    }
    std::vector<uint32_t> m_Heard;
};

// A corner is told by the position that it shows: the removed vertex's corners must show the replacement's, all others
// what they showed before.
TEST(ModelPiece, RemoveVertex)
{
    for (uint32_t seed = 0; seed < 50; ++seed)
    {
        abc::Random random(seed);
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        ListeningNode* pRoot = new ListeningNode(&model);
        model.SetRootNode(pRoot);
        ModelPiece* pPiece = new ModelPiece(&model);
        ASSERT_TRUE(model.m_Pieces.Append(pPiece) && model.Precalc(QZTRUE));
        const uint32_t nVerts = 3 + random.Int(20);
        ASSERT_TRUE(pPiece->m_Verts.SetSize(nVerts) && pPiece->m_Tris.SetSize(30));
        for (uint32_t i = 0; i < nVerts; ++i)
            pPiece->GetVert(i)->m_vPos.Set(static_cast<float>(i), 0, 0);
        std::vector<float> shown;
        for (uint32_t i = 0; i < 90; ++i)
        {
            const uint32_t iVert = random.Int(nVerts);
            pPiece->GetTri(i / 3)->m_Indices[i % 3] = static_cast<uint16_t>(iVert);
            shown.push_back(static_cast<float>(iVert));
        }
        while (pPiece->NumVerts() > 2)
        {
            const uint32_t n = pPiece->NumVerts();
            EXPECT_FALSE(pPiece->RemoveVertex(n, 0) || pPiece->RemoveVertex(0, n));
            const uint32_t iVert = random.Int(n);
            uint32_t iReplacement = random.Int(n);
            if (iReplacement == iVert && iVert == n - 1)
                --iReplacement;
            // Replaced by itself, a vertex leaves its corners to its successor.
            const uint32_t iNew = iReplacement == iVert ? iVert + 1 : iReplacement;
            for (float& corner : shown)
                if (corner == pPiece->GetVert(iVert)->m_vPos.x)
                    corner = pPiece->GetVert(iNew)->m_vPos.x;
            ASSERT_TRUE(pPiece->RemoveVertex(iVert, iReplacement));
            ASSERT_EQ(pPiece->NumVerts(), n - 1);
            for (uint32_t i = 0; i < 90; ++i)
                ASSERT_EQ(pPiece->GetVert(pPiece->GetTri(i / 3)->m_Indices[i % 3])->m_vPos.x, shown[i]);
            ASSERT_EQ(pRoot->m_Heard.back(), iVert * 1000 + iReplacement);
        }
        pPiece->SetName("0123456789012345678901234567890123456789");
        EXPECT_STREQ(pPiece->GetName(), "0123456789012345678901234567890");
    }
}
