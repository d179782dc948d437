// Compressed and instanced glTF files, made with the encoders of the same libraries and held against plain ones.
#include "scene/meshpositions.h"
#include "scene/scenepose.h"
#include "tests/scene/gltftext.h"
#include "tests/scene/sceneparts.h"

#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#include <meshoptimizer.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>

using Json = nlohmann::json;
using Bytes = std::vector<unsigned char>;

// Accessors of the figure.
enum
{
    POSITIONS,
    JOINTS,
    WEIGHTS,
    INDICES,
    STRIP,
    BINDS,
    TIMES,
    ROTATIONS,
    MOVES
};

static const std::size_t COLUMNS = 9;
static const std::size_t ROWS = 11;

// A cloth with quantised positions that two joints bend, and a strip of it beside it.
static GltfText Figure()
{
    GltfText text;
    std::vector<std::uint16_t> positions;
    std::vector<std::uint8_t> joints;
    std::vector<std::uint8_t> weights;
    for (std::size_t i = 0; i < COLUMNS * ROWS; ++i)
    {
        const std::size_t row = i / COLUMNS;
        positions.insert(positions.end(),
                         {static_cast<std::uint16_t>(700 * (i % COLUMNS)), static_cast<std::uint16_t>(900 * row),
                          static_cast<std::uint16_t>(37 * i % 256)});
        joints.insert(joints.end(), {0, 1, 0, 0});
        weights.insert(weights.end(),
                       {static_cast<std::uint8_t>(255 - 25 * row), static_cast<std::uint8_t>(25 * row), 0, 0});
    }
    std::vector<std::uint16_t> indices;
    for (std::size_t row = 0; row + 1 < ROWS; ++row)
    {
        for (std::size_t column = 0; column + 1 < COLUMNS; ++column)
        {
            const std::size_t at = row * COLUMNS + column;
            for (const std::size_t corner : {at, at + 1, at + COLUMNS, at + 1, at + COLUMNS + 1, at + COLUMNS})
                indices.push_back(static_cast<std::uint16_t>(corner));
        }
    }
    text.Shorts("VEC3", positions, R"("normalized": true)");
    text.Bytes("VEC4", joints);
    text.Bytes("VEC4", weights, R"("normalized": true)");
    text.Shorts("SCALAR", indices);
    text.Shorts("SCALAR", {0, 9, 1, 10, 2, 11});
    text.Floats("MAT4",
                {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -0.5F, 0, 0, 1});
    text.Floats("SCALAR", {0, 0.5F, 1});
    text.Floats("VEC4", {0, 0, 0, 1, 0.6F, 0, 0, 0.8F, 0, -0.8F, 0, 0.6F});
    text.Floats("VEC3", {0, 0, 0, 0.1F, 100, -7, 3, 2, 1});
    text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": 0, "JOINTS_0": 1, "WEIGHTS_0": 2},
        "indices": 3}, {"attributes": {"POSITION": 0}, "indices": 4, "mode": 5}]})");
    text.Item("skins", R"({"joints": [1, 2], "inverseBindMatrices": 5})");
    text.Item("nodes", R"({"mesh": 0, "skin": 0})");
    text.Item("nodes", R"({"children": [2]})");
    text.Item("nodes", R"({"translation": [0.5, 0, 0]})");
    text.Item("scenes", R"({"nodes": [0, 1]})");
    text.Item("animations", R"({"samplers": [{"input": 6, "output": 7}, {"input": 6, "output": 8}], "channels": [
        {"sampler": 0, "target": {"node": 2, "path": "rotation"}},
        {"sampler": 1, "target": {"node": 1, "path": "translation"}}]})");
    return text;
}

static std::size_t SizeOf(int componentType)
{
    return componentType == 5121 ? 1 : componentType == 5123 || componentType == 5122 ? 2 : 4;
}

// All views of the figure compressed, in each mode and by each filter for numbers; what they stand for has no bytes.
static std::string WithMeshopt(const GltfText& text)
{
    Json json = Json::parse(text.Text());
    Bytes compressed;
    std::size_t total = 0;
    for (int i = POSITIONS; i <= MOVES; ++i)
    {
        Json& accessor = json["accessors"][i];
        Json& view = json["bufferViews"][i];
        const std::string type = accessor["type"];
        const std::size_t width = type == "SCALAR" ? 1 : type == "MAT4" ? 16 : static_cast<std::size_t>(type[3] - '0');
        const std::size_t n = accessor["count"];
        const std::size_t size = width * SizeOf(accessor["componentType"]);
        const unsigned char* source = text.Data().data() + view["byteOffset"].get<std::size_t>();
        const bool isIndex = i == INDICES || i == STRIP;
        std::size_t stride = isIndex ? size : (size + 3) / 4 * 4;
        std::string filter = "NONE";
        Bytes padded(n * 64);
        for (std::size_t k = 0; k < n; ++k)
            std::memcpy(&padded[k * stride], source + k * size, size);
        std::vector<float> floats(n * width);
        std::memcpy(floats.data(), source, i == ROTATIONS || i == MOVES ? n * size : 0);
        if (i == ROTATIONS)
        {
            stride = 8;
            filter = "QUATERNION";
            meshopt_encodeFilterQuat(padded.data(), n, stride, 16, floats.data());
            accessor["componentType"] = 5122;
            accessor["normalized"] = true;
        }
        else if (i == MOVES)
        {
            filter = "EXPONENTIAL";
            meshopt_encodeFilterExp(padded.data(), n, stride, 24, floats.data());
        }
        std::vector<unsigned> indices(n);
        for (std::size_t k = 0; isIndex && k < n; ++k)
            indices[k] = source[2 * k] | static_cast<unsigned>(source[2 * k + 1]) << 8U;
        Bytes bytes(i == INDICES ? meshopt_encodeIndexBufferBound(n, 65536)
                    : i == STRIP ? meshopt_encodeIndexSequenceBound(n, 65536)
                                 : meshopt_encodeVertexBufferBound(n, stride));
        bytes.resize(i == INDICES ? meshopt_encodeIndexBuffer(bytes.data(), bytes.size(), indices.data(), n)
                     : i == STRIP ? meshopt_encodeIndexSequence(bytes.data(), bytes.size(), indices.data(), n)
                                  : meshopt_encodeVertexBuffer(bytes.data(), bytes.size(), padded.data(), n, stride));
        view = {{"buffer", 1}, {"byteOffset", total}, {"byteLength", n * stride}};
        view["extensions"]["EXT_meshopt_compression"] = {{"buffer", 0},
                                                         {"byteOffset", compressed.size()},
                                                         {"byteLength", bytes.size()},
                                                         {"byteStride", stride},
                                                         {"count", n},
                                                         {"mode", i == INDICES ? "TRIANGLES"
                                                                  : i == STRIP ? "INDICES"
                                                                               : "ATTRIBUTES"},
                                                         {"filter", filter}};
        compressed.insert(compressed.end(), bytes.begin(), bytes.end());
        total += n * stride;
    }
    json["extensionsRequired"] = {"EXT_meshopt_compression", "KHR_mesh_quantization"};
    json["buffers"] = {{{"byteLength", compressed.size()}}, {{"byteLength", total}}};
    json["buffers"][1]["extensions"]["EXT_meshopt_compression"]["fallback"] = true;
    return GltfText::Pack(json.dump(), compressed);
}

using Corner = std::array<double, 6>;

// Where the corners of each triangle are, and how far the first two joints move them; any corner may be the first.
static std::vector<std::array<Corner, 3>> TrianglesOf(const ScenePrimitive& primitive)
{
    std::vector<std::array<Corner, 3>> triangles;
    for (const SceneTriangle& triangle : primitive.triangles)
    {
        std::array<Corner, 3> corners;
        for (std::size_t k = 0; k < 3; ++k)
        {
            const std::uint32_t v = triangle.corners[k];
            const Double3& p = primitive.positions[v];
            corners[k] = {p.x, p.y, p.z};
            for (std::uint32_t i = primitive.influenceStarts.empty() ? 1 : primitive.influenceStarts[v];
                 !primitive.influenceStarts.empty() && i < primitive.influenceStarts[v + 1]; ++i)
                corners[k][3 + primitive.influences[i].joint] = primitive.influences[i].weight;
        }
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
        triangles.push_back(corners);
    }
    return triangles;
}

TEST(GltfCompression, MeshoptGivesThePlainScene)
{
    const GltfText text = Figure();
    const Scene plain = ReadGood(text.Text());
    const std::string bytes = WithMeshopt(text);
    const Scene scene = ReadGood(bytes, "good.glb");
    EXPECT_TRUE(scene.warnings.empty()) << scene.warnings[0];
    ASSERT_EQ(scene.primitives.size(), 2U);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(TrianglesOf(scene.primitives[i]), TrianglesOf(plain.primitives[i]));
    EXPECT_EQ(scene.skins[0].inverseBinds[1].m[0][3], -0.5);
    for (std::size_t i = 0; i < 2; ++i)
    {
        const SceneChannel& channel = scene.clips[0].channels[i];
        EXPECT_EQ(channel.times, plain.clips[0].channels[i].times);
        const std::vector<double>& values = plain.clips[0].channels[i].values;
        ASSERT_EQ(channel.values.size(), values.size());
        for (std::size_t k = 0; k < values.size(); ++k)
        {
            // A quaternion and its opposite are the same rotation; 16 bits, and 24 of the greatest exponent.
            const double sign = i == 0 && channel.values[k / 4 * 4 + 3] < 0.0 ? -1.0 : 1.0;
            EXPECT_NEAR(sign * channel.values[k], values[k], 1e-4) << i << ", " << k;
        }
    }
}

// Damaged streams and heads are refused, or give something else; nothing is read or written beside them.
TEST(GltfCompression, DamagedMeshoptDoesNoHarm)
{
    const std::string bytes = WithMeshopt(Figure());
    const std::pair<const char*, const char*> damages[] = {
        {R"("byteStride":8,"count":99)", R"("byteStride":8,"count":99999999)"},
        {R"("byteStride":8,"count":99)", R"("byteStride":8,"count":9)"},
        {R"("byteStride":8)", R"("byteStride":6)"},
        {R"("byteStride":8)", R"("byteStride":0)"},
        {R"("mode":"TRIANGLES")", R"("mode":"TRIANGLE")"},
        {R"("filter":"QUATERNION")", R"("filter":"QUATERNIOM")"},
        {R"("buffer":0)", R"("buffer":7)"},
        {R"("buffer":0)", R"("buffer":1)"},
    };
    const std::size_t textLength =
        static_cast<unsigned char>(bytes[12]) | static_cast<std::size_t>(static_cast<unsigned char>(bytes[13])) << 8U;
    const Bytes data(bytes.begin() + static_cast<std::ptrdiff_t>(28 + textLength), bytes.end());
    const std::string document = bytes.substr(20, textLength);
    for (const auto& [from, to] : damages)
        EXPECT_NE(ReadBad(GltfText::Pack(Replaced(document, from, to), data), "bad.glb"), "") << to;
    for (std::size_t at = 28 + textLength; at < bytes.size(); ++at)
    {
        std::string changed = bytes;
        changed[at] = static_cast<char>(changed[at] ^ (1 << at % 8));
        ReadBad(changed, "changed.glb");
    }
}

// The cloth with its attributes compressed, to `bits` of precision.
static std::string WithDraco(const GltfText& text, int bits, bool damaged)
{
    const ScenePrimitive plain = ReadGood(text.Text()).primitives[0];
    draco::TriangleSoupMeshBuilder builder;
    builder.Start(static_cast<int>(plain.triangles.size()));
    const int ids[] = {builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32),
                       builder.AddAttribute(draco::GeometryAttribute::GENERIC, 4, draco::DT_UINT8),
                       builder.AddAttribute(draco::GeometryAttribute::GENERIC, 4, draco::DT_FLOAT32)};
    for (std::size_t i = 0; i < plain.triangles.size(); ++i)
    {
        float points[3][3];
        const std::uint8_t joints[4] = {0, 1, 0, 0};
        float weights[3][4] = {};
        for (std::size_t k = 0; k < 3; ++k)
        {
            const std::uint32_t v = plain.triangles[i].corners[k];
            const Double3& p = plain.positions[v];
            points[k][0] = static_cast<float>(p.x);
            points[k][1] = static_cast<float>(p.y);
            points[k][2] = static_cast<float>(p.z);
            for (std::uint32_t w = plain.influenceStarts[v]; w < plain.influenceStarts[v + 1]; ++w)
                weights[k][plain.influences[w].joint] = static_cast<float>(plain.influences[w].weight);
        }
        const draco::FaceIndex face(static_cast<std::uint32_t>(i));
        builder.SetAttributeValuesForFace(ids[0], face, points[0], points[1], points[2]);
        builder.SetAttributeValuesForFace(ids[1], face, joints, joints, joints);
        builder.SetAttributeValuesForFace(ids[2], face, weights[0], weights[1], weights[2]);
    }
    const std::unique_ptr<draco::Mesh> mesh = builder.Finalize();
    draco::Encoder encoder;
    encoder.SetAttributeQuantization(draco::GeometryAttribute::POSITION, bits);
    encoder.SetEncodingMethod(bits > 0 ? draco::MESH_EDGEBREAKER_ENCODING : draco::MESH_SEQUENTIAL_ENCODING);
    draco::EncoderBuffer encoded;
    EXPECT_TRUE(encoder.EncodeMeshToBuffer(*mesh, &encoded).ok());
    Json json = Json::parse(text.Text());
    Bytes data = text.Data();
    data.resize((data.size() + 3) / 4 * 4);
    json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", data.size()}, {"byteLength", encoded.size()}});
    data.insert(data.end(), encoded.data(), encoded.data() + encoded.size());
    for (std::size_t at = data.size() - encoded.size() + 20; damaged && at < data.size(); ++at)
        data[at] = static_cast<unsigned char>(data[at] ^ 0x5AU);
    for (const int accessor : {POSITIONS, WEIGHTS})
    {
        json["accessors"][accessor]["componentType"] = 5126;
        json["accessors"][accessor].erase("normalized");
    }
    for (const int accessor : {POSITIONS, JOINTS, WEIGHTS, INDICES})
        json["accessors"][accessor].erase("bufferView");
    json["meshes"][0]["primitives"].erase(1);
    json["meshes"][0]["primitives"][0]["extensions"]["KHR_draco_mesh_compression"] = {
        {"bufferView", json["bufferViews"].size() - 1},
        {"attributes", {{"POSITION", ids[0]}, {"JOINTS_0", ids[1]}, {"WEIGHTS_0", ids[2]}}}};
    json["extensionsRequired"] = {"KHR_draco_mesh_compression"};
    json["buffers"] = {{{"byteLength", data.size()}}};
    return GltfText::Pack(json.dump(), data);
}

TEST(GltfCompression, DracoGivesThePlainScene)
{
    const GltfText text = Figure();
    const auto plain = [&]
    {
        auto triangles = TrianglesOf(ReadGood(text.Text()).primitives[0]);
        std::sort(triangles.begin(), triangles.end());
        return triangles;
    }();
    for (const int bits : {-1, 16})
    {
        const Scene scene = ReadGood(WithDraco(text, bits, false), "good.glb");
        ASSERT_EQ(scene.primitives.size(), 1U);
        EXPECT_EQ(scene.nodes[0].meshes[0].skin, 0);
        auto triangles = TrianglesOf(scene.primitives[0]);
        std::sort(triangles.begin(), triangles.end());
        ASSERT_EQ(triangles.size(), plain.size());
        double worst = 0.0;
        for (std::size_t i = 0; i < plain.size(); ++i)
            for (std::size_t k = 0; k < 18; ++k)
                worst = std::max(worst, std::fabs(triangles[i][k / 6][k % 6] - plain[i][k / 6][k % 6]));
        EXPECT_LT(worst, bits < 0 ? 1e-7 : 1e-5);
    }
    EXPECT_NE(ReadBad(WithDraco(text, 16, true), "bad.glb").find("mesh 0, primitive 0: "), std::string::npos);
}

TEST(GltfInstances, EachIsANodeBelowTheOneOfTheMesh)
{
    GltfText text;
    const int points = text.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int moves = text.Floats("VEC3", {5, 0, 0, 0, 6, 0, 0, 0, 7});
    const int turns = text.Shorts("VEC4", {0, 0, 0, 65535, 0, 0, 65535, 0, 0, 0, 0, 65535}, R"("normalized": true)");
    const int scales = text.Floats("VEC3", {1, 1, 1, 2, 2, 2, 1, 3, 1});
    text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": )" + std::to_string(points) + "}}]}");
    text.Item("nodes", R"({"name": "tree", "mesh": 0, "translation": [100, 0, 0], "extensions": {
        "EXT_mesh_gpu_instancing": {"attributes": {"TRANSLATION": )" +
                           std::to_string(moves) + R"(, "ROTATION": )" + std::to_string(turns) + R"(, "SCALE": )" +
                           std::to_string(scales) + "}}}}");
    const Scene scene = ReadGood(text.Text());
    ASSERT_EQ(scene.nodes.size(), 4U);
    EXPECT_TRUE(scene.nodes[0].meshes.empty());
    EXPECT_EQ(scene.nodes[0].children, (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(scene.nodes[1].name + scene.nodes[3].name, "tree_1tree_3");
    ScenePose pose;
    EvaluatePose(scene, -1, 0.0, pose);
    const auto corner = [&](int node)
    { return WorldPositions(scene, node, scene.nodes[std::size_t(node)].meshes[0], pose); };
    ExpectPoint(corner(1)[1], 106, 0, 0);
    ExpectPoint(corner(2)[1], 98, 6, 0); // half a turn about z, twice as large
    ExpectPoint(corner(3)[2], 100, 3, 7);
    const std::string sentence = ReadBad(Replaced(text.Text(), "\"SCALE\": 3", "\"SCALE\": 9"));
    EXPECT_NE(sentence.find("node 0 (tree): EXT_mesh_gpu_instancing: SCALE: accessor 9 of 4"), std::string::npos)
        << sentence;
}
