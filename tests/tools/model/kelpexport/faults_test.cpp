// Every operation of the host failing at each of its calls, memory running out at each request, and a host that
// answers what can't be.

#include "abctools/modelfilecheck.h"
#include "tests/faults/memoryfault.h"
#include "tests/tools/model/kelpexport/exporttest.h"
#include "tests/tools/model/kelpexport/lyinghost.h"
#include "zoltshared/stdzolt/assertion.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <limits>
#include <set>

// The message that a failure of the n-th call of an operation leads to; empty where the export goes on, "-" where it
// ends in silence.
static std::string MessageOf(const std::string& operation, int n)
{
    static const char* const nodes[] = {"", "root", "bone", "hat", "skin_zTex1"};
    static const char* const meshes[] = {"", "hat", "skin_zTex1"};
    static const char* const geometry[] = {
        "SAA_modelGetNbTriangles",  "SAA_modelGetTriangles",   "SAA_triangleGetCtrlVertices",
        "SAA_ctrlVertexGetIndices", "SAA_modelGetTriVertices", "SAA_modelGetNbTriVertices",
        "SAA_modelGetNbVertices",   "SAA_modelGetVertices",    "SAA_modelGetCtrlVertices"};
    for (const char* pName : geometry)
    {
        if (operation == pName)
            return std::string("Node ") + meshes[n] + ": unable to get geometry.";
    }
    if (operation == "SAA_sceneInitInternal")
        return "-";
    if (operation == "SAA_sceneGetCurrent")
        return "SAA_sceneGetCurrent failed.";
    if (operation == "SAA_sceneGetNbModels" || operation == "SAA_sceneGetModels")
        return "Unable to get elements in scene.";
    if (operation == "SAA_sceneGetPlayCtrlEndFrame")
        return "Invalid play range: 2 to 0.";
    if (operation == "SAA_elementGetHierarchyLevel")
        return "SAA_elementGetHeirarchyLevel returned 7.";
    if (operation == "SAA_modelGetType")
        return "SAA_modelGetType failed.";
    if (operation == "SAA_modelGetNbChildren")
        return std::string("SAA_modelGetNbChildren failed on node ") + nodes[n] + ".";
    if (operation == "SAA_modelGetChildren")
        return std::string("Unable to get children for node ") + nodes[n] + ".";
    if (operation == "SAA_triCtrlVertexGetGlobalUVTxtCoords" || operation == "SAA_texture2DGetCropMin" ||
        (operation == "SAA_texture2DGetCropMax" && n == 1))
        return "Node skin_zTex1: unable to get global texture coordinates.";
    if (operation == "SAA_texture2DGetCropMax" || operation == "SAA_texture2DSetCropMax")
        return "Node skin_zTex1: unable to get texture width and height.";
    return "";
}

class FaultTest : public ExportTest
{
protected:
    FaultTest() : m_Original(MakeTestScene())
    {
        SetRegistryFile(""); // many runs
        m_Options.clip = 0;
        m_Options.fps = 10.0;
        OpenScene(m_Original, m_Options);
        EXPECT_EQ(Export("walk", true), 0);
        m_OldFile = ReadWholeFile(m_Path);
    }
    ~FaultTest() override { g_HostLies.clear(); }

    // One export with the old file in place. Whatever goes wrong, that file is there or a new one that loads.
    int Run(bool bAppend)
    {
        WriteWholeFile(m_Path, m_OldFile);
        OpenScene(m_Original, m_Options);
        const uint32_t memory = g_ModelMemory;
        int result = 0;
        {
            const auto pFault = m_bRefuseMemory ? std::make_unique<MemoryFault>() : nullptr;
            result = bAppend ? Export("run", false, {IDYES}) : Export("run", true);
        }
        EXPECT_EQ(g_ModelMemory, memory);
        EXPECT_TRUE(result == 0 || result == 124) << result;
        EXPECT_TRUE(result == 0 || ReadWholeFile(m_Path) == m_OldFile);
        return result;
    }

    std::map<std::string, int> CountCalls(bool bAppend);
    void FailEachCall(bool bAppend);
    void RefuseMemory(bool bAppend);
    void ExpectSoundFile(uint32_t nAnims);
    void ExpectRun(const std::map<const char*, int>& counts, int result, const std::string& boxes);

    const Scene m_Original;
    RecordedSceneOptions m_Options;
    std::string m_OldFile;
    bool m_bRefuseMemory = false;
};

// How often a whole export calls each operation.
std::map<std::string, int> FaultTest::CountCalls(bool bAppend)
{
    ClearFaults();
    EXPECT_EQ(Run(bAppend), 0);
    std::map<std::string, int> calls;
    for (const char* pName : ListOperations())
        calls[pName] = CallCount(pName);
    return calls;
}

// Nothing in it that no export writes, and as many animations.
void FaultTest::ExpectSoundFile(uint32_t nAnims)
{
    const std::string bytes = ReadWholeFile(m_Path);
    ModelFileTotals totals;
    for (const Finding& finding :
         CheckModelFile({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, &totals))
        EXPECT_EQ(finding.m_Kind, FindingKind::Warning) << finding.m_Text;
    EXPECT_EQ(totals.m_nAnims, nAnims);
    EXPECT_NE(bytes.find(std::string("\3\0run", 5)), std::string::npos) << "the animation's name";
}

void FaultTest::FailEachCall(bool bAppend)
{
    int nFaults = 0;
    for (const auto& [name, nCalls] : CountCalls(bAppend))
    {
        for (int n = 1; n <= nCalls; ++n, ++nFaults)
        {
            SCOPED_TRACE(name + " " + std::to_string(n));
            ClearFaults();
            ASSERT_TRUE(FailOperation(name.c_str(), n, 7));
            std::string message = MessageOf(name, n);
            // The node doesn't have the name that is in the file.
            if (bAppend && name == "SAA_elementGetName" && (n == 2 || n == 3))
                message = "Geometry in " + m_Path + " is different.";
            const int result = Run(bAppend);
            EXPECT_EQ(result, message.empty() ? 0 : 124);
            // These two come ahead of the question.
            const bool bAsked = bAppend && name != "SAA_sceneInitInternal" && name != "SAA_sceneGetCurrent";
            std::string boxes = bAsked ? "Filename exists - append current animation to this file?|" : "";
            if (!message.empty() && message != "-")
                boxes.append(message).append("|");
            EXPECT_EQ(Boxes(), boxes);
            if (result == 0)
                ExpectSoundFile(bAppend ? 2 : 1);
        }
    }
    EXPECT_GE(nFaults, bAppend ? 130 : 150);
    // The one status beside 0 that is a success.
    ClearFaults();
    FailOperation("SAA_sceneInitInternal", 1, 3);
    EXPECT_EQ(Run(bAppend), 0);
}

TEST_F(FaultTest, EachCallFailsInAFreshExport)
{
    FailEachCall(false);
}

TEST_F(FaultTest, EachCallFailsInAnAppend)
{
    FailEachCall(true);
}

void FaultTest::RefuseMemory(bool bAppend)
{
    // The writer reports what it can't prove.
    const AssertionSink sink = SetAssertionSink([](const char*, const char*, int) {});
    long nRefused = 0;
    long nSilent = 0;
    std::set<std::string> messages;
    const auto run = [&]
    {
        m_bRefuseMemory = true;
        const int result = Run(bAppend);
        m_bRefuseMemory = false;
        nRefused += result != 0 ? 1 : 0;
        nSilent += result != 0 && Boxes().empty() ? 1 : 0;
        if (result != 0 && !m_User.m_Boxes.empty())
            messages.insert(m_User.m_Boxes.back().text);
        if (result == 0)
            ExpectSoundFile(bAppend ? 2 : 1);
    };
    const long nRequests = RefuseEachRequest(run);
    SetAssertionSink(sink);
    EXPECT_GT(nRefused, nRequests);
    // Those of WeightUnenvelopedPieces, which has no message, and what falls through to it when no memory comes back:
    // a look-up that is slower without, and candidates that are skipped.
    EXPECT_LE(nSilent, bAppend ? 0 : 12);
    std::set<std::string> expected = {"Out of memory.",
                                      "Error converting model geometry.",
                                      "Invalid animation data.",
                                      "Node hat: unable to get geometry.",
                                      "Node skin_zTex1: unable to get geometry.",
                                      "Unable to get children for node root.",
                                      "Unable to get children for node bone.",
                                      "Unable to get elements in scene.",
                                      "Unable to open " + m_Path + " for writing.",
                                      "Unable to write " + m_Path + "."};
    if (bAppend)
        expected.insert({"Geometry in " + m_Path + " is different.", m_Path + " is an invalid model file, overwrite?"});
    else
        expected.insert({"Error converting vertex weights.", "Error copying model geometry."});
    EXPECT_EQ(messages, expected);
}

TEST_F(FaultTest, MemoryRunsOutInAFreshExport)
{
    RefuseMemory(false);
}

TEST_F(FaultTest, MemoryRunsOutInAnAppend)
{
    RefuseMemory(true);
}

// One fresh export in which the host tells these counts.
void FaultTest::ExpectRun(const std::map<const char*, int>& counts, int result, const std::string& boxes)
{
    g_HostLies.clear();
    for (const auto& [pOperation, count] : counts)
        LieCount(pOperation, count);
    EXPECT_EQ(Run(false), result);
    EXPECT_EQ(Boxes(), boxes);
}

TEST_F(FaultTest, CountsThatCantBe)
{
    const std::string geometry = "Node hat: unable to get geometry.|";
    struct Lie
    {
        const char* operation;
        std::string negative;
        std::string enormous;
    };
    const Lie lies[] = {
        {"SAA_sceneGetNbModels", "Unable to get elements in scene.|", "Unable to get elements in scene.|"},
        {"SAA_modelGetNbChildren", "SAA_modelGetNbChildren failed on node root.|",
         "The scene has more than 65536 nodes.|"},
        {"SAA_modelGetNbTriangles", geometry, geometry},
        {"SAA_modelGetNbTriVertices", geometry, geometry},
        {"SAA_modelGetNbVertices", geometry, "Node hat: %d vertices, the limit is 65536.|"},
        // These go on without what can't be had.
        {"SAA_envelopeGetNbCtrlVertices", "", ""},
        {"SAA_envelopeGetCtrlVertices", "", ""},
        {"SAA_fcurveGetNbKeys", "", "Out of memory.|"},
    };
    for (const Lie& lie : lies)
    {
        for (const int count : {-1, INT_MIN, INT_MAX, 1 << 26})
        {
            SCOPED_TRACE(std::string(lie.operation) + " " + std::to_string(count));
            std::string expected = count < 0 ? lie.negative : lie.enormous;
            const size_t place = expected.find("%d");
            if (place != std::string::npos)
                expected.replace(place, 2, std::to_string(count));
            ExpectRun({{lie.operation, count}}, expected.empty() || expected == "Out of memory.|" ? 0 : 124, expected);
        }
    }
    // The limits themselves.
    ExpectRun({{"SAA_modelGetNbVertices", 65537}}, 124, "Node hat: 65537 vertices, the limit is 65536.|");
    ExpectRun({{"SAA_modelGetNbVertices", 65536}}, 124, geometry); // the host has no such number of vertices
    ExpectRun({{"SAA_modelGetNbChildren", 65536}}, 124, "The scene has more than 65536 nodes.|");
    ExpectRun({{"SAA_modelGetNbChildren", 65535}}, 124, "Unable to get children for node root.|");
    // The host doesn't give an empty list.
    m_Status.clear();
    ExpectRun({{"SAA_sceneGetNbModels", 0}}, 124, "Unable to get elements in scene.|");
    g_HostLies["SAA_sceneGetModels"] = [](HostAnswer& answer) { answer.status = 0; };
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "No models found in the scene.|");
    EXPECT_TRUE(m_Status.empty());
    // A mesh without triangles is no fault.
    g_HostLies.clear();
    LieCount("SAA_modelGetNbTriangles", 0);
    for (const char* pName : {"SAA_modelGetTriangles", "SAA_triangleGetCtrlVertices", "SAA_ctrlVertexGetIndices",
                              "SAA_triCtrlVertexGetGlobalUVTxtCoords"})
        g_HostLies[pName] = [](HostAnswer& answer) { answer.status = 0; };
    EXPECT_EQ(Run(false), 0);
    EXPECT_EQ(Boxes(), "");
    EXPECT_EQ(Log().find("has lost all its triangles"), std::string::npos);

    const auto range = [](int start, int end)
    {
        return std::map<const char*, int>{{"SAA_sceneGetPlayCtrlStartFrame", start},
                                          {"SAA_sceneGetPlayCtrlEndFrame", end}};
    };
    ExpectRun(range(INT_MIN, INT_MAX), 124, "Out of memory.|");
    ExpectRun(range(INT_MAX, INT_MAX), 0, "");
    ExpectRun(range(1, 0), 124, "Invalid play range: 1 to 0.|");
    ExpectRun({{"SAA_elementGetHierarchyLevel", 1}}, 124, "Couldn't find top-level node.|");
    // Types without a mesh make plain nodes, and the log knows their names.
    ExpectRun({{"SAA_modelGetType", 3}}, 0, "");
    EXPECT_NE(Log().find("    - hat, mode: , type: UNKNOWN, piece: -1\n"), std::string::npos);
}

// What a host offers to say of the joints of a mesh saves questions; what fails, or names too much, alters nothing.
TEST_F(FaultTest, OffersThatCantBeUsed)
{
    std::srand(1); // the stamp of the model
    ASSERT_EQ(Run(false), 0);
    const std::string expected = ReadWholeFile(m_Path);
    const std::string log = Log();
    const auto countQuestions = [&]
    {
        ClearFaults();
        std::srand(1);
        EXPECT_EQ(Run(false), 0);
        EXPECT_EQ(Boxes(), "");
        EXPECT_TRUE(ReadWholeFile(m_Path) == expected);
        EXPECT_EQ(Log(), log);
        g_HostLies.clear();
        return CallCount("SAA_envelopeGetNbCtrlVertices");
    };
    const int nOffered = countQuestions();
    EXPECT_EQ(nOffered, 2);
    // One mesh is enveloped: without the offer each node is asked about.
    constexpr int ALL = 4;
    const char* const pCount = "SAAX_envelopeGetNbSkeletons";
    const char* const pList = "SAAX_envelopeGetSkeletons";
    for (const char* pName : {pCount, pList})
    {
        g_HostLies[pName] = [](HostAnswer& answer) { answer.status = 7; };
        EXPECT_EQ(countQuestions(), ALL);
    }
    for (const int count : {-1, INT_MIN, INT_MAX, nOffered + 1})
    {
        LieCount(pCount, count);
        EXPECT_EQ(countQuestions(), ALL);
    }
    // Back to front, one of them twice, and one that isn't in the model; and the mesh itself, which moves nothing.
    LieCount(pCount, 5);
    g_HostLies[pList] = [](HostAnswer& answer)
    {
        std::fill_n(answer.elems.at(0), 5, *answer.pElem);
        for (const auto& [i, index] : {std::pair(0, 1), {1, 99}, {2, 1}, {4, 0}})
            answer.elems[0][i].bytes[12] = static_cast<unsigned char>(index);
        answer.status = 0;
    };
    EXPECT_EQ(countQuestions(), 3);
}

// Numbers that are none, and handles and indices of nothing, in what the host answers.
TEST_F(FaultTest, AnswersThatCantBe)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const std::string geometry = "Node hat: unable to get geometry.|";
    const std::string unmatched = "Unable to match envelope vertex on node skin_zTex1.|";
    const std::string pose = "WARNING: Node hat has a pose that is no number at key 1, left neutral.\n";
    const auto number = [](float value, size_t i = 0)
    { return [=](HostAnswer& answer) { answer.floats[0][i] = value; }; };
    const auto position = [](double value) { return [=](HostAnswer& answer) { answer.positions[0][1].v[2] = value; }; };
    const auto index = [](int value) { return [=](HostAnswer& answer) { answer.ints[0][1] = value; }; };
    struct Row
    {
        std::vector<std::pair<const char*, std::function<void(HostAnswer&)>>> lies;
        std::string boxes; // none for an export that goes on
        std::string logged;
    };
    std::vector<Row> rows = {
        // A position that only a double can hold.
        {{{"SAA_modelGetVertices", position(1e300)}}, geometry, ""},
        // Numbers that overflow on their way down the tree.
        {{{"SAA_modelGetScaling", number(3e25f)}, {"SAA_modelGetTranslation", number(3e25f)}}, "", ""},
        // A handle that the mesh doesn't have costs that weight, and a box.
        {{{"SAA_envelopeGetCtrlVertices", [](HostAnswer& answer) { answer.subHandles[0][0].bytes[35] ^= 0x55; }}},
         unmatched + unmatched,
         ""},
        // A tree without an end.
        {{{"SAA_modelGetChildren", [](HostAnswer& answer) { answer.elems[0][0] = *answer.pElem; }}},
         "Node root: deeper than 1024 levels.|",
         ""},
    };
    for (const float bad : {nan, inf, -inf})
    {
        rows.push_back({{{"SAA_modelGetVertices", position(bad)}}, geometry, ""});
        rows.push_back({{{"SAA_triCtrlVertexGetGlobalUVTxtCoords", number(bad, 2)}},
                        "Node skin_zTex1: unable to get global texture coordinates.|",
                        ""});
        // A pose is kept neutral, a scale 1, a weight left out, a time 0.
        rows.push_back({{{"SAA_modelGetTranslation", number(bad)}}, "", pose});
        rows.push_back(
            {{{"SAA_modelGetScaling", number(bad)}}, "", "Node hat has a scale that is no number, taken as 1."});
        rows.push_back({{{"SAA_matrixCreateXYZRotation", number(bad, 5)},
                         {"SAA_modelGetScaling", number(bad)},
                         {"SAA_ctrlVertexGetEnvelopeWeights", number(bad)},
                         {"SAA_frame2Seconds", number(bad)}},
                        "",
                        "Node hat has a pose that is no number"});
    }
    for (const int corner : {-1, 3, INT_MAX})
        rows.push_back({{{"SAA_ctrlVertexGetIndices", index(corner)}},
                        "Invalid vertex index (" + std::to_string(corner) + ") on node hat.|",
                        ""});
    for (size_t i = 0; i < rows.size(); ++i)
    {
        SCOPED_TRACE(i);
        g_HostLies.clear();
        g_HostLies.insert(rows[i].lies.begin(), rows[i].lies.end());
        EXPECT_EQ(Run(false), rows[i].boxes.empty() || rows[i].boxes == unmatched + unmatched ? 0 : 124);
        EXPECT_EQ(Boxes(), rows[i].boxes);
        EXPECT_NE(Log().find(rows[i].logged), std::string::npos);
        if (rows[i].boxes.empty())
            ExpectSoundFile(1);
    }
    // An image without a size.
    g_HostLies.clear();
    LieCount("SAA_texture2DGetCropMax", -1);
    static std::string s_Asserted;
    const AssertionSink sink =
        SetAssertionSink([](const char* expression, const char*, int) { s_Asserted += expression; });
    EXPECT_EQ(Run(false), 124);
    SetAssertionSink(sink);
    EXPECT_EQ(s_Asserted, "nHeight && nWidth");
    EXPECT_EQ(Boxes(), "Node skin_zTex1: unable to get texture width and height.|");
}
