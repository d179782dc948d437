#include "host/skinchoice.h"

#include "scene/meshpositions.h"
#include "scene/sceneradius.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>

namespace
{

constexpr int LAST_FRAME = 12;

class RandomFigure
{
public:
    explicit RandomFigure(unsigned seed) : m_Random(seed) { Make(); }

    // How far the furthest vertex of a model whose skin is that of frame 0 is off at a frame: one that goes with its
    // joints from there, held against the scene.
    double StrayAt(int frame) const
    {
        ScenePose start, now;
        EvaluatePose(scene, 0, 0.0, start);
        EvaluatePose(scene, 0, frame / 30.0, now);
        const SceneMeshUse& use = scene.nodes[3].meshes[0];
        const ScenePrimitive& primitive = scene.primitives[0];
        const std::vector<Double3> taken = WorldPositions(scene, 3, use, start);
        const std::vector<Double3> wanted = WorldPositions(scene, 3, use, now);
        double worst = 0.0;
        for (size_t v = 0; v < taken.size(); v++)
        {
            Double3 sum;
            double weights = 0.0;
            for (uint32_t i = primitive.influenceStarts[v]; i < primitive.influenceStarts[v + 1]; i++)
            {
                const auto [joint, weight] = primitive.influences[i];
                DoubleMatrix back;
                InvertAffine(start.globals[joint], back);
                const Double3 moved = TransformPoint(MultiplyAffine(now.globals[joint], back), taken[v]);
                sum = {sum.x + weight * moved.x, sum.y + weight * moved.y, sum.z + weight * moved.z};
                weights += weight;
            }
            worst = std::max(worst, std::hypot(sum.x / weights - wanted[v].x, sum.y / weights - wanted[v].y,
                                               sum.z / weights - wanted[v].z));
        }
        return worst;
    }

    double Limit() const
    {
        ScenePose start;
        EvaluatePose(scene, 0, 0.0, start);
        return SKIN_LIMIT * FindSceneRadius(scene, start);
    }

    Scene scene;

private:
    double Between(double low, double high) { return std::uniform_real_distribution<double>(low, high)(m_Random); }
    Double3 Point() { return {Between(-1, 1), Between(-1, 1), Between(-1, 1)}; }
    DoubleQuat TurnBy(double angle)
    {
        const Double3 axis = Point();
        const DoubleQuat unit = NormalizeQuat({axis.x, axis.y, axis.z, 0.0});
        const double s = std::sin(0.5 * angle);
        return {s * unit.x, s * unit.y, s * unit.z, std::cos(0.5 * angle)};
    }

    // A chain of three joints at rest as they are bound, a mesh of 100 or more vertices, and a clip that turns the
    // figure as a whole by much and its joints by little or much.
    void Make()
    {
        SceneSkin skin;
        for (int joint = 0; joint < 3; joint++)
        {
            SceneNode node;
            node.parent = joint - 1;
            node.local.translation = Point();
            node.local.rotation = TurnBy(1.0);
            if (joint < 2)
                node.children = {joint + 1};
            scene.nodes.push_back(node);
            skin.joints.push_back(joint);
        }
        ScenePose rest;
        EvaluatePose(scene, -1, 0.0, rest);
        skin.inverseBinds.resize(3);
        for (size_t joint = 0; joint < 3; joint++)
            InvertAffine(rest.globals[joint], skin.inverseBinds[joint]);
        scene.skins = {skin};

        ScenePrimitive primitive;
        primitive.influenceStarts = {0};
        // Most vertices may go with one joint, so that few of them tell.
        const unsigned nMixed = m_Random() % 3 == 0 ? 1 : 50;
        for (unsigned v = 0; v < 300; v++)
        {
            primitive.positions.push_back(Point());
            primitive.influences.push_back({static_cast<uint32_t>(m_Random() % 3), Between(0.1, 1)});
            if (v % 100 >= 100 - nMixed)
                primitive.influences.push_back({static_cast<uint32_t>(m_Random() % 3), Between(0.1, 1)});
            primitive.influenceStarts.push_back(static_cast<uint32_t>(primitive.influences.size()));
        }
        primitive.triangles = {{{0, 1, 2}}};
        scene.primitives.push_back(primitive);
        SceneNode shows;
        shows.meshes = {{0, 0}};
        scene.nodes.push_back(shows);
        scene.roots = {0, 3};

        SceneClip clip;
        const double most = std::pow(10.0, Between(-4, 0));
        for (int joint = 0; joint < 3; joint++)
        {
            const DoubleQuat atRest = scene.nodes[static_cast<size_t>(joint)].local.rotation;
            SceneChannel channel;
            channel.node = joint;
            channel.path = ScenePath::Rotation;
            // The first frame may be bent by more than what follows.
            const DoubleQuat first = MultiplyQuats(atRest, TurnBy(most * (joint == 0 ? 1.0 : Between(0, 20))));
            for (int key = 0; key < 3; key++)
            {
                channel.times.push_back(key * LAST_FRAME / 60.0);
                const DoubleQuat q = MultiplyQuats(first, TurnBy(key == 0 ? 0.0 : joint == 0 ? 2.0 : most));
                channel.values.insert(channel.values.end(), {q.x, q.y, q.z, q.w});
            }
            clip.channels.push_back(channel);
        }
        scene.clips = {clip};
    }

    std::mt19937 m_Random;
};

} // namespace

TEST(ChooseSkin, TakesTheBindPoseWhereAVertexStraysElse)
{
    int nAtBind = 0;
    int nAtFirst = 0;
    for (unsigned seed = 0; seed < 300; seed++)
    {
        const RandomFigure figure(seed);
        const double limit = figure.Limit();
        double worst = 0.0;
        for (int frame = 0; frame <= LAST_FRAME; frame++)
            worst = std::max(worst, figure.StrayAt(frame));
        Scene atBind;
        const SkinChoice choice = ChooseSkin(figure.scene, {{0, 30.0, 0, LAST_FRAME}}, false, atBind);
        if (std::fabs(worst / limit - 1.0) < 1e-6)
            continue;
        ASSERT_EQ(choice.atBind, worst > limit) << seed << ": " << worst / limit << " " << choice.reason;
        (choice.atBind ? nAtBind : nAtFirst)++;
        if (choice.atBind)
        {
            const size_t at = choice.reason.find("frame ", choice.reason.find('('));
            ASSERT_NE(at, std::string::npos) << choice.reason;
            const int frame = std::atoi(choice.reason.c_str() + at + 6); // NOLINT(cert-err34-c)
            EXPECT_GT(figure.StrayAt(frame), limit) << seed << ": " << choice.reason;
        }
    }
    EXPECT_GT(std::min(nAtBind, nAtFirst), 50) << nAtBind << " at bind, " << nAtFirst << " at the first frame";
}
