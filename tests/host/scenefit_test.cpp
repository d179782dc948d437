// Animations that are exported apart from their figure: skeletons without triangles, scenes that don't quite fit, nodes
// that are kept for them.
#include "tests/host/exportfixture.h"
#include "tests/tools/model/testmodel.h"

#include "host/loadmodelfile.h"

#include <nlohmann/json.hpp>

namespace
{

struct Key
{
    int node;
    std::vector<float> from; // translations, at 0 s and at 1 s
    std::vector<float> to;
};

// `nodes` are JSON objects; the first is the root.
std::string SceneText(const std::vector<std::string>& nodes, const std::vector<Key>& keys)
{
    GltfText text;
    const int positions = AddTriangle(text);
    const int times = text.Floats("SCALAR", {0, 1}, R"("min": [0], "max": [1])");
    text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": )" + std::to_string(positions) + "}}]}");
    for (const std::string& node : nodes)
        text.Item("nodes", node);
    text.Item("scenes", R"({"nodes": [0]})");
    text.Member(R"("scene": 0)");
    std::string samplers;
    std::string channels;
    for (const Key& key : keys)
    {
        std::vector<float> values = key.from;
        values.insert(values.end(), key.to.begin(), key.to.end());
        const std::string comma = channels.empty() ? "" : ", ";
        channels += comma + R"({"sampler": )" + std::to_string(&key - keys.data()) + R"(, "target": {"node": )" +
                    std::to_string(key.node) + R"(, "path": "translation"}})";
        samplers += comma + R"({"input": )" + std::to_string(times) + R"(, "output": )" +
                    std::to_string(text.Floats("VEC3", values)) + "}";
    }
    text.Item("animations", R"({"name": "move", "samplers": [)" + samplers + R"(], "channels": [)" + channels + "]}");
    return text.Text();
}

const std::vector<std::string> FIGURE = {
    R"({"name": "top", "mesh": 0, "children": [1, 3]})", R"({"name": "a", "translation": [1, 0, 0], "children": [2]})",
    R"({"name": "c", "translation": [0, 1, 0]})", R"({"name": "b", "translation": [0, 2, 0]})"};

} // namespace

class SceneFitTest : public ExportFixture
{
protected:
    // The figure with all its nodes, whose first key isn't its pose at rest.
    SceneFitTest()
    {
        m_Options.keep = {"[A-C]"};
        EXPECT_EQ(Run(SceneText(FIGURE, {{2, {0, 1, 2}, {0, 1, 4}}})), 0) << m_Said;
        m_Options.keep.clear();
        m_Options.append = true;
        m_Options.reportPath = m_Folder / "report.json";
    }

    int Run(const std::string& sceneText)
    {
        std::ofstream(m_Options.scenePath) << sceneText;
        return ExportFixture::Run();
    }

    // "a 1 0 -2; ": where the nodes of the model stand at a key of its newest animation.
    std::string Places(uint32_t key) const
    {
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        EXPECT_TRUE(LoadModelFile(m_Options.outPath, model));
        std::ostringstream text;
        const Poses poses = AllPoses(model.GetAnim(model.NumAnims() - 1)).at(key);
        for (const auto& [name, pose] : poses)
        {
            text << name;
            for (const auto& row : pose.m)
                text << " " << std::round(row[3] * 1000.0) / 1000.0 + 0.0;
            text << "; ";
        }
        return text.str();
    }
};

TEST_F(SceneFitTest, BareSkeletonJoinsAModel)
{
    std::vector<std::string> bones = FIGURE;
    bones[0] = R"({"name": "top", "scale": [10, 10, 10], "children": [1, 3]})";
    EXPECT_EQ(Run(SceneText(bones, {{1, {1, 0, 0}, {1, 0, 0}}})), 0) << m_Said;
    EXPECT_TRUE(Said("Most bones are 10 times as long as in the model; --scale 0.1 may help.")) << m_Said;

    bones[0] = R"({"name": "top", "children": [1, 3]})";
    const std::string scene = SceneText(bones, {{1, {1, 0, 0}, {3, 0, 5}}});
    EXPECT_EQ(Run(scene), 0) << m_Said;
    EXPECT_EQ(Places(0), "a 1 0 0; b 0 2 0; c 1 1 0; top 0 0 0; ");
    EXPECT_EQ(Places(1), "a 3 0 -5; b 0 2 0; c 3 1 -5; top 0 0 0; ");
    const auto report = nlohmann::json::parse(ReadFile(m_Options.reportPath));
    EXPECT_EQ(report["nodesCompared"], 4);
    EXPECT_NEAR(report["worst"], 0.0, 1e-6);
    EXPECT_NEAR(report["radius"], 0.5 * std::sqrt(33.0), 1e-5) << "of the model's triangle";

    m_Options.append = false;
    m_Options.overwrite = true;
    EXPECT_EQ(Run(scene), 1);
    EXPECT_TRUE(Said("There are no triangles in " + m_Options.scenePath + "; --append adds its animation to a model"));
    m_Options.append = true;
    m_Options.outPath += ".new";
    EXPECT_EQ(Run(scene), 1);
    EXPECT_TRUE(Said(m_Options.outPath + " is no model file that its animation could be added to.")) << m_Said;
}

// The scene turns "a" by a node in between, has "b" first, "c" not at all, and a prefix.
TEST_F(SceneFitTest, SceneTakesTheShapeOfTheModel)
{
    const std::string scene = SceneText(
        {R"({"name": "rig:Top", "children": [3, 1]})",
         R"({"name": "rig:x", "children": [2], "rotation": [0, 0, 0.70710678, 0.70710678], "scale": [2, 2, 2]})",
         R"({"name": "rig:A", "translation": [0, -0.5, 0]})", R"({"name": "rig:B", "translation": [0, 3, 0]})"},
        {{1, {5, 0, 0}, {5, 0, 4}}});
    EXPECT_EQ(Run(scene), 1);
    for (const char* sentence :
         {"Geometry in ", "In the model and not in the scene: 1 node (c).",
          "In the scene and not in the model, so left out: 1 node (rig:x).",
          "Called otherwise, where whole names count: 3 nodes (rig:Top for top, rig:A for a, rig:B for b).",
          "In another order: the model has a, b below top, the scene b, a.",
          "--fit helps: it finds 3 of the model's 4 nodes in the scene by name, and the others stand as at the"})
        EXPECT_TRUE(Said(sentence)) << sentence << " isn't in " << m_Said;

    m_Options.fit = true;
    EXPECT_EQ(Run(scene), 0) << m_Said;
    EXPECT_EQ(Places(0), "a 6 0 0; b 0 3 0; c 5 0 -2; top 0 0 0; ");
    EXPECT_EQ(Places(1), "a 6 0 -4; b 0 3 0; c 5 0 -6; top 0 0 0; ");
    for (const char* sentence : {"Fit: by names without a prefix or in another case: 3 nodes (",
                                 "Fit: children put into the model's order: those of 1 node (top).",
                                 "Fit: not in the scene, as at the model's first key: 1 node (c).",
                                 "Fit: not in the model, left out with their motion handed down: 1 node (rig:x).",
                                 "Bone lengths differ from the model's by more than 1 %: 1 bone (b 3 against 2)"})
        EXPECT_TRUE(Said(sentence)) << sentence << " isn't in " << m_Said;
    const auto report = nlohmann::json::parse(ReadFile(m_Options.reportPath));
    EXPECT_EQ(report["nodesCompared"], 3);
    EXPECT_NEAR(report["worst"], 0.0, 1e-6);

    EXPECT_EQ(
        Run(SceneText({R"({"name": "other", "children": [1]})", R"({"name": "d"})"}, {{1, {0, 0, 0}, {1, 0, 0}}})), 1);
    EXPECT_TRUE(Said("--fit has nothing to go by.")) << m_Said;
}

TEST_F(SceneFitTest, NodesOfOneShapeAndOtherNames)
{
    std::vector<std::string> twisted = FIGURE;
    std::swap(twisted[2], twisted[3]);
    twisted[0] = R"({"name": "top", "children": [3, 1]})";
    EXPECT_EQ(Run(SceneText(twisted, {{1, {1, 0, 0}, {1, 0, 0}}})), 1) << m_Said;
    EXPECT_TRUE(Said("With another parent in the model: 2 nodes (c under a, not top, b under top, not a).")) << m_Said;

    twisted[0] = R"({"name": "top", "children": [1, 3]})";
    EXPECT_EQ(Run(SceneText(twisted, {{1, {1, 0, 0}, {1, 0, 0}}})), 0) << m_Said;
    EXPECT_TRUE(Said("called otherwise here: 2 nodes (b moves c, c moves b). --fit goes by names.")) << m_Said;
}

TEST_F(SceneFitTest, KeptNodesHaveTheirOwnNames)
{
    m_Options.append = false;
    m_Options.overwrite = true;
    m_Options.keep = {"?", "none*"};
    EXPECT_EQ(Run(SceneText(FIGURE, {{1, {1, 0, 0}, {1, 0, 0}}})), 0) << m_Said;
    EXPECT_EQ(Places(0), "a 1 0 0; b 0 2 0; c 1 1 0; top 0 0 0; ");
    EXPECT_TRUE(Said("--keep none* fits no node of the scene."));
    EXPECT_EQ(ReadFile(m_Options.outPath).find("_zN"), std::string::npos);
    EXPECT_NE(ReadFile(m_Options.logPath).find("Node c marked with token 'N', not removing."), std::string::npos);

    m_Options.keep.clear();
    EXPECT_EQ(Run(SceneText(FIGURE, {{1, {1, 0, 0}, {1, 0, 0}}})), 0) << m_Said;
    EXPECT_EQ(Places(0), "top 0 0 0; ");
    m_Options.keep = {"*"};
    m_Options.append = true;
    EXPECT_EQ(Run(SceneText(FIGURE, {{1, {1, 0, 0}, {1, 0, 0}}})), 0) << m_Said;
    EXPECT_TRUE(Said("--keep has no say in an append"));
}
