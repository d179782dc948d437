#include "tests/engine/model/src/loadbytes.h"
#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "zoltshared/stdzolt/allocatednew.h"

#include <gtest/gtest.h>

// One key as a plain record: time, text, and the place of each node.
struct PlainKey
{
    uint32_t time;
    std::string text;
    std::vector<abc::Key> places;
};

static std::vector<PlainKey> PlainKeys(const abc::Anim& anim)
{
    std::vector<PlainKey> keys;
    for (size_t k = 0; k < anim.keys.size(); ++k)
    {
        keys.push_back({anim.keys[k].first, anim.keys[k].second, {}});
        for (const auto& track : anim.tracks)
            keys.back().places.push_back(track[k]);
    }
    return keys;
}

static void ExpectKeys(const ModelAnim* pAnim, const std::vector<PlainKey>& keys)
{
    ASSERT_EQ(pAnim->NumKeyFrames(), keys.size());
    EXPECT_EQ(pAnim->GetAnimTime(), keys.empty() ? 0 : keys.back().time);
    for (uint32_t k = 0; k < keys.size(); ++k)
    {
        EXPECT_EQ(pAnim->m_KeyFrames[k].m_Time, keys[k].time);
        EXPECT_EQ(pAnim->m_KeyFrames[k].m_pString, keys[k].text);
        for (uint32_t n = 0; n < keys[k].places.size(); ++n)
        {
            AnimNode* pTrack = pAnim->m_AnimNodes[n];
            ASSERT_EQ(pTrack->m_KeyFrames.GetSize(), keys.size());
            for (uint32_t c = 0; c < pTrack->NumChildren(); ++c)
                EXPECT_EQ(pTrack->GetChild(c)->m_pParent, pTrack);
            const NodeKeyFrame& key = pAnim->m_AnimNodes[n]->m_KeyFrames[k];
            EXPECT_EQ((abc::Vec{key.m_vTranslation.x, key.m_vTranslation.y, key.m_vTranslation.z}),
                      keys[k].places[n].t);
            EXPECT_EQ((abc::Quat{key.m_qRotation.x, key.m_qRotation.y, key.m_qRotation.z, key.m_qRotation.w}),
                      keys[k].places[n].q);
        }
    }
}

TEST(ModelAnim, KeyEditingAgainstPlainLists)
{
    for (uint32_t seed = 0; seed < 30; ++seed)
    {
        abc::Random random(seed);
        abc::File file;
        const uint32_t nNodes = 1 + random.Int(8);
        file.nodes = random.Tree(nNodes);
        file.anims = {random.Animation("walk", nNodes, 1 + random.Int(6))};
        file.anims[0].keys[0].first = random.Int(500); // a first key that isn't at 0
        for (size_t k = 1; k < file.anims[0].keys.size(); ++k)
            file.anims[0].keys[k].first += 500;
        LoadedModel model(file);
        ASSERT_EQ(model.m_Result, RESULT_OK);
        ModelAnim* pAnim = model.GetAnim(0);
        std::vector<PlainKey> keys = PlainKeys(file.anims[0]);
        ModelAnim* pHeld = nullptr;
        PlainKey held;
        for (int step = 0; step < 40; ++step)
        {
            const uint32_t n = static_cast<uint32_t>(keys.size());
            const uint32_t k = random.Int(n);
            const uint32_t action = random.Int(4);
            const bool bRemove = action <= 1 && n >= 3;
            if (action == 0)
            {
                EXPECT_EQ(pAnim->RemoveKeyFrame(k), bRemove ? QZTRUE : QZFALSE);
            }
            else if (action <= 2)
            {
                ModelAnim* pCopy = action == 1 ? pAnim->CutKeyFrame(k) : pAnim->CopyKeyFrame(k);
                ASSERT_EQ(pCopy != nullptr, action == 2 || bRemove);
                if (pCopy)
                {
                    FreeObject(*model.GetGrowAllocator(), pHeld);
                    pHeld = pCopy;
                    held = keys[k];
                    ASSERT_TRUE(pCopy->SetModel(&model) && pCopy->PrecalcNodeLists(QZTRUE));
                    ExpectKeys(pCopy, {held});
                }
            }
            else if (pHeld)
            {
                const uint32_t iPaste = random.Int(n + 1);
                EXPECT_TRUE(pAnim->PasteKeyFrame(pHeld, iPaste));
                keys.insert(keys.begin() + iPaste, held);
            }
            if (bRemove)
            {
                keys.erase(keys.begin() + k);
                // Without its first key an animation starts at 0 again.
                const uint32_t start = k == 0 ? keys[0].time : 0;
                for (PlainKey& key : keys)
                    key.time -= start;
            }
            ExpectKeys(pAnim, keys);
        }
        FreeObject(*model.GetGrowAllocator(), pHeld);
    }
}

TEST(ModelAnim, RefusesWhatDoesNotFit)
{
    abc::Random random(5);
    abc::File file;
    file.nodes = random.Tree(3);
    file.anims = {random.Animation("a", 3, 3)};
    abc::File small;
    small.anims = {random.Animation("b", 1, 1)};
    LoadedModel model(file);
    LoadedModel other(small);
    ModelAnim* pAnim = model.GetAnim(0);
    EXPECT_FALSE(pAnim->PasteKeyFrame(nullptr, 0) || pAnim->PasteKeyFrame(other.GetAnim(0), 0));
    {
        AssertionCatcher catcher;
        EXPECT_EQ(pAnim->CopyKeyFrame(3), nullptr);
        EXPECT_FALSE(pAnim->RemoveKeyFrame(3));
        EXPECT_FALSE(other.GetAnim(0)->SetModel(&model)); // another shape
        EXPECT_EQ(catcher.Caught().size(), 3u);
    }
    ExpectKeys(pAnim, PlainKeys(file.anims[0]));

    // A list that is there stays, also when the nodes have changed.
    model.GetRootNode()->Clear();
    AnimNode** pList = pAnim->m_AnimNodes;
    EXPECT_TRUE(pAnim->PrecalcNodeLists(QZFALSE));
    EXPECT_EQ(pAnim->m_AnimNodes, pList);
    AssertionCatcher catcher;
    EXPECT_FALSE(model.Precalc(QZTRUE)); // three tracks for one node
    EXPECT_EQ(catcher.Caught().size(), 1u);
}

// What moves to another model leaves no text behind in the first one.
TEST(ModelAnim, MovesWithItsTexts)
{
    Model target(&g_DefaultAllocator, &g_DefaultAllocator);
    ASSERT_TRUE(target.Precalc(QZTRUE));
    ModelAnim* pCopy = nullptr;
    {
        Model source(&g_DefaultAllocator, &g_DefaultAllocator);
        ASSERT_TRUE(source.Precalc(QZTRUE) && source.AddDefaultAnim("source") && target.AddDefaultAnim("target"));
        source.GetAnim(0)->m_KeyFrames[0].m_pString = source.AddString("step");
        EXPECT_TRUE(target.GetAnim(0)->PasteKeyFrame(source.GetAnim(0), 1));
        pCopy = source.GetAnim(0)->CopyKeyFrame(0);
        pCopy->SetName("moved");
        EXPECT_TRUE(pCopy->SetModel(&target));
    }
    EXPECT_STREQ(target.GetAnim(0)->m_KeyFrames[1].m_pString, "step");
    EXPECT_STREQ(pCopy->m_KeyFrames[0].m_pString, "step");
    EXPECT_STREQ(pCopy->GetName(), "moved");
    EXPECT_TRUE(target.AddAnim(pCopy));
}
