// Frame rates and further keys, on small scenes worked out by hand.
#include "scene/framerate.h"
#include "scene/samplechannel.h"
#include "scene/scenepose.h"
#include "scene/shapekeys.h"
#include "tests/scene/sceneparts.h"

#include <cmath>
#include <numbers>

using Frames = std::vector<int>;

// A chain of nodes, each one unit along x from its parent; the last one shows a triangle with the radius 1.
static Scene MakeChain(int count)
{
    Scene scene;
    scene.nodes.resize(static_cast<std::size_t>(count));
    scene.roots = {0};
    for (int i = 0; i + 1 < count; ++i)
    {
        scene.nodes[i].children = {i + 1};
        scene.nodes[i + 1].parent = i;
        scene.nodes[i + 1].local.translation.x = 1.0;
    }
    scene.primitives.resize(1);
    scene.primitives[0].positions = {{0, 0, 0}, {2, 0, 0}, {1, 0, 0}};
    scene.primitives[0].triangles.resize(1);
    scene.nodes.back().meshes = {{0, -1}};
    scene.clips.resize(1);
    return scene;
}

static FrameRateChoice Choose(const std::vector<std::vector<double>>& timesOfClips, double stated, const Frames& clips)
{
    Scene scene = MakeChain(1);
    scene.statedFps = stated;
    scene.clips.clear();
    for (const std::vector<double>& times : timesOfClips)
    {
        scene.clips.emplace_back();
        if (!times.empty())
        {
            scene.clips.back().channels = {MakeChannel(0, ScenePath::Scale, SceneInterpolation::Step, times,
                                                       std::vector<double>(3 * times.size()))};
        }
    }
    return ChooseFrameRate(scene, clips);
}

TEST(ChooseFrameRate, LowestRateWhoseFramesHoldEveryKey)
{
    EXPECT_EQ(Choose({{0, 1}}, 60, {0}).fps, 24);
    EXPECT_EQ(Choose({{0, 1 / 24.0, 7 / 24.0}}, 0, {0}).fps, 24);
    EXPECT_EQ(Choose({{0, 1 / 25.0}}, 0, {0}).fps, 25);
    EXPECT_EQ(Choose({{0, 1 / 30.0}}, 0, {0}).fps, 30);
    EXPECT_EQ(Choose({{0, 1 / 48.0}}, 0, {0}).fps, 48);
    EXPECT_EQ(Choose({{1 / 60.0, 1 / 24.0 + 0.00833}}, 0, {0}).fps, 60);
    EXPECT_EQ(Choose({{1 / 24.0, 1 / 30.0}}, 0, {0}).fps, 120);
    EXPECT_EQ(Choose({{1 / 24.0}, {1 / 25.0}, {1 / 30.0}}, 0, {1}).fps, 25) << "the clips that are exported count";
    EXPECT_EQ(Choose({{1 / 24.0}, {1 / 30.0}}, 0, {0, 1}).fps, 120);
    // 1 ms off a frame at 24, either way, is on it; more isn't.
    EXPECT_EQ(Choose({{10 / 24.0 - 0.001, 12 / 24.0 + 0.001}}, 0, {0}).fps, 24);
    EXPECT_NE(Choose({{10 / 24.0 - 0.0011}}, 0, {0}).fps, 24);
    EXPECT_EQ(Choose({{0, 1}}, 60, {0}).reason, FrameRateReason::FitsKeys);
}

TEST(ChooseFrameRate, ElseWhatTheFileStatesElse30)
{
    const std::vector<double> odd = {0.0137, 0.0271, 0.0391};
    EXPECT_EQ(Choose({odd}, 23.976, {0}).fps, 23.976);
    EXPECT_EQ(Choose({odd}, 23.976, {0}).reason, FrameRateReason::StatedRate);
    EXPECT_EQ(Choose({odd}, 0, {0}).fps, 30);
    EXPECT_EQ(Choose({odd}, 0, {0}).reason, FrameRateReason::NoneFits);
    EXPECT_EQ(Choose({odd}, 5000, {0}).fps, 30) << "no rate that can be exported";
    EXPECT_EQ(Choose({{}}, 50, {0}).fps, 50);
    EXPECT_EQ(Choose({}, 0, {}).fps, 30);
}

TEST(FindShapeKeys, NoneForLinearCurvesWithKeysOnFrames)
{
    Scene scene = MakeChain(3);
    scene.nodes[1].meshes = {{0, -1}};
    scene.clips[0].channels = {
        MakeChannel(0, ScenePath::Translation, SceneInterpolation::Linear, {0, 1, 2}, {0, 0, 0, 9, 0, 0, 9, 5, 0}),
        MakeChannel(1, ScenePath::Rotation, SceneInterpolation::Linear, {0, 2},
                    {0, 0, 0, 1, 0, 0, SQRT_HALF, SQRT_HALF})};
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 20), Frames());
    // At 10 frames per second the corner at 0.95 s lies between two frames: the model would cut it from 9 to 10.
    scene.clips[0].channels.resize(1);
    scene.clips[0].channels[0].times = {0, 0.95, 2};
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 20), (Frames{9}));
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 20, 20), Frames());
}

TEST(FindShapeKeys, TheFrameBeforeEachChangeOfAStep)
{
    Scene scene = MakeChain(2);
    scene.clips[0].channels = {
        MakeChannel(1, ScenePath::Rotation, SceneInterpolation::Step, {0, 1, 2, 3},
                    {0, 0, 0, 1, 0, 0, SQRT_HALF, SQRT_HALF, 0, 0, SQRT_HALF, SQRT_HALF, 0, 0, 0, 1})};
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 30), (Frames{9, 29})) << "nothing changes at 2 s";
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 12, 30), (Frames{29})) << "within the play range alone";
}

// A half turn may be played either way; a key within decides.
TEST(FindShapeKeys, AKeyWithinAHalfTurn)
{
    Scene scene = MakeChain(1);
    scene.clips[0].channels = {
        MakeChannel(0, ScenePath::Rotation, SceneInterpolation::Linear, {0, 1}, {0, 0, 0, 1, 0, 1, 0, 0})};
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 10), (Frames{5}));
}

// Between the keys that come out, a node that moves in the plane x, y is never off its curve by more than allowed.
TEST(FindShapeKeys, FollowsACubicSegmentWithFewKeys)
{
    Scene scene = MakeChain(1); // its radius is 1
    const SceneChannel curve = MakeChannel(0, ScenePath::Translation, SceneInterpolation::Cubic, {0, 4},
                                           {0, 0, 0, 0, 0, 0, 0.1, 0.03, 0, 0.1, -0.05, 0, 0.3, 0, 0, 0, 0, 0});
    scene.clips[0].channels = {curve};
    const Frames added = FindShapeKeys(scene, 0, 25, 0, 100);
    EXPECT_GE(added.size(), 2U);
    EXPECT_LE(added.size(), 16U);
    const auto worstBetween = [&](int from, int to)
    {
        double worst = 0.0;
        double a[3], b[3], v[3];
        SampleChannel(curve, 3, from / 25.0, a);
        SampleChannel(curve, 3, to / 25.0, b);
        for (int f = from; f <= to; ++f)
        {
            const double t = static_cast<double>(f - from) / (to - from);
            SampleChannel(curve, 3, f / 25.0, v);
            worst = std::fmax(worst, std::hypot(a[0] + t * (b[0] - a[0]) - v[0], a[1] + t * (b[1] - a[1]) - v[1]));
        }
        return worst;
    };
    Frames all = {0};
    all.insert(all.end(), added.begin(), added.end());
    all.push_back(100);
    for (std::size_t i = 0; i + 1 < all.size(); ++i)
        EXPECT_LE(worstBetween(all[i], all[i + 1]), 0.0005) << all[i];
    EXPECT_GT(worstBetween(all[0], all.back()), 0.0005);
}

// Without vertices the model that the clip is added to tells how large things are and what is kept.
TEST(FindShapeKeys, BareSkeletonOfAModel)
{
    Scene scene = MakeChain(3);
    for (SceneNode& node : scene.nodes)
        node.meshes.clear();
    scene.nodes[2].local.translation.x = 4.0;
    scene.clips[0].channels = {
        MakeChannel(0, ScenePath::Translation, SceneInterpolation::Step, {0, 1}, {0, 0, 0, 0.02, 0, 0}),
        MakeChannel(1, ScenePath::Rotation, SceneInterpolation::Linear, {0, 1},
                    {0, 0, 0, 1, 0, 0, SQRT_HALF, SQRT_HALF})};
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 10), Frames()) << "no extent, nothing to hold against";
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 10, {100.0, {true, true, true}}), Frames()) << "0.02 is little";
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 10, {1.0, {true, true, true}}), (Frames{9}));
    EXPECT_GT(FindShapeKeys(scene, 0, 10, 0, 10, {100.0, {true, false, true}}).size(), 1U) << "node 1 leaves";
}

// Node 1 turns and moves no vertex, so a model drops it and would carry node 2 straight to where the turn ends.
TEST(FindShapeKeys, JudgesWhatAModelPlaysWithoutTheNodesThatItDrops)
{
    Scene scene = MakeChain(3);
    scene.nodes[2].local.translation.x = 4.0;
    scene.clips[0].channels = {MakeChannel(1, ScenePath::Rotation, SceneInterpolation::Linear, {0, 1},
                                           {0, 0, 0, 1, 0, 0, SQRT_HALF, SQRT_HALF})};
    EXPECT_FALSE(FindShapeKeys(scene, 0, 10, 0, 10).empty()) << "node 2 goes round on a circle";
    // With a mesh of its own node 1 stays, and both play straight.
    scene.nodes[1].meshes = {{0, -1}};
    EXPECT_EQ(FindShapeKeys(scene, 0, 10, 0, 10), Frames());
}

// Joints that each turn by a degree, on a curve with a corner.
static Scene MakeTurningChain(int count)
{
    Scene scene = MakeChain(count);
    for (int i = 0; i < count; ++i)
    {
        scene.nodes[i].meshes = {{0, -1}};
        const auto quat = [](double degrees, std::vector<double>& values)
        {
            const double half = degrees * std::numbers::pi / 360.0;
            values.insert(values.end(), {0, 0, std::sin(half), std::cos(half)});
        };
        std::vector<double> values;
        quat(0, values);
        quat(0.4, values);
        quat(1, values);
        scene.clips[0].channels.push_back(
            MakeChannel(i, ScenePath::Rotation, SceneInterpolation::Linear, {0, 1.25, 2}, values));
    }
    return scene;
}

// Each of twenty joints follows its curve within 0.1 degrees, but all of them together carry the end too far off.
TEST(FindShapeKeys, BoundsWhatAddsUpAlongAChain)
{
    Scene scene = MakeTurningChain(20);
    // At 2 frames per second the keys lie on the frames 0, 3 (where the curve is at 0.6 degrees) and 4. Played straight
    // from 0 to 3, frame 2 stands at 0.4 degrees; on the curve it stands at 0.32.
    EXPECT_EQ(FindShapeKeys(scene, 0, 2, 0, 4), (Frames{2}));
    scene.clips[0].channels.erase(scene.clips[0].channels.begin() + 1, scene.clips[0].channels.end());
    EXPECT_EQ(FindShapeKeys(scene, 0, 2, 0, 4), Frames()) << "a single one is within the limits";
    // About the middle of the vertices nothing but the turn moves them, by 0.0028 and 0.0056 of the radius.
    for (const auto& [count, expected] : {std::pair<int, Frames>{2, {}}, {4, {2}}})
    {
        scene = MakeTurningChain(count);
        scene.primitives[0].positions = {{-1, 0, 0}, {1, 0, 0}, {0, 0, 0}};
        for (SceneNode& node : scene.nodes)
            node.local.translation = {};
        EXPECT_EQ(FindShapeKeys(scene, 0, 2, 0, 4), expected) << count;
    }
}
