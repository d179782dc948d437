// What the fuzzers start from: fuzzseeds CORPUS SCENE.gltf EXPORT.abc...
//
// Makes a folder for each target in CORPUS: random small models of all versions and each export in versions 9 to 12
// (for "model" and "block"), texts (for "command"), and small documents and the scene as one binary file (for "gltf").

#include "fuzz/modelfields.h"
#include "tests/engine/model/src/abcbytes.h"
#include "tests/scene/gltftext.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

static std::string ReadWhole(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

static void Write(const std::filesystem::path& folder, const std::string& name, const std::string& bytes)
{
    std::filesystem::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary) << bytes;
}

static void WriteModels(const std::filesystem::path& corpus, int nExports, char** ppExports)
{
    for (const char* pTarget : {"model", "block"})
    {
        for (uint32_t seed = 0; seed < 40; ++seed)
            Write(corpus / pTarget, "seed" + std::to_string(seed), abc::Random(seed).Model().Write());
        for (int i = 0; i < nExports; ++i)
        {
            const std::string bytes = ReadWhole(ppExports[i]);
            const std::span<const uint8_t> span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            for (uint32_t version = 9; version <= 12; ++version)
            {
                const std::vector<uint8_t> older = ToOlderVersion(span, version);
                Write(corpus / pTarget, "export" + std::to_string(i) + "_" + std::to_string(version),
                      {older.begin(), older.end()});
            }
        }
    }
}

static void WriteCommands(const std::filesystem::path& corpus)
{
    const char* const texts[] = {
        "VisRadius 75; ShadowEnable\nNormalRef root walk; FadeRangeMin 10; FadeRangeMax 1e9",
        "f(a b(c) d) e; name \"two words\" end; 100%% sure; a%;b",
        "ShadowCenterOffset 1 2 3; FadeSpriteSize 10 20 30; FovXOffset 180; NormalRef root none",
        "\"\" next",
        "a;;b\t) c",
        "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 28 29 30 31"};
    for (size_t i = 0; i < std::size(texts); ++i)
        Write(corpus / "command", "seed" + std::to_string(i), texts[i]);
}

// Skin, morph target, image, two clips with all paths and interpolations, a strip, a matrix.
static GltfText SmallScene()
{
    GltfText text;
    text.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 2, 0, 1, 1, 0}, R"("min": [0, 0, 0], "max": [1, 2, 0])");
    text.Shorts("SCALAR", {0, 1, 2, 3});
    text.Bytes("VEC4", {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0});
    text.Bytes("VEC4", {51, 204, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0}, R"("normalized": true)");
    text.Floats("VEC2", {0, 0, 1, 0, 0, 1, 1, 1});
    text.Floats("MAT4",
                {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
    text.Floats("SCALAR", {0, 0.5F, 1});
    text.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 1, 0});
    text.Floats("VEC4", {0, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0});
    text.Floats("SCALAR", {0, 0.5F, 0, 0, 1, 0, 0, 0, 0});
    text.Floats(
        "VEC3", {0, 0, 1, 0, 0, 2, 0, 0, 3, 0, 0, 0},
        R"("sparse": {"count": 1, "indices": {"bufferView": 1, "componentType": 5123}, "values": {"bufferView": 7}})");
    text.Item("meshes", R"({"weights": [0.25], "primitives": [{"indices": 1, "mode": 5, "material": 0, "attributes":
        {"POSITION": 0, "JOINTS_0": 2, "WEIGHTS_0": 3, "TEXCOORD_0": 4}, "targets": [{"POSITION": 10}]}]})");
    text.Item("images",
              R"({"uri": "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAIAAAACCAIAAAD91JpzAAAAAElFTkSuQmCC"})");
    text.Item("textures", R"({"source": 0})");
    text.Item("materials", R"({"pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "texCoord": 0}}})");
    text.Item("skins", R"({"joints": [1, 2], "inverseBindMatrices": 5})");
    text.Item("nodes", R"({"mesh": 0, "skin": 0, "name": "body", "extras": {"note": "hello"}})");
    text.Item("nodes", R"({"children": [2], "matrix": [0, 2, 0, 0, -2, 0, 0, 0, 0, 0, -2, 0, 1, 2, 3, 1]})");
    text.Item("nodes", R"({"rotation": [0, 0, 1, 0], "scale": [1, 2, 3]})");
    text.Item("scenes", R"({"nodes": [1, 0], "name": "stage"})");
    text.Item("animations", R"({"name": "walk", "samplers": [{"input": 6, "output": 7}, {"input": 6, "output": 8,
        "interpolation": "STEP"}, {"input": 6, "output": 9, "interpolation": "CUBICSPLINE"}], "channels": [
        {"sampler": 0, "target": {"node": 2, "path": "translation"}}, {"sampler": 1, "target": {"node": 2,
        "path": "rotation"}}, {"sampler": 2, "target": {"node": 0, "path": "weights"}},
        {"sampler": 0, "target": {"node": 2, "path": "scale"}}]})");
    return text;
}

// The scene with its first buffer in the second chunk.
static std::string PackScene(const std::filesystem::path& path)
{
    nlohmann::json json = nlohmann::json::parse(ReadWhole(path));
    std::string data = ReadWhole(path.parent_path() / json["buffers"][0]["uri"].get<std::string>());
    json["buffers"][0].erase("uri");
    std::string text = json.dump();
    text.resize((text.size() + 3) / 4 * 4, ' ');
    data.resize((data.size() + 3) / 4 * 4);
    const auto number = GltfText::Number;
    return "glTF" + number(2) + number(28 + text.size() + data.size()) + number(text.size()) + "JSON" + text +
           number(data.size()) + std::string("BIN\0", 4) + data;
}

int main(int nArguments, char** ppArguments)
{
    if (nArguments < 3)
    {
        fprintf(stderr, "usage: fuzzseeds CORPUS SCENE.gltf EXPORT.abc...\n");
        return 2;
    }
    const std::filesystem::path corpus = ppArguments[1];
    WriteModels(corpus, nArguments - 3, ppArguments + 3);
    WriteCommands(corpus);
    const GltfText small = SmallScene();
    Write(corpus / "gltf", "small.gltf", small.Text());
    Write(corpus / "gltf", "small.glb", small.Binary());
    Write(corpus / "gltf", "scene.glb", PackScene(ppArguments[2]));
    return 0;
}
