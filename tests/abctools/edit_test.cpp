#include "abctools/commandtable.h"
#include "abctools/modelfilecheck.h"
#include "commandline/parsecommand.h"
#include "tests/abctools/testmodel.h"
#include "tests/engine/model/src/referencepose.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

struct Outcome
{
    int m_Status;
    std::string m_Out;
    std::string m_Err;
};

static Outcome Abctool(const std::vector<std::string>& words)
{
    const Program program = MakeAbctool();
    const ParsedCommand parsed = ParseCommand(program, words);
    std::ostringstream out;
    std::ostringstream err;
    if (!parsed.m_pCommand)
        return {parsed.m_Status, "", parsed.m_Problem};
    const int status = parsed.m_pCommand->m_Run(out, err);
    return {status, out.str(), err.str()};
}

class EditTest : public testing::Test
{
protected:
    // The operations done to a file; null if they fail or the result has a fault.
    ModelPointer Edit(const std::string& file, std::vector<std::string> operations)
    {
        operations.insert(operations.begin(), {"edit", m_Folder / file, "-o", m_Folder / "out.abc"});
        m_Outcome = Abctool(operations);
        if (m_Outcome.m_Status != STATUS_RIGHT)
            return nullptr;
        const std::vector<uint8_t> bytes = ReadBytes(m_Folder / "out.abc");
        for (const Finding& finding : CheckModelFile(bytes))
            EXPECT_NE(finding.m_Kind, FindingKind::Fault) << finding.m_Text;
        return LoadBytes(bytes);
    }

    std::string Write(const std::string& name, const std::string& text)
    {
        WriteBytes(m_Folder / name, std::vector<uint8_t>(text.begin(), text.end()));
        return m_Folder / name;
    }

    TemporaryFolder m_Folder;
    Outcome m_Outcome;
};

// A model as plain records, for the reference.
static abc::File Described(const Model& model)
{
    abc::File file;
    file.nodes.clear();
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        const ModelNode& node = *model.GetNode(i);
        file.nodes.push_back({node.GetName(), node.m_Flags, {}, static_cast<int>(node.GetParentIndex())});
        std::copy_n(node.m_mGlobal.m, 16, file.nodes[i].global.begin());
    }
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
    {
        const ModelAnim& anim = *model.GetAnim(i);
        file.anims.emplace_back().name = anim.GetName();
        file.anims[i].tracks.resize(model.NumNodes());
        for (uint32_t iKey = 0; iKey < anim.NumKeyFrames(); ++iKey)
        {
            file.anims[i].keys.emplace_back(anim.m_KeyFrames[iKey].m_Time, anim.m_KeyFrames[iKey].m_pString);
            for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
            {
                const auto& [t, q] = anim.m_AnimNodes[iNode]->m_KeyFrames[iKey];
                file.anims[i].tracks[iNode].push_back({{t.x, t.y, t.z}, {q.x, q.y, q.z, q.w}});
            }
        }
    }
    return file;
}

// Where a point of a node is at a time, in double; of several keys at the time the last holds.
static reference::Vec PointAt(const abc::File& file, size_t iAnim, uint32_t time, const std::string& node,
                              const reference::Vec& point)
{
    const abc::Anim& anim = file.anims[iAnim];
    uint32_t i = 0;
    while (i + 1 < anim.keys.size() && anim.keys[i + 1].first <= time)
        ++i;
    const uint32_t iNext = std::min(i + 1, static_cast<uint32_t>(anim.keys.size()) - 1);
    const double span = static_cast<double>(anim.keys[iNext].first) - anim.keys[i].first;
    const reference::Position position{&anim,  &anim, i, iNext, span > 0 ? (time - anim.keys[i].first) / span : 0.0,
                                       nullptr};
    const std::vector<reference::Mat> relations(file.nodes.size(), reference::Matrix({}, {0, 0, 0, 1}));
    size_t iNode = 0;
    while (file.nodes.at(iNode).name != node)
        ++iNode;
    const reference::Mat m = reference::Global(file.nodes, {position}, relations, relations[0], iNode);
    reference::Vec place{};
    for (size_t r = 0; r < 3; ++r)
        place[r] = m[4 * r] * point[0] + m[4 * r + 1] * point[1] + m[4 * r + 2] * point[2] + m[4 * r + 3];
    return place;
}

static double Distance(const reference::Vec& a, const reference::Vec& b)
{
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// A chain of nodes that sways, with 81 keys 25 ms apart, a jump at 1000 ms (keys 40 and 41) and a command at key 7. A
// strip of 2 x 60 vertices follows the last two nodes; "free" ones below the root move nothing.
static std::string SwayingModel()
{
    abc::File file;
    file.nodes = {{.name = "root"},
                  {.name = "mid", .flags = MNODE_FIXEDOFFSET, .parent = 0},
                  {.name = "free", .parent = 1},
                  {.name = "tip", .flags = MNODE_FIXEDOFFSET, .parent = 2},
                  {.name = "end", .parent = 3}};
    for (size_t i = 1; i < file.nodes.size(); ++i)
        file.nodes[i].global[7] = 10.0f * static_cast<float>(i);
    abc::Anim anim;
    anim.name = "sway";
    anim.tracks.resize(5);
    for (uint32_t k = 0; k <= 80; ++k)
    {
        const float t = static_cast<float>(k) / 80;
        anim.keys.emplace_back(25 * (k > 40 ? k - 1 : k), k == 7 ? "step" : "");
        for (size_t i = 0; i < 5; ++i)
        {
            const float half = 0.3f * std::sin(6.2831853f * t + static_cast<float>(i)) + (k > 40 ? 0.2f : 0.0f);
            anim.tracks[i].push_back({{std::sin(9 * t), i ? 9.5f : 0.0f, t}, {std::sin(half), 0, 0, std::cos(half)}});
        }
    }
    file.anims = {anim};
    abc::Mesh mesh;
    for (unsigned i = 0; i < 120; ++i)
    {
        const float x = static_cast<float>(i % 2);
        const float y = 0.125f * static_cast<float>(i - i % 2);
        const float z = 0.01f * y * y;
        mesh.verts.push_back(
            {{{3, {0.5f * x, 0.5f * y, 0.5f * z}, 0.5f}, {4, {0.5f * x, 0.5f * (y - 10), 0.5f * z}, 0.5f}},
             0,
             {x, 30 + y, z},
             {0, 0, 1}});
        // All facing one way.
        abc::Tri tri{{i - 1 - i % 2, i - 2 + i % 2, i}, {}};
        for (size_t k = 0; k < 3 && i >= 2; ++k)
        {
            tri.uvs[2 * k] = mesh.verts[tri.indices[k]].pos[0];
            tri.uvs[2 * k + 1] = mesh.verts[tri.indices[k]].pos[1];
        }
        if (i >= 2)
            mesh.tris.push_back(tri);
    }
    file.lodDistances = {50};
    file.pieces = {{"strip", 0, 0, {5, 1, 1}, {mesh, mesh}}};
    file.sets = {{"set", {1, 2, 3, 4, 5}}};
    file.sockets = {{4, "grip", {{1, 2, 3}, {0, 0, 0, 1}}}};
    return file.Write();
}

TEST_F(EditTest, OperationsDoWhatTheySay)
{
    WriteBytes(m_Folder / "in.abc", BytesOf(*MakeTestModel()));
    ModelPointer model = Edit("in.abc", {"--set-command",
                                         "visradius 3; Rigid",
                                         "--add-command=Bogus 1",
                                         "--add-command",
                                         "FadeRangeMin x 2",
                                         "--remove-command",
                                         "RIGID",
                                         "--add-command",
                                         "NormalRef leg jog",
                                         "--rename-anim",
                                         "RUN",
                                         "jog",
                                         "--add-socket",
                                         "hat",
                                         "hand",
                                         "1",
                                         "-2",
                                         "3.5",
                                         "--turn-socket",
                                         "hat",
                                         "90",
                                         "90",
                                         "0",
                                         "--move-socket",
                                         "grip",
                                         "7",
                                         "8",
                                         "9",
                                         "--hang-socket",
                                         "grip",
                                         "leg",
                                         "--rename-socket",
                                         "grip",
                                         "hold",
                                         "--rename-node",
                                         "leg",
                                         "shin",
                                         "--set-node-flag",
                                         "hand",
                                         "4",
                                         "--clear-node-flag",
                                         "shin",
                                         "fixed-offset"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    EXPECT_STREQ(model->m_CommandString, "visradius 3; Bogus 1; FadeRangeMin x 2; NormalRef leg jog");
    for (const char* pWarning :
         {"unknown keyword Bogus", "FadeRangeMin takes 1 value and has 2 values, so it does nothing",
          "names the node leg, which isn't there"})
        EXPECT_NE(m_Outcome.m_Err.find(pWarning), std::string::npos) << m_Outcome.m_Err;
    EXPECT_EQ(std::count(m_Outcome.m_Err.begin(), m_Outcome.m_Err.end(), '\n'), 3);
    EXPECT_STREQ(model->GetAnim(0)->GetName(), "jog");
    ASSERT_EQ(model->NumSockets(), 2u);
    EXPECT_STREQ(model->GetSocket(0)->GetName(), "hold");
    EXPECT_EQ(model->GetSocket(0)->m_iNode, 3u);
    EXPECT_EQ(model->GetSocket(0)->m_vPos.y, 8.0f);
    // First about x, which takes y to z, then about y, which takes that to x.
    Matrix4 turned;
    model->GetSocket(1)->ToMatrix(turned);
    EXPECT_NEAR(turned(0, 1), 1.0f, 1e-6f);
    EXPECT_EQ(turned(2, 3), 3.5f);
    EXPECT_STREQ(model->GetNode(3)->GetName(), "shin");
    EXPECT_EQ(model->GetNode(3)->m_Flags, 0x80);
    EXPECT_EQ(model->GetNode(2)->m_Flags, 0x10);

    model = Edit("in.abc", {"--add-weight-set",
                            "arm",
                            "--weigh-subtree",
                            "arm",
                            "spine",
                            "0.5",
                            "--weigh-node",
                            "ARM",
                            "hand",
                            "2",
                            "--remove-weight-set",
                            "upper",
                            "--copy-anim",
                            "run",
                            "again",
                            "--move-anim",
                            "again",
                            "0",
                            "--set-dims",
                            "again",
                            "1",
                            "2",
                            "3",
                            "--set-root-offset",
                            "walk",
                            "4",
                            "5",
                            "6",
                            "--set-key-command",
                            "walk",
                            "1",
                            "stop",
                            "--remove-anim",
                            "run",
                            "--rename-piece",
                            "body",
                            "trunk",
                            "--set-texture",
                            "#1",
                            "65535",
                            "--set-lod-distance",
                            "1",
                            "70",
                            "--add-lod",
                            "0.5",
                            "900",
                            "--remove-lod",
                            "1"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    ASSERT_EQ(model->NumWeightSets(), 1u);
    const float weights[] = {0.0f, 0.5f, 2.0f, 0.0f};
    for (uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(model->GetWeightSet(0)->m_Weights[i], weights[i]);
    ASSERT_EQ(model->NumAnims(), 2u);
    EXPECT_STREQ(model->GetAnim(0)->GetName(), "again");
    EXPECT_EQ(model->GetAnimInfo(0)->m_vDims.z, 3.0f);
    EXPECT_EQ(model->GetAnimInfo(1)->m_vTranslation.y, 5.0f);
    EXPECT_STREQ(model->GetAnim(1)->m_KeyFrames[1].m_pString, "stop");
    EXPECT_STREQ(model->GetPiece(0)->GetName(), "trunk");
    EXPECT_EQ(model->GetPiece(1)->m_iTexture, 65535u);
    ASSERT_EQ(model->NumLODs(), 2u);
    EXPECT_EQ(model->m_LODDistances[0], 900.0f);

    WriteBytes(m_Folder / "child.abc", BytesOf(*MakeChildModel("swim", 50.0f)));
    model = Edit("in.abc", {"--remove-piece", "BODY", "--add-child", m_Folder / "child.abc"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    EXPECT_EQ(model->NumPieces(), 1u);
    ASSERT_EQ(model->NumChildModels(), 2u);
    EXPECT_STREQ(model->GetChildModel(1)->m_pName, "child.abc");
    ASSERT_EQ(Abctool({"edit", m_Folder / "out.abc", "--in-place", "--set-root-offset", "swim", "1", "2", "3",
                       "--remove-child", "child.abc"})
                  .m_Status,
              STATUS_RIGHT);
    EXPECT_EQ(LoadBytes(ReadBytes(m_Folder / "out.abc"))->NumChildModels(), 1u);
}

TEST_F(EditTest, FilesOfOperationsDoTheSame)
{
    WriteBytes(m_Folder / "in.abc", BytesOf(*MakeTestModel()));
    ASSERT_TRUE(Edit("in.abc", {"--rename-anim", "walk", "slow walk", "--move-socket", "grip", "1", "-2", "3"}));
    const std::vector<uint8_t> expected = ReadBytes(m_Folder / "out.abc");
    const std::string list =
        Write("a", "# names\nrename-anim walk 'slow walk'  # quoted\n\n--move-socket grip 1 -2 3\n");
    const std::string json = Write("b", R"([["rename-anim", "walk", "slow walk"],
        {"operation": "move-socket", "name": "grip", "x": 1, "z": "3", "y": -2}])");
    for (const std::vector<std::string>& words : {std::vector<std::string>{"@" + list}, {"--json-operations", json}})
    {
        ASSERT_TRUE(Edit("in.abc", words)) << m_Outcome.m_Err;
        EXPECT_EQ(ReadBytes(m_Folder / "out.abc"), expected);
    }
}

TEST_F(EditTest, AFailureChangesNothing)
{
    const std::vector<uint8_t> bytes = BytesOf(*MakeTestModel());
    WriteBytes(m_Folder / "in.abc", bytes);
    const struct
    {
        int m_Status;
        const char* m_pSentence;
        std::vector<std::string> m_Words;
    } cases[] = {
        {1, "it has no animation jump", {"--rename-anim", "jump", "x"}},
        {1, "the name WALK is another animation's", {"--rename-anim", "run", "WALK"}},
        {1, "too long", {"--rename-socket", "grip", "sixteen bytes 16"}},
        {1, "vertices follow it", {"--remove-node", "hand"}},
        {1, "root node", {"--remove-node", "root"}},
        {1, "its command string has no DirLight", {"--remove-command", "DirLight"}},
        {1, "no place 2", {"--move-anim", "run", "2"}},
        {1, "no key 2", {"--set-key-command", "walk", "2", "x"}},
        {1, "within its 250 ms", {"--cut-anim", "walk", "10", "251"}},
        {1,
         "ends 3.09 from where it began (node hand",
         {"--remove-piece", "body", "--remove-piece", "#0", "--check-loop", "walk", "3"}},
        {1, "there is no flag up", {"--set-node-flag", "leg", "up"}},
        {1, "no LOD 2", {"--remove-lod", "2"}},
        {1, "has to be in the folder", {"--add-child", "/elsewhere/child.abc"}},
        {1, "texture index", {"--set-texture", "body", "65536"}},
        {1, "line 2: there is no operation jump", {"@" + Write("ops", "reverse-anim walk\njump\n")}},
        {1,
         "operation 1: move-socket needs text or a number for y",
         {"--json-operations", Write("json", R"([{"operation": "move-socket", "name": "grip", "x": 1}])")}},
        {2, "needs a finite number for X, not 1e99", {"--move-socket", "grip", "1e99", "0", "0"}},
        {2, "edit needs an operation", {}},
    };
    for (const auto& test : cases)
    {
        std::vector<std::string> words = {"edit", m_Folder / "in.abc", "--in-place", "--rename-node", "spine", "back"};
        if (test.m_Words.empty())
            words.resize(3);
        words.insert(words.end(), test.m_Words.begin(), test.m_Words.end());
        const Outcome outcome = Abctool(words);
        EXPECT_EQ(outcome.m_Status, test.m_Status) << test.m_pSentence;
        EXPECT_NE(outcome.m_Err.find(test.m_pSentence), std::string::npos) << outcome.m_Err;
        EXPECT_EQ(ReadBytes(m_Folder / "in.abc"), bytes) << test.m_pSentence;
    }
    EXPECT_EQ(Abctool({"edit", m_Folder / "in.abc", "--dry-run", "--rename-anim", "run", "jog"}).m_Out,
              "the animation run is called jog\n");
    EXPECT_EQ(ReadBytes(m_Folder / "in.abc"), bytes);
}

TEST_F(EditTest, PosesStayAtEveryMillisecond)
{
    const std::string in = SwayingModel();
    Write("in.abc", in);
    const abc::File before = Described(*LoadBytes(std::vector<uint8_t>(in.begin(), in.end())));
    // Nodes, the socket, and the corners of the strip as each of the two nodes has them.
    const std::pair<const char*, reference::Vec> points[] = {{"root", {}},
                                                             {"mid", {}},
                                                             {"tip", {}},
                                                             {"end", {}},
                                                             {"end", {1, 2, 3}},
                                                             {"tip", {1, 0, 0}},
                                                             {"tip", {1, 14.75, 2.175625}},
                                                             {"tip", {0, 14.75, 2.175625}},
                                                             {"end", {1, -10, 0}},
                                                             {"end", {1, 4.75, 2.175625}}};
    const auto greatest = [&](const abc::File& after, uint32_t first, uint32_t last, auto timeBefore)
    {
        double distance = 0.0;
        for (uint32_t time = first; time <= last; ++time)
        {
            for (const auto& [pNode, point] : points)
                distance = std::max(distance, Distance(PointAt(before, 0, timeBefore(time), pNode, point),
                                                       PointAt(after, 0, time, pNode, point)));
        }
        return distance;
    };
    const auto same = [](uint32_t time) { return time; };

    ModelPointer model = Edit("in.abc", {"--reduce-keys", "*", "0.2"});
    ASSERT_TRUE(model);
    const abc::File reduced = Described(*model);
    EXPECT_LE(greatest(reduced, 0, 1975, same), 0.2);
    EXPECT_LT(reduced.anims[0].keys.size(), 45u);
    const auto has = [&](uint32_t time, const char* pText) {
        return std::count(reduced.anims[0].keys.begin(), reduced.anims[0].keys.end(),
                          std::pair(time, std::string(pText)));
    };
    EXPECT_EQ(has(175, "step"), 1);
    EXPECT_EQ(has(1000, ""), 2);

    model = Edit("in.abc", {"--cut-anim", "sway", "170", "1210"});
    ASSERT_TRUE(model);
    EXPECT_EQ(model->GetAnim(0)->m_KeyFrames[1].m_Time, 5u);
    EXPECT_STREQ(model->GetAnim(0)->m_KeyFrames[1].m_pString, "step");
    EXPECT_LT(greatest(Described(*model), 0, 1040, [](uint32_t time) { return time + 170; }), 1e-4);

    // Up to the jump, at which the other pose holds.
    model = Edit("in.abc", {"--reverse-anim", "sway"});
    ASSERT_TRUE(model);
    EXPECT_LT(greatest(Described(*model), 0, 974, [](uint32_t time) { return 1975 - time; }), 1e-4);

    // At the keys; in between the motion of two nodes has become one.
    model = Edit("in.abc", {"--remove-node", "free"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    EXPECT_NE(m_Outcome.m_Err.find("tip has lost the flag fixed-offset"), std::string::npos);
    const abc::File without = Described(*model);
    for (uint32_t time = 0; time <= 1975; time += 25)
        EXPECT_LT(greatest(without, time, time, same), 1e-4) << time;
    EXPECT_EQ(model->GetSocket(0)->m_iNode, 3u);
    EXPECT_EQ(model->GetWeightSet(0)->m_Weights[3], 5.0f);
    for (const uint32_t iLOD : {0u, 1u})
        EXPECT_EQ(model->GetPiece(0)->GetLOD(iLOD)->GetVert(0)->m_Weights[1].m_iNode, 3u);
}

TEST_F(EditTest, ALodHasTheVerticesAndWeightsOfTheMesh)
{
    Write("in.abc", SwayingModel());
    const ModelPointer model = Edit("in.abc", {"--add-lod", "0.25", "90", "--remove-lod", "1"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    ModelPiece& piece = *model->GetPiece(0);
    ModelPieceLOD& lod = *piece.GetLOD(1);
    EXPECT_LE(lod.NumTris(), 30u);
    EXPECT_GT(lod.NumTris(), 1u);
    EXPECT_NE(m_Outcome.m_Out.find(" of 118 triangles, error 0.0"), std::string::npos) << m_Outcome.m_Out;
    uint32_t iSource = 0; // in the order of LOD 0
    for (uint32_t i = 0; i < lod.NumVerts(); ++i)
    {
        while (iSource < piece.NumVerts() && !piece.GetVert(iSource)->m_vPos.NearlyEquals(lod.GetVert(i)->m_vPos, 0.0f))
            ++iSource;
        ASSERT_LT(iSource, piece.NumVerts());
        ASSERT_EQ(lod.GetVert(i)->m_nWeights, 2u);
        for (uint32_t k = 0; k < 2; ++k)
        {
            const ModelVertWeight& a = lod.GetVert(i)->m_Weights[k];
            const ModelVertWeight& b = piece.GetVert(iSource)->m_Weights[k];
            EXPECT_TRUE(a.m_iNode == b.m_iNode && std::equal(a.m_Vec, a.m_Vec + 4, b.m_Vec));
        }
    }
    // Flat, but one half follows one node and one the other: both rows at the joint stay.
    const std::string swaying = SwayingModel();
    const ModelPointer flat = LoadBytes({swaying.begin(), swaying.end()});
    for (uint32_t i = 0; i < flat->GetPiece(0)->NumVerts(); ++i)
    {
        ModelVert& vert = *flat->GetPiece(0)->GetVert(i);
        vert.m_vPos.z = 0.0f;
        vert.m_Weights[0].m_Vec[3] = i < 60 ? 1.0f : 0.0f;
        vert.m_Weights[1].m_Vec[3] = i < 60 ? 0.0f : 1.0f;
    }
    const std::vector<uint8_t> bytes = BytesOf(*flat);
    Write("flat.abc", std::string(bytes.begin(), bytes.end()));
    const ModelPointer jointed = Edit("flat.abc", {"--add-lod", "0.1", "90"});
    ASSERT_TRUE(jointed) << m_Outcome.m_Err;
    uint32_t nAtJoint = 0;
    ModelPieceLOD& left = *jointed->GetPiece(0)->GetLOD(2);
    for (uint32_t i = 0; i < left.NumVerts(); ++i)
        nAtJoint += std::fabs(left.GetVert(i)->m_vPos.y - 37.375f) < 0.2f ? 1 : 0;
    EXPECT_EQ(nAtJoint, 4u);
}

TEST_F(EditTest, AnAppendGoesByShapeOrByName)
{
    WriteBytes(m_Folder / "dest.abc", BytesOf(*MakeTestModel()));
    WriteBytes(m_Folder / "run.abc", BytesOf(*MakeChildModel("Run", 50.0f)));
    abc::Random random(7);
    abc::File other;
    other.nodes = {{.name = "root"},
                   {.name = "rig:HAND", .parent = 0},
                   {.name = "extra", .parent = 0},
                   {.name = "rig:Spine", .parent = 2}};
    other.anims = {random.Animation("dance", 4, 5), random.Animation("walk", 4, 2)};
    other.anims[0].translation = {};
    Write("other.abc", other.Write());
    const auto append = [&](std::vector<std::string> words)
    {
        words.insert(words.begin(), {"append", m_Folder / "dest.abc", "-o", m_Folder / "out.abc"});
        m_Outcome = Abctool(words);
        return m_Outcome.m_Status == STATUS_RIGHT ? LoadBytes(ReadBytes(m_Folder / "out.abc")) : nullptr;
    };

    ModelPointer model = append({m_Folder / "run.abc"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    ASSERT_EQ(model->NumAnims(), 3u);
    EXPECT_STREQ(model->GetAnim(2)->GetName(), "Run0");
    EXPECT_EQ(model->GetAnim(2)->m_AnimNodes[0]->m_KeyFrames[1].m_vTranslation.x, 50.0f);
    model = append({m_Folder / "run.abc", "--replace"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    ASSERT_EQ(model->NumAnims(), 2u);
    EXPECT_STREQ(model->GetAnim(0)->GetName(), "Run");
    EXPECT_EQ(model->GetAnim(0)->GetAnimTime(), 1000u);

    EXPECT_FALSE(append({m_Folder / "run.abc", m_Folder / "other.abc"}));
    EXPECT_NE(m_Outcome.m_Err.find("--fit helps"), std::string::npos) << m_Outcome.m_Err;
    EXPECT_FALSE(append({m_Folder / "run.abc", "--anim", "hop"}));
    EXPECT_NE(m_Outcome.m_Err.find("no source has an animation hop"), std::string::npos) << m_Outcome.m_Err;

    model = append({m_Folder / "run.abc", m_Folder / "other.abc", "--fit", "--anim", "dance"});
    ASSERT_TRUE(model) << m_Outcome.m_Err;
    ASSERT_EQ(model->NumAnims(), 3u);
    EXPECT_NE(m_Outcome.m_Out.find("not in the model, left out with their motion handed down: 1 node (extra)"),
              std::string::npos)
        << m_Outcome.m_Out;
    const abc::File fitted = Described(*model);
    for (uint32_t time = 0; time <= 400; time += 100)
    {
        EXPECT_LT(Distance(PointAt(fitted, 2, time, "hand", {1, 2, 3}), PointAt(other, 0, time, "rig:HAND", {1, 2, 3})),
                  1e-4);
        EXPECT_LT(
            Distance(PointAt(fitted, 2, time, "spine", {3, 1, 2}), PointAt(other, 0, time, "rig:Spine", {3, 1, 2})),
            1e-4);
        for (int axis = 0; axis < 3; axis++)
            EXPECT_NEAR(fitted.anims[2].tracks[3][time / 100].t[axis], fitted.anims[0].tracks[3][0].t[axis], 1e-6);
    }
}
