#include "abctools/commands.h"
#include "abctools/displaytext.h"
#include "abctools/modelfile.h"
#include "tests/abctools/testmodel.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

using nlohmann::json;

TEST(DisplayText, NothingReachesTheTerminalThatControlsIt)
{
    EXPECT_EQ(TerminalText("plain \xC3\xA4"), "plain \xC3\xA4");
    EXPECT_EQ(TerminalText("a\x1b[2J\n\x7f\\"), "a\\x1B[2J\\x0A\\x7F\\\\");
    EXPECT_EQ(TerminalText("\xC2\x9B"
                           "31m"),
              "\\x9B31m");
    EXPECT_EQ(TerminalText("\xE2\x80\xAE"
                           "x"),
              "\\u{202E}x");
    // Not UTF-8, so Latin-1: a lone byte, an overlong slash, a surrogate, beyond U+10FFFF, a sequence that is cut.
    EXPECT_EQ(ToUtf8("\xE4"), "\xC3\xA4");
    EXPECT_EQ(ToUtf8("\xC0\xAF"), "\xC3\x80\xC2\xAF");
    EXPECT_EQ(ToUtf8("\xED\xA0\x80"), "\xC3\xAD\xC2\xA0\xC2\x80");
    EXPECT_EQ(ToUtf8("\xF4\x90\x80\x80").size(), 8u);
    EXPECT_EQ(ToUtf8("\xE2\x82"), "\xC3\xA2\xC2\x82");
}

TEST(Info, JsonHoldsWhatTheModelHolds)
{
    const TemporaryFolder folder;
    const ModelPointer model = MakeTestModel();
    model->GetNode(1)->SetName("sp\xFFine");
    const std::vector<uint8_t> bytes = BytesOf(*model);
    WriteBytes(folder / "m.abc", bytes);
    std::ostringstream out;
    std::ostringstream err;
    ASSERT_EQ(RunInfo({folder / "m.abc"}, true, true, out, err), 0);
    const json info = json::parse(out.str());
    // Parts of it, as a patch that changes nothing; lists apart.
    json same = info;
    same.merge_patch(json::parse(R"({"version": 12, "lods": 2, "counts": {"keyFrames": 6, "vertexWeights": 26},
        "settings": {"visRadius": 75.0, "rigid": true, "ambientLight": 0.25, "normalRef": {"node": "hand"}}})"));
    EXPECT_EQ(same, info);
    EXPECT_TRUE(info["settings"]["fovXOffset"].is_null());
    EXPECT_EQ(info["bytes"], bytes.size());
    EXPECT_EQ(info["nodes"][1], json({{"name", "sp\xC3\xBFine"}, {"parent", 0}, {"flags", 0}}));
    EXPECT_EQ(info["nodes"][3]["flags"], 0x82);
    EXPECT_EQ(info["nodes"][0]["parent"], -1);
    json piece = info["pieces"][1];
    piece.merge_patch({{"name", "t\x1b[31m"}, {"texture", 7}, {"verts", 4}, {"tris", 2}, {"weights", 8}});
    EXPECT_EQ(piece, info["pieces"][1]);
    EXPECT_EQ(piece["lods"][1]["verts"], 3);
    json anim = info["anims"][0];
    anim.merge_patch(
        json::parse(R"({"name": "run", "keys": 4, "last": 300, "commands": [{"key": 0, "text": "start"}]})"));
    EXPECT_EQ(anim, info["anims"][0]);
    EXPECT_EQ(info["sockets"][0]["node"], 2);
    EXPECT_EQ(info["weightSets"][0]["values"], json({0.0, 1.0, 0.5, 2.0}));
    EXPECT_EQ(info["childModels"][0]["name"], "SELF");
    EXPECT_EQ(info["childModels"][0]["stamp"], info["stamp"]);
    // Vertices of the hand reach 7, 11, those of the root begin at 0, 1.
    EXPECT_EQ(info["bounds"]["rest"]["min"], json({0.0, 1.0, 0.0}));
    EXPECT_EQ(info["bounds"]["rest"]["max"], json({7.0, 11.0, 0.0}));
    EXPECT_GE(info["bounds"]["all"]["radius"], info["bounds"]["anims"][1]["radius"]);
    const json& memory = info["memory"];
    EXPECT_LE(memory["load"], memory["announced"]);
    EXPECT_EQ(memory["blockAllocations"], 1);
    EXPECT_LE(memory["blockUsed"], memory["block"]);
    EXPECT_GE(memory["blockUsed"], memory["load"]);
    // The document is printable as it stands.
    EXPECT_EQ(out.str().find('\x1b'), std::string::npos);
}

TEST(Info, TextIsPrintableAndShowsWhatDiffers)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "m.abc", BytesOf(*MakeTestModel()));
    std::ostringstream out;
    std::ostringstream err;
    // One of two files isn't there.
    ASSERT_EQ(RunInfo({folder / "none.abc", folder / "m.abc"}, false, true, out, err), 1);
    const std::string text = out.str();
    EXPECT_NE(err.str().find("none.abc: there is no such file"), std::string::npos) << err.str();
    std::ostringstream list;
    ASSERT_EQ(RunInfo({folder / "m.abc", folder / "m.abc"}, true, false, list, err), 0);
    EXPECT_EQ(json::parse(list.str())[1]["file"], folder / "m.abc");
    for (const char* pPart :
         {"m.abc: model file of version 12", "\n      2 hand\n", "3 leg, fixed offset, 0x80\n",
          "t\\x1B[31m: texture 7, 606 bytes\n", "run: 4 keys, 300 ms, 506 bytes\n",
          "pieces: 2, up to 2 weights to a vertex\n", "LODs: 2, distances 500\n", "it announces 6 keys, 2 animations",
          "VisRadius: 75\n", "NormalRef: node hand, animation run\n", "block used: "})
        EXPECT_NE(text.find(pPart), std::string::npos) << pPart << " in\n" << text;
    // Vertices, triangles, weights, most of them, keys, bytes of pieces (body: 506) and animations (walk: 271), of
    // both.
    std::ostringstream table;
    ASSERT_EQ(RunInfo({{folder / "m.abc", folder / "m.abc"}, false, false, true}, table, err), 0);
    EXPECT_NE(table.str().find("    14     6       28     2    12        2224        1554  all 2\n"), std::string::npos)
        << table.str();
    std::ostringstream check;
    EXPECT_EQ(RunCheck({{folder / "m.abc", folder / "none.abc"}, true, false, true}, check, err), 1);
    EXPECT_EQ(json::parse(check.str())[0]["verts"], 13);
    EXPECT_EQ(json::parse(check.str())[1]["error"], folder / "none.abc" + ": there is no such file.");
    EXPECT_EQ(text.find("AmbientLight"), std::string::npos);
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
}

// Turns the bytes of a sound file of version 12 without animations and pieces into an older one's.
static std::vector<uint8_t> OfVersion(uint32_t version)
{
    const ModelPointer model(Model::CreateModel());
    model->Precalc(QZTRUE);
    std::vector<uint8_t> bytes = BytesOf(*model);
    memcpy(bytes.data() + 12, &version, sizeof(version));
    return bytes;
}

TEST(Copy, MakesVersion12AndKeepsTheTargetOnFailure)
{
    const TemporaryFolder folder;
    std::ostringstream err;
    WriteBytes(folder / "old.abc", OfVersion(9));
    ASSERT_EQ(RunCopy({folder / "old.abc", folder / "new.abc"}, err, err), 0) << err.str();
    EXPECT_EQ(ReadBytes(folder / "new.abc")[12], 12);
    EXPECT_EQ(ReadBytes(folder / "new.abc").size(), 357u);
    ASSERT_EQ(RunCopy({folder / "old.abc", folder / "old.abc"}, err, err), 0) << err.str();
    EXPECT_EQ(ReadBytes(folder / "old.abc")[12], 12);
    EXPECT_EQ(err.str(), "");

    const std::vector<uint8_t> before = ReadBytes(folder / "new.abc");
    std::vector<uint8_t> cut = before;
    cut.pop_back();
    WriteBytes(folder / "cut.abc", cut);
    WriteBytes(folder / "v13.abc", OfVersion(13));
    WriteBytes(folder / "text.abc", {'t', 'e', 'x', 't'});
    const struct
    {
        const char* m_pName;
        const char* m_pWord;
    } cases[] = {{"cut.abc", "can't be loaded: AnimBindings: the file ends in it"},
                 {"v13.abc", "version 13, and versions 9 to 12 can be read"},
                 {"text.abc", "not a model file"},
                 {"none.abc", "no such file"},
                 {".", "folder"}};
    for (const auto& c : cases)
    {
        std::ostringstream sentence;
        EXPECT_EQ(RunCopy({folder / c.m_pName, folder / "new.abc"}, sentence, sentence), 1);
        EXPECT_NE(sentence.str().find(c.m_pWord), std::string::npos) << sentence.str();
        EXPECT_NE(sentence.str().find(c.m_pName), std::string::npos) << sentence.str();
        EXPECT_EQ(ReadBytes(folder / "new.abc"), before);
        std::ostringstream out;
        EXPECT_EQ(RunInfo({folder / c.m_pName}, true, false, out, sentence), 1);
        EXPECT_NE(json::parse(out.str())["error"].get<std::string>().find(c.m_pWord), std::string::npos) << out.str();
    }
    std::ostringstream sentence;
    EXPECT_EQ(RunCopy({folder / "old.abc", folder / "missing/new.abc"}, sentence, sentence), 1);
    EXPECT_NE(sentence.str().find("opened for writing"), std::string::npos) << sentence.str();
}

TEST(Copy, KeepsTheBindingsOfChildModels)
{
    const TemporaryFolder folder;
    WriteBytes(folder / "jump.abc", BytesOf(*MakeChildModel("jump", 1.0f)));
    const ModelPointer child = LoadBytes(ReadBytes(folder / "jump.abc"));
    const ModelPointer parent = MakeTestModel();
    char error[MODEL_ERRSTR_SIZE];
    ASSERT_TRUE(parent->AddChildModel(child.get(), "jump.abc", error, QZFALSE));
    parent->GetAnimInfo(2)->m_vTranslation.Set(1.0f, 2.0f, 3.0f);
    const std::vector<uint8_t> bytes = BytesOf(*parent);
    ASSERT_TRUE(parent->RemoveChildModel(1));
    WriteBytes(folder / "m.abc", bytes);
    std::ostringstream err;
    ASSERT_EQ(RunCopy({folder / "m.abc", folder / "copy.abc"}, err, err), 0);
    EXPECT_EQ(err.str(), "");
    // Only the stamp differs.
    const std::vector<uint8_t> copy = ReadBytes(folder / "copy.abc");
    ASSERT_EQ(copy.size(), bytes.size());
    int nDifferent = 0;
    for (size_t i = 0; i < copy.size(); ++i)
        nDifferent += copy[i] != bytes[i] ? 1 : 0;
    EXPECT_LE(nDifferent, 2);

    std::filesystem::remove(folder / "jump.abc");
    ASSERT_EQ(RunCopy({folder / "m.abc", folder / "copy.abc"}, err, err), 0);
    EXPECT_NE(err.str().find("jump.abc isn't in its folder"), std::string::npos);
    EXPECT_LT(ReadBytes(folder / "copy.abc").size(), bytes.size());
}
