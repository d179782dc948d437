// Every operation of the host failing at each of its calls, memory running out at each request, and a host that
// answers what can't be.

#include "tests/tools/model/kelpexport/exporttest.h"
#include "tests/tools/model/kelpexport/lyinghost.h"
#include "zoltshared/stdzolt/assertion.h"

#include <climits>
#include <cmath>
#include <limits>
#include <new>

// Memory of the model code, by way of the linker: which request is refused, and whether all behind it are, too.
static long s_nRequests = 0;
static long s_iRefused = 0;
static bool s_bRefuseRest = false;

extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size)
{
    ++s_nRequests;
    const bool bRefused = s_iRefused != 0 && (s_bRefuseRest ? s_nRequests >= s_iRefused : s_nRequests == s_iRefused);
    return bRefused ? nullptr : __real_malloc(size);
}

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
    FaultTest()
    {
        SetRegistryFile(""); // many runs
        OpenScene(MakeTestScene());
        EXPECT_EQ(Export("walk", true), 0);
        m_OldFile = ReadWholeFile(m_Path);
    }
    ~FaultTest() override { g_LyingHost = LyingHost(); }

    // One export with the old file in place. Whatever goes wrong, that file is there or a new one that loads.
    int Run(bool bAppend)
    {
        WriteWholeFile(m_Path, m_OldFile);
        OpenScene(MakeTestScene());
        const uint32_t memory = g_ModelMemory;
        const int result = bAppend ? Export("run", false, {IDYES}) : Export("run", true);
        EXPECT_EQ(g_ModelMemory, memory);
        EXPECT_TRUE(result == 0 || result == 124) << result;
        EXPECT_TRUE(result == 0 || ReadWholeFile(m_Path) == m_OldFile);
        return result;
    }

    void FailEachCall(bool bAppend);
    void RefuseEachRequest(bool bAppend, bool bRest);
    void ExpectSoundFile(uint32_t nAnims);

    std::string m_OldFile;
};

// What a model that came out of it has to hold: numbers that are finite, weights on nodes that are there.
void FaultTest::ExpectSoundFile(uint32_t nAnims)
{
    const auto pModel = LoadModelFile(m_Path);
    ASSERT_TRUE(pModel);
    EXPECT_EQ(pModel->NumAnims(), nAnims);
    float sum = 0.0f;
    for (uint32_t i = 0; i < pModel->NumPieces(); ++i)
    {
        for (uint32_t v = 0; v < pModel->GetPiece(i)->NumVerts(); ++v)
        {
            const ModelVert* pVert = pModel->GetPiece(i)->GetVert(v);
            sum += pVert->m_vPos.Mag() * 0.0f + pVert->m_vNormal.Mag() * 0.0f;
            for (uint32_t w = 0; w < pVert->m_nWeights; ++w)
            {
                for (const float value : pVert->m_Weights[w].m_Vec)
                    sum += value * 0.0f;
            }
        }
    }
    for (uint32_t i = 0; i < pModel->NumAnims(); ++i)
    {
        for (uint32_t n = 0; n < pModel->NumNodes(); ++n)
        {
            for (uint32_t k = 0; k < pModel->GetAnim(i)->NumKeyFrames(); ++k)
            {
                const NodeKeyFrame& key = pModel->GetAnim(i)->m_AnimNodes[n]->m_KeyFrames[k];
                const Quaternion& q = key.m_qRotation;
                sum += (key.m_vTranslation.x + key.m_vTranslation.y + key.m_vTranslation.z) * 0.0f;
                sum += (q.x + q.y + q.z + q.w) * 0.0f;
            }
        }
    }
    EXPECT_EQ(sum, 0.0f) << "a number that isn't finite";
}

void FaultTest::FailEachCall(bool bAppend)
{
    ClearFaults();
    ASSERT_EQ(Run(bAppend), 0);
    std::map<std::string, int> calls;
    for (const char* pName : ListOperations())
        calls[pName] = CallCount(pName);
    int nFaults = 0;
    for (const auto& [name, nCalls] : calls)
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
    EXPECT_GT(nFaults, bAppend ? 130 : 150);
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

void FaultTest::RefuseEachRequest(bool bAppend, bool bRest)
{
    s_nRequests = 0;
    ASSERT_EQ(Run(bAppend), 0);
    // Loading the result is part of a run's requests, but not of an export's.
    const long nRequests = s_nRequests;
    ASSERT_GT(nRequests, 100);
    // The writer reports what it can't prove.
    const AssertionSink sink = SetAssertionSink([](const char*, const char*, int) {});
    long nRefused = 0;
    long nSilent = 0;
    for (long i = 1; i <= nRequests; ++i)
    {
        SCOPED_TRACE("request " + std::to_string(i));
        s_nRequests = 0;
        s_bRefuseRest = bRest;
        s_iRefused = i;
        const int result = Run(bAppend);
        s_iRefused = 0;
        nRefused += result != 0 ? 1 : 0;
        if (result == 0)
            ExpectSoundFile(bAppend ? 2 : 1);
        nSilent += result != 0 && Boxes().empty() ? 1 : 0;
        if (HasFailure())
            break;
    }
    SetAssertionSink(sink);
    EXPECT_GT(nRefused, nRequests / 2);
    // The three of WeightUnenvelopedPieces, which has no message, and what falls through to it when no memory comes
    // back: a look-up that is slower without, and candidates that are skipped.
    EXPECT_LE(nSilent, bAppend ? 0 : bRest ? 9 : 3);
}

TEST_F(FaultTest, MemoryRunsOutInAFreshExport)
{
    RefuseEachRequest(false, false);
    RefuseEachRequest(false, true);
}

TEST_F(FaultTest, MemoryRunsOutInAnAppend)
{
    RefuseEachRequest(true, false);
    RefuseEachRequest(true, true);
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
            g_LyingHost.counts = {{lie.operation, count}};
            const int result = Run(false);
            std::string expected = count < 0 ? lie.negative : lie.enormous;
            const size_t place = expected.find("%d");
            if (place != std::string::npos)
                expected.replace(place, 2, std::to_string(count));
            EXPECT_EQ(Boxes(), expected);
            EXPECT_EQ(result, expected.empty() || expected == "Out of memory.|" ? 0 : 124);
        }
    }
    // The limits themselves.
    g_LyingHost.counts = {{"SAA_modelGetNbVertices", 65537}};
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "Node hat: 65537 vertices, the limit is 65536.|");
    g_LyingHost.counts = {{"SAA_modelGetNbVertices", 65536}};
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), geometry) << "the host has no such number of vertices";
    g_LyingHost.counts = {{"SAA_modelGetNbChildren", 65536}};
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "The scene has more than 65536 nodes.|");
    g_LyingHost.counts = {{"SAA_modelGetNbChildren", 65535}};
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "Unable to get children for node root.|");
    g_LyingHost.counts = {{"SAA_sceneGetNbModels", 0}};
    m_Status.clear();
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "Unable to get elements in scene.|") << "the host doesn't give an empty list";

    // Play ranges.
    g_LyingHost.counts = {{"SAA_sceneGetPlayCtrlStartFrame", INT_MIN}, {"SAA_sceneGetPlayCtrlEndFrame", INT_MAX}};
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "Out of memory.|");
    g_LyingHost.counts = {{"SAA_sceneGetPlayCtrlStartFrame", INT_MAX}, {"SAA_sceneGetPlayCtrlEndFrame", INT_MAX}};
    EXPECT_EQ(Run(false), 0);
    g_LyingHost.counts = {{"SAA_sceneGetPlayCtrlStartFrame", 1}, {"SAA_sceneGetPlayCtrlEndFrame", 0}};
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "Invalid play range: 1 to 0.|");
    g_LyingHost.counts = {{"SAA_elementGetHierarchyLevel", 1}};
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "Couldn't find top-level node.|");
    // Types without a mesh make plain nodes, and the log knows their names.
    g_LyingHost.counts = {{"SAA_modelGetType", 3}};
    EXPECT_EQ(Run(false), 0);
    EXPECT_NE(Log().find("    - hat, mode: , type: UNKNOWN, piece: -1\n"), std::string::npos);
}

TEST_F(FaultTest, ATreeWithoutAnEnd)
{
    g_LyingHost.children = [](SAA_Elem* pChildren, const SAA_Elem* pParent) { pChildren[0] = *pParent; };
    EXPECT_EQ(Run(false), 124);
    EXPECT_EQ(Boxes(), "Node root: deeper than 1024 levels.|");
}

static int s_nAssertions = 0;

TEST_F(FaultTest, NumbersThatAreNone)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    for (const float bad : {nan, inf, -inf})
    {
        g_LyingHost = LyingHost();
        g_LyingHost.vertices = [&](SAA_Position* pPositions) { pPositions[1].v[2] = bad; };
        EXPECT_EQ(Run(false), 124);
        EXPECT_EQ(Boxes(), "Node hat: unable to get geometry.|");

        g_LyingHost = LyingHost();
        g_LyingHost.texCoords = [&](float* pU) { pU[2] = bad; };
        EXPECT_EQ(Run(false), 124);
        EXPECT_EQ(Boxes(), "Node skin_zTex1: unable to get global texture coordinates.|");

        // A pose is kept neutral, a scale 1, a weight left out, a time 0.
        g_LyingHost = LyingHost();
        g_LyingHost.translation = [&](float* pX) { *pX = bad; };
        EXPECT_EQ(Run(false), 0);
        ExpectSoundFile(1);
        EXPECT_NE(Log().find("WARNING: Node hat has a pose that is no number at key 1, left neutral.\n"),
                  std::string::npos);
        g_LyingHost = LyingHost();
        g_LyingHost.rotationMatrix = [&](float* pMatrix) { pMatrix[5] = bad; };
        g_LyingHost.scaling = [&](float* pX) { *pX = bad; };
        g_LyingHost.weights = [&](float* pWeights, int) { *pWeights = bad; };
        g_LyingHost.seconds = [&](float* pSeconds) { *pSeconds = bad; };
        EXPECT_EQ(Run(false), 0);
        EXPECT_EQ(Boxes(), "");
        ExpectSoundFile(1);
    }
    // A position that only a double can hold.
    g_LyingHost = LyingHost();
    g_LyingHost.vertices = [](SAA_Position* pPositions) { pPositions[1].v[2] = 1e300; };
    EXPECT_EQ(Run(false), 124);
    // Numbers that overflow on their way down the tree.
    g_LyingHost = LyingHost();
    g_LyingHost.scaling = [](float* pX) { *pX = 3e25f; };
    g_LyingHost.translation = [](float* pX) { *pX = 3e25f; };
    EXPECT_EQ(Run(false), 0);
    ExpectSoundFile(1);

    // Corners of vertices that aren't there.
    for (const int index : {-1, 3, INT_MAX})
    {
        g_LyingHost = LyingHost();
        g_LyingHost.indices = [&](int* pIndices) { pIndices[1] = index; };
        EXPECT_EQ(Run(false), 124);
        EXPECT_EQ(Boxes(), "Invalid vertex index (" + std::to_string(index) + ") on node hat.|");
    }
    // A handle that the mesh doesn't have costs that weight, and a box.
    g_LyingHost = LyingHost();
    g_LyingHost.envelopeVertices = [](SAA_SubHandle* pVertices) { pVertices[0].bytes[35] ^= 0x55; };
    EXPECT_EQ(Run(false), 0);
    EXPECT_EQ(Boxes(), "Unable to match envelope vertex on node skin_zTex1.|"
                       "Unable to match envelope vertex on node skin_zTex1.|");
    // An image without a size.
    g_LyingHost = LyingHost();
    g_LyingHost.counts = {{"SAA_texture2DGetCropMax", -1}};
    const AssertionSink sink = SetAssertionSink(
        [](const char* expression, const char*, int)
        {
            EXPECT_STREQ(expression, "nHeight && nWidth");
            ++s_nAssertions;
        });
    EXPECT_EQ(Run(false), 124);
    SetAssertionSink(sink);
    EXPECT_EQ(s_nAssertions, 1);
    EXPECT_EQ(Boxes(), "Node skin_zTex1: unable to get texture width and height.|");
}
