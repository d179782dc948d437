#include "scene/assimpreader.h"
#include "scene/meshpositions.h"
#include "scene/readscene.h"
#include "tests/scene/gltftext.h"
#include "tests/scene/sceneparts.h"

#include <algorithm>
#include <array>
#include <sstream>

static std::string N(int number)
{
    return std::to_string(number);
}

// A document with one triangle: POSITION is accessor 0, its indices accessor 1.
static GltfText Triangle()
{
    GltfText text;
    text.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 2, 0});
    text.Shorts("SCALAR", {0, 1, 2});
    return text;
}

static std::vector<std::vector<int>> Corners(const ScenePrimitive& primitive)
{
    std::vector<std::vector<int>> result;
    for (const SceneTriangle& triangle : primitive.triangles)
    {
        std::vector<int> xs; // the vertex is known by its x
        for (const std::uint32_t corner : triangle.corners)
            xs.push_back(static_cast<int>(primitive.positions[corner].x));
        result.push_back(xs);
    }
    return result;
}

TEST(GltfReader, ResolvesListsStripsAndFansWithAndWithoutIndices)
{
    GltfText text;
    const int positions = text.Floats("VEC3", {0, 0, 0, 1, 0, 1, 2, 0, 2, 3, 0, 0, 4, 1, 1, 5, 2, 2});
    const int strip = text.Bytes("SCALAR", {0, 1, 2, 3, 3, 4, 5});
    const int list = text.Ints("SCALAR", {5, 4, 0});
    const std::string p = R"({"attributes": {"POSITION": )" + N(positions) + "}";
    text.Item("meshes", R"({"primitives": [)" + p + R"(}, )" + p + R"(, "mode": 5, "indices": )" + N(strip) + "}, " +
                            p + R"(, "mode": 6}, )" + p + R"(, "indices": )" + N(list) + "}, " + p +
                            R"(, "mode": 1}, )" + p + R"(, "mode": 0}]})");
    text.Item("nodes", R"({"mesh": 0})");
    const Scene scene = ReadGood(text.Text());
    ASSERT_EQ(scene.primitives.size(), 4U);
    ASSERT_EQ(scene.nodes[0].meshes.size(), 4U);
    using List = std::vector<std::vector<int>>;
    EXPECT_EQ(Corners(scene.primitives[0]), (List{{0, 1, 2}, {3, 4, 5}}));
    // Odd triangles of the strip are turned; (2 3 3) and (3 3 4) are only there to join.
    EXPECT_EQ(Corners(scene.primitives[1]), (List{{0, 1, 2}, {1, 3, 2}, {3, 4, 5}}));
    EXPECT_EQ(Corners(scene.primitives[2]), (List{{1, 2, 0}, {2, 3, 0}, {3, 4, 0}, {4, 5, 0}}));
    EXPECT_EQ(Corners(scene.primitives[3]), (List{{5, 4, 0}}));
    EXPECT_EQ(scene.primitives[3].positions.size(), 3U) << "vertices without a triangle are left out";
    EXPECT_EQ(scene.warnings.size(), 2U) << "a word for the lines, one for the points";
}

TEST(GltfReader, ReadsAllWaysOfStoringNumbers)
{
    GltfText text;
    text.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 2, 0});
    const int quantised = text.Shorts("VEC3", {0, 0, 0, 65535, 0, 32768, 0, 13107, 0}, R"("normalized": true)");
    const int sparseIndex = text.Bytes("SCALAR", {2});
    const int sparseValue = text.Floats("VEC3", {7, 8, 9});
    const int coords = text.Bytes("VEC2", {0, 255, 51, 0, 255, 255}, R"("normalized": true)");
    const int strided = text.Floats("SCALAR", {9, 0, 0, 0, 9, 5, 0, 0, 9, 0, 6, 0});
    std::string document = text.Text();
    const std::string sparse = R"("sparse": {"count": 1, "indices": {"bufferView": )" + N(sparseIndex) +
                               R"(, "componentType": 5121}, "values": {"bufferView": )" + N(sparseValue) + "}}";
    // Two more accessors: sparse over nothing, and one with a stride and an offset.
    document = Replaced(document, R"("accessors": [)",
                        R"("accessors": [{"componentType": 5126, "count": 3, "type": "VEC3", )" + sparse +
                            R"(}, {"bufferView": )" + N(strided) +
                            R"(, "byteOffset": 4, "componentType": 5126, "count": 3, "type": "VEC3"}, )");
    document = Replaced(document, R"("byteLength": 48})", R"("byteLength": 48, "byteStride": 16})");
    const auto primitive = [](int position, const std::string& more)
    { return R"({"attributes": {"POSITION": )" + N(position) + more + "}}"; };
    document =
        Replaced(document, R"("bufferViews")",
                 R"("nodes": [{"mesh": 0}], "meshes": [{"primitives": [)" + primitive(0, "") + ", " + primitive(1, "") +
                     ", " + primitive(quantised + 2, R"(, "TEXCOORD_0": )" + N(coords + 2)) + R"(]}], "bufferViews")");
    const Scene scene = ReadGood(document);
    ASSERT_EQ(scene.primitives.size(), 3U);
    EXPECT_EQ(scene.primitives[0].positions[1].y, 0.0);
    EXPECT_EQ(scene.primitives[0].positions[2].x, 7.0);
    EXPECT_EQ(scene.primitives[0].positions[2].z, 9.0);
    EXPECT_EQ(scene.primitives[1].positions[1].x, 5.0);
    EXPECT_EQ(scene.primitives[1].positions[2].y, 6.0);
    EXPECT_DOUBLE_EQ(scene.primitives[2].positions[2].y, 0.2);
    EXPECT_EQ(scene.primitives[2].texCoords[0].v, 1.0F);
    EXPECT_EQ(scene.primitives[2].texCoords[1].u, 0.2F);
    const Scene withSign = ReadGood(Replaced(document, R"("componentType": 5123)", R"("componentType": 5122)"));
    EXPECT_DOUBLE_EQ(withSign.primitives[2].positions[1].x, -1.0 / 32767.0);
    EXPECT_EQ(withSign.primitives[2].positions[1].z, -1.0) << "the one number below it counts as -1";
    const std::string shorter =
        Replaced(document, R"("count": 3, "type": "VEC3", "sparse")", R"("count": 2, "type": "VEC3", "sparse")");
    EXPECT_NE(ReadBad(shorter).find("sparse index 2 of 2 elements"), std::string::npos) << ReadBad(shorter);
}

TEST(GltfReader, BinaryExternalAndEmbeddedBuffersGiveTheSameScene)
{
    GltfText text = Triangle();
    text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": 0}, "indices": 1}]})");
    text.Item("nodes", R"({"mesh": 0})");
    const std::string embedded = text.Text();
    WriteTestFile("a b.bin", std::string(text.Data().begin(), text.Data().end()) + "padding");
    const std::size_t uri = embedded.find("data:");
    const std::string external = embedded.substr(0, uri) + "a%20b.bin\"}]}";
    for (const Scene& scene : {ReadGood(embedded), ReadGood(external), ReadGood(text.Binary(), "good.glb")})
    {
        ASSERT_EQ(scene.primitives.size(), 1U);
        EXPECT_EQ(scene.primitives[0].positions[2].y, 2.0);
        EXPECT_EQ(scene.fileStem, "good");
    }

    // Chunks in another order, one that nobody knows behind the buffer, and no length but the chunk's own.
    const std::size_t length = embedded.find(R"("byteLength": )" + std::to_string(text.Data().size()) + ", ");
    const std::string unstated = embedded.substr(0, length) + "}]}";
    const std::string data(text.Data().begin(), text.Data().end());
    const auto pack = [&](const std::vector<std::pair<std::string, std::string>>& chunks)
    {
        std::string packed;
        for (const auto& [kind, bytes] : chunks)
            packed.append(GltfText::Number(bytes.size())).append(kind).append(bytes);
        return "glTF" + GltfText::Number(2) + GltfText::Number(12 + packed.size()) + packed;
    };
    const std::string bin("BIN\0", 4), unknown(64, '\0');
    const Scene mixed = ReadGood(pack({{bin, data}, {"JSON", unstated}, {"LAST", unknown}}), "good.glb");
    EXPECT_EQ(mixed.primitives[0].positions[2].y, 2.0);
    const std::string beyond = Replaced(Replaced(unstated, R"("byteLength": 36)", R"("byteLength": 108)"),
                                        R"("count": 3, "type": "VEC3")", R"("count": 9, "type": "VEC3")");
    const std::string reason = "buffer view 0 reaches beyond its buffer of ";
    EXPECT_NE(ReadBad(pack({{bin, data}, {"LAST", unknown}, {"JSON", beyond}}), "bad.glb").find(reason + "42 bytes"),
              std::string::npos);
    EXPECT_NE(ReadBad(pack({{"JSON", unstated}}), "bad.glb").find(reason + "0 bytes"), std::string::npos);

    for (const char* name : {"good.fbx", "good.jpg", "good"})
    {
        Scene scene;
        std::string error;
        EXPECT_TRUE(ReadScene(WriteTestFile(name, embedded).c_str(), scene, error)) << error;
        EXPECT_EQ(scene.warnings.size(), 1U) << name;
        EXPECT_TRUE(ReadScene(WriteTestFile(name, text.Binary()).c_str(), scene, error)) << error;
    }
}

TEST(GltfReader, ReadsNodesSkinsWeightsMorphsAndCustomValues)
{
    GltfText text = Triangle();
    const int joints = text.Bytes("VEC4", {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0});
    const int weights = text.Bytes("VEC4", {51, 204, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0}, R"("normalized": true)");
    const int more = text.Floats("VEC4", {0.5F, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const int delta = text.Floats("VEC3", {0, 0, 1, 0, 0, 2, 0, 0, 3});
    const int binds = text.Floats(
        "MAT4", {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    text.Item("meshes",
              R"({"weights": [0.25, 7], "primitives": [{"indices": 1, "attributes": {"POSITION": 0, "JOINTS_0": )" +
                  N(joints) + R"(, "WEIGHTS_0": )" + N(weights) + R"(, "JOINTS_1": )" + N(joints) +
                  R"(, "WEIGHTS_1": )" + N(more) + R"(}, "targets": [{"POSITION": )" + N(delta) +
                  R"(}]}, {"attributes": {"POSITION": 0}, "targets": [{"POSITION": )" + N(delta) + "}]}]}");
    text.Item("skins", R"({"joints": [1, 2], "inverseBindMatrices": )" + N(binds) + "}");
    text.Item("nodes", R"({"mesh": 0, "skin": 0, "name": "body", "extras": {"note": "hello", "n": 4}})");
    text.Item("nodes", R"({"children": [2], "matrix": [0, 2, 0, 0, -2, 0, 0, 0, 0, 0, -2, 0, 1, 2, 3, 1]})");
    text.Item("nodes", R"({"rotation": [0, 0, 2, 0], "scale": [1, 2, 3]})");
    text.Item("scenes", R"({"nodes": []})");
    text.Item("scenes", R"({"nodes": [1, 0], "name": "stage"})");
    text.Member(R"("scene": 1)");
    const Scene scene = ReadGood(text.Text());
    EXPECT_EQ(scene.name, "stage");
    EXPECT_EQ(scene.roots, (std::vector<int>{1, 0}));
    EXPECT_EQ(scene.nodes[2].parent, 1);
    EXPECT_FALSE(scene.nodes[0].isJoint);
    EXPECT_TRUE(scene.nodes[2].isJoint);
    EXPECT_EQ(scene.nodes[0].meshes[0].skin, 0);
    EXPECT_EQ(scene.nodes[0].meshes[1].skin, -1) << "no joint moves it";
    EXPECT_EQ(scene.nodes[0].morphWeights, std::vector<double>{0.25}) << "one for each target";
    EXPECT_NE(ReadBad(Replaced(text.Text(), R"("count": 2, "type": "MAT4")", R"("count": 1, "type": "MAT4")"))
                  .find("1 inverse bind matrices for 2 joints"),
              std::string::npos);
    ASSERT_EQ(scene.nodes[0].customValues.size(), 1U) << "texts alone";
    EXPECT_EQ(scene.nodes[0].customValues[0].second, "hello");
    // The matrix mirrors: a quarter turn about z with a scale of 2 whose x is negative after the turn was made proper.
    const DoubleTransform& local = scene.nodes[1].local;
    EXPECT_EQ(local.translation.z, 3.0);
    EXPECT_NEAR(local.scale.x, -2.0, 1e-12);
    EXPECT_NEAR(local.scale.y, 2.0, 1e-12);
    const DoubleMatrix back = MatrixFromTransform(local);
    EXPECT_NEAR(back.m[1][0], 2.0, 1e-12);
    EXPECT_NEAR(back.m[0][1], -2.0, 1e-12);
    EXPECT_NEAR(back.m[2][2], -2.0, 1e-12);
    EXPECT_EQ(scene.nodes[2].local.rotation.z, 1.0) << "brought to length 1";
    const ScenePrimitive& primitive = scene.primitives[0];
    EXPECT_EQ(primitive.influenceStarts, (std::vector<std::uint32_t>{0, 3, 4, 5}));
    EXPECT_DOUBLE_EQ(primitive.influences[0].weight, 0.2);
    EXPECT_EQ(primitive.influences[2].weight, 0.5) << "the second set follows the first";
    EXPECT_EQ(primitive.morphDeltas[0][2].z, 3.0);
    EXPECT_EQ(scene.skins[0].inverseBinds[0].m[1][3], 6.0) << "matrices come column by column";
}

TEST(GltfReader, FindsImageSizesAndTheCoordinatesOfTheMaterial)
{
    GltfText text = Triangle();
    const int first = text.Floats("VEC2", {0, 0, 1, 0, 0, 1});
    const int second = text.Floats("VEC2", {0.5F, 0.25F, 1, 0, 0, 1});
    const std::string gif = std::string("GIF89a\x05\x00\x07\x00\x00\x00\x00", 13);
    WriteTestFile("five by seven.gif", gif);
    const int embedded = text.Bytes("SCALAR", std::vector<std::uint8_t>(gif.begin(), gif.end()));
    text.Item("images", R"({"uri": "gone.png"})");
    text.Item("images", R"({"uri": "five%20by%20seven.gif", "name": "gif"})");
    text.Item("images", R"({"bufferView": )" + N(embedded) + R"(, "mimeType": "image/gif"})");
    text.Item("images", R"({"bufferView": 99})");
    text.Item("images", R"({})");
    text.Item("images", R"({"uri": "data:image/png;base64,!!"})");
    text.Item("textures", R"({"source": 1})");
    text.Item("materials", R"({"pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "texCoord": 1}}})");
    text.Item("meshes", R"({"primitives": [{"material": 0, "attributes": {"POSITION": 0, "TEXCOORD_0": )" + N(first) +
                            R"(, "TEXCOORD_1": )" + N(second) + "}}]}");
    text.Item("nodes", R"({"mesh": 0})");
    // Scaled by 2 and 4 the corner 0.5, 0.25 is 1, 1; a quarter turn against the clock in the picture, whose v points
    // down, takes it to 1, -1, and the offset to 1.25, -0.5.
    text.Item("materials",
              R"({"pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "extensions": {"KHR_texture_transform":
              {"texCoord": 1, "offset": [0.25, 0.5], "rotation": 1.5707963267948966, "scale": [2, 4]}}}}})");
    text.Item("meshes", R"({"primitives": [{"material": 1, "attributes": {"POSITION": 0, "TEXCOORD_0": )" + N(first) +
                            R"(, "TEXCOORD_1": )" + N(second) + "}}]}");
    const std::string json = text.Text();
    const Scene scene = ReadGood(json);
    ASSERT_EQ(scene.primitives.size(), 2U);
    EXPECT_NEAR(scene.primitives[1].texCoords[0].u, 1.25F, 1e-6F);
    EXPECT_NEAR(scene.primitives[1].texCoords[0].v, -0.5F, 1e-6F);
    EXPECT_NE(ReadBad(Replaced(json, "[2, 4]", "[2]")).find("KHR_texture_transform isn't"), std::string::npos);
    EXPECT_NE(ReadBad(Replaced(json, "[2, 4]", "[1e300, 4]")).find("finite"), std::string::npos);
    ASSERT_EQ(scene.images.size(), 6U);
    for (const std::size_t i : {0U, 3U, 4U, 5U})
        EXPECT_EQ(scene.images[i].width, 0) << i;
    for (const std::size_t i : {1U, 2U})
    {
        EXPECT_EQ(scene.images[i].width, 5) << i;
        EXPECT_EQ(scene.images[i].height, 7) << i;
    }
    // A view that is cut within the size, one that reaches beyond the buffer.
    for (const char* length : {"4", "100000000"})
    {
        const std::string cut = Replaced(json, R"("byteLength": 13)", std::string("\"byteLength\": ") + length);
        EXPECT_EQ(ReadGood(cut).images[2].width, 0) << length;
    }
    EXPECT_EQ(scene.primitives[0].image, 1);
    EXPECT_EQ(scene.primitives[0].texCoords[0].v, 0.25F);
}

TEST(GltfReader, LeavesOutChannelsThatCanMoveNothing)
{
    GltfText text;
    const int times = text.Floats("SCALAR", {0, 1});
    const int points = text.Floats("VEC3", {0, 0, 0, 1, 0, 0});
    text.Item("nodes", R"({"matrix": [1, 0, 0, 0, 0.5, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]})");
    text.Item("nodes", "{}");
    const auto channel = [](const std::string& target) { return R"({"sampler": 0, "target": {)" + target + "}}"; };
    text.Item("animations", R"({"name": "go", "samplers": [{"input": )" + N(times) + R"(, "output": )" + N(points) +
                                R"(}], "channels": [)" + channel(R"("path": "translation")") + ", " +
                                channel(R"("node": 0, "path": "translation")") + ", " +
                                channel(R"("node": 1, "path": "pointer")") + ", " +
                                channel(R"("node": 1, "path": "weights")") + ", " +
                                channel(R"("node": 1, "path": "scale")") + "]}");
    const Scene scene = ReadGood(text.Text());
    ASSERT_EQ(scene.clips.size(), 1U);
    ASSERT_EQ(scene.clips[0].channels.size(), 1U);
    EXPECT_EQ(scene.clips[0].channels[0].path, ScenePath::Scale);
    EXPECT_EQ(scene.warnings.size(), 4U) << "the shear, and three channels";
}

// A document in which every kind of reference occurs.
static std::string WholeDocument()
{
    GltfText text = Triangle();
    text.Floats("SCALAR", {0, 1});
    text.Floats("VEC4", {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    text.Bytes("VEC4", {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    text.Floats("VEC3", {0, 0, 0, 1, 1, 1});
    text.Floats("SCALAR", {1, 0});
    text.Item("meshes", R"({"name": "m", "primitives": [{"mode": 4, "indices": 1, "material": 0,
        "attributes": {"POSITION": 0, "JOINTS_0": 4, "WEIGHTS_0": 3}}]})");
    text.Item("materials", R"({"pbrMetallicRoughness": {"baseColorTexture": {"index": 0}}})");
    text.Item("textures", R"({"source": 0})");
    text.Item("images", R"({"uri": "none.png"})");
    text.Item("skins", R"({"joints": [1]})");
    text.Item("nodes", R"({"mesh": 0, "skin": 0})");
    text.Item("nodes", R"({"children": [2]})");
    text.Item("nodes", R"({"name": "leaf"})");
    text.Item("scenes", R"({"nodes": [0, 1]})");
    text.Member(R"("scene": 0)");
    text.Item("animations", R"({"samplers": [{"input": 2, "output": 5, "interpolation": "STEP"}],
        "channels": [{"sampler": 0, "target": {"node": 1, "path": "translation"}}]})");
    return text.Text();
}

// Each damaged document is refused with one sentence that names the place.
TEST(GltfReader, RefusesDamagedDocuments)
{
    const std::string whole = WholeDocument();
    EXPECT_EQ(ReadBad(whole), "") << "the document itself is good";
    struct Damage
    {
        const char* from;
        const char* to;
        const char* place; // what the sentence must hold
    };
    const Damage damages[] = {
        {R"("version": "2.0")", R"("version": "1.0")", "version \"1.0\""},
        {R"("asset")", R"("asset" 7)", "isn't valid JSON"},
        {R"("indices": 1)", R"("indices": 0)", "mesh 0 (m), primitive 0: indices: accessor 0"},
        {R"("indices": 1)", R"("indices": 77)", "indices"},
        {R"("mode": 4)", R"("mode": 9)", "mesh 0 (m), primitive 0: mode 9"},
        {R"("POSITION": 0)", R"("POSITION": 1)", "primitive 0: POSITION: accessor 1"},
        {R"("POSITION": 0)", R"("POSITION": 5)", "index 2 of 2 vertices"},
        {R"("material": 0)", R"("material": 3)", "material 3 of 1"},
        {R"("baseColorTexture": {"index": 0})", R"("baseColorTexture": {"index": 4})", "texture 4 of 1"},
        {R"("source": 0)", R"("source": 8)", "image 8 of 1"},
        {R"("WEIGHTS_0": 3)", R"("WEIGHTS_0": 0)", "WEIGHTS_0: accessor 0"},
        {R"("JOINTS_0": 4)", R"("JOINTS_0": 3)", "JOINTS_0: accessor 3"},
        {R"("joints": [1])", R"("joints": [9])", "skin 0: joint node 9 of 3"},
        {R"("joints": [1])", R"("joints": [])", "joint"},
        {R"("joints": [1])", R"("joints": [1], "inverseBindMatrices": 0)", "skin 0: inverse bind matrices: accessor 0"},
        {R"("mesh": 0)", R"("mesh": 2)", "node 0: mesh 2 of 1"},
        {R"("skin": 0)", R"("skin": 2)", "node 0: skin 2 of 1"},
        {R"("children": [2])", R"("children": [1])", "node 1 is among its own ancestors"},
        {R"("name": "leaf")", R"("translation": [1, 2])", "node 2: translation"},
        {R"("name": "leaf")", R"("matrix": [1, 2, 3])", "node 2: the matrix"},
        {R"("nodes": [0, 1])", R"("nodes": [])", "no nodes"},
        {R"("node": 1, "path")", R"("node": 11, "path")", "animation 0, channel 0: node 11 of 3"},
        {R"("sampler": 0)", R"("sampler": 1)", "sampler 1 of 1"},
        {R"("STEP")", R"("SMOOTH")", "SMOOTH"},
        {R"("STEP")", R"("CUBICSPLINE")", "6 values for 2 keys of 9"},
        {R"("output": 5)", R"("output": 0)", "9 values for 2 keys of 3"},
        {R"("input": 2)", R"("input": 5)", "times: accessor 5"},
        {R"("input": 2)", R"("input": 6)", "its key times don't rise"},
        {R"("count": 3)", R"("count": 4)", "POSITION: accessor 0: 4 elements reach beyond buffer view 0"},
        {R"("count": 3)", R"("count": 4000000000000)", "more than the file can hold"},
        {R"("bufferView": 0)", R"("bufferView": 55)", "buffer view 55 of"},
        {R"("bufferView": 0)", R"("byteOffset": 18446744073709551615, "bufferView": 0)", "reach beyond"},
        {R"("componentType": 5123)", R"("componentType": 5124)", "component type 5124"},
        {R"("buffer": 0, "byteOffset": 0)", R"("buffer": 6, "byteOffset": 0)", "buffer 6 of 1"},
        {R"("byteLength": 36)", R"("byteLength": 18446744073709551600)", "reaches beyond its buffer"},
        {R"("byteLength": 36)", R"("byteLength": 36, "byteStride": 4)", "a stride of 4 bytes"},
        {R"(base64,)", R"(base64,*)", "buffer 0: its data URI isn't base64"},
        {R"("}]})", R"(A"}]})", "buffer 0: its data URI isn't base64"},
        {R"(base64,AAAAAAAA)", R"(base64,AADAfwAA)", "element 0 isn't a finite number"},
        {R"("uri": "data:)", R"("uri": "lost.bin", "x": "data:)", "buffer 0: lost.bin can't be opened"},
        {R"("meshes": [)", R"("meshes": [5, )", "isn't valid glTF"},
    };
    for (const Damage& damage : damages)
    {
        const std::string sentence = ReadBad(Replaced(whole, damage.from, damage.to));
        EXPECT_NE(sentence.find(damage.place), std::string::npos) << damage.to << ": " << sentence;
        ASSERT_EQ(sentence.find("bad.gltf"), 0U) << damage.to << ": " << sentence;
        EXPECT_TRUE(sentence.find('\n') == std::string::npos && sentence.back() == '.') << sentence;
    }
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_NE(ReadBad(Replaced(whole, "{", "{\"extras\": " + deep + ", ")).find("deeper"), std::string::npos);
    EXPECT_EQ(ReadBad(Replaced(whole, "leaf", "\\\"" + deep)), "") << "brackets in a text";
    EXPECT_NE(ReadBad("").find("is empty"), std::string::npos);
    Scene scene;
    std::string error;
    EXPECT_FALSE(ReadGltfScene("/nowhere/at all.gltf", scene, error));
    EXPECT_EQ(error, "/nowhere/at all.gltf can't be opened: No such file or directory.");
    EXPECT_FALSE(ReadGltfScene("/", scene, error));
}

// All that a document was read as, or the sentence with which it was refused.
static std::string Describe(const std::string& document)
{
    Scene scene;
    std::ostringstream out;
    out.precision(17);
    std::string error;
    if (!ReadGltfScene(WriteTestFile("any.gltf", document).c_str(), scene, error))
        return error;
    const auto numbers = [&](const auto& list)
    {
        for (const auto& number : list)
            out << number << ' ';
        out << '\n';
    };
    using Three = std::array<double, 3>;
    numbers(scene.warnings);
    for (const SceneNode& node : scene.nodes)
    {
        const DoubleTransform& local = node.local;
        const DoubleQuat& r = local.rotation;
        out << node.name << ' ' << node.parent << ' ' << node.meshes.size() << node.isCamera << node.isJoint << '\n';
        numbers(node.children);
        numbers(Three{local.translation.x, local.translation.y, local.translation.z});
        numbers(std::array<double, 4>{r.x, r.y, r.z, r.w});
        numbers(Three{local.scale.x, local.scale.y, local.scale.z});
        numbers(node.morphWeights);
        for (const auto& [key, value] : node.customValues)
            out << key << ' ' << value << '\n';
    }
    for (const ScenePrimitive& primitive : std::as_const(scene.primitives))
    {
        out << primitive.name << primitive.extras.material << primitive.image << primitive.morphDeltas.size() << '\n';
        for (const Double3& p : primitive.positions)
            numbers(Three{p.x, p.y, p.z});
        for (const std::vector<int>& xs : Corners(primitive))
            numbers(xs);
        for (const SceneInfluence& influence : primitive.influences)
            out << influence.joint << ' ' << influence.weight << '\n';
    }
    for (const SceneSkin& skin : scene.skins)
    {
        out << skin.name << '\n';
        numbers(skin.joints);
    }
    for (const SceneClip& clip : scene.clips)
    {
        out << clip.name << '\n';
        for (const SceneChannel& channel : clip.channels)
        {
            out << channel.node << int(channel.path) << int(channel.interpolation) << '\n';
            numbers(channel.times);
            numbers(channel.values);
        }
    }
    return out.str();
}

// Lists in plain form are read straight from the text. A member with an escape in its name makes all of a document go
// through the parser: whatever is put in the place of a token or behind one, nothing must come of which way it goes.
TEST(GltfReader, PlainListsAreReadAsTheParserReadsThem)
{
    std::string whole = WholeDocument();
    whole = Replaced(whole, R"([2])", R"([2], "translation": [1, -2.5e1, 0], "rotation": [0, 0, 1, 0])");
    whole = Replaced(whole, R"("leaf")", R"("leaf", "scale": [2, 3, 4], "camera": 0, "weights": [0.5])");
    whole = Replaced(whole, R"("m")", R"("m", "weights": [0.25], "extras": {"a": ["b", null, true]})");
    whole = Replaced(whole, R"("mode": 4)", R"("mode": 4, "targets": [{"POSITION": 0}])");
    whole = Replaced(whole, R"("joints": [1])", R"("joints": [1], "name": "s")");
    const std::string tokens[] = {"-1",
                                  "7",
                                  "1.5",
                                  "-0",
                                  "00",
                                  "1e999",
                                  "-2E-1",
                                  "3.",
                                  "999999999999",
                                  "[]",
                                  "{}",
                                  "1234567890123456789012",
                                  "null",
                                  "true",
                                  "[[0, 1]]",
                                  ",",
                                  "]",
                                  "}",
                                  R"("x")",
                                  R"("")",
                                  R"("VEC4")",
                                  R"("\n")",
                                  "\"\x01\"",
                                  "\"\xC3\xA4\"",
                                  R"("mesh")",
                                  R"("node")",
                                  R"("extensions")",
                                  R"("matrix")",
                                  R"("extras")",
                                  R"(, "name": "b")",
                                  R"(: 5, "name")",
                                  R"(, "name": {})",
                                  std::string(70, '[') + std::string(70, ']')};
    std::size_t nGood = 0;
    std::size_t nTried = 0;
    const std::size_t end = whole.find("\"buffers\"");
    for (std::size_t at = 1; at < end;)
    {
        const std::size_t behind = whole[at] == '"' ? whole.find('"', at + 1) + 1
                                                    : std::max(at + 1, whole.find_first_not_of("0123456789.e-", at));
        for (std::size_t i = 0; whole[at] != ' ' && i < 2; ++i)
        {
            const std::string& token = tokens[nTried++ % std::size(tokens)];
            const std::string document = whole.substr(0, i == 0 ? at : behind) + token + whole.substr(behind);
            const std::string plain = Describe(document);
            ASSERT_EQ(plain, Describe(R"({"\u0061": 0, )" + document.substr(1))) << document;
            nGood += plain.compare(0, 8, "any.gltf") != 0 ? 1 : 0;
        }
        at = behind;
    }
    EXPECT_GT(nGood, nTried / 20);
}

// The other reader, which reads such files too.
TEST(AssimpReader, MorphTargetsAreDifferences)
{
    GltfText text;
    const std::string points = std::to_string(text.Floats("VEC3", {1, 1, 5, 2, 0, 5, 0, 2, 5}));
    const std::string moves = std::to_string(text.Floats("VEC3", {0, 0, 2, 0, 2, 0, 3, 0, 0}));
    text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": )" + points + R"(}, "targets": [{"POSITION": )" +
                            moves + "}]}]}");
    text.Item("nodes", R"({"mesh": 0})");
    text.Item("scenes", R"({"nodes": [0]})");
    text.Member(R"("scene": 0)");
    Scene scene;
    std::string error;
    ASSERT_TRUE(ReadAssimpScene(WriteTestFile("morph.gltf", text.Text()).c_str(), scene, error)) << error;
    const std::vector<Double3>& deltas = scene.primitives[0].morphDeltas.at(0);
    ExpectPoint(deltas[0], 0, 0, 2);
    ExpectPoint(deltas[1], 0, 2, 0);
    ExpectPoint(deltas[2], 3, 0, 0);
}

// What others show is shown, with a word about what isn't as it should be.
TEST(GltfReader, OpensWhatOthersOpen)
{
    const std::string whole = WholeDocument();
    struct Mend
    {
        const char* from;
        const char* to;
        const char* warning;
        std::vector<int> roots = {0, 1};
    };
    const std::vector<Mend> mends = {
        {R"("asset": {"version": "2.0"})", R"("extras": {})", "doesn't state its version"},
        {R"({"version": "2.0"})", R"({"generator": "x"})", "doesn't state its version"},
        {R"("asset")", R"("extensionsRequired": ["EXT_x"], "asset")", "can't be read without the extension EXT_x"},
        {R"("mesh": 0)", R"("mesh": 0, "extensions": {"EXT_x": {}})",
         "EXT_x isn't read; what it says of the file's nodes"},
        {R"("path": "translation")", R"("path": "translation", "extensions": {"EXT_x": {}})", "the file's animations"},
        {R"("mode": 4)", R"("extensions": {"EXT_x": {}}, "mode": 4)", "the file's meshes"},
        {R"("WEIGHTS_0": 3)", R"("WEIGHTS_1": 3)", "don't come together"},
        {R"("WEIGHTS_0": 3)", R"("WEIGHTS_0": 3, "_WEIGHT_SUM": 1)", "a weight that no model has"},
        {R"("children": [2])", R"("children": [7, -2, 2])", "child 7 of 3 nodes"},
        {R"("children": [2])", R"("children": [2, 2])", "child 2 has a parent already, node 1"},
        {R"("children": [2])", R"("children": [0, 2])", "node 0 is listed though it has a parent; it is shown", {1}},
        {R"("nodes": [0, 1])", R"("nodes": [0, 2])", "node 2 (leaf) is listed though it has a parent, which", {0, 2}},
        {R"("nodes": [0, 1])", R"("nodes": [0, 0, 1])", "node 0 is listed twice"},
        {R"("nodes": [0, 1])", R"("nodes": [0, 12, 1])", "node 12 of 3 is listed"},
        {R"("scene": 0)", R"("scene": 3)", "scene 3 of 1; scene 0 is taken"},
        {R"("name": "leaf")", R"("rotation": [0, 0, 0, 1.02])", "node 2: its rotation isn't of length 1"},
        {R"("buffer": 0, "byteOffset": 0)", R"("byteOffset": 0)", "In buffer view 0 no buffer is stated"},
        {R"("buffers": [{"byteLength")", R"("buffers": [{"x")", "its length isn't stated"},
        {R"("buffers": [{"byteLength": )", R"("buffers": [{"byteLength": 1000)", "bytes are stated, there are"},
        {R"("asset")", R"("cameras": [5], "extensions": 5, "asset")", ""},
        {R"("meshes": [)", R"("meshes": [{"primitives": [{}]}, )", "has no triangles"},
    };
    for (const Mend& mend : mends)
    {
        std::string changed = Replaced(whole, mend.from, mend.to);
        const bool isMoved = std::string(mend.to).find("primitives") != std::string::npos;
        const Scene scene = ReadGood(isMoved ? Replaced(changed, R"("mesh": 0)", R"("mesh": 1)") : changed);
        std::string said;
        for (const std::string& warning : scene.warnings)
            said += warning + "\n";
        EXPECT_NE(said.find(mend.warning), std::string::npos) << mend.to << ": " << said;
        EXPECT_EQ(said.empty(), *mend.warning == '\0') << said;
        EXPECT_EQ(scene.roots, mend.roots) << mend.to;
        ASSERT_EQ(scene.primitives.size(), 1U) << mend.to;
        EXPECT_EQ(scene.nodes[0].meshes.size(), 1U) << mend.to;
    }
}
