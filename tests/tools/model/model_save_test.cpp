#include "tests/tools/model/testmodel.h"

#include "engine/model/src/modelallocations.h"
#include "tests/engine/model/src/abcbytes.h"
#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "tools/model/convmodel.h"

namespace
{
Bytes BytesOf(const abc::File& file)
{
    const std::string text = file.Write();
    return Bytes(text.begin(), text.end());
}

abc::Mesh SampleMesh(uint32_t iLOD)
{
    abc::Mesh mesh;
    mesh.tris = {{{2, 1, 0}, {0, 1, 0.5f, 0, 1, -1}}};
    for (uint32_t i = 0; i < 3; ++i)
        mesh.verts.push_back({{}, 9 + i, {1.0f * i, 2.0f * iLOD, 5}, {0, 0, 1}});
    mesh.verts[size_t{2} * iLOD].weights = {{0, {1, 2, 3}, 0.5f}};
    if (iLOD == 0)
        mesh.verts[0].weights.push_back({1, {2, 2, 3}, 0.5f});
    return mesh;
}

// A file that uses everything: two nodes, a piece of two LODs, a weight set, a link to a model that isn't there, an
// animation, a socket. In a version, or in the form in which a writer of version 12 gives back what was read from it.
Bytes SampleFile(uint32_t version, bool bSaved, uint32_t stamp)
{
    const float thirdParam = version >= 10 ? 4.0f : 1.0f;
    abc::File file;
    file.version = bSaved ? 12 : version;
    file.command = "VisRadius 70", file.headerFloat = 1.5f;
    file.lodDistances = {0.25f};
    file.pieces = {{"abcdefghijklmnopqrstuvwxyz0123456789", 7, 2, {2, 3, thirdParam}, {SampleMesh(0), SampleMesh(1)}}};
    file.nodes = {{.name = "root", .flags = 2}, {"arm", 0x81, {0, -1, 0, 3, 1, 0, 0, 4, 0, 0, 1, 5, 0, 0, 0, 1}, 0}};
    file.sets = {{"upper", {0.5f, 2.0f}}};
    file.links = {{"", stamp, {}}, {"legs.abc", 1234, {{{1, 2, 3}, {0, 1, 0, 0}}, {{4, 5, 6}, {1, 0, 0, 0}}}}};
    file.anims = {{"walk", {10, 20, 30}, {1, 2, 3}, version >= 11 ? 77 : -1, version >= 12 ? 55 : 200, {}, {}}};
    file.anims[0].keys = {{0, ""}, {250, "arm"}};
    file.anims[0].tracks = {{{{1, 0, 0}, {0, 0, 0, 1}}, {{2, 0, 0}, {0, 0, 1, 0}}},
                            {{{3, 0, 0}, {0, 1, 0, 0}}, {{4, 0, 0}, {1, 0, 0, 0}}}};
    file.sockets = {{1, "hand", {{7, 8, 9}, {0, 0, 1, 0}}}};
    file.linkBindings = {{{"kick", {2, 2, 2}}}};
    if (bSaved)
    {
        file.pieces[0].name.resize(31);
        file.pieces[0].nSkipped = 0;
        file.linkBindings.clear();
    }
    return BytesOf(file);
}

Bytes Saved(Model& model)
{
    MemoryStream stream(65536);
    EXPECT_TRUE(model.Save(&stream));
    return BytesOf(stream);
}

// Fails at one of its writes.
class FailingStream : public MemoryStream
{
public:
    explicit FailingStream(uint32_t nFailAt, bool bTells = true)
        : MemoryStream(65536), m_nFailAt(nFailAt), m_bTells(bTells)
    {
    }
    int Write(const void* pData, uint32_t size) override
    {
        return ++m_nWrites == m_nFailAt ? 1 : MemoryStream::Write(pData, size);
    }
    int ErrorStatus() override { return m_bTells && m_nWrites >= m_nFailAt ? 1 : 0; }

    uint32_t m_nFailAt;
    uint32_t m_nWrites = 0;
    bool m_bTells; // later on, by its status
};

Model* g_pSuppliedChild = nullptr;
} // namespace

TEST(ModelSave, SmallestFileToTheByte)
{
    abc::File expected;
    expected.links[0].stamp = 0x01020305;
    EXPECT_EQ(BytesOf(expected).size(), 357u);
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    model.SetModelStamp(0x01020304);
    EXPECT_EQ(Saved(model), BytesOf(expected)) << "without Precalc, which the writer makes up for";

    ModelAllocations allocs;
    uint32_t size = 0;
    ASSERT_TRUE(allocs.InitFromModel(&model) && allocs.CalcAllocationSize(size));
    EXPECT_EQ(size, 28u + 64u + sizeof(void*));
}

TEST(ModelSave, FilesOfAllVersionsComeBackAsVersion12)
{
    for (uint32_t version = 9; version <= 12; ++version)
    {
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        ASSERT_EQ(LoadBytes(model, SampleFile(version, false, 500)), RESULT_OK) << version;
        const Bytes first = Saved(model);
        EXPECT_EQ(first, SampleFile(version, true, 501)) << version;
        Model again(&g_DefaultAllocator, &g_DefaultAllocator);
        ASSERT_EQ(LoadBytes(again, first), RESULT_OK);
        EXPECT_EQ(Saved(again), SampleFile(version, true, 502)) << version;
    }
    abc::File large = abc::Random(2).LargeModel();
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    ASSERT_EQ(LoadBytes(model, BytesOf(large)), RESULT_OK);
    ++large.links[0].stamp;
    EXPECT_TRUE(Saved(model) == BytesOf(large));
}

TEST(ModelSave, StampsRiseWithEachWriting)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    ASSERT_EQ(LoadBytes(model, SampleFile(12, true, 500)), RESULT_OK);
    EXPECT_EQ(Saved(model), SampleFile(12, true, 501));
    EXPECT_EQ(model.GetModelStamp(), 502u);
    EXPECT_EQ(Saved(model), SampleFile(12, true, 503));

    // The copy has the stamp of the first of two writings.
    Model copy(&g_DefaultAllocator, &g_DefaultAllocator);
    BuildTree(copy, "gone(with,all)");
    ASSERT_TRUE(copy.CopyModelFrom(&model));
    EXPECT_EQ(model.GetModelStamp(), 506u);
    EXPECT_EQ(copy.GetModelStamp(), 505u);
    EXPECT_EQ(Saved(copy), SampleFile(12, true, 506));
}

// The meshes of a model move to another one, with all their LODs; the last writing of a model leaves nothing of it.
TEST(ModelSave, ModelsThatAreNotNeededAnyLonger)
{
    ConvModel kept, taken;
    ASSERT_EQ(LoadBytes(kept, SampleFile(12, true, 500)), RESULT_OK);
    kept.RemoveAllAnims();
    {
        ConvModel source;
        ASSERT_EQ(LoadBytes(source, SampleFile(12, true, 500)), RESULT_OK);
        ASSERT_TRUE(taken.TakeModelFrom(&source));
        EXPECT_EQ(source.NumPieces(), 0u);
        EXPECT_EQ(source.NumAnims(), 1u);
    }
    EXPECT_EQ(taken.NumAnims(), 0u);
    EXPECT_EQ(taken.GetPiece(0)->GetModel(), &taken);
    taken.SetModelStamp(500);
    MemoryStream stream(65536);
    ASSERT_TRUE(taken.SaveAndTerm(&stream));
    EXPECT_EQ(BytesOf(stream), Saved(kept));
    EXPECT_EQ(taken.NumNodes() + taken.NumPieces(), 0u);
}

TEST(ModelSave, FailsAtAnyWriteThatFails)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    ASSERT_EQ(LoadBytes(model, SampleFile(12, true, 1)), RESULT_OK);
    FailingStream sound(0xFFFFFFFF);
    ASSERT_TRUE(model.WriteSections(&sound));
    // The name (two writes), link, version and 13 counts of the header are followed by a look at the stream's error.
    const uint32_t nCheckpoint = 2 + 1 + 1 + 13;
    for (uint32_t n = 1; n <= sound.m_nWrites; ++n)
    {
        FailingStream stream(n);
        EXPECT_FALSE(model.Save(&stream)) << n;
        EXPECT_EQ(stream.m_nWrites, n <= nCheckpoint ? nCheckpoint : sound.m_nWrites) << n;
        FailingStream silent(n, false);
        EXPECT_FALSE(model.Save(&silent)) << n;
    }
}

TEST(ModelSave, RefusesWhatIsInconsistent)
{
    AssertionCatcher catcher;
    void (*const breaks[])(Model&) = {
        [](Model& m) { m.m_LODDistances.Append(1.0f); },
        [](Model& m) { m.GetChildModel(0)->m_pParentModel = nullptr; },
        [](Model& m) { m.GetChildModel(1)->m_pParentModel = nullptr; },
        [](Model& m) { m.GetAnim(0)->GetRootNode()->m_pNode = m.GetNode(1); },
        [](Model& m) { m.GetAnim(0)->m_KeyFrames.Append(AnimKeyFrame()); },
        [](Model& m) { m.m_CommandString = nullptr; },
        [](Model& m) { m.m_LODDistances.SetSize(65536); },
    };
    for (const auto& change : breaks)
    {
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        ASSERT_EQ(LoadBytes(model, SampleFile(12, true, 1)), RESULT_OK);
        change(model);
        MemoryStream stream(65536);
        EXPECT_FALSE(model.Save(&stream)) << &change - breaks;
    }
    EXPECT_EQ(catcher.Caught(), (std::vector<std::string>{"index < m_nElements", "m_CommandString"}));
}

// The file holds a value for each node, whatever the set has: that is what the header counts.
TEST(ModelSave, WeightSetsAreThoseOfTheNodes)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    ASSERT_EQ(LoadBytes(model, SampleFile(12, true, 1)), RESULT_OK);
    for (const uint32_t nValues : {0u, 1u, 5u})
    {
        WeightSet* pSet = new WeightSet(&model);
        ASSERT_TRUE(pSet->m_Weights.SetSizeInit(nValues, 0.25f) && model.AddWeightSet(pSet));
        EXPECT_EQ(pSet->m_Weights.GetSize(), 2u);
    }
    const Bytes fitted = Snapshot(model);
    model.GetWeightSet(1)->m_Weights.Term();
    ASSERT_TRUE(model.GetWeightSet(3)->m_Weights.Append(3.0f));
    EXPECT_EQ(Snapshot(model), fitted);
    Model again(&g_DefaultAllocator, &g_DefaultAllocator);
    ASSERT_EQ(LoadBytes(again, Saved(model)), RESULT_OK);
    const float expected[] = {0, 0, 0.25f, 0, 0.25f, 0.25f};
    for (uint32_t i = 0; i < 6; ++i)
        EXPECT_EQ(again.GetWeightSet(1 + i / 2)->m_Weights[i % 2], expected[i]) << i;
}

TEST(ModelSave, OwnAnimationsComeFirstAndBindingsFindTheirRows)
{
    char error[MODEL_ERRSTR_SIZE];
    Model parent(&g_DefaultAllocator, &g_DefaultAllocator);
    Model* pChild = Model::CreateModel();
    BuildTree(parent, "root(a)");
    BuildTree(*pChild, "r(b)");
    AddRandomAnim(*pChild, "x", 1, 1);
    AddRandomAnim(*pChild, "y", 1, 2);
    ChildInfo* pLink = parent.AddChildModel(pChild, "child.abc", error, QZFALSE);
    ASSERT_TRUE(pLink);
    ASSERT_TRUE(parent.AddChildModel(nullptr, "absent.abc", error, QZFALSE));
    Model* pBare = Model::CreateModel();
    BuildTree(*pBare, "r(b)");
    ChildInfo* pBareLink = parent.AddChildModel(pBare, "bare.abc", error, QZFALSE);
    ASSERT_TRUE(pBareLink);
    pBareLink->m_iAnimOffset = 1;
    AddRandomAnim(parent, "a", 1, 3);
    AddRandomAnim(parent, "b", 1, 4);
    const auto names = [](Model& model)
    {
        std::string all;
        for (uint32_t i = 0; i < model.NumAnims(); ++i)
            all += model.GetAnim(i)->GetName();
        return all;
    };
    ASSERT_EQ(names(parent), "abxy");
    const AnimInfo rows[] = {parent.m_Anims[2], parent.m_Anims[0], parent.m_Anims[3], parent.m_Anims[1]};
    for (uint32_t i = 0; i < 4; ++i)
    {
        parent.m_Anims[i] = rows[i];
        parent.m_Anims[i].m_vTranslation.Set(static_cast<float>(i), 0, 0);
    }
    const Bytes file = Saved(parent);
    EXPECT_EQ(names(parent), "abxy");
    EXPECT_EQ(pLink->m_iAnimOffset, 2u);
    EXPECT_EQ(pBareLink->m_iAnimOffset, 4u) << "behind all";
    EXPECT_EQ(parent.GetSelfChildModel()->m_iAnimOffset, 0u);

    Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
    g_pSuppliedChild = pChild;
    const auto supply = [](LoadRequest* pRequest, Model** ppModel) -> uint32_t
    {
        *ppModel = std::string(pRequest->m_pFilename) == "child.abc" ? g_pSuppliedChild : nullptr;
        return *ppModel ? RESULT_OK : RESULT_NOT_LOADED;
    };
    ASSERT_EQ(LoadBytes(loaded, file, supply), RESULT_OK);
    EXPECT_EQ(names(loaded), "abxy");
    const float expected[] = {1, 3, 0, 2};
    for (uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(loaded.m_Anims[i].m_vTranslation.x, expected[i]) << i;

    // A child that has grown since it was linked has an animation without a row, and mustn't take the next link's.
    Model* pOther = Model::CreateModel();
    BuildTree(*pOther, "r(b)");
    AddRandomAnim(*pOther, "o", 1, 6);
    ASSERT_TRUE(parent.AddChildModel(pOther, "other.abc", error, QZFALSE));
    AddRandomAnim(*pChild, "z", 1, 5);
    MemoryStream stream(65536);
    EXPECT_FALSE(parent.Save(&stream));
}
