#include "engine/play/animplayer.h"
#include "tests/engine/play/playfigure.h"

#include <gtest/gtest.h>

#include <limits>

using namespace zolt;

static void Log(void* pUser, const AnimEvent& event)
{
    *static_cast<std::string*>(pUser) += event.m_pCommand;
}

// Steps and key times are multiples of 1/64 s, so a walk tick by tick tells which keys are passed.
TEST(AnimPlayer, EveryKeyIsPassedOnceInOrder)
{
    abc::File file;
    file.anims = {MakeWay("a", {0, 125, 125, 500, 750}, {0, 0, 0, 0, 0})};
    const int keyTicks[] = {0, 8, 8, 32, 48};
    LoadedModel model(file);
    ASSERT_EQ(model.m_Result, RESULT_OK);
    abc::Random random(7);
    for (const LoopMode loop : {LoopMode::CLAMP, LoopMode::LOOP, LoopMode::PING_PONG})
    {
        for (const int speed : {1, -1, 3})
        {
            SCOPED_TRACE(testing::Message() << int(loop) << " " << speed);
            std::string actual, expected;
            const int length = 48, start = speed < 0 ? 40 : 3;
            int tick = start, direction = speed < 0 ? -1 : 1, passed = 0;
            bool bEnded = false;
            const auto Pass = [&]
            {
                for (int i = 0; i < 5; ++i)
                {
                    const int iKey = direction > 0 ? i : 4 - i;
                    if (keyTicks[iKey] == tick)
                        expected += std::to_string(iKey);
                }
            };
            ModelInstance instance;
            ASSERT_TRUE(instance.Init(model));
            AnimPlayer player(instance);
            player.SetEventHandler(Log, &actual);
            PlayOptions options;
            options.m_Loop = loop;
            options.m_Speed = static_cast<float>(speed);
            options.m_Start = static_cast<float>(start) / 64.0f;
            ASSERT_TRUE(player.Play(0u, options));
            Pass();
            for (int i = 0; i < 60; ++i)
            {
                const int step = static_cast<int>(random.Int(i % 10 == 9 ? 200 : 9));
                player.Step(static_cast<float>(step) / 64.0f);
                for (int n = 0; n < step * std::abs(speed) && !bEnded; ++n, ++passed)
                {
                    const int end = direction > 0 ? length : 0;
                    if (tick == end && loop == LoopMode::PING_PONG)
                        direction = -direction;
                    else if (tick == end && loop == LoopMode::LOOP)
                    {
                        tick = length - end;
                        Pass();
                    }
                    tick += direction;
                    Pass();
                    bEnded = loop == LoopMode::CLAMP && tick == (direction > 0 ? length : 0);
                }
                ASSERT_EQ(actual, passed == 0 ? actual : expected) << i;
                ASSERT_EQ(player.GetTime(), static_cast<float>(tick) / 64.0f);
            }
            EXPECT_EQ(player.IsFinished(), loop == LoopMode::CLAMP);
        }
    }
}

// A step over very many loops ends where it should, in no time.
TEST(AnimPlayer, HugeSteps)
{
    abc::File file;
    file.anims = {MakeWay("a", {0, 125}, {0, 1}), MakeWay("still", {0}, {5})};
    LoadedModel model(file);
    ModelInstance instance;
    ASSERT_TRUE(instance.Init(model));
    AnimPlayer player(instance);
    ASSERT_TRUE(player.Play("A", {LoopMode::PING_PONG}));
    player.Step(0.125f * 2 * 1000000 + 0.0625f);
    EXPECT_EQ(player.GetTime(), 0.0625f);
    ASSERT_TRUE(player.Play("still"));
    player.Step(1e30f);
    ASSERT_TRUE(player.Apply() && instance.Evaluate());
    EXPECT_EQ(instance.GetMatrices()[0].m[3], 5.0f);
}

// Two crossfades, one in the other, from sources that move on; then two layers over them, one in a crossfade. All
// along the x axis, where the sums are plain.
TEST(AnimPlayer, FadesAndLayersMeetWhereTheyShould)
{
    abc::File file;
    file.anims = {MakeWay("a", {0, 1000}, {0, 64}), MakeWay("b", {0, 1000}, {1000, 1064}),
                  MakeWay("c", {0, 1000}, {-500, 500}), MakeWay("d", {0, 1000}, {40, 48})};
    file.sets = {{"add", {2}}};
    LoadedModel model(file);
    ModelInstance instance;
    ASSERT_TRUE(instance.Init(model));
    AnimPlayer player(instance);
    const auto Smooth = [](double t) { return t * t * (3 - 2 * t); };
    const auto X = [&]
    {
        EXPECT_TRUE(player.Apply() && instance.Evaluate());
        return instance.GetMatrices()[0].m[3];
    };
    ASSERT_TRUE(player.Play(0u));
    player.Step(0.25f);
    EXPECT_NEAR(X(), 16, 1e-4);
    ASSERT_TRUE(player.Play(1u, {.m_Fade = 0.5f}));
    player.Step(0.125f);
    const double f1 = Smooth(0.25);
    EXPECT_NEAR(X(), 24 * (1 - f1) + 1008 * f1, 1e-3);
    ASSERT_TRUE(player.Play(2u, {.m_Fade = 0.25f, .m_Curve = FadeCurve::LINEAR}));
    player.Step(0.0625f);
    const double f2 = Smooth(0.375), g2 = 0.25;
    const double base = (28 * (1 - f2) + 1012 * f2) * (1 - g2) + (-500 + 62.5) * g2;
    EXPECT_NEAR(X(), base, 1e-3);

    // Layer 1 blends by mask and weight, itself going from d to a; layer 2 adds, fading.
    const float mask[] = {0.5f};
    ASSERT_TRUE(player.SetLayerMask(1, mask) && player.SetLayerWeight(1, 0.5f));
    ASSERT_TRUE(player.SetLayerWeightSet(2, 0) && player.SetLayerWeight(2, 0.25f));
    ASSERT_TRUE(player.Play(3u, {}, 1) && player.Play(0u, {.m_Fade = 1, .m_Curve = FadeCurve::LINEAR}, 1));
    ASSERT_TRUE(player.Play(1u, {}, 2));
    EXPECT_NEAR(X(), base * 0.75 + 40 * 0.25, 1e-3);
    player.SetSpeed(0.0f); // the base's newest
    player.Step(0.125f);
    const double f3 = Smooth(0.625), g3 = 0.75;
    const double base3 = (36 * (1 - f3) + 1020 * f3) * (1 - g3) - 437.5 * g3;
    const double layer = 41 * 0.875 + 8 * 0.125;
    EXPECT_NEAR(X(), base3 * 0.75 + layer * 0.25 + 0.25 * 8, 1e-3);
    // At the end of the fades only the newest is left; the layers go.
    player.Stop(1);
    player.Stop(2, 0.25f);
    player.Step(0.125f);
    EXPECT_NEAR(X(), -437.5 + 0.125 * 16, 1e-3);
    player.Step(0.125f);
    EXPECT_NEAR(X(), -437.5, 1e-3);
    EXPECT_FALSE(player.IsPlaying(1) || player.IsPlaying(2));
    EXPECT_EQ(player.GetLayerWeight(2), 0.25f);
}

// A part of an added turn, on top of another one.
TEST(AnimPlayer, AdditiveLayersTurnByTheirShare)
{
    abc::File file;
    file.anims = {MakeWay("base", {0}, {0}), MakeWay("turn", {0, 1000}, {0, 0})};
    file.anims[0].tracks[0][0].q = TurnAboutY(0.3f);
    file.anims[1].tracks[0][0].q = TurnAboutY(0.5f);
    file.anims[1].tracks[0][1].q = TurnAboutY(1.7f);
    LoadedModel model(file);
    ModelInstance instance;
    ASSERT_TRUE(instance.Init(model));
    AnimPlayer player(instance);
    ASSERT_TRUE(player.Play(0u) && player.Play(1u, {.m_Start = 0.75f}, 1));
    ASSERT_TRUE(player.SetLayerKind(1, LayerKind::ADD));
    for (const float weight : {0.0f, 0.25f, 0.9f, 1.0f})
    {
        ASSERT_TRUE(player.SetLayerWeight(1, weight) && player.Apply() && instance.Evaluate());
        const double angle = 0.3 + weight * 0.75 * 1.2;
        EXPECT_NEAR(instance.GetMatrices()[0](0, 2), std::sin(angle), 1e-5);
        EXPECT_NEAR(instance.GetMatrices()[0](0, 0), std::cos(angle), 1e-5);
    }
}

// A figure that walks round a bend: moving the world by the motion gives what the animation shows, and goes on from
// there in the loops behind it. The pose keeps its height and what isn't a turn about y.
TEST(AnimPlayer, RootMotionGoesAlong)
{
    abc::File file;
    file.nodes[0].global = {0, 0, 1, 3, 0, 1, 0, 2, -1, 0, 0, -4, 0, 0, 0, 1}; // turned, and off the middle
    file.anims = {MakeWay("bend", {0, 500, 1000}, {3, 5, 8})};
    for (int i = 0; i < 3; ++i)
    {
        abc::Key& key = file.anims[0].tracks[0][i];
        key.t[1] = 2.0f + 0.5f * static_cast<float>(i);
        key.t[2] = static_cast<float>(-4 + i * i);
        key.q = TurnAboutY(0.4f + 0.9f * static_cast<float>(i));
    }
    LoadedModel model(file);
    ModelInstance raw, instance;
    ASSERT_TRUE(raw.Init(model) && instance.Init(model));
    AnimPlayer rawPlayer(raw), player(instance);
    ASSERT_TRUE(player.SetRootMotion(0) && rawPlayer.Play(0u) && player.Play(0u));
    ASSERT_TRUE(player.Apply() && rawPlayer.Apply() && instance.Evaluate() && raw.Evaluate());
    // The way from the bind pose to the start of the animation is the caller's first step.
    const Matrix4 bend = FindRootMotion(*model.GetNode(0)->GetGlobalTransform(), raw.GetMatrices()[0]).ToMatrix();
    instance.SetWorld(bend);
    Matrix4 loop; // what a whole loop adds, in the space of its start
    for (int i = 0; i < 41; ++i)
    {
        ASSERT_TRUE(player.Apply() && rawPlayer.Apply() && instance.Evaluate() && raw.Evaluate());
        Matrix4 inverse;
        bend.Inverse(inverse);
        const Matrix4 expected = bend * loop * inverse * raw.GetMatrices()[0];
        for (int k = 0; k < 16; ++k)
            ASSERT_NEAR(instance.GetMatrices()[0].m[k], expected.m[k], 2e-4) << i << " " << k;
        if (i == 16) // The end holds until a step leads beyond it.
        {
            ModelInstance end;
            ASSERT_TRUE(end.Init(model) && end.AddPosition({0, 2, 0, 2, 0.0f}) && end.Evaluate());
            loop = inverse * FindRootMotion(*model.GetNode(0)->GetGlobalTransform(), end.GetMatrices()[0]).ToMatrix();
        }
        else if (i == 32)
            loop = loop * loop;
        rawPlayer.Step(0.0625f);
        player.Step(0.0625f);
        instance.SetWorld(instance.GetWorld() * player.TakeRootMotion().ToMatrix());
    }
}

TEST(AnimPlayer, RefusesAndBears)
{
    abc::File file;
    file.anims = {MakeWay("a", {0, 1000}, {0, 64}), MakeWay("none", {}, {})};
    file.sets = {{"mixed", {2}}};
    LoadedModel model(file);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    ModelInstance instance;
    AnimPlayer player(instance);
    EXPECT_FALSE(player.Play(0u) || player.Play("a") || player.Apply() || player.SetRootMotion(0)); // no model yet
    player.Step(1.0f);
    ASSERT_TRUE(instance.Init(model));
    EXPECT_FALSE(player.Play(2u) || player.Play("none") || player.Play(nullptr) || player.Play("b"));
    EXPECT_FALSE(player.Play(0u, {}, AnimPlayer::NUM_LAYERS) || player.Play(0u, {.m_Speed = nan}));
    EXPECT_FALSE(player.Play(0u, {.m_Start = inf}) || player.Play(0u, {.m_Fade = nan}) || player.Seek(0.5f));
    EXPECT_FALSE(player.SetLayerWeight(0, 1) || player.SetLayerWeight(1, nan) || player.SetLayerWeight(1, 1.5f));
    EXPECT_FALSE(player.SetLayerWeightSet(1, 1) || player.SetLayerMask(0, nullptr) || player.SetRootMotion(1));
    ASSERT_TRUE(player.Play(0u));
    for (const float step : {nan, inf, -1.0f})
        player.Step(step);
    EXPECT_EQ(player.GetTime(), 0.0f);
    EXPECT_FALSE(player.SetSpeed(nan) || player.Seek(nan));
    EXPECT_TRUE(player.Seek(99.0f) && player.Apply() && instance.Evaluate());
    EXPECT_EQ(instance.GetMatrices()[0].m[3], 64.0f);
    // More crossfades than there is room for, on all layers: the newest are what counts.
    for (uint32_t iLayer = 0; iLayer < AnimPlayer::NUM_LAYERS; ++iLayer)
    {
        for (int i = 0; i < 9; ++i)
            EXPECT_TRUE(player.Play(0u, {.m_Start = 0.5f, .m_Fade = 4.0f}, iLayer));
    }
    EXPECT_TRUE(player.Apply() && instance.Evaluate());
    EXPECT_EQ(instance.NumPositions(), MAX_ANIM_POSITIONS);
    EXPECT_GE(instance.GetMatrices()[0].m[3], 32.0f);
}
