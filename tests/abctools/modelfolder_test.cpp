#include "engine/model/src/modelfolder.h"
#include "tests/abctools/testmodel.h"
#include "zoltshared/stdzolt/memorystream.h"

#include <gtest/gtest.h>

TEST(ModelFolder, NamesStayInside)
{
    for (const char* pName : {"a.abc", "./a.abc", "sub/a.abc", "sub\\a.abc", "..a", "a..", "...", "sub//a"})
        EXPECT_TRUE(ModelFolder::StaysInside(pName)) << pName;
    for (const char* pName : {"", ".", "..", "/a.abc", "\\a.abc", "../a.abc", "sub/../../a.abc", "sub\\..\\a.abc",
                              "sub/..", "C:a.abc", "C:\\a.abc", "a.abc:stream", "sub/", "./"})
        EXPECT_FALSE(ModelFolder::StaysInside(pName)) << pName;
    EXPECT_FALSE(ModelFolder::StaysInside(nullptr));
}

TEST(ModelFolder, LoadsEachFileOnce)
{
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "in/sub");
    WriteBytes(folder / "outside.abc", BytesOf(*MakeTestModel()));
    WriteBytes(folder / "in/sub/a.abc", BytesOf(*MakeTestModel()));
    WriteBytes(folder / "in/bad.abc", {1, 2, 3});
    ModelFolder models((folder / "in").c_str());
    Model* pFirst = nullptr;
    Model* pOther = nullptr;
    ASSERT_EQ(models.GetModel("sub/a.abc", &pFirst), uint32_t{RESULT_OK});
    ASSERT_EQ(models.GetModel(".\\sub//./a.abc", &pOther), uint32_t{RESULT_OK});
    EXPECT_EQ(pFirst, pOther);
    EXPECT_EQ(models.NumModels(), 1u);
    EXPECT_EQ(pFirst->NumNodes(), 4u);
    for (const char* pName : {"../outside.abc", "missing.abc", "sub"})
    {
        EXPECT_EQ(models.GetModel(pName, &pOther), uint32_t{RESULT_NOT_LOADED}) << pName;
        EXPECT_EQ(pOther, nullptr);
    }
    EXPECT_EQ(models.GetModel("bad.abc", &pOther), uint32_t{RESULT_ERROR});
    EXPECT_EQ(pOther, nullptr);
    EXPECT_EQ(models.NumModels(), 1u);
}

// A parent's file that links jump.abc and the missing gone.abc.
static std::vector<uint8_t> ParentBytes(Model& child)
{
    const ModelPointer parent = MakeTestModel();
    char error[MODEL_ERRSTR_SIZE];
    EXPECT_TRUE(parent->AddChildModel(&child, "jump.abc", error, QZTRUE));
    EXPECT_TRUE(parent->AddChildModel(nullptr, "gone.abc", error, QZFALSE));
    std::vector<uint8_t> bytes = BytesOf(*parent);
    EXPECT_TRUE(parent->RemoveChildModel(1));
    return bytes;
}

TEST(ModelFolder, ModelsOutliveNeitherFolderNorLastParent)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "jump.abc", BytesOf(*MakeChildModel("jump", 1.0f)));
    const ModelPointer child = LoadBytes(ReadBytes(folder / "jump.abc"));
    std::vector<uint8_t> bytes = ParentBytes(*child);
    MemoryStream stream(0);
    stream.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
    const uint32_t memoryBefore = g_ModelMemory;
    const auto load = [&](Model& parent, ModelFolder& models)
    {
        LoadRequest request;
        request.m_pStream = &stream;
        models.Attach(&request);
        ASSERT_EQ(parent.Load(&request), uint32_t{RESULT_OK});
        EXPECT_FALSE(request.m_bChildrenLoaded);
        EXPECT_TRUE(request.m_bBindingsValid);
        ASSERT_TRUE(parent.FindAnim("jump", nullptr, nullptr));
    };

    ModelPointer outliving(Model::CreateModel());
    {
        ModelFolder models(folder.Path().c_str());
        {
            const ModelPointer first(Model::CreateModel());
            const ModelPointer second(Model::CreateModel());
            load(*first, models);
            load(*second, models);
            EXPECT_EQ(first->GetChildModel(1)->m_pModel, second->GetChildModel(1)->m_pModel);
        }
        // Both parents are gone, and the folder still has the model.
        EXPECT_EQ(models.NumModels(), 1u);
        load(*outliving, models);
    }
    // The folder is gone, and the parent still has it.
    EXPECT_EQ(outliving->GetChildModel(1)->m_pModel->m_RefCount, 1);
    EXPECT_EQ(outliving->GetChildModel(1)->m_pModel->NumAnims(), 1u);
    outliving.reset();
    EXPECT_EQ(g_ModelMemory, memoryBefore);
}
