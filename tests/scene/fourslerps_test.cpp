#include "scene/eulerangles.h"
#include "scene/fourslerps.h"
#include "scene/samplechannel.h"
#include "scene/scenepose.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

using Bits = std::array<std::uint64_t, 4>;

static bool HaveSameBits(const DoubleQuat& a, const DoubleQuat& b)
{
    return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b);
}

// Pairs of keys: any, equal ones, opposite ones, about one axis, far from length 1, without a direction.
static std::vector<double> MakeKeys(std::size_t nArcs)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> any(-1.0, 1.0);
    std::vector<double> keys;
    for (std::size_t arc = 0; arc < nArcs; ++arc)
    {
        std::vector<double> pair(8);
        for (double& value : pair)
        {
            value = any(random) * (arc % 11 == 3 ? 1e160 : 1.0);
        }
        for (std::size_t i = 0; i < 4; ++i)
        {
            pair[4 + i] = arc % 7 == 1 ? pair[i] : arc % 7 == 2 ? -pair[i] : pair[4 + i];
            pair[i] = arc % 7 == 4 && i == 1 ? 0.0 : pair[i];
            pair[i] = arc % 13 == 5 ? 0.0 : pair[i];
        }
        keys.insert(keys.end(), pair.begin(), pair.end());
    }
    return keys;
}

TEST(FourSlerps, GiveTheBitsOfTheSingleOperations)
{
    const std::size_t nArcs = 203;
    const std::vector<double> keys = MakeKeys(nArcs);
    std::vector<DoubleQuat> results(nArcs, {9.0, 9.0, 9.0, 9.0});
    std::vector<double> parts;
    FourSlerps slerps;
    for (std::size_t i = 0; i < nArcs; ++i)
    {
        parts.push_back(i % 5 == 0 ? 1e-9 : i % 5 == 1 ? 1.0 - 1e-9 : static_cast<double>(i) / nArcs);
        slerps.Add(&keys[8 * i], parts[i], results[i]);
    }
    slerps.Flush();
    for (std::size_t i = 0; i < nArcs; ++i)
    {
        const double* k = &keys[8 * i];
        const DoubleQuat single = NormalizeQuat(
            Slerp(NormalizeQuat({k[0], k[1], k[2], k[3]}), NormalizeQuat({k[4], k[5], k[6], k[7]}), parts[i]));
        EXPECT_TRUE(HaveSameBits(results[i], single)) << i;
    }
}

// Six nodes that turn, the first three by step, cubic and linear channels; two linear channels turn the last node.
TEST(FourSlerps, AClipIsSampledAsItsChannelsAre)
{
    Scene scene;
    scene.nodes.resize(6);
    scene.clips.resize(1);
    const std::vector<double> keys = MakeKeys(50);
    const SceneInterpolation kinds[7] = {
        SceneInterpolation::Step,   SceneInterpolation::Cubic,  SceneInterpolation::Linear, SceneInterpolation::Linear,
        SceneInterpolation::Linear, SceneInterpolation::Linear, SceneInterpolation::Linear};
    for (int i = 0; i < 7; ++i)
    {
        SceneChannel channel;
        channel.node = std::min(i, 5);
        channel.path = ScenePath::Rotation;
        channel.interpolation = kinds[i];
        channel.times = i == 4 ? std::vector<double>{0.25, 0.5, 0.75} : std::vector<double>{0.0, 0.5, 1.0};
        const std::size_t width = channel.interpolation == SceneInterpolation::Cubic ? 12 : 4;
        const double* first = &keys[40 * static_cast<std::size_t>(i)];
        channel.values.assign(first, first + 3 * width);
        scene.clips[0].channels.push_back(channel);
    }
    ScenePose pose;
    EvaluateLocals(scene, 0, 0.1, pose);
    for (const double seconds : {0.1, 0.5, 0.3, 0.9, 1.0, 2.0, -1.0})
    {
        MoveLocals(scene.clips[0], seconds, pose);
        std::vector<DoubleQuat> expected(6);
        for (const SceneChannel& channel : scene.clips[0].channels)
        {
            double q[4];
            SampleChannel(channel, 4, seconds, q);
            expected[static_cast<std::size_t>(channel.node)] = {q[0], q[1], q[2], q[3]};
        }
        for (std::size_t i = 0; i < 6; ++i)
        {
            EXPECT_TRUE(HaveSameBits(pose.locals[i].rotation, expected[i])) << i << " at " << seconds;
        }
    }
}

// What leaves calls out where it knows the result, against what makes all of them.
TEST(EulerAngles, AboutOneAxisAreThoseOfTheWholeFormula)
{
    for (int i = 0; i < 1000; ++i)
    {
        const int turn = i / 10 - 50;
        const double half = 0.0063 * turn;
        double v[4] = {0.0, -0.0, 0.0, std::cos(half)};
        v[i % 3] = std::sin(half);
        v[(i + 1) % 3] = i % 2 == 0 ? 0.0 : -0.0;
        if (i % 10 == 9)
        {
            v[(i + 1) % 3] = 0.1;
        }
        const DoubleQuat q = NormalizeQuat({v[0], v[1], v[2], v[3]});
        const double m00 = 1.0 - 2.0 * (q.y * q.y + q.z * q.z);
        const double m10 = 2.0 * (q.x * q.y + q.z * q.w);
        const Double3 whole = {
            std::atan2(2.0 * (q.y * q.z + q.x * q.w), 1.0 - 2.0 * (q.x * q.x + q.y * q.y)),
            std::atan2(-(2.0 * (q.x * q.z - q.y * q.w)), std::hypot(m00, m10)),
            std::atan2(m10, m00),
        };
        const Double3 angles = EulerAnglesFromQuat(q);
        EXPECT_TRUE(HaveSameBits({angles.x, angles.y, angles.z}, {whole.x, whole.y, whole.z})) << i;

        const float a[3] = {static_cast<float>(whole.x), static_cast<float>(whole.y), static_cast<float>(whole.z)};
        float matrix[16];
        RowMatrixFromEulerAngles(a, matrix);
        double sine[3];
        double cosine[3];
        for (int axis = 0; axis < 3; ++axis)
        {
            sine[axis] = std::sin(static_cast<double>(a[axis]));
            cosine[axis] = std::cos(static_cast<double>(a[axis]));
        }
        const double row1 = sine[0] * sine[1] * cosine[2] - cosine[0] * sine[2];
        const double row2 = cosine[0] * sine[1] * sine[2] - sine[0] * cosine[2];
        EXPECT_TRUE(HaveSameBits({matrix[2], matrix[4], matrix[9]},
                                 {static_cast<float>(-sine[1]), static_cast<float>(row1), static_cast<float>(row2)}))
            << i;
    }
}
