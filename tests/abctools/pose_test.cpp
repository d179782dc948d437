#include "abctools/commands.h"
#include "abctools/findanimtime.h"
#include "tests/abctools/testmodel.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <sstream>

using nlohmann::json;

TEST(FindAnimTime, ClampsAndLetsTheLastKeyOfATimeHold)
{
    const ModelPointer model(Model::CreateModel());
    ModelAnim anim(model.get());
    AnimPlace place;
    EXPECT_FALSE(FindAnimTime(anim, 0.0, place));

    const auto setTimes = [&](std::initializer_list<uint32_t> times)
    {
        anim.m_KeyFrames.SetSize(0);
        for (const uint32_t time : times)
        {
            AnimKeyFrame key;
            key.m_Time = time;
            anim.m_KeyFrames.Append(key);
        }
    };
    struct Case
    {
        double m_Time;
        uint32_t m_iPrev;
        uint32_t m_iCur;
        float m_Percent;
    };
    const auto expect = [&](std::initializer_list<Case> cases)
    {
        for (const Case& c : cases)
        {
            ASSERT_TRUE(FindAnimTime(anim, c.m_Time, place));
            EXPECT_EQ(place.m_iPrev, c.m_iPrev) << c.m_Time;
            EXPECT_EQ(place.m_iCur, c.m_iCur) << c.m_Time;
            EXPECT_FLOAT_EQ(place.m_Percent, c.m_Percent) << c.m_Time;
        }
    };
    setTimes({0, 100, 100, 100, 300});
    expect({{-5.0, 0, 1, 0.0f},
            {0.0, 0, 1, 0.0f},
            {25.0, 0, 1, 0.25f},
            {99.5, 0, 1, 0.995f},
            {100.0, 3, 4, 0.0f},
            {150.0, 3, 4, 0.25f},
            {300.0, 4, 4, 0.0f},
            {1e12, 4, 4, 0.0f}});
    // The first time counts as the start, wherever it stands.
    setTimes({40, 40, 80});
    expect({{0.0, 1, 2, 0.0f}, {60.0, 1, 2, 0.5f}, {80.0, 2, 2, 0.0f}});
    setTimes({0, 50, 50});
    expect({{25.0, 0, 1, 0.5f}, {50.0, 2, 2, 0.0f}});
    setTimes({7});
    expect({{0.0, 0, 0, 0.0f}, {9.0, 0, 0, 0.0f}});
    setTimes({0, 0xFFFFFFFEu, 0xFFFFFFFFu});
    expect({{4294967294.5, 1, 2, 0.5f}});
    // Falling times give some place among the keys.
    setTimes({300, 100, 200});
    for (const double time : {0.0, 150.0, 250.0, 400.0})
    {
        ASSERT_TRUE(FindAnimTime(anim, time, place));
        EXPECT_LT(place.m_iCur, 3u);
        EXPECT_TRUE(place.m_Percent >= 0.0f && place.m_Percent <= 1.0f);
    }
}

TEST(PoseLayer, IsTakenApartFromTheEnd)
{
    PoseLayer layer;
    ASSERT_TRUE(ParsePoseLayer("a:b:12.5:upper", layer));
    EXPECT_EQ(layer.m_Anim, "a:b");
    EXPECT_EQ(layer.m_Time, 12.5);
    EXPECT_EQ(layer.m_WeightSet, "upper");
    for (const char* pText : {"", ":", "::", "run", "run:5", "run:5:", "run::upper", ":5:upper", "run:x:upper",
                              "run:5x:upper", "run:nan:upper"})
        EXPECT_FALSE(ParsePoseLayer(pText, layer)) << pText;
}

// What RunPose prints as JSON; null after a failure, with `sentence` telling why.
static json Pose(PoseOptions options, std::string& sentence)
{
    options.m_bJson = true;
    std::ostringstream out;
    std::ostringstream err;
    const int status = RunPose(options, out, err);
    sentence = err.str();
    EXPECT_EQ(out.str().empty(), status != 0);
    return status == 0 ? json::parse(out.str()) : json();
}

TEST(Pose, MatricesSocketsAndVertices)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "m.abc", BytesOf(*MakeTestModel()));
    PoseOptions options;
    options.m_Path = folder / "m.abc";
    options.m_Anim = "RUN";
    options.m_Time = 200.0; // between keys 2 and 3, half way
    options.m_VerticesPath = folder / "v.bin";
    std::string sentence;
    const json pose = Pose(options, sentence);
    EXPECT_EQ(sentence, "");
    EXPECT_EQ(pose["positions"][0]["keys"], json({2, 3}));
    EXPECT_EQ(pose["positions"][0]["fraction"], 0.5);
    ASSERT_EQ(pose["nodes"].size(), 4u);

    // Node i turns by 0.5 (i + 1) per key and stands at (2 key, i) in its parent, so at 2.5 keys:
    struct Plane
    {
        double m_Angle, m_X, m_Y;
    };
    const auto onto = [](const Plane& parent, double angle, double x, double y)
    {
        const double c = std::cos(parent.m_Angle);
        const double s = std::sin(parent.m_Angle);
        return Plane{parent.m_Angle + angle, parent.m_X + c * x - s * y, parent.m_Y + s * x + c * y};
    };
    const Plane root = onto({0, 0, 0}, 1.25, 5, 0);
    const Plane spine = onto(root, 2.5, 5, 1);
    const Plane hand = onto(spine, 3.75, 5, 2);
    const Plane leg = onto(root, 5.0, 2, 0); // its offset is fixed
    const Plane planes[] = {root, spine, hand, leg};
    for (int i = 0; i < 4; ++i)
    {
        const json& m = pose["nodes"][i]["matrix"];
        EXPECT_NEAR(m[0][0].get<double>(), std::cos(planes[i].m_Angle), 1e-6) << i;
        EXPECT_NEAR(m[1][0].get<double>(), std::sin(planes[i].m_Angle), 1e-6) << i;
        EXPECT_NEAR(m[0][3].get<double>(), planes[i].m_X, 1e-5) << i;
        EXPECT_NEAR(m[1][3].get<double>(), planes[i].m_Y, 1e-5) << i;
    }
    const Plane grip = onto(hand, 0, 1, 2);
    EXPECT_NEAR(pose["sockets"][0]["matrix"][0][3].get<double>(), grip.m_X, 1e-5);
    EXPECT_NEAR(pose["sockets"][0]["matrix"][1][3].get<double>(), grip.m_Y, 1e-5);
    EXPECT_EQ(pose["sockets"][0]["matrix"][2][3].get<double>(), 3.0);

    // 7 vertices at LOD 0; the last is on leg by three quarters and on root by one, at (3, 1) in both.
    const std::vector<uint8_t> bytes = ReadBytes(folder / "v.bin");
    ASSERT_EQ(bytes.size(), 7u * 12);
    float last[3];
    memcpy(last, bytes.data() + bytes.size() - sizeof(last), sizeof(last));
    const Plane a = onto(leg, 0, 3, 1);
    const Plane b = onto(root, 0, 3, 1);
    EXPECT_NEAR(last[0], 0.75 * a.m_X + 0.25 * b.m_X, 1e-5);
    EXPECT_NEAR(last[1], 0.75 * a.m_Y + 0.25 * b.m_Y, 1e-5);

    // The same vertices at LOD 1 as text; a layer that adds leaves node 0 alone and adds walk's motion to leg's turn.
    options.m_VerticesPath = folder / "v.json";
    options.m_iLOD = 1;
    options.m_Layers = {{"walk", 1000.0, "upper"}};
    options.m_Node = "leg";
    const json layered = Pose(options, sentence);
    ASSERT_EQ(layered["nodes"].size(), 1u);
    EXPECT_TRUE(layered["sockets"].empty());
    EXPECT_NEAR(layered["nodes"][0]["matrix"][0][0].get<double>(), std::cos(1.25 + 5.0 - 0.3 * 4), 1e-6);
    const std::vector<uint8_t> text = ReadBytes(folder / "v.json");
    const json vertices = json::parse(text.begin(), text.end());
    EXPECT_EQ(vertices["pieces"][1]["name"], "t\x1b[31m");
    EXPECT_EQ(vertices["pieces"][1]["vertices"].size(), 3u);
}

TEST(Pose, RefusesWithASentence)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "m.abc", BytesOf(*MakeTestModel()));
    PoseOptions options;
    options.m_Path = folder / "m.abc";
    options.m_Anim = "run";
    options.m_iKey = 3;
    options.m_VerticesPath = folder / "v.bin";
    const auto changed = [&](auto change)
    {
        PoseOptions other = options;
        change(other);
        return other;
    };
    const struct
    {
        PoseOptions m_Options;
        const char* m_pWord;
    } cases[] = {
        {changed([](PoseOptions& o) { o.m_Anim = "jump"; }), "no animation jump"},
        {changed([](PoseOptions& o) { o.m_iKey = 4; }), "no key 4"},
        {changed([](PoseOptions& o) { o.m_Node = "tail"; }), "no node tail"},
        {changed([](PoseOptions& o) { o.m_Socket = "tail"; }), "no socket tail"},
        {changed([](PoseOptions& o) { o.m_iLOD = 2; }), "no LOD 2"},
        {changed(
             [](PoseOptions& o) {
                 o.m_Layers = {{"walk", 0.0, "lower"}};
             }),
         "no weight set lower"},
        {changed(
             [](PoseOptions& o) {
                 o.m_Layers.assign(8, {"walk", 0.0, "upper"});
             }),
         "too many"},
        {changed([](PoseOptions& o) { o.m_Path += "x"; }), "no such file"},
    };
    for (const auto& c : cases)
    {
        std::string sentence;
        EXPECT_TRUE(Pose(c.m_Options, sentence).is_null());
        EXPECT_NE(sentence.find(c.m_pWord), std::string::npos) << sentence;
        EXPECT_EQ(std::count(sentence.begin(), sentence.end(), '\n'), 1);
        EXPECT_FALSE(std::filesystem::exists(options.m_VerticesPath));
    }
}

TEST(Pose, ChildModelsOfTheFolderAndOfTheCommandLine)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "jump.abc", BytesOf(*MakeChildModel("jump", 40.0f)));
    const ModelPointer jump = LoadBytes(ReadBytes(folder / "jump.abc"));
    WriteBytes(folder / "duck.abc", BytesOf(*MakeChildModel("duck", 60.0f)));
    {
        const ModelPointer parent = MakeTestModel();
        char error[MODEL_ERRSTR_SIZE];
        ASSERT_TRUE(parent->AddChildModel(jump.get(), "jump.abc", error, QZFALSE));
        WriteBytes(folder / "m.abc", BytesOf(*parent));
        ASSERT_TRUE(parent->RemoveChildModel(1));
    }
    PoseOptions options;
    options.m_Path = folder / "m.abc";
    options.m_Anim = "jump";
    options.m_Time = 250.0;
    options.m_Node = "root";
    std::string sentence;
    json pose = Pose(options, sentence);
    EXPECT_EQ(sentence, "");
    EXPECT_EQ(pose["positions"][0]["row"], 2);
    EXPECT_EQ(pose["nodes"][0]["matrix"][0][3], 10.0);

    options.m_Anim = "duck";
    options.m_Children = {folder / "duck.abc"};
    pose = Pose(options, sentence);
    EXPECT_EQ(pose["positions"][0]["row"], 3);
    EXPECT_EQ(pose["nodes"][0]["matrix"][0][3], 15.0);
    options.m_Children = {folder / "m.abc"};
    EXPECT_TRUE(Pose(options, sentence).is_null());
    EXPECT_NE(sentence.find("child models of its own"), std::string::npos) << sentence;

    const ModelPointer single(Model::CreateModel());
    ASSERT_TRUE(single->Precalc(QZTRUE) && single->AddDefaultAnim("jump"));
    WriteBytes(folder / "jump.abc", BytesOf(*single));
    options.m_Children.clear();
    options.m_Anim = "jump";
    EXPECT_TRUE(Pose(options, sentence).is_null());
    EXPECT_NE(sentence.find("jump.abc, whose node tree differs"), std::string::npos) << sentence;

    // Without its file the link stays, and the animation is gone.
    std::filesystem::remove(folder / "jump.abc");
    options.m_Children.clear();
    options.m_Anim = "run";
    EXPECT_FALSE(Pose(options, sentence).is_null());
    EXPECT_NE(sentence.find("jump.abc isn't in its folder"), std::string::npos) << sentence;
    options.m_Anim = "jump";
    EXPECT_TRUE(Pose(options, sentence).is_null());
}
