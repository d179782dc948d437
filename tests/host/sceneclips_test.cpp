// Clips by name and index, and what --list prints.
#include "host/sceneclips.h"

#include "host/exportoptions.h"
#include "host/scenelisting.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// Two nodes, of which one isn't shown; the shown one moves from 0.1 s to 1 s in every clip.
static Scene MakeScene(const std::vector<std::string>& clips)
{
    Scene scene;
    scene.fileStem = "stem";
    scene.nodes.resize(3);
    scene.roots = {0};
    scene.nodes[0].children = {2};
    scene.nodes[2].parent = 0;
    scene.nodes[2].isJoint = true;
    scene.nodes[1].isJoint = true;
    scene.nodes[1].meshes = {{0, -1}};
    scene.primitives.resize(1);
    scene.primitives[0].positions.resize(3);
    scene.primitives[0].triangles = {{{0, 1, 2}}};
    for (const std::string& name : clips)
    {
        SceneChannel channel;
        channel.node = 0;
        channel.times = {0.1, 0.5, 1.0};
        channel.values.resize(9);
        scene.clips.push_back({name, {channel}});
    }
    return scene;
}

TEST(SceneClipsTest, FoundByNameThenByIndex)
{
    const Scene scene = MakeScene({"run", "0", "", "run"});
    std::string error;
    EXPECT_EQ(FindClip(scene, "run", error), 0);
    EXPECT_EQ(FindClip(scene, "0", error), 1); // the name goes before the index
    EXPECT_EQ(FindClip(scene, "3", error), 3);
    EXPECT_EQ(FindClip(scene, "", error), 2);
    EXPECT_EQ(NameTwins(scene, 0, "run"), "Several clips are called \"run\"; taken is the first, index 0, not 3.");
    EXPECT_EQ(NameTwins(scene, 0, "0") + NameTwins(scene, 1, "0") + NameTwins(scene, 3, "run"), "");
    for (const char* unknown : {"4", "-1", "Run", "1x", "99999999999"})
    {
        EXPECT_EQ(FindClip(scene, unknown, error), -1) << unknown;
        EXPECT_EQ(error, "The scene has no clip \"" + std::string(unknown) +
                             "\"; its clips are 0 \"run\", 1 \"0\", 2 (without a name), 3 \"run\".");
    }
    EXPECT_EQ(FindClip(MakeScene({}), "0", error), -1);
    EXPECT_EQ(error, "The scene has no clip \"0\"; it has no clips at all.");

    EXPECT_EQ(NameAnimations(MakeScene({"a", "", "stem_3", ""})),
              (std::vector<std::string>{"a", "stem_1", "stem_3", "stem_3_"}));
    EXPECT_EQ(NameAnimations(MakeScene({""})), std::vector<std::string>{"stem"});
}

TEST(SceneClipsTest, PlayRangesAndTriangles)
{
    Scene scene = MakeScene({"run"});
    ExportOptions options;
    EXPECT_EQ(FindPlayRange(scene, 0, options).start, 3);
    EXPECT_EQ(FindPlayRange(scene, 0, options).end, 30);
    options.start = -5;
    options.end = 65529;
    EXPECT_EQ(PlayRangeProblem(scene, 0, options), ""); // 65535 frames
    options.end = 65530;
    EXPECT_NE(PlayRangeProblem(scene, 0, options).find("has 65536 frames"), std::string::npos);

    EXPECT_FALSE(HasTriangles(scene)); // the mesh isn't shown
    scene.nodes[2].meshes = {{0, -1}};
    EXPECT_TRUE(HasTriangles(scene));
}

TEST(SceneListingTest, TextAndJson)
{
    const Scene scene = MakeScene({"run", "bad \xff\n"});
    ExportOptions options;
    options.fps = 10.0; // on its own a clip would take 30
    EXPECT_NE(ListScene(scene, 0, options).find("\"run\", frames 3 to 30, 3 keys, at 30 frames per second\n"),
              std::string::npos);
    const nlohmann::json expected = {{"name", "run"}, {"start", 3}, {"end", 30}, {"keys", 3}, {"fps", 30.0}};
    EXPECT_EQ(nlohmann::json::parse(ListSceneAsJson(scene, options))["clips"][0], expected);
    options.autoFps = false;
    EXPECT_EQ(ListScene(scene, 0, options), "clips: 2\n"
                                            "  0  \"run\", frames 1 to 10, 3 keys\n"
                                            "  1  \"bad \xff?\", frames 1 to 10, 3 keys\n"
                                            "meshes: 0\njoints: 1\nplay range: 1 to 10\nframes per second: 10\n");
    const auto list = nlohmann::json::parse(ListSceneAsJson(scene, options));
    EXPECT_EQ(list["clips"][0]["end"], 10);
    EXPECT_EQ(list["clips"].size(), 2U);
    EXPECT_EQ(list["meshes"], 0);
    EXPECT_EQ(list["joints"], 1);
    EXPECT_EQ(list["fps"], 10.0);
}
