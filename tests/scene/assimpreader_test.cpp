#include "scene/assimpreader.h"

#include "scene/assimpimport.h"
#include "scene/foldpivots.h"
#include "scene/meshpositions.h"
#include "scene/readscene.h"
#include "tests/scene/sceneparts.h"

#include <cmath>
#include <filesystem>
#include <fstream>

static std::string Write(const std::string& name, const std::string& bytes)
{
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "assimpreader_test";
    std::filesystem::create_directories(folder);
    std::string path = (folder / name).string();
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

static Scene ReadGoodScene(const std::string& name, const std::string& bytes)
{
    Scene scene;
    std::string error;
    EXPECT_TRUE(ReadScene(Write(name, bytes).c_str(), scene, error)) << error;
    return scene;
}

// The sentence with which a file is refused; empty if it was read.
static std::string ReadBadScene(const std::string& path)
{
    Scene scene;
    std::string error;
    if (ReadScene(path.c_str(), scene, error))
        return "";
    EXPECT_TRUE(scene.nodes.empty() && scene.primitives.empty());
    EXPECT_EQ(error.find('\n'), std::string::npos) << error;
    EXPECT_NE(error.find(std::filesystem::path(path).filename().string()), std::string::npos) << error;
    EXPECT_EQ(error.back(), '.') << error;
    return error;
}

static int FindNode(const Scene& scene, const std::string& name, int parent)
{
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
        if (scene.nodes[i].name == name && scene.nodes[i].parent == parent)
            return static_cast<int>(i);
    ADD_FAILURE() << "no node " << name;
    return 0;
}

static const SceneChannel* FindChannel(const SceneClip& clip, int node, ScenePath path)
{
    for (const SceneChannel& channel : clip.channels)
        if (channel.node == node && channel.path == path)
            return &channel;
    return nullptr;
}

TEST(AssimpReader, ObjGivesPrimitivesPerMaterialTrianglesAndImages)
{
    Write("wall.ppm", "P6 4 8 255\n");
    Write("house.mtl", "newmtl brick\nmap_Kd C:\\art\\wall.ppm\nnewmtl glass\nmap_Kd none.png\nnewmtl plain\n");
    const Scene scene = ReadGoodScene("house.obj", "mtllib house.mtl\no house\n"
                                                   "v 0 0 0\nv 2 0 0\nv 2 3 0\nv 0 3 0\nv 0 0 5\n"
                                                   "vt 0.25 0.75\nvt 1 -2\nvt 1 1\nvt 0 1\n"
                                                   "usemtl brick\nf 1/1 2/2 3/3 4/4\n"
                                                   "usemtl glass\nf 1/1 2/2 5/3\nusemtl plain\nl 1 2\n");
    ASSERT_EQ(scene.roots.size(), 1U);
    const SceneNode& house = scene.nodes[FindNode(scene, "house", scene.roots[0])];
    ASSERT_EQ(house.meshes.size(), 2U);
    const ScenePrimitive& wall = scene.primitives[house.meshes[0].primitive];
    const ScenePrimitive& glass = scene.primitives[house.meshes[1].primitive];
    ASSERT_EQ(wall.triangles.size(), 2U) << "a quad";
    double area = 0.0;
    for (const SceneTriangle& triangle : wall.triangles)
    {
        const Double3& a = wall.positions[triangle.corners[0]];
        const Double3& b = wall.positions[triangle.corners[1]];
        const Double3& c = wall.positions[triangle.corners[2]];
        area += ((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x)) / 2.0;
    }
    EXPECT_DOUBLE_EQ(area, 6.0) << "counter-clockwise, all of it";
    ASSERT_EQ(glass.positions.size(), 3U);
    ASSERT_EQ(glass.texCoords.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i)
    {
        const bool second = glass.positions[i].x == 2.0;
        const bool first = !second && glass.positions[i].z == 0.0;
        EXPECT_EQ(glass.texCoords[i].u, first ? 0.25F : 1.0F);
        EXPECT_EQ(glass.texCoords[i].v, first ? 0.75F : second ? -2.0F : 1.0F) << "v isn't turned";
    }
    ASSERT_EQ(scene.images.size(), 2U);
    EXPECT_EQ(scene.images[wall.image].name, "wall.ppm") << "found beside the scene";
    EXPECT_EQ(scene.images[wall.image].width, 4);
    EXPECT_EQ(scene.images[wall.image].height, 8);
    EXPECT_EQ(scene.images[glass.image].width, 0) << "missing";
    ASSERT_EQ(scene.warnings.size(), 2U) << "lines are left out, and with them a mesh";
    EXPECT_EQ(scene.fileStem, "house");
}

// `parameters` names the numbers of one value, "XYZ", or is empty for a value of another type.
static std::string Source(const std::string& id, const std::string& kind, const std::string& values, int count,
                          int stride, const std::string& type, const std::string& parameters = "")
{
    std::string text = "<source id=\"" + id + "\"><" + kind + "_array id=\"" + id + "-a\" count=\"" +
                       std::to_string(count * stride) + "\">" + values + "</" + kind +
                       "_array><technique_common><accessor source=\"#" + id + "-a\" count=\"" + std::to_string(count) +
                       "\" stride=\"" + std::to_string(stride) + "\">";
    for (const char parameter : parameters)
        text += std::string("<param name=\"") + parameter + "\" type=\"float\"/>";
    return text + (parameters.empty() ? "<param type=\"" + type + "\"/>" : "") +
           "</accessor></technique_common></source>";
}

// A triangle on two joints: A at 5 0 0 and, 2 above it, B, which turns a quarter about z from 0.5 s to 1.5 s. The bind
// shape moves the mesh by 6 in x. Another node has B's name; one has none.
static std::string Collada()
{
    return "<?xml version=\"1.0\"?><COLLADA xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\">"
           "<asset><unit name=\"half\" meter=\"0.5\"/><up_axis>Z_UP</up_axis></asset>"
           "<library_geometries><geometry id=\"g\" name=\"Skin\"><mesh>" +
           Source("pos", "float", "0 0 0 0 2 0 1 2 0", 3, 3, "float", "XYZ") +
           "<vertices id=\"v\"><input semantic=\"POSITION\" source=\"#pos\"/></vertices>"
           "<triangles count=\"1\"><input semantic=\"VERTEX\" source=\"#v\" offset=\"0\"/><p>0 1 2</p></triangles>"
           "</mesh></geometry></library_geometries>"
           "<library_controllers><controller id=\"c\"><skin source=\"#g\">"
           "<bind_shape_matrix>1 0 0 6 0 1 0 0 0 0 1 0 0 0 0 1</bind_shape_matrix>" +
           Source("jn", "Name", "sa sb", 2, 1, "name") +
           Source("jb", "float", "1 0 0 -5 0 1 0 0 0 0 1 0 0 0 0 1 1 0 0 -5 0 1 0 -2 0 0 1 0 0 0 0 1", 2, 16,
                  "float4x4") +
           Source("jw", "float", "1 0.25 0.75", 3, 1, "float") +
           "<joints><input semantic=\"JOINT\" source=\"#jn\"/><input semantic=\"INV_BIND_MATRIX\" source=\"#jb\"/>"
           "</joints><vertex_weights count=\"3\"><input semantic=\"JOINT\" source=\"#jn\" offset=\"0\"/>"
           "<input semantic=\"WEIGHT\" source=\"#jw\" offset=\"1\"/><vcount>1 2 1</vcount><v>0 0 0 1 1 2 1 0</v>"
           "</vertex_weights></skin></controller></library_controllers>"
           "<library_animations><animation id=\"m\" name=\"Wave\">" +
           Source("t", "float", "0.5 1.5", 2, 1, "float") +
           Source("o", "float", "1 0 0 0 0 1 0 2 0 0 1 0 0 0 0 1 0 -1 0 0 1 0 0 2 0 0 1 0 0 0 0 1", 2, 16, "float4x4") +
           Source("i", "Name", "LINEAR LINEAR", 2, 1, "name") +
           "<sampler id=\"s\"><input semantic=\"INPUT\" source=\"#t\"/><input semantic=\"OUTPUT\" source=\"#o\"/>"
           "<input semantic=\"INTERPOLATION\" source=\"#i\"/></sampler>"
           "<channel source=\"#s\" target=\"b/transform\"/></animation></library_animations>"
           "<library_visual_scenes><visual_scene id=\"vs\" name=\"Stage\">"
           "<node id=\"other\" name=\"Arm\"><translate>0 0 9</translate></node>"
           "<node id=\"a\" sid=\"sa\" name=\"Base\" type=\"JOINT\"><translate>5 0 0</translate>"
           "<node id=\"b\" sid=\"sb\" name=\"Arm\" type=\"JOINT\">"
           "<matrix sid=\"transform\">1 0 0 0 0 1 0 2 0 0 1 0 0 0 0 1</matrix></node></node>"
           "<node id=\"holder\"><translate>100 0 0</translate><instance_controller url=\"#c\"><skeleton>#a</skeleton>"
           "</instance_controller></node></visual_scene></library_visual_scenes>"
           "<scene><instance_visual_scene url=\"#vs\"/></scene></COLLADA>";
}

TEST(AssimpReader, ColladaSkinFollowsItsJointsAndKeepsNamesUnitAndAxis)
{
    const Scene scene = ReadGoodScene("wave.dae", Collada());
    ASSERT_EQ(scene.nodes.size(), 5U);
    ASSERT_EQ(scene.roots, std::vector<int>{0});
    EXPECT_EQ(scene.nodes[0].name, "Stage");
    const int other = FindNode(scene, "Arm", 0);
    const int base = FindNode(scene, "Base", 0);
    const int arm = FindNode(scene, "Arm", base);
    const int holder = FindNode(scene, "holder", 0);
    EXPECT_FALSE(scene.nodes[other].isJoint);
    EXPECT_TRUE(scene.nodes[base].isJoint && scene.nodes[arm].isJoint);
    EXPECT_EQ(scene.unitMeters, 0.5);
    EXPECT_EQ(scene.upAxis, 'z');
    EXPECT_EQ(scene.nodes[0].local.scale.x, 1.0) << "the unit isn't applied";
    EXPECT_EQ(scene.nodes[0].local.rotation.w, 1.0) << "nor is the axis";

    ASSERT_EQ(scene.clips.size(), 1U);
    const SceneChannel* turn = FindChannel(scene.clips[0], arm, ScenePath::Rotation);
    ASSERT_NE(turn, nullptr);
    EXPECT_EQ(turn->times, (std::vector<double>{0.5, 1.5}));
    ASSERT_EQ(scene.nodes[holder].meshes.size(), 1U);

    // By hand, with the vertices in bind space at 6 0 0, 6 2 0, 7 2 0: A is at rest; B turns about 5 2 0.
    ScenePose pose;
    EvaluatePose(scene, 0, 1.5, pose);
    std::vector<Double3> points = WorldPositions(scene, holder, scene.nodes[holder].meshes[0], pose);
    ASSERT_EQ(points.size(), 3U);
    ExpectPoint(points[0], 6.0, 0.0, 0.0, 1e-5);
    ExpectPoint(points[1], 0.25 * 6.0 + 0.75 * 5.0, 0.25 * 2.0 + 0.75 * 3.0, 0.0, 1e-5);
    ExpectPoint(points[2], 5.0, 4.0, 0.0, 1e-5);
    EvaluatePose(scene, 0, 1.0, pose);
    points = WorldPositions(scene, holder, scene.nodes[holder].meshes[0], pose);
    ExpectPoint(points[2], 5.0 + std::sqrt(2.0), 2.0 + std::sqrt(2.0), 0.0, 1e-5);

    // With names that don't repeat the file is read by names, to the same end.
    const Scene unique = ReadGoodScene("unique.dae", Replaced(Collada(), "id=\"other\" name=\"Arm\"", "id=\"other\""));
    EXPECT_EQ(unique.nodes[other].name, "other");
    EvaluatePose(unique, 0, 1.0, pose);
    ExpectPoint(WorldPositions(unique, holder, unique.nodes[holder].meshes[0], pose)[2], 5.0 + std::sqrt(2.0),
                2.0 + std::sqrt(2.0), 0.0, 1e-5);

    // A bone without a node loses its weights, with a word.
    const Scene boneless = ReadGoodScene("boneless.dae", Replaced(Collada(), "sid=\"sb\"", "sid=\"sc\""));
    EXPECT_FALSE(boneless.warnings.empty());
}

// A quad on node Body, which turns about z from 90 degrees to 0 in 1 s, and a node 7 in x below it.
static std::string Fbx(const std::string& properties)
{
    return "; FBX 7.4.0 project file\nFBXHeaderExtension:  {\n\tFBXHeaderVersion: 1003\n\tFBXVersion: 7400\n}\n"
           "GlobalSettings:  {\n\tVersion: 1000\n\tProperties70:  {\n"
           "\t\tP: \"UpAxis\", \"int\", \"Integer\", \"\",2\n\t\tP: \"UpAxisSign\", \"int\", \"Integer\", \"\",1\n"
           "\t\tP: \"UnitScaleFactor\", \"double\", \"Number\", \"\",2.5\n\t\tP: \"TimeMode\", \"enum\", \"\", "
           "\"\",11\n"
           "\t}\n}\nObjects:  {\n\tGeometry: 200, \"Geometry::\", \"Mesh\" {\n"
           "\t\tVertices: *12 {\n\t\t\ta: 0,0,0,2,0,0,2,2,0,0,2,0\n\t\t}\n"
           "\t\tPolygonVertexIndex: *4 {\n\t\t\ta: 0,1,2,-4\n\t\t}\n\t}\n"
           "\tModel: 100, \"Model::Body\", \"Mesh\" {\n\t\tVersion: 232\n\t\tProperties70:  {\n"
           "\t\t\tP: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",1,2,3\n"
           "\t\t\tP: \"Lcl Rotation\", \"Lcl Rotation\", \"\", \"A\",0,0,90\n" +
           properties +
           "\t\t}\n\t}\n\tModel: 101, \"Model::Child\", \"Null\" {\n\t\tVersion: 232\n\t\tProperties70:  {\n"
           "\t\t\tP: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",7,0,0\n\t\t}\n\t}\n"
           "\tAnimationStack: 300, \"AnimStack::rig|Take\", \"\" {\n\t}\n"
           "\tAnimationLayer: 301, \"AnimLayer::Base\", \"\" {\n\t}\n"
           "\tAnimationCurveNode: 302, \"AnimCurveNode::R\", \"\" {\n\t\tProperties70:  {\n"
           "\t\t\tP: \"d|Z\", \"Number\", \"\", \"A\",90\n\t\t}\n\t}\n"
           "\tAnimationCurve: 303, \"AnimCurve::\", \"\" {\n\t\tDefault: 0\n\t\tKeyVer: 4008\n"
           "\t\tKeyTime: *2 {\n\t\t\ta: 0,46186158000\n\t\t}\n\t\tKeyValueFloat: *2 {\n\t\t\ta: 90,0\n\t\t}\n"
           "\t\tKeyAttrFlags: *1 {\n\t\t\ta: 24836\n\t\t}\n\t\tKeyAttrDataFloat: *4 {\n\t\t\ta: "
           "0,0,255790911,0\n\t\t}\n"
           "\t\tKeyAttrRefCount: *1 {\n\t\t\ta: 2\n\t\t}\n\t}\n}\n"
           "Connections:  {\n\tC: \"OO\",100,0\n\tC: \"OO\",101,100\n\tC: \"OO\",200,100\n\tC: \"OO\",301,300\n"
           "\tC: \"OO\",302,301\n\tC: \"OP\",302,100, \"Lcl Rotation\"\n\tC: \"OP\",303,302, \"d|Z\"\n}\n";
}

TEST(AssimpReader, FbxPivotsAreFoldedIntoNodesAndTheirMotion)
{
    const std::string vector = "\", \"Vector3D\", \"Vector\", \"\",";
    struct
    {
        std::string properties;
        Double3 rest;  // the child at rest and at time 0
        Double3 later; // and after 1 s
        double meshZ;  // the corner 2 2 0 of the mesh after 1 s
    } const cases[] = {
        {"", {1, 9, 3}, {8, 2, 3}, 3},
        // Turned about the pivot 1 0 0: T + p + R (child - p).
        {"P: \"RotationPivot" + vector + "1,0,0\n", {2, 8, 3}, {8, 2, 3}, 3},
        // A quarter about x after the turn: x to x, y to z.
        {"P: \"RotationActive\", \"bool\", \"\", \"\",1\nP: \"PreRotation" + vector + "90,0,0\n",
         {1, 2, 10},
         {8, 2, 3},
         5},
        // A geometric transform moves the mesh alone.
        {"P: \"GeometricTranslation" + vector + "0,0,5\n", {1, 9, 3}, {8, 2, 3}, 8},
    };
    for (const auto& entry : cases)
    {
        SCOPED_TRACE(entry.properties);
        const Scene scene = ReadGoodScene("pivot.fbx", Fbx(entry.properties));
        ASSERT_EQ(scene.nodes.size(), 3U) << "no pivot nodes";
        const int body = FindNode(scene, "Body", scene.roots[0]);
        const int child = FindNode(scene, "Child", body);
        ASSERT_EQ(scene.clips.size(), 1U);
        EXPECT_EQ(scene.clips[0].name, "rig|Take");
        const SceneChannel* turn = FindChannel(scene.clips[0], body, ScenePath::Rotation);
        ASSERT_NE(turn, nullptr);
        EXPECT_EQ(turn->times, (std::vector<double>{0.0, 1.0}));
        for (const double time : {-1.0, 0.0, 1.0}) // -1: at rest
        {
            ScenePose pose;
            EvaluatePose(scene, time < 0.0 ? -1 : 0, time, pose);
            const Double3& expected = time < 1.0 ? entry.rest : entry.later;
            ExpectPoint(TransformPoint(pose.globals[child], {}), expected.x, expected.y, expected.z, 1e-5);
            if (time == 1.0)
            {
                EXPECT_NEAR(TransformPoint(pose.globals[body], {2, 2, 0}).z, entry.meshZ, 1e-5);
            }
        }
        EXPECT_EQ(scene.statedFps, 24.0);
        EXPECT_EQ(scene.unitMeters, 0.025);
        EXPECT_EQ(scene.upAxis, 'z');
        EXPECT_TRUE(scene.warnings.empty());
    }
}

// A clip of nothing but keys that hold what is at rest still moves what another clip has moved.
TEST(AssimpReader, FbxClipOfARestPoseKeepsItsKeys)
{
    std::string text = Replaced(Fbx(""), "KeyTime: *2 {\n\t\t\ta: 0,46186158000", "KeyTime: *1 {\n\t\t\ta: 0");
    text = Replaced(text, "KeyValueFloat: *2 {\n\t\t\ta: 90,0", "KeyValueFloat: *1 {\n\t\t\ta: 90");
    const Scene scene = ReadGoodScene("rest.fbx", Replaced(text, "a: 2\n\t\t}\n\t}\n}", "a: 1\n\t\t}\n\t}\n}"));
    ASSERT_EQ(scene.clips.size(), 1U);
    EXPECT_NE(FindChannel(scene.clips[0], FindNode(scene, "Body", scene.roots[0]), ScenePath::Rotation), nullptr);
}

TEST(FoldPivotNodes, SkinsAndAPassingScaleGoAlong)
{
    Scene scene;
    scene.roots = {0};
    for (const char* name : {"top", "Arm_$AssimpFbx$_Scaling", "Arm", "Hand"})
    {
        scene.nodes.emplace_back();
        scene.nodes.back().name = name;
        scene.nodes.back().parent = static_cast<int>(scene.nodes.size()) - 2;
    }
    for (int i = 0; i < 3; ++i)
        scene.nodes[i].children = {i + 1};
    scene.skins.resize(1);
    scene.skins[0].joints = {3, 2};
    scene.clips = {
        {"go", {MakeChannel(1, ScenePath::Scale, SceneInterpolation::Linear, {0, 1, 2}, {1, 1, 1, 1, 3, 1, 1, 1, 1})}}};
    FoldPivotNodes(scene);
    ASSERT_EQ(scene.nodes.size(), 3U);
    EXPECT_EQ(scene.skins[0].joints, (std::vector<int>{2, 1}));
    const SceneChannel* scale = FindChannel(scene.clips[0], 1, ScenePath::Scale);
    ASSERT_NE(scale, nullptr) << "though it ends as it is at rest";
    EXPECT_EQ(scale->values[4], 3.0);
}

// What an FBX file states of its axes beside a positive one that is up.
TEST(AssimpReader, WarnsAboutAxesThatItDoesntFollow)
{
    const std::string upSign = R"("UpAxisSign", "int", "Integer", "",)";
    const std::string front = "1\n\t\tP: \"FrontAxis\", \"int\", \"Integer\", \"\",";
    const std::string frontSign = "\n\t\tP: \"FrontAxisSign\", \"int\", \"Integer\", \"\",";
    const struct
    {
        std::string settings;
        char upAxis;
        const char* warning; // null for none
    } cases[] = {{"-1", 0, "states that -z points up"},
                 {front + "1" + frontSign + "-1", 'z', nullptr},
                 {front + "1" + frontSign + "1", 'z', "states that y is its front"},
                 {front + "0" + frontSign + "-1", 'z', "states that -x is its front"}};
    for (const auto& entry : cases)
    {
        SCOPED_TRACE(entry.settings);
        const Scene scene = ReadGoodScene("axes.fbx", Replaced(Fbx(""), upSign + "1", upSign + entry.settings));
        EXPECT_EQ(scene.upAxis, entry.upAxis);
        ASSERT_EQ(scene.warnings.size(), entry.warning != nullptr ? 1U : 0U);
        EXPECT_TRUE(entry.warning == nullptr || scene.warnings[0].find(entry.warning) != std::string::npos);
    }
}

TEST(AssimpReader, RefusesWhatItCantReadInOneSentence)
{
    const std::string folder = std::filesystem::path(Write("empty.fbx", "")).parent_path().string();
    EXPECT_NE(ReadBadScene(folder).find("is no regular file"), std::string::npos);
    EXPECT_NE(ReadBadScene(folder + "/missing.fbx").find("can't be opened"), std::string::npos);
    EXPECT_NE(ReadBadScene(folder + "/empty.fbx").find("is empty"), std::string::npos);
    EXPECT_NE(ReadBadScene(Write("letter.txt", "Dear reader,\n")).find("no known scene format"), std::string::npos);
    EXPECT_NE(ReadBadScene(Write("letter", "Dear reader,\n")).find("no known scene format"), std::string::npos);
    EXPECT_NE(ReadBadScene(Write("letter.fbx", "Dear reader,\n")), "");
    EXPECT_NE(ReadBadScene(Write("nan.obj", "v 0 0 0\nv nan 0 0\nv 0 1 0\nf 1 2 3\n")).find("finite"),
              std::string::npos);
    EXPECT_NE(ReadBadScene(Write("range.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 9\n")), "");
    EXPECT_NE(ReadBadScene(Write("index.dae", Replaced(Collada(), "<p>0 1 2", "<p>0 1 7"))), "");

    // What isn't a number in this list makes the importer go round without an end.
    const std::string endless = Write("endless.dae", Replaced(Collada(), "<p>0 1 2", "<p>0 x 2"));
    std::string reason;
    EXPECT_NE(TryImport(endless, 1, std::uintmax_t(64) << 20U, reason), TrialResult::Good);
    EXPECT_EQ(TryImport(Write("wave.dae", Collada()), 10, std::uintmax_t(64) << 20U, reason), TrialResult::Good);
}

// Files go by their bytes, whatever they are called.
TEST(ReadScene, WrongAndMissingSuffixes)
{
    const std::string fbx = Fbx("P: \"RotationPivot\", \"Vector3D\", \"Vector\", \"\",1,0,0\n");
    const std::string late = Replaced(Collada(), "<COLLADA", "<!-- a long word ahead of the document -->\n<COLLADA");
    const std::pair<const char*, std::string> files[] = {{"wave.obj", late},      {"wave.gltf", Collada()},
                                                         {"wave.fbx", Collada()}, {"wave", Collada()},
                                                         {"turn.dae", fbx},       {"turn.glb", fbx}};
    for (const auto& [name, bytes] : files)
    {
        Scene scene;
        std::string error;
        ASSERT_TRUE(ReadScene(Write(name, bytes).c_str(), scene, error)) << error;
        EXPECT_GT(scene.nodes.size(), 1U) << name;
        ASSERT_FALSE(scene.warnings.empty()) << name;
        EXPECT_EQ(scene.warnings[0], std::string(name) + " is a " + (bytes == fbx ? "fbx" : "dae") +
                                         " file by its first bytes, and is read as one.");
    }
}
