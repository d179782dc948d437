// What the exporter says of the model that it wrote, on scenes whose distances can be worked out by hand.
#include "host/modelreport.h"

#include "tests/host/exportfixture.h"
#include "tests/scene/sceneparts.h"
#include "zoltshared/stdzolt/assertion.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace fs = std::filesystem;

// The radius of that triangle.
static const double RADIUS = 0.5 * std::sqrt(33.0);

// A triangle that two clips move along x, with keys on the frames 0, 15 and 30: "walk" on straight lines, "run" in
// steps from 5 to 6 to 8. With `indices` that name a vertex twice it loses all that can be seen.
static std::string MovingTriangle(const std::string& indices = "")
{
    GltfText text;
    const int positions = AddTriangle(text);
    std::string primitive = R"({"attributes": {"POSITION": )" + std::to_string(positions) + "}";
    if (!indices.empty())
        primitive += R"(, "indices": )" + std::to_string(text.Bytes("SCALAR", {0, 1, 1}));
    const int times = text.Floats("SCALAR", {0, 0.5, 1}, R"("min": [0], "max": [1])");
    const int walk = text.Floats("VEC3", {0, 0, 0, 1, 0, 0, 3, 0, 0});
    const int run = text.Floats("VEC3", {5, 0, 0, 6, 0, 0, 8, 0, 0});
    text.Item("meshes", R"({"primitives": [)" + primitive + "}]}");
    text.Item("nodes", R"({"name": "top", "mesh": 0})");
    text.Item("scenes", R"({"nodes": [0]})");
    text.Member(R"("scene": 0)");
    text.Item("animations", Animation("walk", times, walk, "LINEAR"));
    text.Item("animations", Animation("run", times, run, "STEP"));
    return text.Text();
}

// A triangle on the joints "a" and, by two halves, "b", of which b moves from the first of the values to the second in
// 30 frames.
static std::string SkinnedTriangle(const std::vector<float>& points, float shareOfB, const std::string& path,
                                   const std::string& type, const std::vector<float>& values)
{
    GltfText text;
    const int positions = text.Floats("VEC3", points, R"("min": [0, 0, 0], "max": [4, 4, 1])");
    const int joints = text.Bytes("VEC4", {0, 1, 2, 0, 0, 1, 2, 0, 0, 1, 2, 0});
    std::vector<float> shares;
    for (int i = 0; i < 3; i++)
        shares.insert(shares.end(), {1.0F - shareOfB, shareOfB / 2.0F, shareOfB / 2.0F, 0.0F});
    const int weights = text.Floats("VEC4", shares);
    const int times = text.Floats("SCALAR", {0, 1}, R"("min": [0], "max": [1])");
    const int moves = text.Floats(type.c_str(), values);
    text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": )" + std::to_string(positions) +
                            R"(, "JOINTS_0": )" + std::to_string(joints) + R"(, "WEIGHTS_0": )" +
                            std::to_string(weights) + "}}]}");
    text.Item("nodes", R"({"name": "top", "children": [1, 2, 3]})");
    text.Item("nodes", R"({"name": "body", "mesh": 0, "skin": 0})");
    text.Item("nodes", R"({"name": "a"})");
    text.Item("nodes", R"({"name": "b"})");
    text.Item("skins", R"({"joints": [2, 3, 3]})");
    text.Item("scenes", R"({"nodes": [0]})");
    text.Member(R"("scene": 0)");
    text.Item("animations", Animation("move", times, moves, "LINEAR", 3, path));
    return text.Text();
}

class ModelReportTest : public ExportFixture
{
protected:
    ModelReportTest()
    {
        m_Options.reportPath = m_Folder / "report.json";
        m_Options.autoFps = false;
        m_Options.keys = KeyChoice::Authored;
        m_Options.overwrite = true;
    }

    // As ExportFixture::Run; the report is in m_Json.
    int Run(const std::string& sceneText)
    {
        std::ofstream(m_Options.scenePath) << sceneText;
        fs::remove(m_Options.reportPath);
        const int status = ExportFixture::Run();
        m_Json = nlohmann::json::parse(ReadFile(m_Options.reportPath), nullptr, false);
        return status;
    }

    void ExpectWorst(double units, double radius, int frame, const std::string& node) const
    {
        EXPECT_NEAR(m_Json["units"], units, 1e-5);
        EXPECT_NEAR(m_Json["worst"], units / radius, 1e-5);
        EXPECT_NEAR(m_Json["radius"], radius, 1e-5);
        EXPECT_EQ(m_Json["frame"], frame);
        EXPECT_EQ(m_Json["node"], node);
        EXPECT_EQ(m_Json["fps"], 30.0);
    }

    nlohmann::json m_Json;
};

TEST_F(ModelReportTest, StraightMotionIsExact)
{
    m_Options.report = true;
    m_Options.strict = 0.001;
    EXPECT_EQ(Run(MovingTriangle()), 0) << m_Said;
    EXPECT_LT(m_Json["worst"], 1e-6);
    EXPECT_NEAR(m_Json["radius"], RADIUS, 1e-5);
    EXPECT_EQ(m_Json["written"], true);
    EXPECT_EQ(m_Json["clips"][0]["keys"], nlohmann::json({0, 15, 30}));
    EXPECT_TRUE(Printed("nothing was left out\n")) << m_Printed;
    EXPECT_FALSE(Said("differs")) << m_Said;
}

// Played straight, a step is furthest off at the frame before it: frame 29 stands at 6 + 2 * 14 / 15 instead of 6.
TEST_F(ModelReportTest, StepsPlayedStraight)
{
    m_Options.clip = "run";
    EXPECT_EQ(Run(MovingTriangle()), 0) << m_Said;
    ExpectWorst(28.0 / 15.0, RADIUS, 29, "top");
    EXPECT_LT(m_Json["clips"][0]["worstAtKeys"], 1e-6);
    EXPECT_TRUE(Said("animation \"run\" differs from the scene by up to 1.867 units, 64.99 % of the radius, frame 29, "
                     "node top; --keys may help."))
        << m_Said;
    EXPECT_EQ(m_Printed, "");
}

// The new animation is the last one, under a name with a number; the skin is the one in the file, taken where the other
// clip starts.
TEST_F(ModelReportTest, AppendedUnderATakenName)
{
    EXPECT_EQ(Run(MovingTriangle()), 0) << m_Said;
    m_Options.overwrite = false;
    m_Options.append = true;
    m_Options.clip = "run";
    m_Options.animName = "walk";
    EXPECT_EQ(Run(MovingTriangle()), 0) << m_Said;
    ExpectWorst(28.0 / 15.0, RADIUS, 29, "top");
    EXPECT_EQ(m_Json["animation"], "walk0");
    EXPECT_TRUE(Said("m.abc: animation \"walk0\" written.")) << m_Said;
    EXPECT_EQ(m_Json["clip"], "run");
    EXPECT_EQ(m_Json["clips"].size(), 1U);
    m_Options.start = 15; // a step of 2 at frame 30, in a range of its own
    EXPECT_EQ(Run(MovingTriangle()), 0) << m_Said;
    ExpectWorst(28.0 / 15.0, RADIUS, 29, "top");
    EXPECT_EQ(m_Json["clips"][0]["keys"], nlohmann::json({15, 30}));
}

TEST_F(ModelReportTest, StrictLeavesTheOldFile)
{
    for (const bool all : {false, true})
    {
        std::ofstream(m_Options.outPath) << "old";
        m_Options.allClips = all;
        m_Options.clip = all ? std::nullopt : std::optional<std::string>("run");
        m_Options.strict = 64.9;
        EXPECT_EQ(Run(MovingTriangle()), 1);
        EXPECT_TRUE(Said("error: animation \"run\" differs")) << m_Said;
        EXPECT_FALSE(Said("error: animation \"walk\"")) << m_Said;
        EXPECT_TRUE(Said("m.abc was not written.")) << m_Said;
        EXPECT_EQ(ReadFile(m_Options.outPath), "old");
        EXPECT_EQ(m_Json["written"], false);
        EXPECT_EQ(m_Json["clips"].size(), all ? 2U : 1U);
        EXPECT_EQ(m_Json["animation"], "run");
        ExpectWorst(28.0 / 15.0, RADIUS, 29, "top");
        m_Options.strict = 65.1;
        EXPECT_EQ(Run(MovingTriangle()), 0) << m_Said;
        EXPECT_NE(ReadFile(m_Options.outPath), "old");
        EXPECT_EQ(m_Json["written"], true);
    }
    // A model without anything in it doesn't stray, but isn't the scene.
    m_Options.scale = 1e-5;
    EXPECT_EQ(Run(MovingTriangle()), 1) << m_Said;
    EXPECT_TRUE(Said("The model has lost all triangles of the scene")) << m_Said;
    EXPECT_TRUE(Said("has lost all its triangles, it is too small")) << m_Said;
}

// A share of 2 % of a motion over 50 units is dropped; one of 4 % becomes 5 of 101.
TEST_F(ModelReportTest, SmallWeights)
{
    m_Options.report = true;
    const std::vector<float> points = {0, 0, 0, 4, 0, 0, 0, 4, 1};
    EXPECT_EQ(Run(SkinnedTriangle(points, 0.02F, "translation", "VEC3", {0, 0, 0, 0, 50, 0})), 0) << m_Said;
    ExpectWorst(1.0, RADIUS, 30, "body");
    EXPECT_LT(m_Json["clips"][0]["worstWithoutSmallWeights"], 1e-5);
    EXPECT_NEAR(m_Json["clips"][0]["lostWeightsAtKeys"], 1.0 / RADIUS, 1e-5);
    EXPECT_EQ(m_Json["leftOut"]["weightsDropped"], 3);
    EXPECT_TRUE(Printed("left out, weights of 5 % and below: 3 on 3 vertices, 0 raised to a little more than 5 %, "
                        "3 dropped\n"))
        << m_Printed;
    EXPECT_TRUE(Printed("; without weights of 5 % and below, which a model can't hold as they are, it would be "))
        << m_Printed;
    // However many threads look at the 31 frames.
    const nlohmann::json ofAll = m_Json;
    for (const unsigned jobs : {1U, 3U, 100U})
    {
        m_Options.jobs = jobs;
        EXPECT_EQ(Run(SkinnedTriangle(points, 0.02F, "translation", "VEC3", {0, 0, 0, 0, 50, 0})), 0) << m_Said;
        EXPECT_EQ(m_Json, ofAll) << jobs;
    }
    m_Options.strict = 30;
    EXPECT_EQ(Run(SkinnedTriangle(points, 0.02F, "translation", "VEC3", {0, 0, 0, 0, 50, 0})), 1) << m_Said;
    EXPECT_EQ(Run(SkinnedTriangle(points, 0.04F, "translation", "VEC3", {0, 0, 0, 0, 50, 0})), 0) << m_Said;
    ExpectWorst(50.0 * (5.0 / 101.0 - 0.04), RADIUS, 30, "body");
    EXPECT_EQ(m_Json["leftOut"]["weightsRaised"], 3);
    // Nothing is lost at 6 %.
    EXPECT_EQ(Run(SkinnedTriangle(points, 0.06F, "translation", "VEC3", {0, 0, 0, 0, 50, 0})), 0) << m_Said;
    EXPECT_LT(m_Json["worst"], 1e-5);
    EXPECT_EQ(m_Json["leftOut"]["weights"], 0);
}

// Half of the skin turns from 90 degrees about z to 0. Taken at the first frame, p stands at (p + Rp) / 2 and ends at
// (p + R⁻¹Rp + Rp + R⁻¹p) / 4 = p / 2
// instead of p; the furthest p is (2, 1, 0). The bind pose has none of that.
TEST_F(ModelReportTest, WhereTheSkinIsTaken)
{
    const float half = std::sqrt(0.5F);
    const auto scene = [&](const std::vector<float>& turns) {
        return SkinnedTriangle({1, 0, 0, 2, 0, 0, 2, 1, 0}, 0.5F, "rotation", "VEC4", turns);
    };
    const std::string turning = scene({0, 0, half, half, 0, 0, 0, 1});
    for (const bool named : {false, true})
    {
        m_Options.restName = named ? std::optional<std::string>("bound") : std::nullopt;
        EXPECT_EQ(Run(turning), 0) << m_Said;
        EXPECT_LT(m_Json["worst"], 1e-6);
        EXPECT_NEAR(m_Json["radius"], 0.5 * std::sqrt(2.0), 1e-5) << "of the triangle as it was bound";
        EXPECT_EQ(m_Json["clips"].size(), named ? 2U : 1U);
        EXPECT_TRUE(Said(named ? ": 2 animations written." : ": animation \"move\" written.")) << m_Said;
        EXPECT_TRUE(named || Said("The skin is that of the bind pose: with that of the first frame, vertices would "
                                  "stray by more than 0.1 % of the radius (\"move\", frame "))
            << m_Said;
    }
    m_Options.restName.reset();
    EXPECT_EQ(Run(scene({0, 0, 0, 1, 0, 0, half, half})), 0) << m_Said;
    EXPECT_TRUE(Said("The skin is that of the first frame, which is the bind pose.")) << m_Said;
    EXPECT_EQ(Run(scene({0, 0, half, half, 0, 0, half, half})), 0) << m_Said;
    EXPECT_TRUE(Said("strays by more than 0.1 % of the radius; the bind pose isn't needed.")) << m_Said;

    m_Options.rest = RestChoice::First;
    EXPECT_EQ(Run(turning), 0) << m_Said;
    ExpectWorst(0.5 * std::sqrt(5.0), 0.5 * std::sqrt(1.25), 30, "body");
    m_Options.rest = RestChoice::Auto;
    m_Options.append = true; // the file keeps its skin
    EXPECT_EQ(Run(turning), 0) << m_Said;
    EXPECT_FALSE(Said("The skin is")) << m_Said;
    EXPECT_TRUE(Said("; the model may have been made with another --scale or --up; a fresh export may help."))
        << m_Said;
    // Where the weights are others, a skin that is taken at rest isn't at fault.
    m_Options.append = false;
    m_Options.rest = RestChoice::Bind;
    EXPECT_EQ(Run(turning), 0) << m_Said;
    m_Options.append = true;
    EXPECT_EQ(
        Run(SkinnedTriangle({1, 0, 0, 2, 0, 0, 2, 1, 0}, 0.9F, "rotation", "VEC4", {0, 0, half, half, 0, 0, 0, 1})), 0)
        << m_Said;
    EXPECT_GT(m_Json["worst"], 0.01);
    EXPECT_FALSE(Said("a fresh export")) << m_Said;
}

// A tangent is motion too, wherever the values are the same.
TEST_F(ModelReportTest, ScaleOnACubicCurve)
{
    for (const auto& [in, out, moves] : {std::tuple<float, float, bool>{0, 0, false}, {3, 0, true}, {0, 3, true}})
    {
        GltfText text;
        const std::string positions = std::to_string(AddTriangle(text));
        const int times = text.Floats("SCALAR", {0, 1}, R"("min": [0], "max": [1])");
        const int scales = text.Floats("VEC3", {in, 0, 0, 2, 2, 2, out, 0, 0, in, 0, 0, 2, 2, 2, out, 0, 0});
        text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": )" + positions + "}}]}");
        text.Item("nodes", R"({"name": "top", "mesh": 0})");
        text.Item("scenes", R"({"nodes": [0]})");
        text.Member(R"("scene": 0)");
        text.Item("animations", Animation("grow", times, scales, "CUBICSPLINE", 0, "scale"));
        EXPECT_EQ(Run(text.Text()), 0) << m_Said;
        EXPECT_EQ(m_Json["leftOut"]["scaleKeys"].size(), moves ? 1U : 0U) << in << " " << out;
    }
}

// A mesh that the file doesn't have stands before the one that it has.
TEST_F(ModelReportTest, PiecesAreFoundByName)
{
    const auto text = [](const std::string& nodes)
    { return Replaced(MovingTriangle(), R"("nodes": [{"name": "top", "mesh": 0}])", R"("nodes": [)" + nodes + "]"); };
    const std::string own = R"({"name": "own", "mesh": 0})";
    EXPECT_EQ(Run(text(R"({"name": "top", "children": [1]}, )" + own)), 0) << m_Said;
    m_Options.overwrite = false;
    m_Options.append = true;
    EXPECT_EQ(Run(text(R"({"name": "top", "children": [2, 1]}, )" + own +
                       R"(, {"name": "more", "mesh": 0, "translation": [50, 0, 0]})")),
              0)
        << m_Said;
    EXPECT_LT(m_Json["worst"], 1e-5);
}

static void SeeAssertion(const char*, const char*, int) {}

TEST_F(ModelReportTest, ModelWithoutVertices)
{
    m_Options.clip = "run";
    const AssertionSink before = SetAssertionSink(SeeAssertion);
    EXPECT_EQ(Run(MovingTriangle("indices")), 0) << m_Said;
    EXPECT_EQ(SetAssertionSink(before), SeeAssertion) << "given back";
    ExpectWorst(28.0 / 15.0, 1.0, 29, "top");
    EXPECT_EQ(m_Json["leftOut"]["trianglesDropped"], 1);
}

TEST_F(ModelReportTest, ReportThatCannotBeWritten)
{
    m_Options.reportPath = m_Folder / "missing/report.json";
    EXPECT_EQ(Run(MovingTriangle()), 1);
    EXPECT_TRUE(Said("The report can't be written to " + m_Options.reportPath + ": No such file or directory."))
        << m_Said;
    EXPECT_FALSE(fs::exists(m_Options.outPath));
}

TEST_F(ModelReportTest, ARunWithoutReportLeavesNoOldOne)
{
    const auto written = [this] { return nlohmann::json::parse(ReadFile(m_Options.reportPath))["written"]; };
    EXPECT_EQ(Run(MovingTriangle()), 0) << m_Said;
    m_Options.clip = "fly";
    EXPECT_EQ(ExportFixture::Run(), 1);
    EXPECT_EQ(written(), false);
    std::ofstream(m_Options.reportPath) << "no report"; // stays until there is one
    EXPECT_EQ(ExportFixture::Run(), 1);
    EXPECT_EQ(ReadFile(m_Options.reportPath), "no report");
    m_Options.clip.reset();
    m_Options.start = 40;
    EXPECT_EQ(ExportFixture::Run(), 1);
    EXPECT_EQ(written(), false);
}

// Truncated times, at rates at which no two frames share a millisecond.
TEST(FramesOfKeysTest, FollowTheTimes)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    for (const double fps : {24.0, 30000.0 / 1001.0, 30.0, 59.94, 120.0, 499.0})
    {
        for (const int first : {-1000, 0, 7})
        {
            PlayedClip played;
            played.fps = fps;
            played.firstKey = first;
            ModelAnim anim(&model);
            std::vector<int> frames;
            for (int frame = first; frame < first + 3000; frame += 1 + (frame & 3))
            {
                const auto time = [&](int f) { return static_cast<int>(double(static_cast<float>(f / fps)) * 1000.0); };
                AnimKeyFrame key;
                key.m_Time = static_cast<std::uint32_t>(time(frame) - time(first));
                ASSERT_TRUE(anim.m_KeyFrames.Append(key, model.GetAllocator()));
                frames.push_back(frame);
            }
            EXPECT_EQ(FramesOfKeys(anim, played), frames) << fps << " " << first;
            anim.Term();
        }
    }
}
