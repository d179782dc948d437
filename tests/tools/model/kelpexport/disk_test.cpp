// Disks that are full, files and folders that can't be written or aren't there any more, and two processes at once: the
// old file or the new one, whole.

#include "tests/tools/model/kelpexport/exporttest.h"
#include "tools/model/kelpexport/settings.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

class DiskTest : public ExportTest
{
protected:
    DiskTest()
    {
        SetRegistryFile("");
        fs::permissions(m_Folder.Path(), fs::perms::all); // for a child that isn't root
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
    std::string Unopenable() const { return "Unable to open " + m_Path + " for writing."; }
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

// Each in a child that isn't root; skipped where that can't be had.
TEST_F(DiskTest, WhereNothingCanBeWritten)
{
    const std::string oldFile = Written("old");
    const auto exportAsNobody = [&](const std::function<void()>& whileWriting)
    {
        return Wait(Fork(
            [&]
            {
                if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
                    return 99;
                struct Writing
                {
                    static void See(const char* text, void* context)
                    {
                        if (std::string(text) == "Writing file...")
                            (*static_cast<const std::function<void()>*>(context))();
                    }
                };
                SetStatusSink(Writing::See, const_cast<std::function<void()>*>(&whileWriting));
                return ExitCode(SeededExport("new"), Unopenable());
            }));
    };
    const auto nothing = [] {};

    chmod(m_Target.c_str(), 0755);
    chmod(m_Path.c_str(), 0444);
    const int result = exportAsNobody(nothing);
    if (result == 99)
        GTEST_SKIP() << "needs another user";
    EXPECT_EQ(result, 1) << "a read-only file";
    EXPECT_TRUE(ReadWholeFile(m_Path) == oldFile);

    fs::remove(m_Path);
    chmod(m_Target.c_str(), 0555);
    EXPECT_EQ(exportAsNobody(nothing), 1) << "a read-only folder";
    EXPECT_EQ(Names(), std::vector<std::string>());

    chmod(m_Target.c_str(), 0777);
    EXPECT_EQ(exportAsNobody([&] { chmod(m_Target.c_str(), 0555); }), 0) << "only its owner can close a folder";
    const std::string elsewhere = m_Folder / "elsewhere";
    EXPECT_EQ(exportAsNobody([&] { fs::rename(m_Target, elsewhere); }), 1) << "a folder that goes away in between";
    EXPECT_FALSE(fs::exists(m_Target));
    EXPECT_EQ(exportAsNobody(nothing), 1) << "a folder that has gone";
    EXPECT_FALSE(fs::exists(m_Target));
    m_Target = elsewhere;
    EXPECT_EQ(Names(), m_ModelAlone);
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
