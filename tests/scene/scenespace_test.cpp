// Scenes turned, scaled and brought to their bind pose: values by hand, and poses before and after.
#include "scene/bindpose.h"
#include "scene/meshpositions.h"
#include "scene/scenepose.h"
#include "scene/transformscene.h"
#include "tests/scene/sceneparts.h"

#include <cmath>
#include <random>
#include <utility>

// Two joints along x below a top node that carries the skinned mesh; at rest the first one is turned a quarter about z.
// It was bound unturned: the vertices lie at the joints.
static Scene MakeSkinnedScene()
{
    Scene scene;
    scene.nodes.resize(4);
    scene.roots = {0};
    scene.nodes[0].children = {1, 3};
    scene.nodes[0].local.translation = {0, 0, 5};
    scene.nodes[1].parent = 0;
    scene.nodes[1].children = {2};
    scene.nodes[1].local = {{1, 0, 0}, {0, 0, SQRT_HALF, SQRT_HALF}, {1, 1, 1}};
    scene.nodes[2].parent = 1;
    scene.nodes[2].local.translation = {2, 0, 0};
    scene.nodes[3].parent = 0;
    scene.nodes[3].meshes = {{0, 0}};
    scene.primitives.resize(1);
    ScenePrimitive& primitive = scene.primitives[0];
    primitive.positions = {{1, 0, 0}, {3, 0, 0}, {3, 1, 0}};
    primitive.texCoords = {{0.25F, 0.25F}, {1, 0}, {0, -1}};
    primitive.triangles = {{{0, 1, 2}}};
    primitive.influenceStarts = {0, 1, 2, 4};
    primitive.influences = {{0, 1.0}, {1, 1.0}, {0, 0.5}, {1, 0.5}};
    primitive.morphDeltas = {{{0, 0, 0}, {0, 0, 0}, {0, 0, 1}}};
    scene.nodes[3].morphWeights = {0.0};
    scene.skins.resize(1);
    scene.skins[0].joints = {1, 2};
    scene.skins[0].inverseBinds.resize(2);
    scene.skins[0].inverseBinds[0].m[0][3] = -1.0;
    scene.skins[0].inverseBinds[1].m[0][3] = -3.0;
    scene.clips.resize(1);
    return scene;
}

static std::vector<Double3> WorldAt(const Scene& scene, int clip, double seconds)
{
    ScenePose pose;
    EvaluatePose(scene, clip, seconds, pose);
    return WorldPositions(scene, 3, scene.nodes[3].meshes[0], pose);
}

// Channels for the top node and the second joint, cubic and linear, with numbers out of nowhere.
static void AddRandomChannels(Scene& scene, unsigned seed)
{
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> number(-2.0, 2.0);
    for (const int node : {0, 2})
    {
        for (const ScenePath path : {ScenePath::Translation, ScenePath::Rotation, ScenePath::Scale})
        {
            SceneChannel channel;
            channel.node = node;
            channel.path = path;
            channel.interpolation = node == 0 ? SceneInterpolation::Cubic : SceneInterpolation::Linear;
            channel.times = {0, 1, 2};
            const int width = path == ScenePath::Rotation ? 4 : 3;
            for (int i = 0; i < 3 * width * (node == 0 ? 3 : 1); ++i)
                channel.values.push_back(number(engine));
            scene.clips[0].channels.push_back(channel);
        }
    }
}

TEST(TransformScene, TurnsAndScalesTheWorldAtEveryMoment)
{
    const struct
    {
        char from, to;
        double rows[3][3];
    } turns[] = {{'y', 'y', {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}},
                 {'z', 'y', {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}},
                 {'y', 'z', {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}}},
                 {'x', 'y', {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}}};
    for (const auto& turn : turns)
    {
        Scene scene = MakeSkinnedScene();
        scene.nodes[3].morphWeights = {0.75};
        AddRandomChannels(scene, 7);
        const Scene before = scene;
        TransformScene(scene, {0.25, turn.from, turn.to, false});
        for (const auto& [clip, seconds] : {std::pair{-1, 0.0}, {0, 0.0}, {0, 0.3}, {0, 1.7}})
        {
            const std::vector<Double3> was = WorldAt(before, clip, seconds);
            const std::vector<Double3> is = WorldAt(scene, clip, seconds);
            for (std::size_t v = 0; v < was.size(); ++v)
            {
                const auto row = [&](int i) {
                    return 0.25 *
                           (turn.rows[i][0] * was[v].x + turn.rows[i][1] * was[v].y + turn.rows[i][2] * was[v].z);
                };
                ExpectPoint(is[v], row(0), row(1), row(2), 1e-9);
            }
        }
        for (std::size_t i = 0; i < scene.nodes.size(); ++i)
            ExpectPoint(scene.nodes[i].local.scale, 1, 1, 1);
    }
}

TEST(TransformScene, ValuesByHand)
{
    Scene scene = MakeSkinnedScene();
    TransformScene(scene, {10, 'z', 'y', true});
    ExpectPoint(scene.nodes[0].local.translation, 0, 50, 0);
    EXPECT_NEAR(scene.nodes[0].local.rotation.x, -SQRT_HALF, 1e-15); // a quarter back about x
    EXPECT_NEAR(scene.nodes[0].local.rotation.w, SQRT_HALF, 1e-15);
    ExpectPoint(scene.nodes[1].local.translation, 10, 0, 0);
    EXPECT_EQ(scene.nodes[1].local.rotation.z, SQRT_HALF);
    ExpectPoint(scene.primitives[0].positions[2], 30, 10, 0);
    ExpectPoint(scene.primitives[0].morphDeltas[0][2], 0, 0, 10);
    EXPECT_EQ(scene.skins[0].inverseBinds[1].m[0][3], -30.0);
    EXPECT_EQ(scene.skins[0].inverseBinds[1].m[3][3], 1.0);
    EXPECT_EQ(scene.primitives[0].texCoords[0].v, 0.75F);
    EXPECT_EQ(scene.primitives[0].texCoords[2].v, 2.0F);
    EXPECT_EQ(scene.primitives[0].texCoords[0].u, 0.25F);
}

TEST(ConvertStatedUnits, MetresAndYUpAndAWordOfIt)
{
    Scene scene = MakeSkinnedScene();
    EXPECT_EQ(ConvertStatedUnits(scene), "");
    ExpectPoint(scene.nodes[0].local.translation, 0, 0, 5);
    scene.unitMeters = 0.01;
    scene.upAxis = 'z';
    EXPECT_EQ(ConvertStatedUnits(scene),
              "The file states a unit of 0.01 m and z up: scaled by 0.01 and turned to y up.");
    ExpectPoint(scene.nodes[0].local.translation, 0, 0.05, 0);
    EXPECT_EQ(ConvertStatedUnits(scene), "The file states a unit of 1 m and y up: taken as it is.");
    ExpectPoint(scene.nodes[0].local.translation, 0, 0.05, 0);
    scene.unitMeters = 0.0;
    scene.upAxis = 'x';
    EXPECT_EQ(ConvertStatedUnits(scene), "The file states x up: turned to y up.");
}

// At its bind pose the skin shows the mesh as it was modelled, in the space of the mesh's node.
TEST(PoseAtBind, JointsStandWhereTheyWereBound)
{
    Scene scene = MakeSkinnedScene();
    scene.nodes[2].local.rotation = {SQRT_HALF, 0, 0, SQRT_HALF};
    PoseAtBind(scene);
    const std::vector<Double3> bound = WorldAt(scene, -1, 0);
    ExpectPoint(bound[0], 1, 0, 5);
    ExpectPoint(bound[1], 3, 0, 5);
    ExpectPoint(bound[2], 3, 1, 5);
    ExpectPoint(scene.nodes[1].local.translation, 1, 0, 0);
    EXPECT_NEAR(std::fabs(scene.nodes[1].local.rotation.w), 1.0, 1e-12);
    ExpectPoint(scene.nodes[2].local.translation, 2, 0, 0);
    ExpectPoint(scene.nodes[0].local.translation, 0, 0, 5);
    EXPECT_TRUE(scene.warnings.empty());
}

// A skin that rests as it was bound stays, to the bit, wherever the mesh's node is: glTF gives that no say.
TEST(PoseAtBind, WhatRestsAsItWasBoundStays)
{
    Scene scene = MakeSkinnedScene();
    scene.nodes[1].local.rotation = {};
    scene.nodes[3].local = {{7, 7, 7}, {SQRT_HALF, 0, 0, SQRT_HALF}, {1, 1, 1}};
    const std::vector<Double3> before = WorldAt(scene, -1, 0);
    PoseAtBind(scene);
    const std::vector<Double3> after = WorldAt(scene, -1, 0);
    for (std::size_t v = 0; v < before.size(); ++v)
        ExpectPoint(after[v], before[v].x, before[v].y, before[v].z, 0.0);
}

// The mesh was modelled a hundred times as large as the joints show it, and its node doesn't know: the size that the
// joints give it holds.
TEST(PoseAtBind, KeepsTheSizeThatTheJointsGive)
{
    Scene scene = MakeSkinnedScene();
    for (DoubleMatrix& matrix : scene.skins[0].inverseBinds)
        for (int i = 0; i < 3; ++i)
            matrix.m[i][i] = 0.01;
    for (Double3& p : scene.primitives[0].positions)
        p = {100 * p.x, 100 * p.y, 100 * p.z};
    const Scene hundredfold = scene;
    PoseAtBind(scene);
    std::vector<Double3> bound = WorldAt(scene, -1, 0);
    EXPECT_NEAR(std::hypot(bound[1].x - bound[0].x, bound[1].y - bound[0].y), 2.0, 1e-12);
    ExpectPoint(scene.nodes[1].local.scale, 1, 1, 1);

    // Bent at the second joint the two don't agree, and the topmost one says where the skin is, wherever it is listed.
    scene = hundredfold;
    scene.nodes[2].local.rotation = {SQRT_HALF, 0, 0, SQRT_HALF};
    std::swap(scene.skins[0].joints[0], scene.skins[0].joints[1]);
    std::swap(scene.skins[0].inverseBinds[0], scene.skins[0].inverseBinds[1]);
    for (SceneInfluence& influence : scene.primitives[0].influences)
        influence.joint = 1 - influence.joint;
    PoseAtBind(scene);
    bound = WorldAt(scene, -1, 0);
    EXPECT_NEAR(std::hypot(bound[1].x - bound[0].x, bound[1].y - bound[0].y), 2.0, 1e-12);
    EXPECT_NEAR(scene.nodes[1].local.rotation.z, SQRT_HALF, 1e-12);
    EXPECT_NEAR(std::fabs(scene.nodes[2].local.rotation.w), 1.0, 1e-12);
}

TEST(PoseAtBind, TheFirstOfTwoSkinsWinsWithAWarning)
{
    Scene scene = MakeSkinnedScene();
    scene.nodes[1].name = "hip";
    scene.nodes[1].local.rotation = {};
    scene.nodes[2].name = "knee";
    scene.skins.push_back(scene.skins[0]);
    scene.skins[1].inverseBinds[1].m[1][3] = -2.0; // the knee two units further up
    scene.nodes[3].meshes.push_back({0, 1});
    PoseAtBind(scene);
    ExpectPoint(scene.nodes[2].local.translation, 2, 0, 0);
    ASSERT_EQ(scene.warnings.size(), 1U);
    EXPECT_EQ(scene.warnings[0], "Joint knee is bound in two ways; that of the first skin counts.");
}

// A copy holds the same memory until one of the two is written to, whichever it is.
TEST(ScenePrimitivesTest, CopiesShareUntilOneIsWrittenTo)
{
    Scene scene;
    scene.primitives.resize(2);
    scene.primitives[1].positions = {{1.0, 2.0, 3.0}};
    const Scene copy = scene;
    const ScenePrimitive* shared = copy.primitives.begin();
    EXPECT_EQ(std::as_const(scene).primitives.begin(), shared);
    scene.primitives[1].positions[0].x = 7.0;
    EXPECT_EQ(copy.primitives.begin(), shared);
    EXPECT_EQ(copy.primitives[1].positions[0].x, 1.0);
    EXPECT_EQ(std::as_const(scene).primitives[1].positions[0].x, 7.0);
    const ScenePrimitive* own = std::as_const(scene).primitives.begin();
    scene.primitives[0].name = "alone"; // nobody shares it any more
    EXPECT_EQ(std::as_const(scene).primitives.begin(), own);
}
