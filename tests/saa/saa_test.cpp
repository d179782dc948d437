#include "saa/SAA.h"
#include "saa/cropcoords.h"
#include "saa/handles.h"
#include "saa/operations.h"
#include "saa/saahost.h"
#include "scene/meshpositions.h"
#include "scene/splitmeshes.h"
#include "scene/trianglelist.h"
#include "tests/scene/gltftext.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <utility>

// One open scene and short ways to ask it; each question must be answered with success.
class OpenScene
{
public:
    explicit OpenScene(const Scene& opened, const RecordedSceneOptions& options = {})
        : scene(opened), recorded(scene, options)
    {
        ClearFaults();
        SetCurrentScene(&recorded);
        EXPECT_EQ(SAA_sceneGetCurrent(&record), 0);
        models.resize(static_cast<std::size_t>(recorded.NumElements()));
        EXPECT_EQ(SAA_sceneGetModels(&record, recorded.NumElements(), models.data()), 0);
    }
    ~OpenScene() { SetCurrentScene(nullptr); }
    OpenScene(const OpenScene&) = delete;
    OpenScene& operator=(const OpenScene&) = delete;

    std::string Name(const SAA_Elem& elem)
    {
        char text[512];
        EXPECT_EQ(SAA_elementGetName(&record, &elem, 511, text), 0);
        return text;
    }
    SAA_Elem Find(const std::string& name)
    {
        for (const SAA_Elem& elem : models)
            if (Name(elem) == name)
                return elem;
        ADD_FAILURE() << "no element " << name;
        return {};
    }
    std::vector<std::string> Names()
    {
        std::vector<std::string> names;
        for (const SAA_Elem& elem : models)
            names.push_back(Name(elem));
        return names;
    }
    // "name[child child]" for an element and all below it.
    std::string Tree(const SAA_Elem& elem)
    {
        int count = 0;
        EXPECT_EQ(SAA_modelGetNbChildren(&record, &elem, &count), 0);
        std::vector<SAA_Elem> children(static_cast<std::size_t>(count));
        EXPECT_EQ(SAA_modelGetChildren(&record, &elem, count, children.data()), 0);
        std::string text = Name(elem);
        for (int i = 0; i < count; ++i)
            text.append(i == 0 ? "[" : " ").append(Tree(children[static_cast<std::size_t>(i)]));
        return text.append(count == 0 ? "" : "]");
    }
    int Ask(int (*operation)(const SAA_Scene*, const SAA_Elem*, int*), const SAA_Elem& elem)
    {
        int value = -99;
        EXPECT_EQ(operation(&record, &elem, &value), 0);
        return value;
    }
    std::vector<SAA_SubHandle> Corners(const SAA_Elem& mesh)
    {
        int count = 0;
        EXPECT_EQ(SAA_modelGetNbTriangles(&record, &mesh, SAA_GEOM_DEFORMED, 0, &count), 0);
        std::vector<SAA_SubHandle> triangles(static_cast<std::size_t>(count));
        std::vector<SAA_SubHandle> corners(3 * triangles.size());
        EXPECT_EQ(SAA_modelGetTriangles(&record, &mesh, SAA_GEOM_DEFORMED, 0, count, triangles.data()), 0);
        EXPECT_EQ(
            SAA_triangleGetCtrlVertices(&record, &mesh, SAA_GEOM_DEFORMED, 0, count, triangles.data(), corners.data()),
            0);
        return corners;
    }
    std::vector<int> Indices(const SAA_Elem& mesh, const std::vector<SAA_SubHandle>& handles)
    {
        std::vector<int> indices(handles.size());
        EXPECT_EQ(
            SAA_ctrlVertexGetIndices(&record, &mesh, static_cast<int>(handles.size()), handles.data(), indices.data()),
            0);
        return indices;
    }
    std::vector<SAA_SubHandle> Vertices(const SAA_Elem& mesh)
    {
        std::vector<SAA_SubHandle> handles(static_cast<std::size_t>(Ask(SAA_modelGetNbVertices, mesh)));
        EXPECT_EQ(SAA_modelGetCtrlVertices(&record, &mesh, SAA_GEOM_ORIGINAL, 0, static_cast<int>(handles.size()),
                                           handles.data()),
                  0);
        return handles;
    }
    SAA_Elem Texture(const SAA_Elem& mesh)
    {
        SAA_Elem texture = {};
        EXPECT_EQ(SAA_modelRelationGetT2DGlbElements(&record, &mesh, 1, &texture), 0);
        return texture;
    }
    // The coordinates of corners: all u, then all v.
    std::vector<float> Coordinates(const SAA_Elem& mesh, const std::vector<SAA_SubHandle>& corners)
    {
        const SAA_Elem texture = Texture(mesh);
        const int count = static_cast<int>(corners.size());
        std::vector<float> uv(2 * corners.size());
        EXPECT_EQ(SAA_triCtrlVertexGetGlobalUVTxtCoords(&record, &mesh, count, corners.data(), 1, &texture, uv.data(),
                                                        uv.data() + count),
                  0);
        return uv;
    }
    std::vector<SAA_Position> Positions(const SAA_Elem& mesh, int geometry)
    {
        std::vector<SAA_Position> positions(static_cast<std::size_t>(Ask(SAA_modelGetNbVertices, mesh)));
        EXPECT_EQ(
            SAA_modelGetVertices(&record, &mesh, geometry, 0, static_cast<int>(positions.size()), positions.data()), 0);
        return positions;
    }

    Scene scene;
    RecordedScene recorded;
    SAA_Scene record;
    std::vector<SAA_Elem> models;
};

static bool SameBytes(const SAA_SubHandle& a, const SAA_SubHandle& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

static SceneNode MakeNode(const std::string& name, int parent = -1)
{
    SceneNode node;
    node.name = name;
    node.parent = parent;
    return node;
}

static Scene MakeTree(const std::vector<std::pair<std::string, int>>& nodes)
{
    Scene scene;
    scene.fileStem = "file";
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        scene.nodes.push_back(MakeNode(nodes[i].first, nodes[i].second));
        if (nodes[i].second >= 0)
            scene.nodes[static_cast<std::size_t>(nodes[i].second)].children.push_back(static_cast<int>(i));
        else
            scene.roots.push_back(static_cast<int>(i));
    }
    return scene;
}

static ScenePrimitive OneTriangle()
{
    ScenePrimitive primitive;
    primitive.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    primitive.triangles = {{{0, 1, 2}}};
    return primitive;
}

TEST(Elements, StandUnderOneRoot)
{
    {
        OpenScene open(MakeTree({{"hip", -1}, {"leg", 0}, {"foot", 1}, {"arm", 0}}));
        EXPECT_EQ(open.Tree(open.models[0]), "hip[leg[foot] arm]");
        EXPECT_EQ(open.Ask(SAA_elementGetHierarchyLevel, open.Find("hip")), 0);
        EXPECT_EQ(open.Ask(SAA_elementGetHierarchyLevel, open.Find("foot")), 2);
    }
    Scene two = MakeTree({{"a", -1}, {"FILE", -1}, {"hidden", -1}, {"b", 1}});
    two.roots = {1, 0};
    OpenScene open(two);
    EXPECT_EQ(open.Tree(open.models[0]), "file_1[FILE[b] a]") << "a null named after the file, since FILE is taken";
    EXPECT_EQ(open.Names(), (std::vector<std::string>{"file_1", "a", "FILE", "b"})) << "in file order";
    EXPECT_EQ(open.Ask(SAA_elementGetHierarchyLevel, open.models[0]), 0);
    EXPECT_EQ(open.Ask(SAA_elementGetHierarchyLevel, open.Find("b")), 2);
    two.name = "stage";
    OpenScene named(two);
    EXPECT_EQ(named.Name(named.models[0]), "stage");
}

TEST(Elements, FurtherMeshesAreChildrenAndTypesAreTold)
{
    Scene scene = MakeTree({{"top", -1}, {"body_zTex1", 0}, {"bone", 1}, {"both", 1}});
    scene.primitives = std::vector<ScenePrimitive>{OneTriangle(), OneTriangle()};
    scene.nodes[1].meshes = {{0, -1}, {1, -1}, {0, -1}};
    scene.nodes[1].local.translation = {5, 0, 0};
    scene.nodes[2].isJoint = true;
    scene.nodes[3].isJoint = true;
    scene.nodes[3].meshes = {{1, -1}};
    OpenScene open(scene);
    EXPECT_EQ(open.Tree(open.models[0]), "top[body_zTex1[bone both body_zTex1_1 body_zTex1_2]]");
    EXPECT_EQ(open.Ask(SAA_modelGetType, open.Find("top")), SAA_MNILL);
    EXPECT_EQ(open.Ask(SAA_modelGetType, open.Find("bone")), SAA_MJNT);
    for (const char* mesh : {"both", "body_zTex1", "body_zTex1_2"})
    {
        EXPECT_EQ(open.Ask(SAA_modelGetType, open.Find(mesh)), SAA_MSMSH);
        EXPECT_EQ(open.Ask(SAA_envelopeGetType, open.Find(mesh)), SAA_ENVELOPE_NONE);
    }
    float x = 0;
    float y = 0;
    float z = 0;
    const SAA_Elem body = open.Find("body_zTex1");
    const SAA_Elem further = open.Find("body_zTex1_1");
    EXPECT_EQ(SAA_modelGetTranslation(&open.record, &body, 0, &x, &y, &z), 0);
    EXPECT_EQ(x, 5.0F);
    EXPECT_EQ(SAA_modelGetTranslation(&open.record, &further, 0, &x, &y, &z), 0);
    EXPECT_EQ(x, 0.0F) << "it stands where its node stands";
}

TEST(Elements, NamesAreUniqueAndKeepWhatTheFileSays)
{
    const std::string longName(600, 'x');
    OpenScene open(MakeTree({{"Arm", -1},
                             {"arm", 0},
                             {"", 0},
                             {"arm_1", 0},
                             {"node2", 0},
                             {std::string("leg\0tail", 8), 0},
                             {"ARM", 0},
                             {longName, 0},
                             {longName, 0}}));
    const std::vector<std::string> names = open.Names();
    EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + 7),
              (std::vector<std::string>{"Arm", "arm_2", "node2_1", "arm_1", "node2", "leg", "ARM_3"}));
    EXPECT_NE(names[7], names[8]);
    EXPECT_LT(names[8].size(), 511U) << "the exporter's buffer holds it";
}

TEST(Time, RangeAndFramesAgree)
{
    Scene scene = MakeTree({{"top", -1}, {"arm", 0}});
    SceneChannel move;
    move.node = 1;
    move.path = ScenePath::Translation;
    move.interpolation = SceneInterpolation::Step;
    move.times = {0.05, 0.51, 1.0 / 3.0 + 1.0};
    move.values = {1, 0, 0, 2, 0, 0, 3, 0, 0};
    // A little behind the middle between two frames, where a float can't be.
    SceneChannel turn = move;
    turn.path = ScenePath::Rotation;
    turn.interpolation = SceneInterpolation::Linear;
    turn.times = {12.5 / 24.0 + 1e-9};
    turn.values = {0, 0, 0, 1};
    SceneChannel grow = move;
    grow.path = ScenePath::Scale;
    grow.interpolation = SceneInterpolation::Linear;
    grow.times = {0.0, 1.0, 2.0};
    scene.clips.resize(2);
    scene.clips[1].name = "walk";
    scene.clips[1].channels = {move, grow, turn};
    RecordedSceneOptions options;
    options.clip = 1;
    options.fps = 24.0;
    OpenScene open(scene, options);
    int frame = -1;
    EXPECT_EQ(SAA_sceneGetPlayCtrlStartFrame(&open.record, &frame), 0);
    EXPECT_EQ(frame, 0) << "the first key is one of scale";
    EXPECT_EQ(SAA_sceneGetPlayCtrlEndFrame(&open.record, &frame), 0);
    EXPECT_EQ(frame, 48);
    char text[512];
    EXPECT_EQ(SAA_sceneGetName(&open.record, 512, text), 0);
    EXPECT_STREQ(text, "walk");

    const SAA_Elem arm = open.Find("arm");
    SAA_Elem curves[3];
    short valid = -1;
    EXPECT_EQ(SAA_modelFcurveGetShapeInterpolation(&open.record, &arm, &curves[0]), 0);
    EXPECT_EQ(SAA_elementIsValid(&open.record, &curves[0], &valid), 0);
    EXPECT_EQ(valid, 0);
    EXPECT_EQ(SAA_modelFcurveGetTranslation(&open.record, &arm, &curves[0], &curves[1], &curves[2]), 0);
    int count = 0;
    EXPECT_EQ(SAA_fcurveGetNbKeys(&open.record, &curves[2], &count), 0);
    EXPECT_EQ(count, 3);
    SAA_SubHandle keys[4];
    EXPECT_NE(SAA_fcurveGetKeys(&open.record, &curves[2], count + 1, keys), 0);
    float times[4];
    EXPECT_EQ(SAA_fcurveGetKeys(&open.record, &curves[2], count, keys), 0);
    EXPECT_EQ(SAA_fcurveKeyGetTime(&open.record, &curves[2], count, keys, times), 0);
    SAA_Elem turns[3];
    EXPECT_EQ(SAA_modelFcurveGetRotation(&open.record, &arm, &turns[0], &turns[1], &turns[2]), 0);
    EXPECT_NE(SAA_fcurveKeyGetTime(&open.record, &turns[0], 1, keys, &times[3]), 0) << "keys of another curve";
    EXPECT_EQ(SAA_fcurveGetKeys(&open.record, &turns[0], 1, keys), 0);
    EXPECT_EQ(SAA_fcurveKeyGetTime(&open.record, &turns[0], 1, keys, &times[3]), 0);
    const int framesOfKeys[] = {2, 13, 32, 13};
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(SAA_seconds2Frame(&open.record, times[i], &frame), 0);
        EXPECT_EQ(frame, framesOfKeys[i]) << i;
    }

    // 0.05 s is frame 1.2, 0.51 s frame 12.24: the new value holds from the next frame on; 32 is met.
    float at[3];
    for (const auto& [at24, value] : {std::pair<int, float>{1, 1}, {2, 1}, {12, 1}, {13, 2}, {31, 2}, {32, 3}})
    {
        EXPECT_EQ(SAA_sceneSetPlayCtrlCurrentFrame(&open.record, at24), 0);
        EXPECT_EQ(SAA_modelGetTranslation(&open.record, &arm, 0, &at[0], &at[1], &at[2]), 0);
        EXPECT_EQ(at[0], value) << at24;
        float seconds = 0;
        EXPECT_EQ(SAA_frame2Seconds(&open.record, at24, &seconds), 0);
        EXPECT_EQ(seconds, static_cast<float>(at24 / 24.0));
        EXPECT_EQ(SAA_seconds2Frame(&open.record, seconds, &frame), 0);
        EXPECT_EQ(frame, at24);
    }
    EXPECT_EQ(open.recorded.Warnings().size(), 1U) << "animated scale";
    EXPECT_NE(SAA_seconds2Frame(&open.record, NAN, &frame), 0);

    options.clip = -1;
    options.start = 7;
    options.end = 3;
    const RecordedScene rest(scene, options);
    EXPECT_EQ(rest.StartFrame(), 7);
    EXPECT_EQ(rest.EndFrame(), 3) << "the host's words are not mended";
    EXPECT_EQ(rest.Name(), "file");
}

// Two quads over a shared edge; its vertices are there twice, with other texture coordinates.
static Scene SeamScene()
{
    ScenePrimitive primitive;
    primitive.positions = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, -0.0}};
    primitive.texCoords = {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0.25F, 0}, {0.5F, 0}, {0.5F, 1}, {0.25F, 1}};
    primitive.triangles = {{{0, 1, 2}}, {{0, 2, 3}}, {{4, 5, 6}}, {{4, 6, 7}}};
    primitive.image = 0;
    Scene scene = MakeTree({{"top", -1}, {"quads", 0}});
    scene.primitives = std::vector<ScenePrimitive>{primitive};
    scene.images.resize(1);
    scene.images[0].width = 64;
    scene.images[0].height = 1;
    scene.nodes[1].meshes = {{0, -1}};
    return scene;
}

TEST(Meshes, SeamsAreJoinedAndCornersKeepTheirCoordinates)
{
    Scene scene = SeamScene();
    OpenScene open(scene);
    const SAA_Elem mesh = open.Find("quads");
    EXPECT_EQ(open.Ask(SAA_modelGetNbVertices, mesh), 6);
    EXPECT_EQ(open.Ask(SAA_modelGetNbTriVertices, mesh), 6);
    const std::vector<SAA_SubHandle> corners = open.Corners(mesh);
    EXPECT_EQ(open.Indices(mesh, corners), (std::vector<int>{0, 1, 2, 0, 2, 3, 1, 4, 5, 1, 5, 2}));
    const std::vector<SAA_SubHandle> vertices = open.Vertices(mesh);
    EXPECT_EQ(open.Indices(mesh, vertices), (std::vector<int>{0, 1, 2, 3, 4, 5}));
    std::vector<SAA_Position> tri(6);
    EXPECT_EQ(SAA_modelGetTriVertices(&open.record, &mesh, 6, tri.data()), 0);
    const std::vector<SAA_Position> deformed = open.Positions(mesh, SAA_GEOM_DEFORMED);
    for (std::size_t i = 0; i < tri.size(); ++i)
        EXPECT_TRUE(std::equal(std::begin(tri[i].v), std::end(tri[i].v), std::begin(deformed[i].v))) << i;
    EXPECT_EQ(deformed[4].v[0], 2.0);

    const SAA_Elem texture = open.Texture(mesh);
    const std::vector<float> uv = open.Coordinates(mesh, corners);
    int max[2];
    EXPECT_EQ(SAA_texture2DSetCropMax(&open.record, &texture, 32767, 32767), 0);
    EXPECT_EQ(SAA_texture2DGetCropMax(&open.record, &texture, &max[0], &max[1]), 0);
    EXPECT_EQ(max[0] * 100 + max[1], 101) << "one pixel high counts as 2 by 2";
    // Scale 1/2: corner 6 is vertex 1 seen from the second quad, where u is 0.25.
    EXPECT_EQ(0.5F * uv[1], 1.0F);
    EXPECT_EQ(0.5F * uv[6], 0.25F);
    EXPECT_EQ(0.5F * uv[12 + 8], 1.0F);
    float u = 0;
    float v = 0;
    EXPECT_NE(SAA_triCtrlVertexGetGlobalUVTxtCoords(&open.record, &mesh, 1, vertices.data(), 1, &texture, &u, &v), 0)
        << "a vertex by itself has no coordinates";
    // One corner alone is answered too.
    EXPECT_EQ(0.5F * open.Coordinates(mesh, {corners[11]})[0], 0.25F);

    // Weights, morphs: what differs in them isn't joined. Without a skin weights don't count.
    ScenePrimitive& primitive = scene.primitives[0];
    primitive.influenceStarts = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    primitive.influences.assign(8, {0, 1.0});
    primitive.influences[4].weight = 0.5;
    EXPECT_EQ(JoinVertices(primitive, false).fileVertex.size(), 6U);
    EXPECT_EQ(JoinVertices(primitive, true).fileVertex.size(), 7U);
    primitive.morphDeltas.assign(1, std::vector<Double3>(8));
    primitive.morphDeltas[0][7].z = 1.0;
    EXPECT_EQ(JoinVertices(primitive, false).fileVertex.size(), 7U);
}

// Split along its triangles, a mesh has the same corners in the same order; names leave room for the piece's 31 bytes.
TEST(Meshes, MoreVerticesThanAPieceHoldsAreSplit)
{
    const std::uint32_t side = 300;
    ScenePrimitive sea;
    for (std::uint32_t i = 0; i < side * side; ++i)
    {
        const std::uint32_t row = i / side;
        sea.positions.push_back({double(i % side), double(row), double(i * i % 17)});
        if (i % side + 1 < side && i / side + 1 < side)
        {
            sea.triangles.push_back({{i, i + 1, i + side}});
            sea.triangles.push_back({{i + 1, i + side + 1, i + side}});
        }
    }
    Scene scene;
    scene.roots = {0};
    scene.nodes.resize(2);
    scene.nodes[0].name = "sea";
    scene.nodes[0].children = {1};
    scene.nodes[1].parent = 0;
    scene.nodes[1].name = "the sea around the isle_zTex1 far out";
    scene.primitives = std::vector<ScenePrimitive>{sea, sea};
    scene.primitives[1] = CopyTriangles(sea, 0, 10);
    scene.nodes[0].meshes = {{0, -1}, {1, -1}};
    scene.nodes[1].meshes = {{0, -1}};
    SplitLargeMeshes(scene);
    EXPECT_EQ(scene.warnings.size(), 2U);
    ASSERT_EQ(scene.nodes[0].meshes.size(), 3U);
    ASSERT_EQ(scene.nodes[1].meshes.size(), 2U);
    std::size_t triangle = 0;
    for (const std::size_t use : {0U, 2U})
    {
        const ScenePrimitive& part = scene.primitives[std::size_t(scene.nodes[0].meshes[use].primitive)];
        EXPECT_EQ(scene.nodes[1].meshes[use / 2].primitive, scene.nodes[0].meshes[use].primitive);
        EXPECT_LE(part.positions.size(), MAX_MESH_VERTICES);
        EXPECT_TRUE(use == 2 || part.positions.size() > MAX_MESH_VERTICES - 3) << "as full as can be";
        for (std::size_t i = 0; i < part.triangles.size(); ++i, ++triangle)
        {
            for (std::size_t k = 0; k < 3; ++k)
            {
                const Double3& p = part.positions[part.triangles[i].corners[k]];
                const Double3& q = sea.positions[sea.triangles[triangle].corners[k]];
                ASSERT_TRUE(p.x == q.x && p.y == q.y && p.z == q.z) << triangle;
            }
        }
    }
    EXPECT_EQ(triangle, sea.triangles.size());
    OpenScene open(scene);
    EXPECT_EQ(open.Tree(open.models[0]), "sea[the sea around the isle_zTex1 far out[the sea around the isle_zTex1_2] "
                                         "sea_1 sea_2]");
}

// Joints with random turns, a mesh node with a transform of its own.
static Scene RandomSkin(unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> number(-2.0, 2.0);
    Scene scene = MakeTree({{"top", -1}, {"mesh", 0}, {"j0", 0}, {"j1", 2}, {"j2", 3}});
    for (SceneNode& node : scene.nodes)
    {
        node.local = {{number(random), number(random), number(random)},
                      NormalizeQuat({number(random), number(random), number(random), number(random)}),
                      {1.5 + number(random) / 2, 0.5, 2.0}};
    }
    SceneSkin skin;
    skin.joints = {2, 3, 4, 3}; // j1 twice
    skin.inverseBinds.resize(4);
    for (DoubleMatrix& bind : skin.inverseBinds)
        bind = MatrixFromTransform({{number(random), 1, 2}, {}, {1, 1, 1}});
    ScenePrimitive primitive;
    primitive.influenceStarts = {0};
    for (std::uint32_t v = 0; v < 30; ++v)
    {
        primitive.positions.push_back({number(random), number(random), number(random)});
        primitive.influences.push_back({v % 4, 0.75});
        primitive.influences.push_back({(v + 1) % 4, 0.25 + (v % 3 == 0 ? 0.0 : 0.5)});
        primitive.influences.push_back({(v + 1) % 4, 0.01});
        primitive.influences.push_back({(v + 2) % 4, 0.25});
        primitive.influenceStarts.push_back(static_cast<std::uint32_t>(primitive.influences.size()));
        primitive.triangles.push_back({{v, (v + 1) % 30, (v + 2) % 30}});
    }
    scene.skins = {skin};
    scene.primitives = std::vector<ScenePrimitive>{primitive};
    scene.nodes[1].meshes = {{0, 0}};
    return scene;
}

TEST(Meshes, SpentOnesGoWithTheNextAndTheirEnvelopesWithTheNextFrame)
{
    Scene scene = RandomSkin(3);
    scene.primitives.push_back(std::as_const(scene).primitives[0]);
    scene.nodes[1].meshes = {{0, 0}, {1, 0}, {0, -1}}; // the third one shares the first one's triangles
    RecordedSceneOptions options;
    options.spent = &scene.primitives;
    OpenScene open(scene, options);
    const SAA_Elem first = open.Find("mesh");
    const SAA_Elem second = open.Find("mesh_1");
    const SAA_Elem third = open.Find("mesh_2");
    const SAA_Elem joint = open.Find("j0");
    const ScenePrimitives& primitives = scene.primitives;
    const auto isThere = [&](const SAA_Elem& mesh)
    {
        int count = -1;
        const int status = SAA_modelGetNbTriangles(&open.record, &mesh, SAA_GEOM_DEFORMED, 0, &count);
        EXPECT_EQ(status, count < 0 ? SAA_STATUS_HANDLE : 0);
        return status == 0;
    };
    const auto countMoved = [&](const SAA_Elem& mesh)
    {
        int count = -1;
        return SAA_envelopeGetNbCtrlVertices(&open.record, &joint, 1, &mesh, &count) == 0 ? count : -1;
    };
    const int ofFirst = countMoved(first);
    EXPECT_GT(ofFirst, 0);
    EXPECT_TRUE(isThere(first) && isThere(second) && isThere(third)) << "none has been read";
    open.Positions(first, SAA_GEOM_DEFORMED);
    EXPECT_TRUE(isThere(first));
    EXPECT_TRUE(isThere(second));
    EXPECT_FALSE(isThere(first));
    EXPECT_EQ(countMoved(first), ofFirst);
    EXPECT_FALSE(primitives[0].positions.empty()) << "the third mesh needs them";
    open.Positions(second, SAA_GEOM_DEFORMED);
    open.Positions(third, SAA_GEOM_DEFORMED);
    EXPECT_TRUE(primitives[1].positions.empty());
    EXPECT_EQ(SAA_sceneSetPlayCtrlCurrentFrame(&open.record, 0), 0);
    EXPECT_TRUE(primitives[0].positions.empty());
    for (const SAA_Elem& mesh : {first, second, third})
    {
        EXPECT_FALSE(isThere(mesh));
        EXPECT_EQ(countMoved(mesh), -1);
        int nMovers = -1;
        EXPECT_EQ(SAAX_envelopeGetNbSkeletons(&open.record, &mesh, &nMovers), SAA_STATUS_HANDLE);
        EXPECT_EQ(open.Ask(SAA_modelGetType, mesh), SAA_MSMSH);
    }
}

TEST(Meshes, MirroredMeshesHandTheirTrianglesOutTheOtherWayRound)
{
    Scene scene = SeamScene();
    scene.nodes[0].local.scale = {-1, 1, 1};
    OpenScene open(scene);
    const SAA_Elem mesh = open.Find("quads");
    const std::vector<SAA_SubHandle> corners = open.Corners(mesh);
    EXPECT_EQ(open.Indices(mesh, corners), (std::vector<int>{2, 1, 0, 3, 2, 0, 5, 4, 1, 2, 5, 1}));
    EXPECT_EQ(0.5F * open.Coordinates(mesh, corners)[8], 0.25F) << "the coordinates go with their corners";

    // What joints move stands in the world already.
    scene.skins.resize(1);
    scene.skins[0].joints = {0};
    scene.skins[0].inverseBinds.resize(1);
    scene.primitives[0].influenceStarts = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    scene.primitives[0].influences.assign(8, {0, 1.0});
    scene.nodes[1].meshes = {{0, 0}};
    OpenScene skinned(scene);
    const SAA_Elem skin = skinned.Find("quads");
    EXPECT_EQ(skinned.Indices(skin, skinned.Corners(skin)), (std::vector<int>{0, 1, 2, 0, 2, 3, 1, 4, 5, 1, 5, 2}));
}

TEST(Envelopes, PercentagesAddUpAndDeformedVerticesLandInTheWorld)
{
    const Scene scene = RandomSkin(3);
    OpenScene open(scene);
    const SAA_Elem mesh = open.Find("mesh");
    EXPECT_EQ(open.Ask(SAA_envelopeGetType, mesh), SAA_ENVELOPE_SKELETON);
    const std::vector<SAA_SubHandle> vertices = open.Vertices(mesh);
    std::vector<double> sums(vertices.size(), 0.0);
    std::vector<double> ofJ1(vertices.size(), 0.0);
    int nMovers = -1;
    ASSERT_EQ(SAAX_envelopeGetNbSkeletons(&open.record, &mesh, &nMovers), 0);
    std::vector<SAA_Elem> movers(static_cast<std::size_t>(nMovers));
    EXPECT_EQ(SAAX_envelopeGetSkeletons(&open.record, &mesh, nMovers - 1, movers.data()), SAA_STATUS_COUNT);
    ASSERT_EQ(SAAX_envelopeGetSkeletons(&open.record, &mesh, nMovers, movers.data()), 0);
    for (const SAA_Elem& skeleton : open.models)
    {
        int count = -1;
        ASSERT_EQ(SAA_envelopeGetNbCtrlVertices(&open.record, &skeleton, 1, &mesh, &count), 0);
        EXPECT_EQ(std::count_if(movers.begin(), movers.end(),
                                [&](const SAA_Elem& mover)
                                { return std::memcmp(&mover, &skeleton, sizeof mover) == 0; }),
                  count > 0 ? 1 : 0);
        nMovers -= count > 0 ? 1 : 0;
        std::vector<SAA_SubHandle> handles(static_cast<std::size_t>(count) + 1);
        std::vector<float> weights(handles.size());
        int wrong = count + 1;
        EXPECT_NE(SAA_envelopeGetCtrlVertices(&open.record, &skeleton, 1, &mesh, &wrong, handles.data()), 0);
        ASSERT_EQ(SAA_envelopeGetCtrlVertices(&open.record, &skeleton, 1, &mesh, &count, handles.data()), 0);
        ASSERT_EQ(
            SAA_ctrlVertexGetEnvelopeWeights(&open.record, &skeleton, &mesh, count, handles.data(), weights.data()), 0);
        for (int i = 0; i < count; ++i)
        {
            const auto at = std::find_if(vertices.begin(), vertices.end(),
                                         [&](const SAA_SubHandle& vertex)
                                         { return SameBytes(vertex, handles[static_cast<std::size_t>(i)]); });
            ASSERT_NE(at, vertices.end()) << "the bytes are those of the control vertex";
            sums[static_cast<std::size_t>(at - vertices.begin())] += weights[static_cast<std::size_t>(i)];
            if (open.Name(skeleton) == "j1")
                ofJ1[static_cast<std::size_t>(at - vertices.begin())] = weights[static_cast<std::size_t>(i)];
        }
    }
    EXPECT_EQ(nMovers, 0);
    for (const double sum : sums)
        EXPECT_NEAR(sum, 100.0, 1e-4);
    // Vertex 1: joint 1 (j1) 0.75, joint 2 0.75 + 0.01, joint 3 (j1 again) 0.25. Vertex 2: joint 2 0.75, joint 3 (j1)
    // 0.75 + 0.01, joint 0 0.25.
    EXPECT_FLOAT_EQ(static_cast<float>(ofJ1[1]), 100.0F * 1.0F / 1.76F);
    EXPECT_FLOAT_EQ(static_cast<float>(ofJ1[2]), 100.0F * 0.76F / 1.76F);
    const SAA_Elem j0 = open.Find("j0");
    float weight = 0;
    EXPECT_NE(SAA_ctrlVertexGetEnvelopeWeights(&open.record, &j0, &mesh, 1, &vertices[1], &weight), 0)
        << "joint 0 doesn't move vertex 1";

    // A plain reference: the element's global matrix, built up from what the operations answer, must carry the
    // deformed positions to where the joints put them.
    ScenePose pose;
    EvaluatePose(scene, -1, 0.0, pose);
    const std::vector<SAA_Position> own = open.Positions(mesh, SAA_GEOM_DEFORMED);
    const ScenePrimitive& primitive = scene.primitives[0];
    const DoubleMatrix toWorld =
        MultiplyAffine(MatrixFromTransform(scene.nodes[0].local), MatrixFromTransform(scene.nodes[1].local));
    for (std::size_t v = 0; v < own.size(); ++v)
    {
        Double3 wanted;
        double sum = 0.0;
        for (std::uint32_t k = primitive.influenceStarts[v]; k < primitive.influenceStarts[v + 1]; ++k)
        {
            const SceneInfluence& influence = primitive.influences[k];
            const Double3 bound = TransformPoint(scene.skins[0].inverseBinds[influence.joint], primitive.positions[v]);
            Double3 moved = bound;
            for (int node = scene.skins[0].joints[influence.joint]; node >= 0;
                 node = scene.nodes[static_cast<std::size_t>(node)].parent)
                moved = TransformPoint(MatrixFromTransform(scene.nodes[static_cast<std::size_t>(node)].local), moved);
            wanted = {wanted.x + influence.weight * moved.x, wanted.y + influence.weight * moved.y,
                      wanted.z + influence.weight * moved.z};
            sum += influence.weight;
        }
        const Double3 world = TransformPoint(toWorld, {own[v].v[0], own[v].v[1], own[v].v[2]});
        EXPECT_NEAR(world.x, wanted.x / sum, 1e-9);
        EXPECT_NEAR(world.y, wanted.y / sum, 1e-9);
        EXPECT_NEAR(world.z, wanted.z / sum, 1e-9);
    }
    EXPECT_EQ(open.Positions(mesh, SAA_GEOM_ORIGINAL)[7].v[2], primitive.positions[7].z);
}

TEST(Envelopes, AnUnsoundQuestionIsRefusedBehindASoundOne)
{
    const Scene scene = RandomSkin(3);
    OpenScene open(scene);
    auto other = std::make_unique<OpenScene>(scene); // which is current now
    const SAA_Elem mesh = other->Find("mesh");
    const SAA_Elem top = other->models[0];
    const auto ask = [&](const SAA_Scene* record, const SAA_Elem* skeleton, int n, const SAA_Elem* moved, int* count)
    { return SAA_envelopeGetNbCtrlVertices(record, skeleton, n, moved, count); };
    int count = -1;
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(ask(&other->record, &top, 1, &mesh, &count), 0);
        EXPECT_EQ(std::exchange(count, -1), 0) << "the root moves nothing";
    }
    SAA_Elem beyond = top;
    beyond.bytes[12] = 200; // an index that no element has
    SAA_Elem otherKind = top;
    otherKind.bytes[4] = KIND_TEXTURE;
    const SAA_Elem nothing = {};
    for (const SAA_Elem& odd : {beyond, otherKind, nothing, open.models[0]})
    {
        EXPECT_EQ(ask(&other->record, &odd, 1, &mesh, &count), SAA_STATUS_HANDLE);
        EXPECT_EQ(ask(&other->record, &top, 1, &odd, &count), SAA_STATUS_HANDLE);
    }
    EXPECT_EQ(ask(&other->record, &top, 1, &top, &count), SAA_STATUS_HANDLE) << "no mesh";
    EXPECT_EQ(ask(&open.record, &top, 1, &mesh, &count), SAA_STATUS_NO_SCENE);
    EXPECT_EQ(ask(nullptr, &top, 1, &mesh, &count), SAA_STATUS_NO_SCENE);
    EXPECT_EQ(ask(&other->record, nullptr, 1, &mesh, &count), SAA_STATUS_HANDLE);
    EXPECT_EQ(ask(&other->record, &top, 1, nullptr, &count), SAA_STATUS_HANDLE);
    EXPECT_EQ(ask(&other->record, &top, 2, &mesh, &count), SAA_STATUS_ARGUMENT);
    EXPECT_EQ(ask(&other->record, &top, 1, &mesh, nullptr), SAA_STATUS_ARGUMENT);
    EXPECT_EQ(count, -1);
    const int calls = CallCount("SAA_envelopeGetNbCtrlVertices");
    EXPECT_TRUE(FailOperation("SAA_envelopeGetNbCtrlVertices", 2, 77));
    EXPECT_EQ(ask(&other->record, &top, 1, &mesh, &count), 0);
    EXPECT_EQ(ask(&other->record, &top, 1, &mesh, &count), 77);
    EXPECT_EQ(CallCount("SAA_envelopeGetNbCtrlVertices"), calls + 2);
    const SAA_Scene record = other->record;
    other.reset(); // which closes it
    const SAA_Scene none = {};
    EXPECT_EQ(ask(&record, &top, 1, &mesh, &count), SAA_STATUS_NO_SCENE);
    EXPECT_EQ(ask(&none, &top, 1, &mesh, &count), SAA_STATUS_NO_SCENE);
}

TEST(Envelopes, ASmallShareStaysOnItsSideOfFivePercent)
{
    // The float next to 0.05 is a little more than 5 %, which is what counts; the float 5 would not be.
    const double nearFivePercent = 100.0 * double(0.05F);
    EXPECT_GT(PercentAsFloat(nearFivePercent) / 100.0, double(0.05F));
    EXPECT_LT(PercentAsFloat(nearFivePercent), 5.000001F);
    EXPECT_EQ(PercentAsFloat(5.0), 5.0F);
    EXPECT_EQ(PercentAsFloat(4.99999999), 5.0F);
    EXPECT_EQ(PercentAsFloat(5.01), 5.01F);
    EXPECT_EQ(PercentAsFloat(100.0), 100.0F);
}

// What an exporter gets for one vertex: by node, in the order of `nodes`; and how often a share changed.
TEST(Envelopes, SharesAreTheNearestThatAnExporterKeeps)
{
    const double least = double(std::nextafter(5.0F, 6.0F));
    struct Row
    {
        std::vector<double> weights; // by node
        std::vector<std::pair<int, double>> shares;
        std::vector<std::size_t> changes; // raised, dropped, touched, mended
        bool ofModel = false;
    };
    const Row rows[] = {
        {{3.0, 1.0}, {{0, 75.0}, {1, 25.0}}, {0, 0, 0, 0}},
        {{0.96, 0.04}, {{0, 96.0}, {1, least}}, {1, 0, 1, 0}},
        {{0.99, double(0.05F) * (1.0 - 1e-7)}, {{0, 99.0}, {1, least}}, {0, 0, 0, 0}, true},
        {{0.95, 0.025, 0.025}, {{0, 95.0}, {1, least}, {2, least}}, {2, 0, 1, 0}},
        {{0.95, double(0.05F)}, {{0, 95.0}, {1, 5.0}}, {0, 0, 0, 0}},
        {{1.94, 0.04, 0.02}, {{0, 97.0}}, {0, 2, 1, 0}},
        {std::vector<double>(25, 1.0), {}, {25, 0, 1, 0}},
        {std::vector<double>(50, 1.0), {{0, 100.0}}, {0, 50, 1, 1}},
        {{}, {{77, 100.0}}, {0, 0, 0, 1}},
    };
    for (const Row& row : rows)
    {
        SceneSkin skin;
        std::vector<SceneInfluence> influences;
        for (std::size_t i = 0; i < row.weights.size(); ++i)
        {
            skin.joints.push_back(static_cast<int>(i));
            influences.push_back({static_cast<std::uint32_t>(row.weights.size() - 1 - i),
                                  row.weights[row.weights.size() - 1 - i]}); // in another order
        }
        ScenePrimitive primitive;
        primitive.hasModelWeights = row.ofModel;
        std::vector<VertexShare> shares;
        FindShares(primitive, skin, influences.data(), influences.data() + influences.size(), shares);
        const ShareChanges changes = MendShares(shares, 77);
        EXPECT_EQ((std::vector<std::size_t>{changes.raised, changes.dropped, changes.touched, changes.mended}),
                  row.changes);
        if (row.weights.size() == 25)
        {
            EXPECT_EQ(shares.size(), 25U);
        }
        for (std::size_t i = 0; i < row.shares.size(); ++i)
        {
            ASSERT_EQ(shares.size(), row.shares.size());
            EXPECT_EQ(shares[i].node, row.shares[i].first);
            EXPECT_NEAR(shares[i].percent, row.shares[i].second, 2e-6);
            EXPECT_TRUE(IsKeptPercent(shares[i].percent));
        }
    }
}

// A skinned mesh goes by its joints, whatever its own node and those above do to space.
TEST(Envelopes, AFlatNodeHasNoSayOverASkin)
{
    for (const int flat : {0, 1, -1}) // the root, the mesh's node, or that node at the end of a clip
    {
        Scene scene = RandomSkin(4);
        if (flat >= 0)
        {
            scene.nodes[static_cast<std::size_t>(flat)].local.scale = {0, 1, 1};
        }
        else
        {
            scene.clips.resize(1);
            scene.clips[0].channels.push_back(
                {1, ScenePath::Scale, SceneInterpolation::Linear, {0.0, 1.0}, {1, 1, 1, 1, 0, 1}});
        }
        ScenePrimitive& primitive = scene.primitives[0];
        std::vector<std::uint32_t>& starts = primitive.influenceStarts;
        const std::uint32_t nFirst = starts[1]; // the first vertex has no joint
        primitive.influences.erase(primitive.influences.begin(), primitive.influences.begin() + nFirst);
        for (std::size_t i = 1; i < starts.size(); ++i)
            starts[i] -= nFirst;
        OpenScene open(scene);
        int element = -1;
        for (int i = 0; i < open.recorded.NumElements(); ++i)
            element = open.recorded.IsEnveloped(i) ? i : element;
        ASSERT_GE(element, 0);
        EXPECT_EQ(open.recorded.Element(element).name, "mesh_1");
        EXPECT_EQ(open.Tree(open.models[0]).find("mesh_1]") != std::string::npos, true) << open.Tree(open.models[0]);
        ScenePose pose;
        EvaluatePose(scene, -1, 0.0, pose);
        const std::vector<Double3> world = WorldPositions(scene, 1, scene.nodes[1].meshes[0], pose);
        const int parent = open.recorded.Element(element).parent;
        const int above = open.recorded.Element(parent).node;
        const DoubleMatrix space = above < 0 ? DoubleMatrix() : pose.globals[static_cast<std::size_t>(above)];
        const std::vector<SAA_Position> own =
            open.Positions(open.models[static_cast<std::size_t>(element)], SAA_GEOM_DEFORMED);
        for (std::size_t v = 0; v < own.size(); ++v)
        {
            const Double3 placed = TransformPoint(space, {own[v].v[0], own[v].v[1], own[v].v[2]});
            EXPECT_NEAR(placed.x, world[v].x, 1e-9) << flat;
            EXPECT_NEAR(placed.y, world[v].y, 1e-9);
            EXPECT_NEAR(placed.z, world[v].z, 1e-9);
        }
        ASSERT_EQ(open.recorded.Warnings().size(), 1U);
        EXPECT_EQ(open.recorded.Warnings()[0],
                  "1 vertex has no weight above 2.5 %; it follows the greatest one, or without any "
                  "the joint above all others of the skin, else the mesh's node.");
    }
    Scene huge = SeamScene();
    huge.primitives[0].positions[1].x = 1e39; // more than a float holds
    OpenScene far(huge);
    EXPECT_EQ(far.Positions(far.Find("quads"), SAA_GEOM_DEFORMED)[1].v[0], 0.0);
}

TEST(CropCoordinate, ComesBackToOneUnitInTheLastPlace)
{
    std::mt19937 random(21);
    std::uniform_int_distribution<int> sizes(2, 32768);
    std::uniform_int_distribution<std::uint32_t> bits;
    const auto readBack = [](float coordinate, int low, int high, int size)
    {
        const float scale = static_cast<float>(high - low) / static_cast<float>(size);
        const float offset = static_cast<float>(low) / static_cast<float>(size);
        return static_cast<float>(static_cast<double>(scale) * static_cast<double>(coordinate) +
                                  static_cast<double>(offset));
    };
    std::size_t nExact = 0;
    for (int i = 0; i < 200000; ++i)
    {
        const int size = i % 4 == 0 ? 1 << (1 + i % 14) : sizes(random);
        float whole = 0;
        const std::uint32_t pattern = bits(random);
        std::memcpy(&whole, &pattern, sizeof whole);
        whole = i % 2 == 0 ? static_cast<float>(pattern) / 4294967296.0F : whole;
        if (!std::isfinite(whole) || std::fabs(whole) > 1e38F || (whole != 0 && std::fabs(whole) < 1e-37F))
            continue;
        const float back = readBack(CropCoordinate(whole, 0, size - 1, size), 0, size - 1, size);
        EXPECT_TRUE(back == whole || back == std::nextafter(whole, 1e38F) || back == std::nextafter(whole, -1e38F))
            << whole << " at " << size << " comes back as " << back;
        nExact += back == whole ? 1U : 0U;
    }
    EXPECT_GT(nExact, 100000U);
    for (int size : {1024, 100})
        EXPECT_NEAR(readBack(CropCoordinate(0.37F, 16, 47, size), 16, 47, size), 0.37F, 1e-7F) << "a real crop";
    EXPECT_EQ(CropCoordinate(0.5F, 3, 3, 64), 0.0F);
    EXPECT_TRUE(std::isfinite(CropCoordinate(3e38F, 0, 1, 32768)));
}

TEST(Textures, CropIsClampedAndMeshesWithoutCoordinatesHaveNone)
{
    Scene scene = SeamScene();
    scene.images[0].height = 48;
    ScenePrimitive bare = scene.primitives[0];
    bare.texCoords.clear();
    ScenePrimitive untextured = scene.primitives[0];
    untextured.image = -1;
    scene.primitives.push_back(bare);
    scene.primitives.push_back(untextured);
    scene.nodes[1].meshes = {{0, -1}, {1, -1}, {2, -1}};
    OpenScene open(scene);
    const SAA_Elem mesh = open.Find("quads");
    const SAA_Elem without = open.Find("quads_1");
    const SAA_Elem missing = open.Find("quads_2");
    SAA_Elem none;
    EXPECT_NE(SAA_modelRelationGetT2DGlbElements(&open.record, &without, 1, &none), 0);
    const SAA_Elem other = open.Texture(missing);
    const SAA_Elem texture = open.Texture(mesh);
    int u = -1;
    int v = -1;
    EXPECT_EQ(SAA_texture2DGetCropMin(&open.record, &texture, &u, &v), 0);
    EXPECT_EQ(u + v, 0);
    for (const auto& [set, got] : {std::pair<int, int>{32767, 63}, {10, 10}, {-5, 0}, {63, 63}})
    {
        EXPECT_EQ(SAA_texture2DSetCropMax(&open.record, &texture, set, 47), 0);
        EXPECT_EQ(SAA_texture2DGetCropMax(&open.record, &texture, &u, &v), 0);
        EXPECT_EQ(u, got);
        EXPECT_EQ(v, 47);
    }
    EXPECT_EQ(SAA_texture2DGetCropMax(&open.record, &other, &u, &v), 0);
    EXPECT_EQ(u, 1) << "a missing image counts as 2 by 2";
    scene.images[0].width = scene.images[0].height = 40000;
    OpenScene large(scene);
    const SAA_Elem beyond = large.Texture(large.Find("quads"));
    EXPECT_EQ(SAA_texture2DGetCropMax(&large.record, &beyond, &u, &v), 0);
    EXPECT_EQ(u, 32767) << "as far as a crop can be set";
    EXPECT_EQ(v, 32767);
}

TEST(Morphs, EnterTheGeometryAndGiveKeys)
{
    Scene scene = MakeTree({{"face", -1}});
    scene.primitives = std::vector<ScenePrimitive>{OneTriangle()};
    scene.primitives[0].morphDeltas = {{{0, 0, 8}, {}, {}}, {{4, 0, 0}, {}, {}}};
    scene.nodes[0].meshes = {{0, -1}};
    scene.nodes[0].morphWeights = {0.0, 0.5};
    SceneChannel smile;
    smile.node = 0;
    smile.path = ScenePath::Weights;
    smile.times = {1.0, 2.0};
    smile.values = {0.25, 0.0, 1.0, 0.0};
    scene.clips.resize(1);
    scene.clips[0].channels = {smile};
    RecordedSceneOptions options;
    options.clip = 0;
    OpenScene open(scene, options);
    EXPECT_EQ(open.Positions(open.models[0], SAA_GEOM_DEFORMED)[0].v[2], 2.0) << "the first frame is the first key's";
    EXPECT_EQ(open.Positions(open.models[0], SAA_GEOM_ORIGINAL)[0].v[2], 0.0);
    EXPECT_EQ(SAA_sceneSetPlayCtrlCurrentFrame(&open.record, 60), 0);
    EXPECT_EQ(open.Positions(open.models[0], SAA_GEOM_DEFORMED)[0].v[2], 8.0);
    SAA_Elem curve;
    int count = 0;
    EXPECT_EQ(SAA_modelFcurveGetShapeInterpolation(&open.record, &open.models[0], &curve), 0);
    EXPECT_EQ(SAA_fcurveGetNbKeys(&open.record, &curve, &count), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(open.recorded.Warnings().size(), 1U);
    OpenScene rest(scene);
    EXPECT_EQ(rest.Positions(rest.models[0], SAA_GEOM_DEFORMED)[0].v[0], 2.0) << "weights at rest";
}

TEST(Host, SinksCustomValuesAndInitialisation)
{
    Scene scene = MakeTree({{"top", -1}});
    scene.nodes[0].customValues = {{"note", "hello"}};
    OpenScene open(scene);
    std::string heard;
    SetStatusSink([](const char* text, void* context) { *static_cast<std::string*>(context) += text; }, &heard);
    SetFrameSink([](int frame, void* context) { *static_cast<std::string*>(context) += std::to_string(frame); },
                 &heard);
    EXPECT_EQ(SAA_statusBarSet("Reading %s ", 1), 0);
    EXPECT_EQ(SAA_sceneSetPlayCtrlCurrentFrame(&open.record, -4), 0);
    EXPECT_EQ(heard, "Reading %s -4");
    SetStatusSink(nullptr, nullptr);
    SetFrameSink(nullptr, nullptr);
    int length = 0;
    char text[512];
    const SAA_CusvalSet* values = GetCustomValues(open.recorded, 0);
    EXPECT_EQ(SAA_cusvalGetStringLength(values, "note", &length), 0);
    EXPECT_EQ(SAA_cusvalGetStringValue(values, "note", length + 1, text), 0);
    EXPECT_STREQ(text, "hello");
    EXPECT_EQ(SAA_sceneGetName(&open.record, 4, text), 0);
    EXPECT_STREQ(text, "fil") << "cut to the size less one";
    EXPECT_NE(SAA_sceneInitInternal("SDKv1.60"), 0);
    EXPECT_EQ(SAA_sceneInitInternal("SDKv1.70.3"), 0);
    EXPECT_EQ(SAA_sceneInitInternal("SDKv1.70.3"), 3);
    ClearFaults();
    EXPECT_EQ(SAA_sceneInitInternal("SDKv1.70.3"), 0) << "begun anew";
}

// Calls an operation with zeros and null pointers.
template <typename... Arguments> static int CallWithNothing(int (*operation)(Arguments...))
{
    return operation(Arguments{}...);
}

#define CALL_WITH_NOTHING(name) [] { return CallWithNothing(name); },
static int (*const s_Calls[])() = {SAA_OPERATIONS(CALL_WITH_NOTHING)};

static Scene SceneForAll()
{
    Scene scene = RandomSkin(8);
    scene.nodes[1].customValues = {{"note", "x"}};
    scene.primitives[0].texCoords.resize(30);
    SceneChannel turn;
    turn.node = 2;
    turn.path = ScenePath::Rotation;
    turn.times = {0.0};
    turn.values = {0, 0, 0, 1};
    scene.clips.resize(1);
    scene.clips[0].channels = {turn};
    return scene;
}

TEST(Operations, EachCountsRefusesNullAndFailsWhenTold)
{
    OpenScene open(SceneForAll());
    const std::vector<const char*>& names = ListOperations();
    ASSERT_EQ(names.size(), std::size(s_Calls));
    for (std::size_t faulty = 0; faulty < names.size(); ++faulty)
    {
        ClearFaults();
        FailOperation(names[faulty], 1, 77);
        for (std::size_t i = 0; i < names.size(); ++i)
        {
            const int status = s_Calls[i]();
            EXPECT_TRUE(status != 0 && (status == 77) == (i == faulty)) << names[i] << " and " << names[faulty];
            EXPECT_EQ(CallCount(names[i]), 1) << names[i];
        }
    }
    ClearFaults();
    int frame = 0;
    ASSERT_TRUE(FailOperation("SAA_sceneGetPlayCtrlEndFrame", 3, 5));
    for (const int status : {0, 0, 5, 0})
        EXPECT_EQ(SAA_sceneGetPlayCtrlEndFrame(&open.record, &frame), status);
    EXPECT_FALSE(FailOperation("SAA_nothing", 1, 1));
    EXPECT_FALSE(FailOperation("SAA_sceneGetName", 0, 1));
    EXPECT_FALSE(FailOperation("SAA_sceneGetName", 1, 0));
    EXPECT_EQ(CallCount("SAA_nothing"), -1);
    ClearFaults();
    EXPECT_EQ(CallCount("SAA_sceneGetPlayCtrlEndFrame"), 0);
}

TEST(Operations, WrongHandlesAndCountsAreRefused)
{
    const Scene scene = SceneForAll();
    RecordedSceneOptions options;
    options.clip = 0;
    const std::unique_ptr<OpenScene> old = std::make_unique<OpenScene>(scene, options);
    OpenScene open(scene, options);
    const SAA_Elem mesh = open.Find("mesh");
    const SAA_Elem joint = open.Find("j1");
    int value = 0;
    short valid = 1;
    EXPECT_NE(SAA_sceneGetNbModels(&old->record, &value), 0) << "the record of another scene";
    EXPECT_NE(SAA_modelGetType(&open.record, &old->models[1], &value), 0) << "the element of another scene";
    EXPECT_EQ(SAA_elementIsValid(&open.record, &old->models[1], &valid), 0);
    EXPECT_EQ(valid, 0);
    EXPECT_NE(SAA_modelGetNbVertices(&open.record, &joint, &value), 0) << "no mesh";
    const SAA_Elem texture = TextureHandle(open.recorded, 0);
    EXPECT_NE(SAA_modelGetType(&open.record, &texture, &value), 0) << "no model";

    std::vector<SAA_Elem> elems(10);
    std::vector<SAA_SubHandle> handles(100);
    std::vector<SAA_Position> positions(100);
    for (const int off : {-1, 1})
    {
        EXPECT_NE(SAA_sceneGetModels(&open.record, 5 + off, elems.data()), 0);
        EXPECT_NE(SAA_modelGetChildren(&open.record, open.models.data(), 2 + off, elems.data()), 0);
        EXPECT_NE(SAA_modelGetTriangles(&open.record, &mesh, SAA_GEOM_DEFORMED, 0, 30 + off, handles.data()), 0);
        EXPECT_NE(SAA_modelGetCtrlVertices(&open.record, &mesh, SAA_GEOM_ORIGINAL, 0, 30 + off, handles.data()), 0);
        EXPECT_NE(SAA_modelGetVertices(&open.record, &mesh, SAA_GEOM_DEFORMED, 0, 30 + off, positions.data()), 0);
        EXPECT_NE(SAA_modelGetTriVertices(&open.record, &mesh, 30 + off, positions.data()), 0);
    }
    EXPECT_NE(SAA_modelGetNbTriangles(&open.record, &mesh, 1, 0, &value), 0) << "no such geometry";
    // A handle too many would be read behind the list.
    std::vector<SAA_SubHandle> corners = open.Corners(mesh);
    corners.push_back(corners[0]);
    std::vector<int> indices(corners.size());
    for (const auto& [count, status] :
         {std::pair{90, 0}, {0, 0}, {-1, int(SAA_STATUS_COUNT)}, {91, int(SAA_STATUS_COUNT)}})
    {
        EXPECT_EQ(SAA_ctrlVertexGetIndices(&open.record, &mesh, count, corners.data(), indices.data()), status)
            << count;
    }
    EXPECT_NE(SAA_ctrlVertexGetIndices(&open.record, &mesh, 1, handles.data(), &value), 0) << "a handle of zeros";
}
