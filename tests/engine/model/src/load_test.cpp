#include "engine/model/src/modelallocations.h"
#include "engine/model/src/transformmaker.h"
#include "tests/engine/model/src/loadbytes.h"
#include "tests/zoltshared/stdzolt/testallocator.h"
#include "zoltshared/stdzolt/countingallocator.h"
#include "zoltshared/stdzolt/mappedstream.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/stdiostream.h"

#include <fstream>
#include <unistd.h>

#include <gtest/gtest.h>

static bool IsEmpty(Model& model)
{
    return model.NumNodes() == 0 && model.GetRootNode()->NumChildren() == 0 && model.NumAnims() == 0 &&
           model.NumPieces() == 0 && model.NumSockets() == 0 && model.NumWeightSets() == 0 &&
           model.m_VertexWeights.GetSize() == 0 && model.m_Strings.NumStrings() == 0 && model.NumLODs() == 1 &&
           model.NumChildModels() == 1;
}

static abc::Vec Plain(const Vector3& v)
{
    return {v.x, v.y, v.z};
}

static abc::Key Plain(const Vector3& t, const Quaternion& q)
{
    return {Plain(t), {q.x, q.y, q.z, q.w}};
}

static abc::Mesh Plain(ModelPieceLOD& mesh)
{
    abc::Mesh plain;
    for (uint32_t t = 0; t < mesh.NumTris(); ++t)
    {
        const ModelTri& tri = *mesh.GetTri(t);
        plain.tris.push_back({{tri.m_Indices[0], tri.m_Indices[1], tri.m_Indices[2]}, {}});
        for (int c = 0; c < 6; ++c)
            plain.tris.back().uvs[c] = c % 2 ? tri.m_UVs[c / 2].v : tri.m_UVs[c / 2].u;
    }
    for (uint32_t v = 0; v < mesh.NumVerts(); ++v)
    {
        const ModelVert& vert = *mesh.GetVert(v);
        EXPECT_EQ(vert.m_Weights == nullptr, vert.m_nWeights == 0);
        plain.verts.push_back({{}, vert.m_VertReserved, Plain(vert.m_vPos), Plain(vert.m_vNormal)});
        for (uint32_t w = 0; w < vert.m_nWeights; ++w)
        {
            const ModelVertWeight& weight = vert.m_Weights[w];
            const float* m = weight.m_Vec;
            plain.verts.back().weights.push_back({weight.m_iNode, {m[0], m[1], m[2]}, m[3]});
        }
    }
    return plain;
}

// What the model holds, as plain records.
static abc::File Plain(Model& m)
{
    abc::File f;
    f.command = m.m_CommandString, f.headerFloat = m.m_HeaderFloat;
    f.lodDistances.assign(m.m_LODDistances.GetArray(), m.m_LODDistances.GetArray() + m.NumLODs() - 1);
    for (uint32_t i = 0; i < m.NumPieces(); ++i)
    {
        ModelPiece& p = *m.GetPiece(i);
        f.pieces.push_back({p.GetName(), p.m_iTexture, 0, {p.m_PieceParamA, p.m_PieceParamB, p.m_PieceParamC}, {}});
        for (uint32_t lod = 0; lod < p.NumLODs(); ++lod)
            f.pieces.back().lods.push_back(Plain(*p.GetLOD(lod)));
    }
    f.nodes.clear();
    for (uint32_t i = 0; i < m.NumNodes(); ++i)
    {
        ModelNode& n = *m.GetNode(i);
        f.nodes.push_back({n.GetName(), n.m_Flags, {}, static_cast<int>(n.GetParentIndex())});
        memcpy(f.nodes.back().global.data(), n.m_mGlobal.m, 64);
        const Matrix4 one = n.m_mGlobal * n.m_mGlobalInverse;
        for (int k = 0; k < 16; ++k)
            EXPECT_NEAR(one.m[k], k % 5 ? 0 : 1, 1e-4);
    }
    for (uint32_t i = 0; i < m.NumWeightSets(); ++i)
    {
        const DynArray<float, DefaultCache>& w = m.GetWeightSet(i)->m_Weights;
        f.sets.push_back({m.GetWeightSet(i)->GetName(), {w.GetArray(), w.GetArray() + w.GetSize()}});
    }
    EXPECT_STREQ(m.GetChildModel(0)->m_pName, "SELF");
    f.links.clear();
    for (uint32_t i = 0; i < m.NumChildModels(); ++i)
    {
        ChildInfo& link = *m.GetChildModel(i);
        f.links.push_back({link.m_pName, link.m_Stamp, {}});
        EXPECT_EQ(link.m_Relations.GetSize(), m.NumNodes());
        for (uint32_t n = 0; n < link.m_Relations.GetSize(); ++n)
            f.links.back().relations.push_back(
                Plain(link.m_Relations[n].m_vTranslation, link.m_Relations[n].m_qRotation));
    }
    for (uint32_t i = 0; i < m.NumAnims(); ++i)
    {
        ModelAnim& a = *m.GetAnim(i);
        const AnimInfo& row = *m.GetAnimInfo(i);
        f.anims.push_back({a.GetName(),
                           Plain(row.m_vDims),
                           Plain(row.m_vTranslation),
                           a.m_AnimParamA,
                           a.m_AnimParamB,
                           {},
                           std::vector<std::vector<abc::Key>>(m.NumNodes())});
        for (uint32_t k = 0; k < a.NumKeyFrames(); ++k)
        {
            f.anims.back().keys.push_back({a.m_KeyFrames[k].m_Time, a.m_KeyFrames[k].m_pString});
            for (uint32_t n = 0; n < m.NumNodes(); ++n)
            {
                const NodeKeyFrame& key = a.m_AnimNodes[n]->m_KeyFrames[k];
                EXPECT_EQ(a.m_AnimNodes[n]->m_pNode, m.GetNode(n));
                f.anims.back().tracks[n].push_back(Plain(key.m_vTranslation, key.m_qRotation));
            }
        }
    }
    for (uint32_t i = 0; i < m.NumSockets(); ++i)
    {
        const ModelSocket& s = *m.GetSocket(i);
        f.sockets.push_back({s.m_iNode, s.GetName(), Plain(s.m_vPos, s.m_qRotation)});
    }
    return f;
}

// Model and file say the same when both are written as version 12: then a field that an older file lacks has the
// default that its record here has.
static void ExpectHolds(Model& m, abc::File f)
{
    EXPECT_EQ(m.GetFileVersion(), f.version);
    f.version = 12, f.order = abc::File().order;
    for (abc::Piece& p : f.pieces)
        p.name = p.name.substr(0, 31), p.nSkipped = 0;
    for (abc::Set& s : f.sets)
        s.name = s.name.substr(0, 15);
    for (abc::Socket& s : f.sockets)
        s.name = s.name.substr(0, 15);
    const abc::File held = Plain(m);
    for (const std::string& section : f.order)
        EXPECT_TRUE(held.Body(section) == f.Body(section)) << section;
}

// Uses everything that a loaded model promises to be in range: poses of every key, vertices, sockets.
static void Walk(Model& model)
{
    std::vector<Vector3> out(model.CalcNumVerts() + 1);
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
        for (uint32_t k = 0; k < model.GetAnim(i)->NumKeyFrames() && k < 65536; ++k)
        {
            VertexDeformRequest request;
            request.m_nAnims = model.NumWeightSets() ? 2 : 1;
            for (AnimTracker& tracker : request.m_Anims)
            {
                tracker.Init(&model, i, 0, i, k, 0.5f);
                tracker.m_iWeightSet = 0;
            }
            request.m_pVertOut = out.data();
            EXPECT_TRUE(model.GetVertexPositions(&request, QZTRUE));
        }
    Matrix4 matrix;
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
        EXPECT_TRUE(model.GetCurrentSocketTransform(model.GetSocket(i), &matrix));
}

TEST(ModelLoad, SmallestFile)
{
    const std::string bytes = abc::File().Write();
    ASSERT_EQ(bytes.size(), 357u);
    EXPECT_EQ(bytes.substr(138 + 2, 6), "Pieces");
    EXPECT_EQ(bytes.substr(335 + 2, 12), "AnimBindings");
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    ASSERT_EQ(LoadBytes(model, bytes), RESULT_OK);
    ExpectHolds(model, abc::File());

    FixedMemoryStream stream(const_cast<char*>(bytes.data()), 357);
    ModelAllocations allocs;
    uint32_t size = 0;
    ASSERT_TRUE(model.LoadHeader(&stream, &allocs) && allocs.CalcAllocationSize(size));
    EXPECT_EQ(size, 28 + 64 + sizeof(void*)); // a relation, a matrix, a pointer
    allocs.m_nLODs = 0;
    EXPECT_FALSE(allocs.CalcAllocationSize(size));
    allocs.Clear();
    EXPECT_EQ(allocs.m_nNodes + allocs.m_nChildModels, 0u);
    TestAllocator none;
    none.m_nLeft = 0;
    EXPECT_EQ(PrepareBlockBytes(model, bytes, &none), RESULT_OUT_OF_MEMORY);
}

TEST(ModelLoad, RandomModelsInEveryVersionAndOrder)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator); // each load replaces the one before
    for (uint32_t seed = 0; seed < 150; ++seed)
    {
        SCOPED_TRACE(seed);
        abc::Random random(seed);
        abc::File file = random.Model();
        for (abc::Piece& piece : file.pieces)
            piece.params = {random.Float(0, 9), 2, file.version >= 10 ? 3.0f : 1.0f};
        for (abc::Anim& anim : file.anims)
        {
            anim.paramA = file.version >= 11 ? -7 : -1;
            anim.paramB = file.version >= 12 ? 77 : 200;
        }
        if (seed % 3 == 0)
        {
            file.order.insert(file.order.begin(), {"header", "Unknown"});
            file.bodies["Unknown"] = std::string(100, 'u');
            std::shuffle(file.order.begin(), file.order.end(), std::mt19937(seed));
        }
        if (!file.pieces.empty() && seed % 4 == 0)
            file.pieces[0].name = std::string(40, 'p');
        if (!file.sockets.empty())
            file.sockets[0].name = std::string(20, 's');
        if (!file.sets.empty())
            file.sets[0].name = std::string(20, 'w');
        ASSERT_EQ(LoadBytes(model, file.Write()), RESULT_OK);
        ExpectHolds(model, file);
        Walk(model);
        if (!file.sets.empty()) // values beyond the nodes are dropped
        {
            abc::File more = file;
            more.sets[0].values.insert(more.sets[0].values.end(), 1000, 1.0f);
            ASSERT_EQ(LoadBytes(model, more.Write()), RESULT_OK);
            ExpectHolds(model, file);
        }
    }
    abc::File file;
    for (const uint32_t version : {0u, 8u, 13u})
    {
        file.version = version;
        EXPECT_EQ(LoadBytes(model, file.Write()), RESULT_ERROR);
        EXPECT_TRUE(IsEmpty(model));
        EXPECT_EQ(PrepareBlockBytes(model, file.Write(), &g_DefaultAllocator), RESULT_INVALID_MODEL_FILE);
    }
    // A text keeps 4095 characters, the rest is skipped.
    abc::File text;
    text.nodes[0].name = std::string(5000, 'n');
    ASSERT_EQ(LoadBytes(model, text.Write()), RESULT_OK);
    EXPECT_EQ(strlen(model.GetNode(0)->GetName()), 4095u);
}

// A stream that isn't read in place.
class DerivedStream : public MemoryStream
{
public:
    explicit DerivedStream(const std::string& bytes) : MemoryStream(0)
    {
        Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
    }
};

// A model that is read in many blocks, with records and texts across their ends; cut at many places.
TEST(ModelLoad, AnyStreamGivesALargeModel)
{
    abc::Random random(1);
    const std::string bytes = random.LargeModel().Write();
    const std::string path = testing::TempDir() + "/zolt_load_" + std::to_string(getpid());
    for (size_t size = bytes.size(); size != 0; size -= std::min<size_t>(size, 4999))
    {
        std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(size));
        for (ModelStream* pStream :
             {static_cast<ModelStream*>(new DerivedStream(bytes.substr(0, size))), OpenStdioStream(path.c_str(), "rb"),
              LoadFileToMemoryStream(path.c_str()), OpenMappedStream(path.c_str())})
        {
            Model model(&g_DefaultAllocator, &g_DefaultAllocator);
            LoadRequest request;
            request.m_pStream = pStream;
            ASSERT_EQ(model.Load(&request), size == bytes.size() ? RESULT_OK : RESULT_ERROR) << size;
            if (size == bytes.size())
                ExpectHolds(model, abc::Random(1).LargeModel());
            else
                EXPECT_TRUE(IsEmpty(model)) << size;
            pStream->Release();
        }
    }
    std::remove(path.c_str());
}

TEST(ModelLoad, OutOfRangeIsRefused)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    abc::File good;
    good.nodes.resize(2);
    good.nodes[1].parent = 0;
    good.pieces.resize(1);
    good.pieces[0].lods[0].verts.resize(2);
    good.pieces[0].lods[0].verts[0].weights = {{1, {1, 1, 1}, 1}};
    good.pieces[0].lods[0].tris = {{{0, 1, 1}, {}}};
    good.sets = {{"set", {1, 1}}};
    good.sockets = {{1, "s", {}}};
    ASSERT_EQ(LoadBytes(model, good.Write()), RESULT_OK);
    // The words end in a place so many bytes behind the first one that the change has changed, if they have one.
    const auto refused = [&](const std::function<void(abc::File&)>& change, std::string words, int behind = -1)
    {
        abc::File file = good;
        change(file);
        const std::string bytes = file.Write(), goodBytes = good.Write();
        const auto changed = std::mismatch(bytes.begin(), bytes.end(), goodBytes.begin()).first - bytes.begin();
        if (behind >= 0)
            words += ", at byte " + std::to_string(changed + behind);
        char text[LOAD_ERROR_TEXT_SIZE] = "old", shortText[9] = "oldoldol";
        LoadRequest request;
        request.m_pErrorText = text;
        request.m_ErrorTextSize = sizeof(text);
        bool bRefused = LoadBytes(model, bytes, request) == RESULT_ERROR && IsEmpty(model);
        EXPECT_EQ(text, words);
        request.m_pErrorText = shortText;
        request.m_ErrorTextSize = 8;
        bRefused = bRefused && LoadBytes(model, bytes, request) == RESULT_ERROR;
        EXPECT_EQ(shortText, words.substr(0, 7));
        EXPECT_TRUE(LoadBytes(model, goodBytes, request) == RESULT_OK && *shortText == '\0');
        return bRefused;
    };
    EXPECT_TRUE(refused([](abc::File& f) { f.sockets[0].node = 2; }, "Sockets: socket 1 of 1 is on node 2 of 2", 0));
    EXPECT_TRUE(refused([](abc::File& f) { f.pieces[0].lods[0].verts[0].weights[0].node = 2; },
                        "Pieces: vertex 1 of 2 of the piece \"\" is on node 2 of 2"));
    EXPECT_TRUE(refused([](abc::File& f) { f.pieces[0].lods[0].tris[0].indices[2] = 2; },
                        "Pieces: triangle corner 3 of 3 points at vertex 2 of 2", 0));
    EXPECT_TRUE(refused([](abc::File& f) { f.sets[0].values.pop_back(); },
                        "Nodes: the weight set \"set\" has 1 values for 2 nodes, at byte " +
                            std::to_string(good.Write().find("set") + 3)));
    EXPECT_TRUE(refused(
        [](abc::File& f)
        {
            f.bodies["Pieces"] = f.Body("Pieces");
            f.bodies["Pieces"][0] = 0; // no room for the one weight, of a vertex behind the triangle
        },
        "Pieces: vertex 1 of 2 has 1 weights, and 0 of 0 are left", 8 + 18 + 4 + 30 + 4));
    for (const std::string& section : good.order)
        EXPECT_TRUE(
            refused([&](abc::File& f) { std::erase(f.order, section); }, "there is no section \"" + section + "\""))
            << section;

    // Trees: 1024 levels and 65536 nodes, and no more.
    for (const size_t size : {size_t(1024), size_t(65536)})
    {
        for (const size_t more : {0, 1})
        {
            abc::File file;
            file.nodes.resize(size + more);
            for (size_t i = 1; i < file.nodes.size(); ++i)
                file.nodes[i].parent = size == 1024 ? static_cast<int>(i) - 1 : 0;
            EXPECT_EQ(LoadBytes(model, file.Write()), more ? RESULT_ERROR : RESULT_OK) << size;
            EXPECT_EQ(IsEmpty(model), more == 1);
        }
    }
}

// Each level of a deep tree announces what is left of the file as its children, and each count what it likes.
TEST(ModelLoad, CountsAskForNoMemory)
{
    abc::Bytes body;
    for (int level = 0; level < 1000; ++level)
    {
        const abc::Node node;
        body.Str(""), body.U16(0), body.U8(0), body.Floats(node.global);
        body.U32(10000);
    }
    body.data.append(size_t{10000} * 73, '\0');
    abc::File file;
    file.bodies["Nodes"] = body.data;
    CountingAllocator counter(&g_DefaultAllocator);
    Model model(&counter, &counter);
    std::string bytes = file.Write();
    EXPECT_EQ(LoadBytes(model, bytes), RESULT_ERROR);
    EXPECT_LE(counter.m_TotalMemoryAllocated, 8 * bytes.size());

    // Animations without keys, whose tracks take no bytes.
    file = abc::File();
    file.nodes.resize(1000);
    for (int i = 1; i < 1000; ++i)
        file.nodes[i].parent = 0;
    file.anims.resize(1000);
    for (abc::Anim& anim : file.anims)
        anim.name = std::to_string(&anim - file.anims.data());
    counter.m_TotalMemoryAllocated = 0;
    bytes = file.Write();
    EXPECT_EQ(LoadBytes(model, bytes), RESULT_ERROR);
    EXPECT_LE(counter.m_TotalMemoryAllocated, 16 * bytes.size() + (65536 << 7));
    file.anims.resize(50);
    EXPECT_EQ(LoadBytes(model, file.Write()), RESULT_OK);
}

TEST(OneBlock, TakesOneAllocationWithinTheBound)
{
    for (uint32_t seed = 0; seed < 200; ++seed)
    {
        SCOPED_TRACE(seed);
        abc::Random random(seed);
        const abc::File file = random.Model();
        const std::string bytes = file.Write();
        CountingAllocator scratch(&g_DefaultAllocator);
        Model plain(&scratch, &g_DefaultAllocator);
        ASSERT_EQ(LoadBytes(plain, bytes), RESULT_OK);

        const uint32_t memory = g_ModelMemory;
        CountingAllocator counter(&g_DefaultAllocator), tables(&g_DefaultAllocator);
        {
            Model model(&g_DefaultAllocator, &tables);
            ASSERT_EQ(PrepareBlockBytes(model, bytes, &counter), RESULT_OK);
            const uint32_t size = counter.m_TotalMemoryAllocated;
            // To the byte, but for the texts: a fixed part each, and 3 bytes on top of the characters.
            uint32_t texts = 0, room = 0;
            for (const ModelStringRecord* p = plain.m_Strings.m_pHead; p; p = p->m_pNext)
            {
                texts += p->m_Size;
                room += static_cast<uint32_t>(strlen(p->m_Text)) + 3;
            }
            room = (room + 3) / 4 * 4 + plain.m_Strings.NumStrings() * MODEL_STRING_FIXED_SIZE;
            EXPECT_EQ(scratch.m_TotalMemoryAllocated - texts + room, size);
            EXPECT_EQ(g_ModelMemory, memory + sizeof(Model) + size);
            for (int round = 0; round < 2; ++round) // the second load reuses the block
            {
                ASSERT_EQ(LoadBytes(model, bytes), RESULT_OK);
                ExpectHolds(model, file);
                for (const ModelStringRecord* p = model.m_Strings.m_pHead; p; p = p->m_pNext)
                    EXPECT_TRUE(model.m_BlockAllocator.Contains(p));
                for (uint32_t i = 0; i < model.NumAnims(); ++i)
                    EXPECT_TRUE(model.m_BlockAllocator.Contains(model.GetAnim(i)->m_AnimNodes));
            }
            Walk(model);
            EXPECT_EQ(counter.m_nTotalAllocations, 1u);
            EXPECT_EQ(tables.m_nTotalAllocations, file.anims.empty() ? 0u : 2u);
        }
        EXPECT_EQ(counter.m_nCurrentAllocations + tables.m_nCurrentAllocations, 0u);
        EXPECT_EQ(g_ModelMemory, memory);
    }
}

TEST(OneBlock, GrowsOnTheHeap)
{
    abc::Random random(3);
    abc::File file;
    file.nodes = random.Tree(4);
    file.anims = {random.Animation("walk", 4, 3)};
    file.sockets = {{0, "a", {}}, {1, "b", {}}};
    file.pieces.resize(1);
    file.pieces[0].lods = {random.RandomMesh(5, 4, 4)};
    file.sets = {{"set", {1, 1, 1, 1}}};
    const std::string bytes = file.Write();
    LoadedModel* pChild = new LoadedModel(file);
    const uint32_t memory = g_ModelMemory;
    CountingAllocator counter(&g_DefaultAllocator);
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    for (int round = 0; round < 2; ++round) // what was added goes with the next load
    {
        if (round == 0)
        {
            ASSERT_EQ(PrepareBlockBytes(model, bytes, &counter), RESULT_OK);
        }
        ASSERT_EQ(LoadBytes(model, bytes), RESULT_OK);
        ModelSocket* pSocket = new ModelSocket;
        pSocket->SetName("a name of more than 15");
        EXPECT_STREQ(pSocket->GetName(), "a name of more ");
        EXPECT_TRUE(model.AddSocket(pSocket) && model.RemoveSocket(0) && model.RemoveSocket(1));
        EXPECT_STREQ(model.GetSocket(0)->GetName(), "b");
        WeightSet* pSet = new WeightSet(&model);
        EXPECT_TRUE(pSet->Init() && model.AddWeightSet(pSet) && model.AddWeightSet(new WeightSet(&model)));
        model.RemoveWeightSet(1);
        EXPECT_STREQ(model.GetWeightSet(0)->GetName(), "set");
        model.RemoveWeightSet(0);
        char errStr[MODEL_ERRSTR_SIZE];
        EXPECT_TRUE(model.AddChildModel(pChild, "child.abc", errStr, QZTRUE));
        EXPECT_TRUE(model.AddDefaultAnim("stand"));
        EXPECT_TRUE(model.SetFilename("file.abc"));
        const char* pAdded = model.AddString("a text that wasn't there");
        EXPECT_STREQ(pAdded, "a text that wasn't there");
        EXPECT_EQ(model.AddString(pAdded), pAdded);
        EXPECT_STREQ(model.AddString("walk"), "walk");

        ModelAnim* pWalk = model.FindAnim("walk", nullptr, nullptr);
        ModelAnim* pKey = pWalk->CutKeyFrame(1);
        ASSERT_TRUE(pKey);
        EXPECT_TRUE(pWalk->PasteKeyFrame(pKey, 0) && pWalk->RemoveKeyFrame(2));
        FreeObject(*model.GetGrowAllocator(), pKey);
        EXPECT_TRUE(model.GetPiece(0)->RemoveVertex(0, 1));
        EXPECT_TRUE(model.Precalc(QZTRUE));
        Walk(model);
        EXPECT_EQ(counter.m_nTotalAllocations, 1u);
    }
    // A file that doesn't fit fails cleanly, and the next one that does is loaded.
    EXPECT_EQ(pChild->m_RefCount, 1);
    abc::File large = file;
    large.pieces[0].lods = {random.RandomMesh(500, 4, 4)};
    EXPECT_EQ(LoadBytes(model, large.Write()), RESULT_ERROR);
    EXPECT_TRUE(IsEmpty(model));
    EXPECT_EQ(LoadBytes(model, bytes), RESULT_OK);
    ExpectHolds(model, file);

    // A filled model is emptied first, the old block goes back.
    EXPECT_EQ(PrepareBlockBytes(model, large.Write(), &counter), RESULT_OK);
    EXPECT_TRUE(IsEmpty(model));
    EXPECT_EQ(counter.m_nCurrentAllocations, 1u);
    EXPECT_EQ(g_ModelMemory, memory + sizeof(Model) + model.m_BlockAllocator.GetBlockSize());
    EXPECT_EQ(LoadBytes(model, large.Write()), RESULT_OK);
    ExpectHolds(model, large);
    // A header that asks for more than any file of its length needs leaves everything as it is.
    large.bodies["Header"] = large.Body("Header");
    large.bodies["Header"][4 + 6 * 4 + 3] = 0x01; // 16 million vertices
    EXPECT_EQ(PrepareBlockBytes(model, large.Write(), &counter), RESULT_INVALID_MODEL_FILE);
    EXPECT_FALSE(IsEmpty(model));
    // Nor does a block of more than 31 bits help, if the file were that long.
    struct LongStream : FixedMemoryStream
    {
        using FixedMemoryStream::FixedMemoryStream;
        int GetLen(uint32_t* pLen) override { return *pLen = 0xF0000000, 0; }
    };
    large.bodies["Header"][4 + 6 * 4 + 3] = 0x05;
    std::string longBytes = large.Write();
    LongStream longStream(longBytes.data(), static_cast<uint32_t>(longBytes.size()));
    EXPECT_EQ(model.PrepareBlock(&longStream, &counter), RESULT_INVALID_MODEL_FILE);
    // Where the new block can't be had, the old one is gone, and the model on the heap.
    TestAllocator none;
    none.m_nLeft = 0;
    EXPECT_EQ(PrepareBlockBytes(model, bytes, &none), RESULT_OUT_OF_MEMORY);
    EXPECT_TRUE(IsEmpty(model));
    EXPECT_EQ(model.GetAllocator(), &g_DefaultAllocator);
    EXPECT_EQ(g_ModelMemory, memory + sizeof(Model));
    EXPECT_EQ(LoadBytes(model, bytes), RESULT_OK);
    EXPECT_EQ(pChild->m_RefCount, 0);
    Model::DeleteModel(pChild);
}
