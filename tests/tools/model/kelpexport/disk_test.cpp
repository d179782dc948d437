// Disks that are full, files and folders that can't be written or aren't there any more, and two processes at once: the
// old file or the new one, whole.

#include "tests/tools/model/kelpexport/exporttest.h"
#include "tools/model/kelpexport/settings.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

class DiskTest : public ExportTest
{
protected:
    DiskTest()
    {
        SetRegistryFile("");
        fs::create_directory(m_Target);
        m_Path = m_Target + "/model.abc";
        // Some thousand bytes, so that a save isn't over at once.
        Scene scene = MakeTestScene();
        SceneChannel& channel = scene.clips[0].channels[0];
        for (int i = 8; i < 120; ++i)
        {
            channel.times.push_back(i / 10.0);
            channel.values.insert(channel.values.end(), {static_cast<double>(i), 0.0, 4.0});
        }
        OpenScene(scene);
    }

    // The bytes that an export of a fresh file under this name writes. The stamps are the same in each.
    std::string Written(const std::string& animName)
    {
        EXPECT_EQ(SeededExport(animName), 0) << Boxes();
        return ReadWholeFile(m_Path);
    }
    int SeededExport(const std::string& animName)
    {
        std::srand(1);
        return Export(animName, true);
    }

    // Does the work in a child, which exits with its result.
    static pid_t Fork(const std::function<int()>& work)
    {
        const pid_t child = fork();
        if (child == 0)
            _exit(work());
        return child;
    }
    static int Wait(pid_t child)
    {
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    // 0 for an export that was written, 1 for one that wasn't and had this one box, else 2.
    int ExitCode(int result, const std::string& box) const
    {
        return result == 0 ? 0 : result == 124 && Boxes() == box + "|" ? 1 : 2;
    }

    std::string Unwritable() const { return "Unable to write " + m_Path + "."; }
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_Target))
            names.push_back(entry.path().filename());
        return names;
    }

    const std::vector<std::string> m_ModelAlone = {"model.abc"};
    std::string m_Target = m_Folder / "target";
};

TEST_F(DiskTest, FullAfterAnyNumberOfBytes)
{
    const std::string newFile = Written("new");
    const std::string oldFile = Written("old");
    const rlim_t size = newFile.size();
    for (rlim_t limit = 0; limit < size + 997; limit += limit + 40 < size && limit + 1500 > size ? 40 : 997)
    {
        SCOPED_TRACE(limit);
        WriteWholeFile(m_Path, oldFile);
        const pid_t child = Fork(
            [&]
            {
                signal(SIGXFSZ, SIG_IGN);
                const rlimit bytes = {limit, limit};
                if (setrlimit(RLIMIT_FSIZE, &bytes) != 0)
                    return 3;
                SetLogPath("/dev/null");
                return ExitCode(SeededExport("new"), Unwritable());
            });
        EXPECT_EQ(Wait(child), limit < size ? 1 : 0);
        EXPECT_TRUE(ReadWholeFile(m_Path) == (limit < size ? oldFile : newFile));
        EXPECT_EQ(Names(), m_ModelAlone);
    }
}

// A folder that goes away while the scene is read.
TEST_F(DiskTest, WhereNothingCanBeWritten)
{
    static std::string s_Target, s_Elsewhere;
    const std::string oldFile = Written("old");
    s_Target = m_Target;
    s_Elsewhere = m_Folder / "elsewhere";
    const auto move = [](const char* text, void*)
    {
        if (std::string(text) == "Writing file...")
            fs::rename(s_Target, s_Elsewhere);
    };
    SetStatusSink(move, nullptr);
    EXPECT_EQ(ExitCode(SeededExport("new"), "Unable to open " + m_Path + " for writing."), 1);
    SetStatusSink(nullptr, nullptr);
    EXPECT_FALSE(fs::exists(m_Target));
    m_Target = s_Elsewhere;
    EXPECT_EQ(Names(), m_ModelAlone);
    EXPECT_TRUE(ReadWholeFile(m_Target + "/model.abc") == oldFile);
}

// With one settings store: both succeed, and the file is that of one of them.
TEST_F(DiskTest, TwoExportsAtOnce)
{
    const std::vector<std::string> files = {Written("one"), Written("another")};
    SetRegistryFile((m_Folder / "registry.db").c_str());
    for (int round = 0; round < 10; ++round)
    {
        int gate[2];
        ASSERT_EQ(pipe(gate), 0);
        pid_t children[2];
        for (int i = 0; i < 2; ++i)
        {
            children[i] = Fork(
                [&]
                {
                    SetLogPath((m_Folder / "log" + std::to_string(i)).c_str());
                    char byte = 0;
                    close(gate[1]);
                    return read(gate[0], &byte, 1) == 0 ? SeededExport(i == 0 ? "one" : "another") : 3;
                });
        }
        close(gate[0]);
        close(gate[1]);
        EXPECT_EQ(Wait(children[0]), 0);
        EXPECT_EQ(Wait(children[1]), 0);
        EXPECT_NE(std::find(files.begin(), files.end(), ReadWholeFile(m_Path)), files.end()) << round;
        EXPECT_EQ(Names(), m_ModelAlone);
    }
    OwnedString setting;
    EXPECT_TRUE(ReadSetting("Filename", setting));
    EXPECT_EQ(setting.GetString(), m_Path);
    EXPECT_TRUE(ReadSetting("ForceOverwrite", setting));
    EXPECT_STREQ(setting.GetString(), "1");
}
