#include "engine/model/src/transformmaker.h"
#include "tests/engine/model/src/loadbytes.h"
#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "tests/zoltshared/stdzolt/testallocator.h"

#include <gtest/gtest.h>

static abc::File WithAnims(const std::vector<std::string>& names, uint32_t stamp, uint32_t nNodes = 3)
{
    abc::Random random(stamp);
    abc::File file;
    file.nodes.resize(nNodes);
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        file.nodes[i].parent = static_cast<int>(i) - 1;
        file.nodes[i].name = "n" + std::to_string(i);
        file.nodes[i].global = random.Matrix();
    }
    file.links[0].stamp = stamp;
    for (const std::string& name : names)
        file.anims.push_back(random.Animation(name, nNodes, 2));
    return file;
}

// Names of all rows; rows of a link are marked by its number, and every row must stand where its link says.
static std::string Rows(Model& model)
{
    std::string text;
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
        for (uint32_t link = 0; link < model.NumChildModels(); ++link)
            if (model.GetAnimInfo(i)->m_pChildInfo == model.GetChildModel(link))
            {
                text += model.GetAnim(i)->GetName() + std::to_string(link) + " ";
                const uint32_t first = model.GetChildModel(link)->m_iAnimOffset;
                EXPECT_GE(i, first);
                EXPECT_EQ(model.GetAnimInfo(first)->m_pChildInfo, model.GetChildModel(link));
            }
    return text;
}

TEST(ChildModels, RowsAndReferences)
{
    LoadedModel a(WithAnims({"a", "b"}, 1)), b(WithAnims({"c"}, 2)), c(WithAnims({}, 3)), d(WithAnims({"d", "e"}, 4));
    LoadedModel* pModel = new LoadedModel(WithAnims({"x"}, 5));
    char errStr[MODEL_ERRSTR_SIZE] = "";
    EXPECT_EQ(Rows(*pModel), "x0 ");
    for (Model* pChild : {&a, &b, &c, &d})
    {
        ChildInfo* pInfo = pModel->AddChildModel(pChild, "child", errStr, QZFALSE);
        ASSERT_TRUE(pInfo) << errStr;
        EXPECT_EQ(pModel->FindChildModel(pChild), pInfo);
        EXPECT_EQ(pInfo->m_Stamp, pChild->GetModelStamp());
        EXPECT_EQ(pChild->m_RefCount, 1);
    }
    EXPECT_EQ(Rows(*pModel), "x0 a1 b1 c2 d4 e4 ");
    EXPECT_EQ(pModel->GetAnimInfo(1)->m_vTranslation.x, a.GetAnimInfo(0)->m_vTranslation.x);
    EXPECT_EQ(pModel->GetAnimInfo(1)->GetAnimOwner(), &a);
    EXPECT_EQ(pModel->GetOwnAnim(1), nullptr);
    EXPECT_EQ(pModel->CalcNumOwnAnims(), 1u);
    EXPECT_EQ(pModel->CalcNumChildAnims(QZFALSE), 5u);
    EXPECT_EQ(pModel->CalcNumChildAnims(QZTRUE), 11u);

    // New rows go behind those of their own link, and the later links move on.
    EXPECT_TRUE(pModel->AddDefaultAnim("y"));
    EXPECT_EQ(pModel->GetAnim(1)->GetAnimTime(), 0u);
    for (uint32_t i = 0; i < pModel->NumNodes(); ++i)
    {
        Matrix4 key;
        pModel->GetAnim(1)->m_AnimNodes[i]->m_KeyFrames[0].ToMatrix(key);
        EXPECT_TRUE(std::equal(key.m, key.m + 16, Matrix4().m)) << i;
    }
    ModelAnim* pAnim = new ModelAnim(&a);
    pAnim->SetName("z");
    EXPECT_TRUE(pModel->AddAnimToChildInfo(pAnim, pModel->GetChildModel(1)) && a.AddAnim(pAnim));
    EXPECT_EQ(Rows(*pModel), "x0 y0 a1 b1 z1 c2 d4 e4 ");
    const uint32_t offsets[] = {0, 2, 5, 6, 6};
    for (uint32_t i = 0; i < 5; ++i)
        EXPECT_EQ(pModel->GetChildModel(i)->m_iAnimOffset, offsets[i]);

    EXPECT_FALSE(pModel->RemoveChildModel(0) || pModel->RemoveChildModel(5));
    EXPECT_TRUE(pModel->RemoveChildModel(1));
    EXPECT_EQ(a.m_RefCount, 0);
    EXPECT_EQ(pModel->NumChildModels(), 4u);
    EXPECT_EQ(pModel->FindChildModel(&b), pModel->GetChildModel(1));
    EXPECT_EQ(Rows(*pModel), "x0 y0 c1 d3 e3 ");
    EXPECT_EQ(pModel->GetChildModel(3)->m_iAnimOffset, 3u);
    EXPECT_TRUE(pModel->RemoveChildModel(3));
    EXPECT_EQ(Rows(*pModel), "x0 y0 c1 ");

    pModel->Term(QZFALSE);
    EXPECT_EQ(b.m_RefCount, 0); // released, not deleted
    EXPECT_EQ(Rows(b), "c0 ");

    // Filled again by hand it is whole: its rows are its own, and it doesn't borrow from itself.
    ASSERT_TRUE(pModel->Precalc(QZTRUE) && pModel->AddDefaultAnim("p") && pModel->AddDefaultAnim("q"));
    EXPECT_EQ(Rows(*pModel), "p0 q0 ");
    EXPECT_TRUE(pModel->GetOwnAnim(1) && pModel->GetOwnAnim(1) == pModel->GetAnim(1));
    pModel->Term(QZFALSE);
    {
        AssertionCatcher catcher;
        EXPECT_FALSE(pModel->AddChildModel(pModel, "self", errStr, QZFALSE));
        EXPECT_STREQ(errStr, "Model already exists.");
    }
    EXPECT_TRUE(pModel->AddChildModel(nullptr, "none", errStr, QZFALSE));

    // What a child lends that has borrowed it from here isn't an own row a second time.
    ASSERT_TRUE(a.AddChildModel(&d, "d", errStr, QZFALSE) && d.AddChildModel(&a, "a", errStr, QZFALSE));
    EXPECT_EQ(Rows(d), "d0 e0 a1 b1 z1 d1 e1 ");
    EXPECT_EQ(d.CalcNumOwnAnims(), 2u);
    EXPECT_EQ(d.GetOwnAnim(5), nullptr);
    d.Term(QZFALSE);
    a.Term(QZFALSE);
    Model::DeleteModel(pModel);

    // With deletion a child goes with its last parent.
    Model* pShared = new LoadedModel(WithAnims({"s"}, 6));
    LoadedModel first(WithAnims({}, 7)), second(WithAnims({}, 8));
    ASSERT_TRUE(first.AddChildModel(pShared, "s", errStr, QZFALSE));
    ASSERT_TRUE(second.AddChildModel(pShared, "s", errStr, QZFALSE));
    first.Term(QZTRUE);
    EXPECT_EQ(pShared->m_RefCount, 1);
    EXPECT_EQ(Rows(second), "s1 ");
}

TEST(ChildModels, MessagesAndLimits)
{
    AssertionCatcher catcher;
    LoadedModel model(WithAnims({"x"}, 1)), differs(WithAnims({}, 2, 4));
    char errStr[MODEL_ERRSTR_SIZE] = "";
    EXPECT_FALSE(model.AddChildModel(&model, "self", errStr, QZFALSE));
    EXPECT_STREQ(errStr, "Model already exists.");
    EXPECT_FALSE(model.AddChildModel(&differs, "differs", errStr, QZFALSE));
    EXPECT_STREQ(errStr, "Node trees differ at node n2.");
    EXPECT_EQ(differs.m_RefCount, 0);
    // A name longer than the message has room for is cut.
    model.GetNode(2)->SetName(std::string(size_t{2} * MODEL_ERRSTR_SIZE, 'x').c_str());
    EXPECT_FALSE(model.AddChildModel(&differs, "differs", errStr, QZFALSE));
    EXPECT_EQ(strlen(errStr), MODEL_ERRSTR_SIZE - 1);

    char name[] = "empty"; // of which the link keeps a copy
    ChildInfo* pEmpty = model.AddChildModel(nullptr, name, errStr, QZFALSE);
    ASSERT_TRUE(pEmpty);
    name[0] = 'E';
    uint32_t index = 0;
    EXPECT_EQ(model.FindChildModelByName("empty", &index), pEmpty);
    EXPECT_EQ(index, 1u);
    EXPECT_EQ(model.FindChildModelByName("Empty", nullptr), nullptr);
    EXPECT_EQ(pEmpty->m_Relations.GetSize(), 3u);
    EXPECT_FALSE(model.AddChildModel(nullptr, "another", errStr, QZFALSE));
    EXPECT_STREQ(errStr, "Model already exists.");

    std::vector<std::unique_ptr<LoadedModel>> children;
    while (children.size() < 15)
    {
        children.push_back(std::make_unique<LoadedModel>(WithAnims({"c"}, 9)));
        EXPECT_EQ(model.AddChildModel(children.back().get(), "c", errStr, QZFALSE) != nullptr, children.size() <= 14);
    }
    EXPECT_STREQ(errStr, "Child model limit reached.");
    EXPECT_EQ(model.NumChildModels(), 16u);
    EXPECT_EQ(model.NumAnims(), 15u);
    EXPECT_FALSE(model.SetChildModel(16, pEmpty, nullptr, ""));
    // Memory for the link but not for its relations; for both, but not for the rows.
    for (const bool bRows : {false, true})
    {
        TestAllocator allocator, rows;
        Model starved(&allocator, &rows);
        ASSERT_EQ(LoadBytes(starved, WithAnims({}, 1).Write()), RESULT_OK);
        allocator.m_nLeft = bRows ? 100 : 1;
        rows.m_nLeft = 0;
        EXPECT_FALSE(starved.AddChildModel(children[14].get(), "c", errStr, QZFALSE));
        EXPECT_STREQ(errStr, bRows ? "Out of memory." : "SetupChildModelRelation returned QZFALSE.");
        EXPECT_EQ(starved.NumChildModels(), bRows ? 2u : 1u);
        EXPECT_EQ(children[14]->m_RefCount, bRows ? 1 : 0);
        EXPECT_EQ(starved.NumAnims(), 0u);
        starved.Term(QZFALSE);
    }
    EXPECT_EQ(catcher.Caught().size(), 2u);
    EXPECT_EQ(model.GetChildModel(16), nullptr);
    EXPECT_EQ(catcher.Caught().back(), "index < m_nChildModels");
    model.Term(QZFALSE);
}

TEST(ChildModels, BindPoseLandsOnTheParents)
{
    abc::File file = WithAnims({}, 21, 6), childFile = WithAnims({"bind"}, 22, 6);
    for (int i = 3; i < 6; ++i) // not just a chain
        file.nodes[i].parent = childFile.nodes[i].parent = i - 2;
    LoadedModel model(file), child(childFile);
    // The child's animation is its own bind pose.
    for (uint32_t i = 0; i < 6; ++i)
    {
        const ModelNode* pNode = child.GetNode(i);
        const Matrix4& global = *pNode->GetGlobalTransform();
        const Matrix4 local = i == 0 ? global : child.GetNode(pNode->GetParentIndex())->m_mGlobalInverse * global;
        child.GetAnim(0)->m_AnimNodes[i]->m_KeyFrames[0].FromMatrix(local);
    }
    child.GetAnimInfo(0)->m_vTranslation.Set(0, 0, 0);
    char errStr[MODEL_ERRSTR_SIZE];
    for (const QZBOOL bCalc : {QZFALSE, QZTRUE})
    {
        ASSERT_TRUE(model.AddChildModel(&child, "c", errStr, bCalc));
        TransformMaker maker;
        maker.m_nAnims = 1;
        maker.m_Anims[0].Init(&model, 0, 0, 0, 0, 0);
        ASSERT_TRUE(maker.SetupTransforms());
        for (uint32_t i = 0; i < 6; ++i)
            for (int k = 0; k < 12; ++k)
                EXPECT_NEAR(model.GetTransform(i).m[k], (bCalc ? model : child).GetNode(i)->m_mGlobal.m[k], 2e-3);
        EXPECT_TRUE(model.RemoveChildModel(1));
    }
}

// A folder of models for the load callback.
struct Folder
{
    std::map<std::string, Model*> models;
    std::vector<std::string> asked;
    uint32_t result = RESULT_OK;

    static uint32_t Supply(LoadRequest* pRequest, Model** ppModel)
    {
        Folder* pFolder = static_cast<Folder*>(pRequest->m_pUser);
        EXPECT_FALSE(pRequest->m_bLoadChildModels);
        EXPECT_EQ(pRequest->m_pStream, nullptr);
        EXPECT_EQ(pRequest->m_pLoadCallback, Supply);
        pFolder->asked.push_back(pRequest->m_pFilename);
        *ppModel = pFolder->models[pRequest->m_pFilename];
        return pFolder->result;
    }
};

struct ChildLoad : testing::Test
{
    ChildLoad() : a(WithAnims({"run", "walk"}, 1)), b(WithAnims({"swim"}, 2))
    {
        file = WithAnims({"own"}, 9);
        file.links.push_back({"a.abc", 1, {}});
        file.links.push_back({"b.abc", 2, {}});
        file.linkBindings = {{{"run", {1, 0, 0}}, {"walk", {2, 0, 0}}}, {{"swim", {3, 0, 0}}}};
        folder.models = {{"a.abc", &a}, {"b.abc", &b}};
    }
    uint32_t Load(QZBOOL bLoadChildren = QZTRUE)
    {
        FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
        request = LoadRequest();
        request.m_pStream = &stream, request.m_pUser = &folder, request.m_pLoadCallback = Folder::Supply;
        request.m_bLoadChildModels = bLoadChildren;
        return model.Load(&request);
    }
    uint32_t LoadFile(QZBOOL bLoadChildren = QZTRUE)
    {
        bytes = file.Write();
        return Load(bLoadChildren);
    }
    std::string Offsets()
    {
        std::string text;
        for (uint32_t i = 0; i < model.NumAnims(); ++i)
            text += std::to_string(static_cast<int>(std::lround(model.GetAnimInfo(i)->m_vTranslation.x))) + " ";
        return text;
    }

    LoadedModel a, b;
    abc::File file;
    std::string bytes;
    Folder folder;
    LoadRequest request;
    Model model{&g_DefaultAllocator, &g_DefaultAllocator};
};

TEST_F(ChildLoad, TiesRowsAndBindings)
{
    file.anims[0].translation = {7, 0, 0};
    ASSERT_EQ(LoadFile(), RESULT_OK);
    EXPECT_EQ(folder.asked, (std::vector<std::string>{"a.abc", "b.abc"}));
    EXPECT_EQ(Rows(model), "own0 run1 walk1 swim2 ");
    EXPECT_EQ(Offsets(), "7 1 2 3 ");
    EXPECT_EQ(model.GetAnimInfo(1)->m_vDims.x, a.GetAnimInfo(0)->m_vDims.x);
    EXPECT_TRUE(request.m_bBindingsValid && request.m_bChildrenLoaded);
    EXPECT_TRUE(model.GetChildModel(1)->m_bTreeMatches);
    EXPECT_STREQ(model.GetSelfChildModel()->m_pName, "SELF");
    EXPECT_EQ(model.GetModelStamp(), 9u);
    EXPECT_EQ(a.m_RefCount + b.m_RefCount, 2);

    // Either tells alone: a stale stamp, or another number.
    file.links[1].stamp = 0;
    ASSERT_EQ(LoadFile(), RESULT_OK);
    EXPECT_FALSE(request.m_bBindingsValid);
    file.links[1].stamp = 1;
    file.linkBindings[1] = {};
    ASSERT_EQ(LoadFile(), RESULT_OK);
    EXPECT_FALSE(request.m_bBindingsValid);
    // A stale stamp, a renamed animation, another order, a missing one: by name what is found.
    file.links[1].stamp = 0;
    file.linkBindings = {{{"WALK", {4, 0, 0}}, {"gone", {5, 0, 0}}, {"run", {6, 0, 0}}}, {}};
    ASSERT_EQ(LoadFile(), RESULT_OK);
    EXPECT_FALSE(request.m_bBindingsValid);
    EXPECT_EQ(Offsets(), "7 6 4 " + std::to_string(std::lround(b.GetAnimInfo(0)->m_vTranslation.x)) + " ");
    EXPECT_EQ(a.m_RefCount + b.m_RefCount, 2); // the first load's are given back

    // Another shape: the link stays, but nothing plays through it.
    LoadedModel small(WithAnims({"tiny"}, 1, 1));
    folder.models["a.abc"] = &small;
    ASSERT_EQ(LoadFile(), RESULT_OK);
    EXPECT_FALSE(model.GetChildModel(1)->m_bTreeMatches);
    TransformMaker maker;
    maker.m_nAnims = 1;
    maker.m_Anims[0].Init(&model, 1, 0, 1, 0, 0);
    EXPECT_FALSE(maker.SetupTransforms());
    model.Term(QZFALSE);
    EXPECT_EQ(a.m_RefCount + b.m_RefCount + small.m_RefCount, 0);
}

TEST_F(ChildLoad, MissingChildren)
{
    folder.models["a.abc"] = nullptr;
    ASSERT_EQ(LoadFile(), RESULT_OK);
    EXPECT_FALSE(request.m_bChildrenLoaded);
    EXPECT_EQ(Rows(model), "own0 swim2 ");
    EXPECT_EQ(model.GetChildModel(1)->m_pModel, nullptr);
    EXPECT_EQ(model.GetChildModel(1)->m_iAnimOffset, 0u);
    EXPECT_EQ(model.GetChildModel(1)->m_Relations.GetSize(), 3u);
    EXPECT_FALSE(model.GetChildModel(1)->m_bTreeMatches);

    folder.asked.clear();
    ASSERT_EQ(LoadFile(QZFALSE), RESULT_OK);
    EXPECT_TRUE(folder.asked.empty());
    EXPECT_FALSE(request.m_bChildrenLoaded);
    EXPECT_EQ(model.NumChildModels(), 3u);
    EXPECT_EQ(Rows(model), "own0 ");
}

TEST_F(ChildLoad, Refusals)
{
    const auto empty = [&] { return model.NumNodes() == 0 && model.NumChildModels() == 1 && a.m_RefCount == 0; };
    folder.result = 1234;
    EXPECT_EQ(LoadFile(), 1234u);
    EXPECT_TRUE(empty());
    folder.result = RESULT_NOT_LOADED; // with a model all the same
    EXPECT_EQ(LoadFile(), RESULT_OK);
    EXPECT_EQ(a.m_RefCount, 1);

    char errStr[MODEL_ERRSTR_SIZE];
    LoadedModel grandchild(WithAnims({}, 4));
    ASSERT_TRUE(b.AddChildModel(&grandchild, "g", errStr, QZFALSE));
    EXPECT_EQ(LoadFile(), RESULT_INVALID_MODEL_FILE);
    EXPECT_TRUE(empty());
    EXPECT_EQ(b.m_RefCount, 0);
    EXPECT_TRUE(b.RemoveChildModel(1));

    for (const char count : {'\0', '\x11'})
    {
        file.bodies.clear();
        file.bodies["ChildModels"] = file.Body("ChildModels");
        file.bodies["ChildModels"][0] = count;
        EXPECT_EQ(LoadFile(), RESULT_ERROR);
        EXPECT_TRUE(empty());
    }
    // Damage behind the links gives the references back.
    file.bodies.clear();
    file.bodies["Sockets"] = std::string(3, '\0');
    EXPECT_EQ(LoadFile(), RESULT_ERROR);
    EXPECT_TRUE(empty());

    AssertionCatcher catcher;
    LoadRequest incomplete;
    EXPECT_EQ(model.Load(&incomplete), RESULT_INVALID_PARAMS);
    FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    incomplete.m_pStream = &stream;
    incomplete.m_pLoadCallback = nullptr;
    EXPECT_EQ(model.Load(&incomplete), RESULT_INVALID_PARAMS);
    EXPECT_EQ(catcher.Caught(), (std::vector<std::string>{"QZFALSE", "QZFALSE"}));
}
