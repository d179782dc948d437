#include "tests/engine/model/src/loadbytes.h"

#include <gtest/gtest.h>

// Each line through a file: the settings that differ from the defaults afterwards, by name.
TEST(CommandString, EveryKeyword)
{
    const float big = 400000000.0f;
    const struct
    {
        const char* pCommand;
        std::map<std::string, float> changed;
    } cases[] = {
        {"", {}},
        {"visradius 75", {{"VisRadius", 75}}},
        {"VisRadius abc", {{"VisRadius", 0}}},
        {"VisRadius 1;VISRADIUS 2", {{"VisRadius", 2}}},
        {"VisRadius", {}},
        {"VisRadius 1 2", {}},
        {"AmbientLight .5;DirLight -1e1", {{"AmbientLight", 0.5f}, {"DirLight", -10}}},
        {"ShadowProjectLength 1\nShadowLightDist 2", {{"ShadowProjectLength", 1}, {"ShadowLightDist", 2}}},
        {"ShadowSizeX 3;  ShadowSizeY 4", {{"ShadowSizeX", 3}, {"ShadowSizeY", 4}}},
        {"NoAnimation;Rigid", {{"NoAnimation", 1}, {"Rigid", 1}}},
        {"ShadowEnable;specularENABLE", {{"ShadowEnable", 1}, {"SpecularEnable", 1}}},
        {"NoAnimation 1;Rigid 0", {}},
        {"FadeRangeMax 100", {{"FadeMax", 100}, {"FadeMaxSqr", 10000}}},
        {"FadeRangeMin 3", {{"FadeMin", 3}, {"FadeMinSqr", 9}}},
        {"FadeRangeMax 2;FadeRangeMin 3", {{"FadeMax", 2}, {"FadeMaxSqr", 4}, {"FadeMin", 3}, {"FadeMinSqr", 9}}},
        {"FovXOffset 180", {{"FovX", 180.0f * 0.017453292f}, {"bFov", 1}}},
        {"FovYOffset -90", {{"FovY", -90.0f * 0.017453292f}, {"bFov", 1}}},
        {"FadeSpriteSize 10 20 30", {{"SpriteX", 10}, {"SpriteY", 20}}},
        {"FadeSpriteSize 10", {}},
        {"ShadowCenterOffset 1 2 3", {{"CenterX", 1}, {"CenterY", 2}, {"CenterZ", 3}}},
        {"ShadowCenterOffset 1 2", {}},
        {"\"VisRadius\" (9)", {{"VisRadius", 9}}},
        {"unknown 1;VisRadius 8", {{"VisRadius", 8}}},
        {"NormalRef ARM Walk", {{"RefNode", 1}, {"RefAnim", 1}, {"bRef", 1}}},
        {"NormalRef leg walk", {}},
        {"NormalRef arm swim", {{"RefNode", 1}}},
        {"NormalRef arm walk;NormalRef leg walk", {{"RefAnim", 1}}},
        {"NormalRef arm swim;NormalRef root walk", {{"RefNode", 0}, {"RefAnim", 1}, {"bRef", 1}}},
        {"NormalRef arm empty", {{"RefNode", 1}, {"RefAnim", 2}}}, // an animation without keys
        {"NormalRef arm", {}},
    };
    abc::Random random(1);
    abc::File file;
    file.nodes = random.Tree(2);
    file.nodes[0].name = "root", file.nodes[1].name = "Arm";
    file.anims = {random.Animation("run", 2, 1), random.Animation("walk", 2, 3), random.Animation("empty", 2, 0)};
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.pCommand);
        file.command = test.pCommand;
        LoadedModel m(file);
        ASSERT_EQ(m.m_Result, RESULT_OK);
        EXPECT_STREQ(m.m_CommandString, test.pCommand);
        const std::pair<const char*, std::pair<float, float>> settings[] = {
            {"VisRadius", {m.m_VisRadius, 50}},
            {"NoAnimation", {m.m_bNoAnimation, 0}},
            {"FadeMin", {m.m_FadeRangeMin, 20000}},
            {"FadeMinSqr", {m.m_FadeRangeMinSqr, big}},
            {"FadeMax", {m.m_FadeRangeMax, 20000}},
            {"FadeMaxSqr", {m.m_FadeRangeMaxSqr, big}},
            {"SpriteX", {m.m_FadeSpriteSize[0], 100}},
            {"SpriteY", {m.m_FadeSpriteSize[1], 100}},
            {"AmbientLight", {m.m_AmbientLight, 0.25f}},
            {"DirLight", {m.m_DirLight, 0.75f}},
            {"ShadowEnable", {m.m_bShadowEnable, 0}},
            {"ShadowProjectLength", {m.m_ShadowProjectLength, 200}},
            {"ShadowLightDist", {m.m_ShadowLightDist, 200}},
            {"ShadowSizeX", {m.m_ShadowSizeX, 50}},
            {"ShadowSizeY", {m.m_ShadowSizeY, 50}},
            {"CenterX", {m.m_ShadowCenterOffset.x, 0}},
            {"CenterY", {m.m_ShadowCenterOffset.y, 0}},
            {"CenterZ", {m.m_ShadowCenterOffset.z, 0}},
            {"RefNode", {m.m_iNormalRefNode, -1}},
            {"RefAnim", {m.m_iNormalRefAnim, -1}},
            {"bRef", {m.m_bNormalRef, 0}},
            {"bFov", {m.m_bFovOffset, 0}},
            {"FovX", {m.m_FovXOffset, 0}},
            {"FovY", {m.m_FovYOffset, 0}},
            {"SpecularEnable", {m.m_bSpecularEnable, 0}},
            {"Rigid", {m.m_bRigid, 0}},
        };
        for (const auto& [name, values] : settings)
        {
            const auto it = test.changed.find(name);
            EXPECT_EQ(values.first, it == test.changed.end() ? values.second : it->second) << name;
        }
        if (m.m_bNormalRef)
        {
            // The pose of key 0; the root's stands for itself and for the offset of its animation.
            const Matrix4& at = m.m_NormalRefTransform;
            const abc::Anim& walk = file.anims[1];
            if (m.m_iNormalRefNode == 0)
                EXPECT_NEAR(at.m[7], walk.tracks[0][0].t[1] + walk.translation[1], 1e-5f);
            else
                EXPECT_TRUE(std::equal(at.m, at.m + 16, m.GetTransform(1).m));
            // Another file without that line: no index into the old tables is left.
            EXPECT_EQ(LoadBytes(m, abc::File().Write()), RESULT_OK);
            EXPECT_EQ(m.m_iNormalRefNode, -1);
            EXPECT_FALSE(m.m_bNormalRef);
        }
    }
    // A second line: what it doesn't name stays, but for one switch.
    file.command = "Rigid;VisRadius 9;FovXOffset 1";
    LoadedModel m(file);
    m.m_CommandString = "";
    m.ParseCommandString();
    EXPECT_TRUE(m.m_bRigid && m.m_VisRadius == 9 && m.m_FovXOffset != 0 && !m.m_bFovOffset);
}
