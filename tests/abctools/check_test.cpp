#include "abctools/commands.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilecheck.h"
#include "tests/abctools/testmodel.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <limits>
#include <sstream>

// The file of the test model, and places in it, found by what stands there.
class DamagedFile
{
public:
    DamagedFile() : m_Bytes(BytesOf(*MakeTestModel())) {}

    // The offset behind the n-th occurrence of a string of the file: count and characters.
    size_t Behind(const std::string& text, int n = 0) const
    {
        std::string pattern = {static_cast<char>(text.size()), '\0'};
        pattern += text;
        const std::string all(m_Bytes.begin(), m_Bytes.end());
        size_t at = all.find(pattern);
        while (n-- > 0)
            at = all.find(pattern, at + 1);
        EXPECT_NE(at, std::string::npos) << text;
        return at + pattern.size();
    }
    size_t Body(const char* pSection) const { return Behind(pSection) + 4; }
    size_t Count(int i) const { return Body("Header") + 4 + 4 * static_cast<size_t>(i); }

    template <class T> void Put(size_t at, T value)
    {
        ASSERT_LE(at + sizeof(value), m_Bytes.size());
        memcpy(m_Bytes.data() + at, &value, sizeof(value));
    }
    template <class T> T Get(size_t at) const
    {
        T value;
        memcpy(&value, m_Bytes.data() + at, sizeof(value));
        return value;
    }

    std::vector<uint8_t> m_Bytes;
};

static std::string FindingsText(const std::vector<uint8_t>& bytes, FindingKind kind)
{
    std::string text;
    for (const Finding& finding : CheckModelFile(bytes))
    {
        if (finding.m_Kind == kind)
            text += finding.m_Text + "\n";
    }
    return text;
}

// The status of check --fix from in.abc to fixed.abc of a folder, and what it says.
static int Fix(const TemporaryFolder& folder, const std::vector<uint8_t>& bytes, bool bExport, std::string& text)
{
    WriteBytes(folder / "in.abc", bytes);
    std::ostringstream out;
    const int status = RunFix({{folder / "in.abc"}, bExport, false, false, folder / "fixed.abc"}, out, out);
    text = out.str();
    return status;
}

TEST(Check, ASoundModelHasNoFinding)
{
    ModelFileTotals totals;
    const DamagedFile file;
    EXPECT_TRUE(CheckModelFile(file.m_Bytes, &totals).empty());
    EXPECT_EQ(totals.m_nNodes, 4u);
    EXPECT_EQ(totals.m_nTris, 1u + 1 + 2 + 1);
    EXPECT_EQ(totals.m_nAnims, 2u);
}

TEST(Check, FindsEachPlantedFault)
{
    constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
    // In a piece of the file: name, triangle count, a triangle of three corners of 10 bytes, vertex count, vertices.
    // A vertex: two 16-bit words, two weights of 20 bytes, position and normal.
    const auto firstTri = [](const DamagedFile& f) { return f.Behind("body") + 4; };
    const auto firstVert = [](const DamagedFile& f) { return f.Behind("body") + 4 + 30 + 4; };
    const auto matrix = [](const DamagedFile& f, const char* pNode) { return f.Behind(pNode) + 3; };
    // Behind an animation's name: two values and the key count, then times and commands, then tracks. Only the first
    // key has a command, of 5 characters.
    const auto keyCount = [](const DamagedFile& f) { return f.Behind("run") + 8; };
    const auto firstKey = [](const DamagedFile& f) { return f.Behind("run") + 12 + 24 + 5; };
    struct Case
    {
        const char* m_pWord;
        std::function<void(DamagedFile&)> m_Damage;
        bool m_bMended = false;
    };
    const Case cases[] = {
        {"not a model file", [](DamagedFile& f) { f.m_Bytes.clear(); }},
        {"back to 0", [](DamagedFile& f) { f.Put(f.Behind("Nodes"), 0u); }},
        {"back to", [](DamagedFile& f) { f.Put(f.Behind("Nodes"), static_cast<uint32_t>(f.Behind("Nodes")) - 7); }},
        {"beyond the end", [](DamagedFile& f) { f.Put(f.Behind("Nodes"), 0x7FFFFFFFu); }},
        {"no section Sockets", [](DamagedFile& f) { f.m_Bytes[f.Behind("Sockets") - 1] = 'z'; }},
        {"section AnimBindings ends at", [](DamagedFile& f) { f.m_Bytes.push_back(0); }},
        {"section AnimBindings runs past", [](DamagedFile& f) { f.m_Bytes.pop_back(); }},
        {"section Nodes ends at", [](DamagedFile& f) { f.Put(f.Behind("upper") - 7 - 4, 0u); }},
        {"version 13, 9 to 12 can be read", [](DamagedFile& f) { f.Put(f.Body("Header"), 13u); }},
        {"weight total", [](DamagedFile& f) { f.Put(f.Body("Pieces"), 27u); }, true},
        {"weight total", [](DamagedFile& f) { f.Put(f.Body("Pieces"), 25u); }},
        {"piece body: a triangle index", [&](DamagedFile& f) { f.Put<uint16_t>(firstTri(f) + 8, 3); }},
        {"texture coordinates", [&](DamagedFile& f) { f.Put(firstTri(f) + 14, NOT_A_NUMBER); }},
        {"missing node", [&](DamagedFile& f) { f.Put(firstVert(f) + 4, 4u); }},
        {"a weight isn't finite", [&](DamagedFile& f) { f.Put(firstVert(f) + 8, NOT_A_NUMBER); }},
        {"a share is below 0", [&](DamagedFile& f) { f.Put(firstVert(f) + 20, -0.01f); }},
        {"sum to 0",
         [&](DamagedFile& f)
         {
             f.Put(firstVert(f) + 20, 0.0f);
             f.Put(firstVert(f) + 40, 0.0f);
         }},
        {"position or normal", [&](DamagedFile& f) { f.Put(firstVert(f) + 44, NOT_A_NUMBER); }},
        {"piece body: a parameter", [](DamagedFile& f) { f.Put(f.Behind("body") - 12, NOT_A_NUMBER); }},
        {"pre-order", [](DamagedFile& f) { f.Put<uint16_t>(f.Behind("hand"), 3); }, true},
        {"node hand: the matrix isn't finite", [&](DamagedFile& f) { f.Put(matrix(f, "hand"), NOT_A_NUMBER); }},
        {"node hand: the matrix isn't rigid", [&](DamagedFile& f) { f.Put(matrix(f, "hand"), 1.1f); }},
        {"node hand: the matrix isn't rigid", [&](DamagedFile& f) { f.Put(matrix(f, "hand") + 60, 2.0f); }},
        {"node hand: the matrix is mirrored", [&](DamagedFile& f) { f.Put(matrix(f, "hand"), -1.0f); }},
        {"section Nodes runs past", [&](DamagedFile& f) { f.Put(matrix(f, "hand") + 64, 0xFFFFu); }},
        {"weight set upper: 3 values", [](DamagedFile& f) { f.Put(f.Behind("upper"), 3u); }},
        {"weight set upper: a value", [](DamagedFile& f) { f.Put(f.Behind("upper") + 4, NOT_A_NUMBER); }},
        {"17 child models", [](DamagedFile& f) { f.Put(f.Body("ChildModels"), 17u); }},
        {"0 child models", [](DamagedFile& f) { f.Put(f.Body("ChildModels"), 0u); }},
        {"a relation isn't finite", [](DamagedFile& f) { f.Put(f.Body("ChildModels") + 8, NOT_A_NUMBER); }},
        {"relations: a rotation", [](DamagedFile& f) { f.Put(f.Body("ChildModels") + 8 + 12, 0.5f); }, true},
        {"animation run: the dimensions", [](DamagedFile& f) { f.Put(f.Body("Animation") + 4, NOT_A_NUMBER); }},
        {"animation run: the first key is at 5", [&](DamagedFile& f) { f.Put(keyCount(f) + 4, 5u); }, true},
        {"animation run: the key times fall", [&](DamagedFile& f) { f.Put(firstKey(f) - 6, 99u); }, true},
        {"animation run: a key isn't finite", [&](DamagedFile& f) { f.Put(firstKey(f), NOT_A_NUMBER); }},
        {"animation run: a rotation", [&](DamagedFile& f) { f.Put(firstKey(f) + 12 + 4, 0.2f); }, true},
        {"section Animation runs past", [&](DamagedFile& f) { f.Put(keyCount(f), 0x7FFFFFFFu); }},
        {"SELF don't name", [](DamagedFile& f) { f.m_Bytes[f.Behind("run", 1) - 1] = 'x'; }},
        {"a binding of child model 0", [](DamagedFile& f) { f.Put(f.Behind("run", 1) + 12, NOT_A_NUMBER); }},
        {"socket grip: it is on the missing node 9", [](DamagedFile& f) { f.Put(f.Body("Sockets") + 4, 9u); }},
        {"socket grip: the place", [](DamagedFile& f) { f.Put(f.Behind("grip") + 20, NOT_A_NUMBER); }},
        {"socket grip: a rotation", [](DamagedFile& f) { f.Put(f.Behind("grip"), 1.0f); }, true},
    };
    for (const Case& c : cases)
    {
        DamagedFile file;
        c.m_Damage(file);
        const std::string faults = FindingsText(file.m_Bytes, FindingKind::Fault);
        EXPECT_NE(faults.find(c.m_pWord), std::string::npos) << c.m_pWord << " in\n" << faults;
        // The reader isn't said to refuse what the walk has explained.
        EXPECT_EQ(faults.find("the reader"), std::string::npos) << faults;

        const TemporaryFolder folder;
        std::string text;
        EXPECT_EQ(Fix(folder, file.m_Bytes, false, text), c.m_bMended ? 0 : 1) << text;
        EXPECT_EQ(std::filesystem::exists(folder / "fixed.abc"), c.m_bMended) << c.m_pWord;
        EXPECT_EQ(FindingsText(ReadBytes(folder / "fixed.abc"), FindingKind::Fault).empty(), c.m_bMended) << c.m_pWord;
        EXPECT_EQ(text.find(std::string("mended: ")) != std::string::npos, c.m_bMended) << text;
    }
    const char* const countNames[] = {"m_nKeyFrames",  "m_nAnims",   "m_nNodes",         "m_nPieces", "m_nChildModels",
                                      "m_nTris",       "m_nVerts",   "m_nVertexWeights", "m_nLODs",   "m_nSockets",
                                      "m_nWeightSets", "m_nStrings", "m_StringLengths"};
    for (int i = 0; i < 13; ++i)
    {
        DamagedFile file;
        file.Put(file.Count(i), file.Get<uint32_t>(file.Count(i)) + 1);
        const std::string faults = FindingsText(file.m_Bytes, FindingKind::Fault);
        EXPECT_EQ(faults.find(std::string(countNames[i]) + " is "), 0u) << faults;
        EXPECT_EQ(std::count(faults.begin(), faults.end(), '\n'), 1) << faults;
    }
}

TEST(Check, WhatOnlyExportsHold)
{
    DamagedFile file;
    const size_t tri = file.Behind("body") + 4;
    file.Put<uint16_t>(tri + 8, 1); // corners 1, 1, 2: vertex 0 is in no triangle
    file.Put(tri + 30 + 4 + 44 + 12, 0.5f);
    file.Put(file.Body("ChildModels") + 8 + 12, 0.12f); // a rotation of length 1.007, as keys near a half turn have
    file.m_Bytes[file.Behind("Pieces") - 30] = 1;
    file.Put(file.Behind("AnimBindings"), static_cast<uint32_t>(file.m_Bytes.size()));
    for (const char c : std::string("\4\0more\xFF\xFF\xFF\xFF", 10))
        file.m_Bytes.push_back(static_cast<uint8_t>(c));
    EXPECT_EQ(FindingsText(file.m_Bytes, FindingKind::Fault), "");
    EXPECT_EQ(FindingsText(file.m_Bytes, FindingKind::Export),
              "the sections stand in the order Header, Pieces, Nodes, ChildModels, Animation, Sockets, AnimBindings, "
              "more\nreserved bytes of the header aren't 0\n"
              "piece body: a triangle repeats a vertex\npiece body: a vertex stands in no triangle\n"
              "piece body: a normal isn't of length 1\n");

    const TemporaryFolder folder;
    WriteBytes(folder / "m.abc", file.m_Bytes);
    const auto run = [&](bool bExport, bool bQuiet, std::string& text)
    {
        std::ostringstream out;
        std::ostringstream err;
        const int status = RunCheck({folder / "m.abc"}, bExport, bQuiet, out, err);
        EXPECT_EQ(err.str(), "");
        text = out.str();
        return status;
    };
    std::string text;
    EXPECT_EQ(run(false, false, text), 0);
    EXPECT_NE(text.find("m.abc: warning: piece body"), std::string::npos);
    EXPECT_NE(text.find("m.abc: ok (version 12, 4 nodes"), std::string::npos);
    EXPECT_EQ(run(false, true, text), 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(run(true, true, text), 1);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 5);
    EXPECT_EQ(text.find("ok ("), std::string::npos);

    EXPECT_EQ(Fix(folder, file.m_Bytes, true, text), 0);
    for (const char* pDone :
         {"piece body: 1 normal brought", "piece body: 1 triangle that", "piece body: 3 vertices in"})
        EXPECT_NE(text.find(pDone), std::string::npos) << text;
    EXPECT_EQ(FindingsText(ReadBytes(folder / "fixed.abc"), FindingKind::Export), "");
    std::ostringstream out;
    EXPECT_EQ(RunFix({{folder / "in.abc"}, true, false, true, folder / "fixed.abc"}, out, out), 0);
    EXPECT_EQ(nlohmann::json::parse(out.str())["changes"].size(),
              static_cast<size_t>(std::count(text.begin(), text.end(), '\n') - 1));
}

TEST(Check, NamesAndVerticesThatAreLikelyNotMeant)
{
    const QuietAssertions quiet; // two animations of one name don't survive a load in silence
    const ModelPointer model = MakeTestModel();
    model->GetNode(3)->SetName("HAND");
    model->GetPiece(0)->m_Verts[0].m_nWeights = 0;
    const std::vector<uint8_t> bytes = BytesOf(*model);
    EXPECT_EQ(FindingsText(bytes, FindingKind::Fault), "");
    EXPECT_EQ(FindingsText(bytes, FindingKind::Warning),
              "node HAND: there are two of this name\n1 vertex has no weight and deforms to 0, 0, 0\n");

    model->GetAnim(1)->SetName("RUN");
    EXPECT_EQ(FindingsText(BytesOf(*model), FindingKind::Fault), "animation RUN: there are two of this name\n");

    model->GetPiece(0)->m_Verts[1].m_Weights[1] = ModelVertWeight();
    const TemporaryFolder folder;
    std::string text;
    EXPECT_EQ(Fix(folder, BytesOf(*model), false, text), 0) << text;
    const ModelPointer fixed = LoadBytes(ReadBytes(folder / "fixed.abc"));
    EXPECT_STREQ(fixed->GetAnim(1)->GetName(), "RUN0");
    EXPECT_EQ(fixed->GetPiece(0)->m_Verts[1].m_nWeights, 1u);
    EXPECT_EQ(fixed->GetPiece(0)->m_Verts[2].m_nWeights, 2u);
}
