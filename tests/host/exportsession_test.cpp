// Whole runs of the exporter on a small scene, through the plug-in, up to what is on disk afterwards.
#include "tests/host/exportfixture.h"

#include "engine/model/src/loadrequest.h"
#include "engine/model/src/model.h"
#include "host/exportsettings.h"
#include "host/seedrandom.h"
#include "saa/saahost.h"
#include "win32/scripteduser.h"
#include "win32/zoltwin32.h"
#include "zoltshared/stdzolt/replacefilestream.h"

#include <functional>
#include <future>
#include <memory>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

// A triangle under a node that moves along x, in three clips, one without a name.
static std::string MakeSceneText(bool twoNodes = false)
{
    GltfText text;
    const int positions = AddTriangle(text);
    const int times = text.Floats("SCALAR", {0, 0.5, 1}, R"("min": [0], "max": [1])");
    const int moves = text.Floats("VEC3", {0, 0, 0, 1, 0, 0, 0, 2, 0});
    text.Item("meshes", R"({"primitives": [{"attributes": {"POSITION": )" + std::to_string(positions) + "}}]}");
    text.Item("nodes",
              twoNodes ? R"({"name": "top", "mesh": 0, "children": [1, 2]})" : R"({"name": "top", "mesh": 0})");
    for (int i = 0; twoNodes && i < 2; i++)
        text.Item("nodes", R"({"mesh": 0})");
    text.Item("scenes", R"({"nodes": [0]})");
    text.Item("images", R"({"uri": "part%2Epng"})");
    text.Member(R"("scene": 0)");
    for (const char* name : {"walk", "run", ""})
        text.Item("animations", Animation(name, times, moves, "LINEAR"));
    return text.Text();
}

class ExportSessionTest : public ExportFixture
{
protected:
    ExportSessionTest() { std::ofstream(m_Options.scenePath) << MakeSceneText(); }
    ~ExportSessionTest() override
    {
        EXPECT_EQ(GetDialogUser(), nullptr);
        ClearFaults();
    }

    // Null if the file doesn't load.
    static std::unique_ptr<Model> LoadModel(const std::string& path)
    {
        ModelStream* stream = OpenStdioStream(path.c_str(), "rb");
        if (!stream)
            return nullptr;
        auto model = std::make_unique<Model>(&g_DefaultAllocator, &g_DefaultAllocator);
        LoadRequest request;
        request.m_pStream = stream;
        const bool loaded = model->Load(&request) == RESULT_OK;
        stream->Release();
        return loaded ? std::move(model) : nullptr;
    }

    // The names of the file's animations, with blanks between; "none" if it doesn't load.
    static std::string Animations(const std::string& path)
    {
        const auto model = LoadModel(path);
        std::string names = model ? "" : "none";
        for (uint32_t i = 0; model && i < model->NumAnims(); i++)
            names += (i ? " " : "") + std::string(model->GetAnim(i)->GetName());
        return names;
    }

    // "walk 0 500 1000; ": each animation and the times of its keys, in milliseconds.
    static std::string KeyTimes(const std::string& path)
    {
        const auto model = LoadModel(path);
        std::string times;
        for (uint32_t i = 0; model && i < model->NumAnims(); i++)
        {
            times += model->GetAnim(i)->GetName();
            for (uint32_t k = 0; k < model->GetAnim(i)->NumKeyFrames(); k++)
                times += " " + std::to_string(model->GetAnim(i)->m_KeyFrames[k].m_Time);
            times += "; ";
        }
        return times;
    }

    // The only entries of the output folder are those.
    void ExpectOnly(const std::vector<std::string>& names) const
    {
        std::vector<std::string> there;
        for (const auto& entry : fs::directory_iterator(m_Folder / "out"))
            there.push_back(entry.path().filename());
        EXPECT_EQ(there, names);
    }
};

TEST_F(ExportSessionTest, OneClipFreshAppendedAndReplaced)
{
    fs::create_directory(m_Folder / "out/.m.abc.zolt-abcdef"); // of a run that was killed
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "walk");
    EXPECT_TRUE(Said("not exported: \"run\", clip 2")) << m_Said;
    EXPECT_TRUE(Said("Reading animation...\n"));
    EXPECT_EQ(ReadExportSettings().filename.text, m_Options.outPath);
    const std::string first = ReadFile(m_Options.outPath);

    EXPECT_EQ(Run(), 1); // nobody to ask
    EXPECT_TRUE(Said("exists: --append adds the animation to it, --overwrite replaces it.")) << m_Said;
    EXPECT_TRUE(ReadFile(m_Options.outPath) == first);

    m_Options.clip = "run";
    m_Options.append = true;
    m_Options.outPath.clear(); // as stored
    m_Options.quiet = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(m_Said, "");
    const std::string stored = m_Folder / "out/m.abc";
    EXPECT_EQ(Animations(stored), "walk run");

    m_Options.append = false;
    m_Options.overwrite = true;
    m_Options.animName = "sprint";
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(stored), "sprint");
    EXPECT_EQ(ReadExportSettings().forceOverwrite.text, "1");

    EXPECT_EQ(ReadExportSettings().debugMode.text, "0");
    m_Options.debug = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    m_Options.debug.reset(); // taken over
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(ReadExportSettings().debugMode.text, "1");

    m_Options.overwrite = false; // not taken over from the run before
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Animations(stored), "sprint");
    ExpectOnly({"m.abc"});
}

// The name that the dialog offers may be relative to a folder of another day.
TEST_F(ExportSessionTest, OfferedNameIsMadeAbsolute)
{
    const fs::path here = fs::current_path();
    fs::current_path(m_Folder / "out");
    m_Options.outPath.clear();
    const int status = Run();
    fs::current_path(here);
    EXPECT_EQ(status, 0) << m_Said;
    ExpectOnly({"model.abc"});
    EXPECT_EQ(ReadExportSettings().filename.text, m_Folder / "out/model.abc");

    ExportSettings settings;
    settings.filename = {true, "/" + std::string(600, 'x')};
    WriteExportSettings(settings);
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(Said("longer than 511 characters")) << m_Said;
}

TEST_F(ExportSessionTest, FileThatIsNoModel)
{
    for (const bool all : {false, true})
    {
        const std::string names = all ? "walk run scene_2" : "walk";
        m_Options.allClips = all;
        std::ofstream(m_Options.outPath) << "no model";
        ScriptedUser terminal;
        terminal.Answer(IDYES).Answer(IDNO).Answer(IDYES).Answer(IDYES).Answer(IDNO);
        EXPECT_EQ(Run(&terminal), 1); // Yes to append, No to overwrite
        EXPECT_EQ(terminal.m_Boxes.size(), 2U);
        EXPECT_EQ(terminal.m_Boxes[1].text, m_Options.outPath + " is an invalid model file, overwrite?");
        EXPECT_EQ(ReadFile(m_Options.outPath), "no model");
        EXPECT_EQ(Run(&terminal), 0) << m_Said;
        EXPECT_EQ(Animations(m_Options.outPath), names);
        EXPECT_EQ(Run(&terminal), 1); // No to append
        EXPECT_TRUE(Said("\n" + m_Options.outPath + "\n")) << m_Said;
        EXPECT_TRUE(Said(m_Options.outPath + " stays as it is; --overwrite replaces it.\n")) << m_Said;
        EXPECT_EQ(Animations(m_Options.outPath), names);
        EXPECT_TRUE(terminal.IsDone());

        std::ofstream(m_Options.outPath) << "no model"; // and nobody to ask
        m_Options.append = true;
        EXPECT_EQ(Run(), 1);
        EXPECT_TRUE(Said(m_Options.outPath + " is an invalid model file: --append --overwrite replaces it.")) << m_Said;
        EXPECT_EQ(ReadFile(m_Options.outPath), "no model");
        m_Options.overwrite = true;
        EXPECT_EQ(Run(), 0) << m_Said;
        EXPECT_EQ(Animations(m_Options.outPath), names);
        m_Options.append = m_Options.overwrite = false;
    }
}

TEST_F(ExportSessionTest, AllClipsInOneFile)
{
    m_Options.allClips = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "walk run scene_2");
    EXPECT_EQ(ReadExportSettings().filename.text, m_Options.outPath);
    const std::string log = ReadFile(m_Options.logPath);
    size_t written = 0;
    for (size_t at = log.find("Writing file..."); at != std::string::npos; at = log.find("Writing file...", at + 1))
        written++;
    EXPECT_EQ(written, 1U) << log;
    for (const char* clip : {"walk", "run", "scene_2"})
        EXPECT_NE(log.find("Clip: " + std::string(clip) + "\nStatusBar: Reading geometry"), std::string::npos) << log;
    EXPECT_EQ(log.find(".zolt-"), std::string::npos);

    const std::string before = ReadFile(m_Options.outPath);
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(Said("--append adds the animation to it")) << m_Said;
    EXPECT_TRUE(ReadFile(m_Options.outPath) == before);
    m_Options.append = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "walk run scene_2 walk0 run0 scene_20");
    m_Options.append = false;
    m_Options.overwrite = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "walk run scene_2");
    ExpectOnly({"m.abc"});
}

TEST_F(ExportSessionTest, AllClipsOrNone)
{
    m_Options.allClips = true;
    for (const bool exists : {false, true})
    {
        std::string before;
        if (exists)
        {
            ClearFaults();
            EXPECT_EQ(Run(), 0) << m_Said;
            before = ReadFile(m_Options.outPath);
            m_Options.append = true;
        }
        for (int clip = 1; clip <= 3; clip++)
        {
            ClearFaults();
            FailOperation("SAA_sceneGetModels", clip, 9);
            EXPECT_EQ(Run(), 1) << clip;
            EXPECT_TRUE(Said("error: Unable to get elements in scene.\n")) << m_Said;
            EXPECT_TRUE(Said("m.abc was not written.")) << m_Said;
            EXPECT_TRUE(ReadFile(m_Options.outPath) == before) << clip;
            EXPECT_EQ(ReadExportSettings().filename.text, m_Options.outPath);
            exists ? ExpectOnly({"m.abc"}) : ExpectOnly({});
        }
    }
    // A model of another shape, with more nodes than the scene.
    ClearFaults();
    m_Options.append = false;
    m_Options.overwrite = true;
    std::ofstream(m_Options.scenePath) << MakeSceneText(true);
    EXPECT_EQ(Run(), 0) << m_Said;
    m_Options.append = true;
    std::ofstream(m_Options.scenePath) << MakeSceneText();
    const std::string before = ReadFile(m_Options.outPath);
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(Said("Geometry in " + m_Options.outPath + " is different.")) << m_Said;
    EXPECT_TRUE(ReadFile(m_Options.outPath) == before);
    m_Options.outPath = m_Folder / "out/missing/m.abc";
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(Said("The output file can't be written: " + (m_Folder / "out/missing") + " doesn't exist.")) << m_Said;
    m_Options.outPath = m_Folder / "out";
    m_Options.scenePath.clear(); // not even looked for
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(m_Said, "error: The output file is a folder: " + m_Options.outPath + "\n");
    ExpectOnly({"m.abc"});
}

// What is added in memory is what appends to the file would make of it, for clips of one scene and of several.
TEST_F(ExportSessionTest, ClipsAtOnceAndOneByOne)
{
    const ScopedVariable epoch("SOURCE_DATE_EPOCH", "1000000000");
    const std::string other = m_Folder / "other.gltf";
    std::ofstream(other) << MakeSceneText(true);
    std::ofstream(m_Options.scenePath) << MakeSceneText(true);
    m_Options.overwrite = true;
    m_Options.keep = {"*"};
    m_Options.allClips = true;
    SeedRandom(); // stamps too
    EXPECT_EQ(Run(), 0) << m_Said;
    const std::string atOnce = ReadFile(m_Options.outPath);
    m_Options.allClips = false;
    for (const char* clip : {"walk", "run", "2"})
    {
        m_Options.clip = clip;
        m_Options.animName = *clip == '2' ? "scene_2" : clip;
        SeedRandom();
        EXPECT_EQ(Run(), 0) << m_Said;
        m_Options.append = true;
        m_Options.overwrite = false;
        m_Options.keep.clear();
    }
    EXPECT_TRUE(ReadFile(m_Options.outPath) == atOnce);

    m_Options.clip.reset();
    m_Options.animName.reset();
    m_Options.append = false;
    m_Options.overwrite = true;
    m_Options.moreScenes = {other, m_Options.scenePath};
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "walk walk0 walk1");
    EXPECT_TRUE(Said("Exporting \"walk\" of other.gltf:\n")) << m_Said;
    EXPECT_TRUE(Said("has an animation \"walk\" already; the new one is called \"walk1\".\n")) << m_Said;
    const std::string before = ReadFile(m_Options.outPath);
    m_Options.moreScenes = {other, m_Folder / "none.gltf"};
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(ReadFile(m_Options.outPath) == before);
    ExpectOnly({"m.abc"});
}

TEST_F(ExportSessionTest, ReplacedInItsPlace)
{
    m_Options.allClips = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    auto model = LoadModel(m_Options.outPath);
    ASSERT_TRUE(model);
    model->m_Anims[1].m_vDims = Vector3(1, 2, 3);
    ReplaceFileStream* stream = OpenReplaceFileStream(m_Options.outPath.c_str());
    ASSERT_TRUE(stream && model->Save(stream) && stream->Commit() == 0);
    stream->Release();

    m_Options.allClips = false;
    m_Options.append = true;
    m_Options.animName = "RUN";
    m_Options.end = 12; // of 24 frames
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_TRUE(
        Said("an animation \"RUN\" already; the new one is called \"RUN0\" (--replace puts it in the place of "))
        << m_Said;
    m_Options.replace = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_TRUE(Said("The animation \"RUN\" of the model is replaced.\n")) << m_Said;
    EXPECT_EQ(KeyTimes(m_Options.outPath), "walk 0 500 1000; RUN 0 500; scene_2 0 500 1000; RUN0 0 500; ");
    model = LoadModel(m_Options.outPath);
    EXPECT_EQ(model->m_Anims[1].m_vDims.z, 3.0F);

    // All of them, twice "walk" among them: that of the model is replaced, not that of this run.
    std::string text = ReadFile(m_Options.scenePath);
    text.replace(text.find("\"run\""), 5, "\"walk\"");
    std::ofstream(m_Options.scenePath) << text;
    m_Options.animName.reset();
    m_Options.allClips = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(KeyTimes(m_Options.outPath), "walk 0 500; RUN 0 500; scene_2 0 500; RUN0 0 500; walk0 0 500; ");
}

// The scene's keys stand at 0, 0.5 and 1 s; the curve is straight between them.
TEST_F(ExportSessionTest, FrameRateAndKeys)
{
    const auto keyTimes = [this]
    {
        fs::remove(m_Options.outPath);
        EXPECT_EQ(Run(), 0) << m_Said;
        return KeyTimes(m_Options.outPath);
    };
    EXPECT_EQ(keyTimes(), "walk 0 500 1000; ");
    EXPECT_TRUE(Said("24 frames per second: every key lies on a frame.\n")) << m_Said;
    m_Options.autoFps = false;
    m_Options.fps = 5; // frames 0, 3 (at 0.6 s) and 5; the corner at 0.5 s is cut
    EXPECT_EQ(keyTimes(), "walk 0 400 600 1000; ");
    m_Options.keys = KeyChoice::Authored;
    EXPECT_EQ(keyTimes(), "walk 0 600 1000; ");
    m_Options.keys = KeyChoice::Every;
    EXPECT_EQ(keyTimes(), "walk 0 200 400 600 800 1000; ");
    m_Options.start = 1;
    m_Options.end = 3;
    m_Options.rest = RestChoice::Bind;
    m_Options.restName = "bind"; // one frame, whatever part of the clip is exported
    EXPECT_EQ(keyTimes(), "bind 0; walk 0 200 400; ");
}

TEST_F(ExportSessionTest, RestPoseFirst)
{
    m_Options.rest = RestChoice::Bind;
    m_Options.restName = "rest";
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "rest walk");
    EXPECT_TRUE(Said("not exported: \"run\", clip 2")) << m_Said;
    m_Options.append = true;
    m_Options.clip = "run";
    m_Options.animName = "sprint";
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "rest walk rest0 sprint");
    m_Options.clip.reset();
    m_Options.animName.reset();
    m_Options.append = false;
    m_Options.overwrite = m_Options.allClips = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), "rest walk run scene_2");
}

// The third corner at (0, 4, 1) becomes (0, -2, 8) with z up at twice the size; a model's z points the other way.
TEST_F(ExportSessionTest, SceneTurnedAndScaled)
{
    m_Options.scale = 2;
    m_Options.up = 'z';
    EXPECT_EQ(Run(), 0) << m_Said;
    const auto model = LoadModel(m_Options.outPath);
    ASSERT_TRUE(model);
    ModelPiece* piece = model->GetPiece(0);
    bool found = false;
    for (uint32_t i = 0; i < piece->m_Verts.GetSize(); i++)
        found = found || piece->m_Verts[i].m_vPos.NearlyEquals(Vector3(0, -2, -8), 1e-5F);
    EXPECT_TRUE(found);
}

TEST_F(ExportSessionTest, WhatCannotBeExported)
{
    struct Case
    {
        const char* name;
        std::function<void()> prepare;
        const char* sentence;
    };
    fs::create_symlink("scene.gltf", m_Folder / "link to scene");
    fs::create_symlink("out/m.abc", m_Folder / "link to model");
    const auto offer = [this](const char* name)
    {
        return [this, name]
        {
            ExportSettings settings;
            settings.filename = {true, m_Folder / name};
            WriteExportSettings(settings);
            m_Options.outPath.clear();
        };
    };
    const std::vector<Case> cases = {
        {"clip", [&] { m_Options.clip = "fly"; }, "The scene has no clip \"fly\"; its clips are"},
        {"range", [&] { m_Options.end = 70000; }, "the limit is 65535"},
        {"end", [&] { m_Options.end = -1; }, "Invalid play range: 0 to -1."},
        {"itself", [&] { m_Options.outPath = m_Options.scenePath; }, "The output file is the scene file itself."},
        {"offered itself", offer("link to scene"), "The output file is the scene file itself."},
        {"part", [&] { m_Options.outPath = m_Folder / "part.png"; }, "The output file is a file that the scene refers"},
        {"log on scene", [&] { m_Options.logPath = m_Folder / "link to scene"; }, "The log is the scene file itself."},
        {"log on part", [&] { m_Options.logPath = m_Folder / "out/../part.png"; }, "The log is a file that the scene"},
        {"log on report", [&] { m_Options.reportPath = m_Options.logPath; }, "The log and the report are the same"},
        {"report on model", [&] { m_Options.reportPath = m_Folder / "link to model"; },
         "The output file and the report are the same file"},
        {"report on offered", [&] { offer("out/m.abc")(), m_Options.reportPath = m_Folder / "link to model"; },
         "The output file and the report are the same file"},
        {"report on scene", [&] { m_Options.reportPath = m_Options.scenePath; },
         "The report is the scene file itself."},
        {"damaged", [&] { std::ofstream(m_Options.scenePath) << "{"; }, "scene.gltf"},
        {"no triangles",
         [&]
         {
             std::ofstream(m_Options.scenePath) << R"({"asset": {"version": "2.0"}, "scene": 0,
            "scenes": [{"nodes": [0]}], "nodes": [{}]})";
         },
         "There are no triangles in "},
        {"missing", [&] { m_Options.scenePath += "x"; }, "scene.gltfx"},
    };
    const ExportOptions good = m_Options;
    for (const Case& bad : cases)
    {
        m_Options = good;
        std::ofstream(m_Options.scenePath) << MakeSceneText();
        m_Options.overwrite = true;
        bad.prepare();
        const std::string scene = ReadFile(good.scenePath);
        EXPECT_EQ(Run(), 1) << bad.name;
        EXPECT_EQ(ReadFile(good.scenePath), scene) << bad.name;
        EXPECT_TRUE(Said(bad.sentence)) << bad.name << ": " << m_Said;
        ExpectOnly({});
    }
}

// What the plug-in warns of reaches the console, whatever becomes of the log.
TEST_F(ExportSessionTest, WarningsAndTheLog)
{
    std::string flat = MakeSceneText();
    flat.insert(flat.find("\"mesh\": 0"), "\"scale\": [1, 0, 1], ");
    std::ofstream(m_Options.scenePath) << flat;
    const std::string warning = "warning: Node top has lost a direction to a scale of 0";
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_TRUE(Said(warning)) << m_Said;
    EXPECT_FALSE(Said("log")) << m_Said;
    const std::string fresh = ReadFile(m_Options.logPath);
    EXPECT_NE(fresh.find("Node top has lost a direction"), std::string::npos);
    m_Options.overwrite = true;
    std::ofstream(m_Options.logPath, std::ios::app) << "what a longer run left behind";
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(ReadFile(m_Options.logPath), fresh);
    for (const std::string& path : {m_Folder / "missing/log", std::string("/dev/full")})
    {
        m_Options.logPath = path;
        EXPECT_EQ(Run(), 0) << m_Said;
        EXPECT_TRUE(Said(warning)) << m_Said;
        EXPECT_TRUE(Said("warning: The log can't be written to " + path + ".\n")) << m_Said;
    }
    m_Options.logPath = m_Folder / "pipe";
    ASSERT_EQ(mkfifo(m_Options.logPath.c_str(), 0600), 0);
    auto log = std::async(std::launch::async, ReadFile, m_Options.logPath);
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_NE(log.get().find("Node top has lost a direction"), std::string::npos);
    m_Options.logPath = m_Folder / "missing/log";
    m_Options.quiet = true;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_Said, "");
}

// The name of a clip of 300 bytes, the 250th of them within a character.
TEST_F(ExportSessionTest, LongNamesAreCut)
{
    std::string text = MakeSceneText();
    std::string name(249, 'n');
    for (int i = 0; i < 17; i++)
        name += "\u20ac";
    text.replace(text.find("walk"), 4, name);
    std::ofstream(m_Options.scenePath) << text;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_TRUE(Said("warning: The animation name is longer than 250 bytes and was cut")) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), std::string(249, 'n'));
    m_Options.append = m_Options.allClips = true;
    EXPECT_EQ(Run(), 0) << m_Said;
    EXPECT_EQ(Animations(m_Options.outPath), std::string(249, 'n') + " " + std::string(249, 'n') + "0 run scene_2");
}

// A scene that is replaced, damaged, and written again.
TEST_F(ExportSessionTest, WatchedScene)
{
    const ScopedVariable config("XDG_CONFIG_HOME", (m_Folder / "config").c_str());
    const ScopedVariable plugin("ZOLTEXPORT_PLUGIN", ZOLT_PLUGIN);
    const auto expectClip = [this](const std::string& name)
    {
        for (int i = 0; i < 1000 && Animations(m_Options.outPath) != name; i++)
            usleep(10000);
        EXPECT_EQ(Animations(m_Options.outPath), name);
    };
    const auto renamed = [](const std::string& name)
    {
        std::string text = MakeSceneText();
        return text.replace(text.find("walk"), 4, name);
    };
    const pid_t child = fork();
    if (child == 0)
    {
        signal(SIGINT, SIG_DFL); // which is ignored in what a shell starts in the background
        execl(ZOLT_PROGRAM, ZOLT_PROGRAM, m_Options.scenePath.c_str(), "-o", m_Options.outPath.c_str(), "--watch", "-q",
              nullptr);
        _exit(127);
    }
    expectClip("walk");
    std::ofstream(m_Folder / "new") << renamed("stroll");
    fs::rename(m_Folder / "new", m_Options.scenePath);
    expectClip("stroll");
    std::ofstream(m_Options.scenePath) << "{";
    usleep(300000);
    std::ofstream(m_Options.scenePath) << renamed("stride");
    expectClip("stride");
    kill(child, SIGINT);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    ExpectOnly({"m.abc"});
}
