#include "tests/tools/model/testmodel.h"

#include "tools/model/convmodel.h"

namespace
{
uint32_t AddTo(ConvModel& dest, const std::string& sourceTree, const char* pName, uint32_t seed = 1)
{
    ConvModel source;
    BuildTree(source, sourceTree);
    AddRandomAnim(source, pName, 2, seed);
    return dest.AddAnims(&source);
}
} // namespace

TEST(AddAnims, TreesOfOneShapeJoinByPositionUnderFreeNames)
{
    ConvModel source;
    BuildTree(source, "r*(a*(b),c)");
    ModelAnim* pWalk = AddRandomAnim(source, "walk", 3, 1);
    AddRandomAnim(source, "Run", 1, 2);
    pWalk->m_AnimParamA = 3;
    pWalk->m_AnimParamB = 4;
    pWalk->m_KeyFrames[2].m_pString = source.AddString("step");
    source.GetAnimInfo(0)->m_vDims.Set(1, 2, 3);

    ConvModel dest;
    BuildTree(dest, "x(y(z),w)");
    AddRandomAnim(dest, "run", 1, 3);
    const Bytes before = Snapshot(source);
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(dest.AddAnims(&source), 0u);
    EXPECT_EQ(Snapshot(source), before);
    const char* names[] = {"run", "walk", "Run0", "walk0", "Run1", "walk1", "Run2"};
    ASSERT_EQ(dest.NumAnims(), 7u);
    for (uint32_t i = 0; i < 7; ++i)
        EXPECT_STREQ(dest.GetAnim(i)->GetName(), names[i]);

    ModelAnim* pCopy = dest.GetAnim(5);
    EXPECT_EQ(dest.GetOwnAnim(5), pCopy);
    EXPECT_EQ(pCopy->m_AnimParamA, 3);
    EXPECT_EQ(pCopy->m_AnimParamB, 4);
    EXPECT_EQ(pCopy->m_KeyFrames[2].m_Time, 300u);
    EXPECT_STREQ(pCopy->m_KeyFrames[2].m_pString, "step");
    EXPECT_EQ(dest.GetAnimInfo(5)->m_vDims.x, 128.0f);
    for (uint32_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(pCopy->m_AnimNodes[i]->m_pNode, dest.GetNode(i));
        const NodeKeyFrame& copied = pCopy->m_AnimNodes[i]->m_KeyFrames[2];
        const NodeKeyFrame& key = pWalk->m_AnimNodes[i]->m_KeyFrames[2];
        EXPECT_EQ(copied.m_vTranslation.z, key.m_vTranslation.z);
        EXPECT_EQ(copied.m_qRotation.w, key.m_qRotation.w);
    }
    dest.RemoveAllAnims();
    EXPECT_EQ(dest.NumAnims(), 0u);
    EXPECT_EQ(dest.AddAnims(&source), 0u);

    // A model in one block takes in as much, on the heap.
    ConvModel block;
    MemoryStream stream(65536);
    ASSERT_TRUE(dest.Save(&stream) && block.PrepareBlock(&stream, &g_DefaultAllocator) == RESULT_OK);
    LoadRequest request;
    request.m_pStream = &stream;
    ASSERT_EQ(block.Load(&request), RESULT_OK);
    ASSERT_EQ(block.AddAnims(&source), 0u);
    ASSERT_EQ(dest.AddAnims(&source), 0u);
    EXPECT_EQ(Snapshot(block), Snapshot(dest));
    // And a model joins itself once.
    const uint32_t nAnims = dest.NumAnims();
    ASSERT_EQ(dest.AddAnims(&dest), 0u);
    EXPECT_EQ(dest.NumAnims(), 2 * nAnims);
}

TEST(AddAnims, ForeignNodesArePrunedFromACopy)
{
    ConvModel source;
    BuildTree(source, "r*(extra*(A*(b*),more*),c(tip*))");
    ModelAnim* pAnim = AddRandomAnim(source, "walk", 4, 1);
    const std::vector<Poses> poses = AllPoses(pAnim);
    const Bytes before = Snapshot(source);
    const uint32_t nNodes = source.NumNodes();

    // Names are compared without case, and the children of a removed node come behind the parent's own.
    ConvModel dest;
    BuildTree(dest, "r(c,a(b))");
    const Bytes destBefore = Snapshot(dest);
    ASSERT_EQ(dest.AddAnims(&source), 0u);
    std::vector<Poses> after = AllPoses(dest.GetAnim(0));
    for (Poses& atKey : after)
    {
        atKey["A"] = atKey["a"];
        atKey.erase("a");
    }
    ExpectSamePoses(poses, after, 1e-5);
    EXPECT_EQ(Snapshot(source), before);
    EXPECT_EQ(source.NumNodes(), nNodes);
    dest.RemoveAllAnims();
    EXPECT_EQ(Snapshot(dest), destBefore);
}

TEST(AddAnims, TreesThatCannotBeMadeToFitAreRefused)
{
    ConvModel dest;
    BuildTree(dest, "r(c,a(b))");
    EXPECT_EQ(AddTo(dest, "r(extra(a(b)),c)", "walk"), 1u);          // the foreign node may not be removed
    EXPECT_EQ(AddTo(dest, "r(c,a)", "walk"), 1u);                    // a node is missing
    EXPECT_EQ(AddTo(dest, "r*(e*(d*(f*)),c*(g*))", "walk"), 1u);     // too little is left
    EXPECT_EQ(AddTo(dest, "other*(e*(c*,a*(b*(g*))))", "walk"), 0u); // the root always stays
    EXPECT_EQ(dest.NumAnims(), 1u);
}

TEST(AddAnims, ACopyTakesTracksOfItsOwnTreeAlone)
{
    ConvModel source;
    BuildTree(source, "r(a(b),c)");
    ModelAnim* pAnim = AddRandomAnim(source, "walk", 2, 1);
    const std::pair<const char*, bool> trees[] = {{"x(y(z),w)", true}, {"r(a(b))", false}, {"r(a(b),c,d)", false}};
    for (const auto& [pTree, bFits] : trees)
    {
        ConvModel dest;
        BuildTree(dest, pTree);
        ModelAnim copy(&dest);
        EXPECT_EQ(copy.CopyFrom(pAnim) != QZFALSE, bFits) << pTree;
    }
}

TEST(AddAnims, NamesThatDoNotFitAreNotFree)
{
    ConvModel dest;
    BuildTree(dest, "r");
    EXPECT_EQ(AddTo(dest, "r", std::string(2048, 'n').c_str()), 2u);
    EXPECT_EQ(dest.NumAnims(), 0u);
    EXPECT_EQ(AddTo(dest, "r", std::string(2047, 'n').c_str()), 0u);
    EXPECT_EQ(AddTo(dest, "r", std::string(2047, 'n').c_str()), 2u);
    EXPECT_EQ(AddTo(dest, "r", "%s%n"), 0u);
    EXPECT_EQ(AddTo(dest, "r", "%s%n"), 0u);
    EXPECT_STREQ(dest.GetAnim(2)->GetName(), "%s%n0");
}
