#include "scene/cliprange.h"
#include "scene/decompose.h"
#include "scene/eulerangles.h"
#include "scene/keyframe.h"
#include "scene/meshpositions.h"
#include "scene/samplechannel.h"
#include "tests/scene/sceneparts.h"

#include <cmath>
#include <numbers>
#include <random>

static std::vector<double> Sample(const SceneChannel& channel, std::size_t width, double seconds)
{
    std::vector<double> values(width);
    SampleChannel(channel, width, seconds, values.data());
    return values;
}

TEST(SampleChannel, LinearMixesPointsAndTurnsOnTheShorterArc)
{
    const SceneChannel points =
        MakeChannel(0, ScenePath::Translation, SceneInterpolation::Linear, {1.0, 3.0}, {0, 10, 4, 8, 30, 4});
    EXPECT_EQ(Sample(points, 3, 1.5), (std::vector<double>{2, 15, 4}));
    EXPECT_EQ(Sample(points, 3, 0.0), (std::vector<double>{0, 10, 4}));
    // From no turn to a quarter turn about z, given with the opposite sign: 22.5 degrees are a quarter of the way.
    const double s = std::sqrt(0.5);
    const SceneChannel turn =
        MakeChannel(0, ScenePath::Rotation, SceneInterpolation::Linear, {0.0, 1.0}, {0, 0, 0, 1, 0, 0, -s, -s});
    const std::vector<double> q = Sample(turn, 4, 0.25);
    EXPECT_NEAR(q[2], std::sin(std::numbers::pi / 16.0), 1e-14);
    EXPECT_NEAR(q[3], std::cos(std::numbers::pi / 16.0), 1e-14);
    // Nearly the same rotation twice: no division by a vanishing sine.
    const SceneChannel still =
        MakeChannel(0, ScenePath::Rotation, SceneInterpolation::Linear, {0.0, 1.0}, {0, 0, 0, 1, 0, 0, 1e-9, 1});
    EXPECT_NEAR(Sample(still, 4, 0.5)[2], 5e-10, 1e-20);
}

TEST(SampleChannel, CubicFollowsTheHermiteSpline)
{
    // Values 1 and 3 at 2 s and 4 s, leaving with slope 0.5, arriving with slope -1; worked out by hand at the middle:
    // 0.5 * 1 + 0.5 * 3 + 2 * (0.125 * 0.5 - 0.125 * -1) = 2.375.
    const SceneChannel channel =
        MakeChannel(0, ScenePath::Weights, SceneInterpolation::Cubic, {2.0, 4.0}, {9, 1, 0.5, -1, 3, 9});
    EXPECT_DOUBLE_EQ(Sample(channel, 1, 3.0)[0], 2.375);
    EXPECT_EQ(Sample(channel, 1, 1.0)[0], 1);
    EXPECT_EQ(Sample(channel, 1, 5.0)[0], 3);
    // A quarter: u = 1/4 gives 27/32 + 3 * 5/32 + 2 * (9/64 * 0.5 + 3/64) = 1.546875.
    EXPECT_DOUBLE_EQ(Sample(channel, 1, 2.5)[0], 1.546875);
    const SceneChannel turn = MakeChannel(0, ScenePath::Rotation, SceneInterpolation::Cubic, {0.0, 1.0},
                                          {0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0});
    EXPECT_NEAR(Sample(turn, 4, 0.5)[3], std::sqrt(0.5), 1e-15) << "brought to length 1";
}

TEST(KeyFrame, StepKeysLieBehindTheirTimeOthersOnTheNearestFrame)
{
    struct Case
    {
        double seconds;
        double fps;
        SceneInterpolation interpolation;
        int frame;
    };
    const Case cases[] = {
        {0.0, 30, SceneInterpolation::Linear, 0},     {0.05, 30, SceneInterpolation::Linear, 2},
        {0.125, 24, SceneInterpolation::Linear, 3},   {0.0208333, 24, SceneInterpolation::Cubic, 0},
        {0.0625, 24, SceneInterpolation::Linear, 2},  {-0.0625, 24, SceneInterpolation::Linear, -1},
        {0.05, 30, SceneInterpolation::Step, 2},      {0.034, 30, SceneInterpolation::Step, 1},
        {0.035, 30, SceneInterpolation::Step, 2},     {1.0 / 3.0, 30, SceneInterpolation::Step, 10},
        {-0.05, 30, SceneInterpolation::Step, -1},    {1e30, 30, SceneInterpolation::Linear, 1000000000},
        {1.0, 29.97, SceneInterpolation::Linear, 30},
    };
    for (const Case& c : cases)
        EXPECT_EQ(KeyFrame(c.interpolation, c.seconds, c.fps), c.frame) << c.seconds << " at " << c.fps;
    // Whatever the key and the rate: a step value holds at its key's frame and not on the frame before.
    std::mt19937 random(5);
    std::uniform_real_distribution<float> times(0.1F, 90.0F);
    for (int i = 0; i < 20000; ++i)
    {
        const double fps = i % 3 == 0 ? 24.0 : i % 3 == 1 ? 30.0 : 60.0;
        const double time = i % 2 == 0 ? times(random) : std::floor(times(random) * 10) / fps;
        const SceneChannel channel =
            MakeChannel(0, ScenePath::Weights, SceneInterpolation::Step, {0.0, time, 100.0}, {1, 2, 3});
        const int frame = KeyFrame(SceneInterpolation::Step, time, fps);
        EXPECT_EQ(Sample(channel, 1, frame / fps)[0], 2) << time << " at " << fps;
        EXPECT_EQ(Sample(channel, 1, (frame - 1) / fps)[0], 1) << time << " at " << fps;
    }
}

TEST(ClipRange, CoversAllChannelsAndCountsKeysWithoutScale)
{
    Scene scene;
    scene.nodes.resize(1);
    scene.clips.resize(2);
    scene.clips[0].channels = {
        MakeChannel(0, ScenePath::Scale, SceneInterpolation::Linear, {0.5, 2.0}, {1, 1, 1, 1, 1.0002, 1}),
        MakeChannel(0, ScenePath::Translation, SceneInterpolation::Linear, {1.0, 1.01, 1.5},
                    std::vector<double>(9, 0.0)),
        MakeChannel(0, ScenePath::Rotation, SceneInterpolation::Step, {1.01}, {0, 0, 0, 1})};
    const ClipRange range = FindClipRange(scene, 0, 30.0);
    EXPECT_EQ(range.start, 15);
    EXPECT_EQ(range.end, 60);
    EXPECT_EQ(FindKeyFrames(scene, 0, 30.0), (std::vector<int>{30, 31, 45}));
    EXPECT_TRUE(AnimatesScale(scene, 0));
    EXPECT_FALSE(AnimatesScale(scene, 1));
    EXPECT_FALSE(AnimatesScale(scene, -1));
    EXPECT_EQ(FindClipRange(scene, 1, 30.0).end, 0);
    EXPECT_TRUE(FindKeyFrames(scene, -1, 30.0).empty());
}

static DoubleQuat RandomQuat(std::mt19937& random)
{
    std::normal_distribution<double> normal;
    return NormalizeQuat({normal(random), normal(random), normal(random), normal(random)});
}

static double Distance(const DoubleMatrix& a, const DoubleMatrix& b)
{
    double worst = 0.0;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            worst = std::max(worst, std::fabs(a.m[row][column] - b.m[row][column]));
    return worst;
}

// Rz times Ry times Rx, each written down from its definition.
static DoubleMatrix RotationZYX(double x, double y, double z)
{
    const DoubleMatrix rx = {
        {{1, 0, 0, 0}, {0, std::cos(x), -std::sin(x), 0}, {0, std::sin(x), std::cos(x), 0}, {0, 0, 0, 1}}};
    const DoubleMatrix ry = {
        {{std::cos(y), 0, std::sin(y), 0}, {0, 1, 0, 0}, {-std::sin(y), 0, std::cos(y), 0}, {0, 0, 0, 1}}};
    const DoubleMatrix rz = {
        {{std::cos(z), -std::sin(z), 0, 0}, {std::sin(z), std::cos(z), 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
    return MultiplyAffine(rz, MultiplyAffine(ry, rx));
}

TEST(EulerAngles, GiveTheRotationBack)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> angle(-std::numbers::pi, std::numbers::pi);
    for (int i = 0; i < 3000; ++i)
    {
        DoubleQuat q = RandomQuat(random);
        if (i % 3 == 1) // y at a quarter turn, exactly or with the noise of floats
        {
            const double half = angle(random) / 2.0;
            const double s = (i % 2 == 0 ? 1.0 : -1.0) * std::sqrt(0.5);
            q = {std::sin(half) * std::sqrt(0.5), std::cos(half) * s, -std::sin(half) * s,
                 std::cos(half) * std::sqrt(0.5)};
            if (i % 4 == 0)
            {
                q = NormalizeQuat({static_cast<float>(q.x), static_cast<float>(q.y), static_cast<float>(q.z),
                                   static_cast<float>(q.w)});
            }
        }
        const Double3 angles = EulerAnglesFromQuat(q);
        const DoubleMatrix wanted = MatrixFromTransform({{}, q, {1, 1, 1}});
        EXPECT_LT(Distance(RotationZYX(angles.x, angles.y, angles.z), wanted), 1e-6);
        if (i % 3 == 1)
        {
            EXPECT_EQ(angles.z, 0.0);
            EXPECT_NEAR(std::fabs(angles.y), std::numbers::pi / 2.0, 1e-6);
        }
        else
        {
            EXPECT_LT(Distance(RotationZYX(angles.x, angles.y, angles.z), wanted), 1e-9);
        }
        // The host's matrix is the transpose, in floats.
        const float floats[3] = {static_cast<float>(angles.x), static_cast<float>(angles.y),
                                 static_cast<float>(angles.z)};
        float matrix[16];
        RowMatrixFromEulerAngles(floats, matrix);
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column)
                EXPECT_NEAR(matrix[4 * column + row], wanted.m[row][column], 2e-6);
        EXPECT_EQ(matrix[15], 1.0F);
        EXPECT_EQ(matrix[3] + matrix[7] + matrix[11] + matrix[12] + matrix[13] + matrix[14], 0.0F);
    }
}

TEST(DecomposeMatrix, GivesTransformsBackAndKnowsShear)
{
    std::mt19937 random(12);
    std::uniform_real_distribution<double> sizes(0.001, 1000.0);
    for (int i = 0; i < 2000; ++i)
    {
        const DoubleQuat halfTurns[] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
        DoubleTransform transform = {{sizes(random), -sizes(random), 5.0},
                                     i % 7 == 3 ? halfTurns[i / 7 % 3] : RandomQuat(random),
                                     {sizes(random), sizes(random), sizes(random)}};
        double* axes[3] = {&transform.scale.x, &transform.scale.y, &transform.scale.z};
        *axes[i % 3] *= i % 2 == 0 ? -1.0 : 1.0;
        if (i % 5 == 0)
            *axes[(i + 1) % 3] = 0.0;
        if (i % 25 == 0)
            *axes[(i + 2) % 3] = 0.0;
        const DoubleMatrix matrix = MatrixFromTransform(transform);
        DoubleTransform taken;
        EXPECT_TRUE(DecomposeMatrix(matrix, taken));
        EXPECT_LT(Distance(MatrixFromTransform(taken), matrix), 1e-9);
    }
    DoubleTransform taken;
    DoubleMatrix matrix;
    for (const auto& [shear, bTaken] : {std::pair{0.5, false}, {1e-4, false}, {1e-7, true}})
    {
        for (const int axis : {1, 2})
        {
            matrix = DoubleMatrix();
            matrix.m[0][axis] = shear;
            EXPECT_EQ(DecomposeMatrix(matrix, taken), bTaken) << shear << " " << axis;
        }
    }
    for (auto& row : matrix.m)
        row[0] = row[1] = row[2] = 0.0;
    EXPECT_TRUE(DecomposeMatrix(matrix, taken));
    EXPECT_EQ(taken.scale.y, 0.0);
    EXPECT_EQ(taken.rotation.w, 1.0);
}

TEST(DoubleMath, InverseUndoesAndRefusesASingularMatrix)
{
    std::mt19937 random(13);
    for (int i = 0; i < 200; ++i)
    {
        const DoubleMatrix a = MatrixFromTransform({{1, 2, 3}, RandomQuat(random), {0.5, -3, 2}});
        const DoubleMatrix b = MatrixFromTransform({{-4, 0, 1}, RandomQuat(random), {1, 7, 0.1}});
        DoubleMatrix inverse;
        ASSERT_TRUE(InvertAffine(MultiplyAffine(a, b), inverse));
        const Double3 back = TransformPoint(inverse, TransformPoint(a, TransformPoint(b, {3, -2, 9})));
        ExpectPoint(back, 3, -2, 9, 1e-9);
    }
    DoubleMatrix inverse;
    EXPECT_FALSE(InvertAffine(MatrixFromTransform({{}, {}, {1, 0, 1}}), inverse));
    EXPECT_FALSE(InvertAffine(MatrixFromTransform({{}, {}, {1e-200, 1e-200, 1}}), inverse));
    EXPECT_EQ(Distance(inverse, DoubleMatrix()), 0.0);
}

// A chain of two joints under a moved parent; the expected positions are written down for a bend of a quarter turn.
TEST(WorldPositions, FollowMorphsJointsAndParents)
{
    Scene scene;
    scene.nodes.resize(4);
    scene.roots = {0, 3};
    scene.nodes[0].children = {1};
    scene.nodes[0].local.translation = {10, 0, 0};
    scene.nodes[1] = SceneNode();
    scene.nodes[1].parent = 0;
    scene.nodes[1].children = {2};
    scene.nodes[2].parent = 1;
    scene.nodes[2].local.translation = {0, 1, 0};
    scene.nodes[3].local = {{5, 5, 5}, {}, {2, 2, 2}};
    scene.nodes[3].morphWeights = {0.0};
    scene.skins.resize(1);
    scene.skins[0].joints = {1, 2};
    scene.skins[0].inverseBinds.resize(2);
    scene.skins[0].inverseBinds[1].m[1][3] = -1.0;
    ScenePrimitive primitive;
    primitive.positions = {{0, 0, 0}, {0, 2, 0}, {0, 2, 0}, {1, 1, 1}};
    primitive.morphDeltas = {{{0, 0, 4}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}};
    primitive.influenceStarts = {0, 1, 2, 5, 5};
    primitive.influences = {{0, 1.0}, {1, 0.5}, {0, 1.0}, {1, 2.0}, {1, 1.0}};
    scene.primitives = std::vector<ScenePrimitive>{primitive};
    scene.nodes[3].meshes = {{0, 0}, {0, -1}};
    scene.clips.resize(1);
    SceneChannel bend = MakeChannel(2, ScenePath::Rotation, SceneInterpolation::Step, {0.0, 1.0},
                                    {0, 0, 0, 1, 0, 0, std::sqrt(0.5), std::sqrt(0.5)});
    SceneChannel morph = MakeChannel(3, ScenePath::Weights, SceneInterpolation::Linear, {0.0, 1.0}, {0.0, 0.5});
    scene.clips[0].channels = {bend, morph};
    ScenePose pose;
    EvaluatePose(scene, 0, 1.0, pose);
    const std::vector<Double3> skinned = WorldPositions(scene, 3, {0, 0}, pose);
    EXPECT_NEAR(skinned[0].x, 10, 1e-12);
    EXPECT_NEAR(skinned[0].z, 2, 1e-12) << "half the morph";
    EXPECT_NEAR(skinned[1].x, 9, 1e-12) << "a unit above the bent joint turns to its left";
    EXPECT_NEAR(skinned[1].y, 1, 1e-12);
    EXPECT_NEAR(skinned[2].x, 9.25, 1e-12) << "a quarter stays straight at 10, 2";
    EXPECT_NEAR(skinned[2].y, 1.25, 1e-12);
    ExpectPoint(skinned[3], 11, 1, 1); // without weights it goes with the joint above all others
    const std::vector<Double3> rigid = WorldPositions(scene, 3, {0, -1}, pose);
    EXPECT_EQ(rigid[3].x, 7);
    EXPECT_EQ(rigid[0].z, 9);
    EvaluatePose(scene, -1, 1.0, pose);
    EXPECT_NEAR(WorldPositions(scene, 3, {0, 0}, pose)[1].y, 2, 1e-12) << "at rest without a clip";
    scene.skins[0].joints = {2, 3};
    ExpectPoint(WorldPositions(scene, 3, {0, 0}, pose)[3], 7, 7, 7); // or with its node
}
