#include "tests/abctools/testmodel.h"

#include "tests/engine/model/src/abcbytes.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/memorystream.h"

#include <cmath>
#include <fstream>
#include <iterator>

static abc::File MakeTree()
{
    abc::File file;
    file.nodes = {{.name = "root"},
                  {.name = "spine", .parent = 0},
                  {.name = "hand", .parent = 1},
                  {.name = "leg", .flags = MNODE_FIXEDOFFSET | 0x80, .parent = 0}};
    const float places[4][2] = {{0, 0}, {0, 10}, {5, 10}, {2, 0}};
    for (size_t i = 0; i < 4; ++i)
        file.nodes[i].global[3] = places[i][0], file.nodes[i].global[7] = places[i][1];
    return file;
}

// Each node turns about z by `turn` radians per key, and moves along x by `step` per key.
static abc::Anim MakeAnim(const char* pName, const std::vector<uint32_t>& times, float turn, float step)
{
    abc::Anim anim;
    anim.name = pName;
    for (const uint32_t time : times)
        anim.keys.push_back({time, anim.keys.empty() ? "start" : ""});
    anim.tracks.resize(4);
    for (size_t i = 0; i < 4; ++i)
    {
        for (size_t k = 0; k < times.size(); ++k)
        {
            const float half = 0.5f * turn * static_cast<float>(k * (i + 1));
            anim.tracks[i].push_back({{step * static_cast<float>(k), static_cast<float>(i), 0.0f},
                                      {0.0f, 0.0f, std::sin(half), std::cos(half)}});
        }
    }
    return anim;
}

static abc::Mesh MakeFan(uint32_t nVerts)
{
    abc::Mesh mesh;
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        const float x = static_cast<float>(i);
        mesh.verts.push_back({{}, 0, {x, x * x, 0}, {0, 0, 1}});
        for (const uint32_t k : {0u, 1u})
        {
            const float share = k == 0 ? 0.75f : 0.25f;
            mesh.verts[i].weights.push_back({(i + k) % 4, {share * x, share, 0}, share});
        }
        if (i >= 2)
            mesh.tris.push_back({{0, i - 1, i}, {}});
    }
    return mesh;
}

static ModelPointer Load(const abc::File& file)
{
    const std::string bytes = file.Write();
    return LoadBytes(std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

ModelPointer MakeTestModel()
{
    abc::File file = MakeTree();
    file.command = "VisRadius 75; Rigid; NormalRef hand RUN";
    file.lodDistances = {500.0f};
    file.pieces = {{"body", 3, 0, {5, 1, 1}, {MakeFan(3), MakeFan(3)}},
                   {"t\x1b[31m", 7, 0, {5, 1, 1}, {MakeFan(4), MakeFan(3)}}};
    file.anims = {MakeAnim("run", {0, 100, 100, 300}, 0.5f, 2.0f), MakeAnim("walk", {0, 250}, -0.3f, 1.0f)};
    file.sockets = {{2, "grip", {{1, 2, 3}, {0, 0, 0, 1}}}};
    file.sets = {{"upper", {0.0f, 1.0f, 0.5f, 2.0f}}};
    return Load(file);
}

ModelPointer MakeChildModel(const char* pAnimName, float distance)
{
    abc::File file = MakeTree();
    file.anims = {MakeAnim(pAnimName, {0, 1000}, 0.0f, distance)};
    return Load(file);
}

std::vector<uint8_t> BytesOf(Model& model)
{
    MemoryStream stream(4096);
    if (!model.Save(&stream))
        return {};
    const uint8_t* pBytes = stream.m_Data.GetArray();
    return std::vector<uint8_t>(pBytes, pBytes + stream.m_Data.GetSize());
}

ModelPointer LoadBytes(std::vector<uint8_t> bytes)
{
    FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    ModelPointer model(Model::CreateModel());
    LoadRequest request;
    request.m_pStream = &stream;
    if (model->Load(&request) != RESULT_OK)
        model.reset();
    return model;
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<uint8_t> ReadBytes(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}
