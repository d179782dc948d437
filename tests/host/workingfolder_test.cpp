// The working folder: where it is, and that it goes, however the process ends.
#include "host/workingfolder.h"

#include "host/placefile.h"
#include "tests/win32/temporaryfolder.h"

#include <fstream>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

static size_t CountEntries(const std::string& folder)
{
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(WorkingFolderTest, BesideTheTargetOrElsewhere)
{
    const TemporaryFolder base;
    std::string path;
    {
        WorkingFolder folder;
        ASSERT_TRUE(folder.Create(base / "m.abc", 511));
        path = folder.GetPath();
        EXPECT_EQ(fs::path(path).parent_path(), base.Path());
        EXPECT_EQ(fs::path(folder.GetFile()).filename(), "m.abc");
        std::ofstream(folder.GetFile()) << "x";
    }
    EXPECT_FALSE(fs::exists(path));

    const ScopedVariable temporary("TMPDIR", (base / "tmp").c_str());
    fs::create_directory(base / "tmp");
    ASSERT_EQ(mkfifo((base / "fifo").c_str(), 0600), 0);
    {
        WorkingFolder forPipe;
        ASSERT_TRUE(forPipe.Create(base / "fifo", 511));
        EXPECT_EQ(fs::path(forPipe.GetPath()).parent_path(), base / "tmp");
        const std::string deep = base / std::string(200, 'd');
        fs::create_directory(deep);
        WorkingFolder forDeep;
        ASSERT_TRUE(forDeep.Create(deep + "/m.abc", 200)); // too long beside the target
        EXPECT_EQ(fs::path(forDeep.GetPath()).parent_path(), base / "tmp");
    }
    EXPECT_EQ(CountEntries(base / "tmp"), 0U);
    EXPECT_FALSE(WorkingFolder().Create(base / "missing/m.abc", 511));
}

TEST(WorkingFolderTest, GoesWithTheProcess)
{
    const TemporaryFolder base;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL})
    {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0)
        {
            std::signal(signal, SIG_DFL);
            WorkingFolder folder;
            if (!folder.Create(base / "m.abc", 511))
                _exit(1);
            for (int i = 0; i < 1000000; i++) // files keep coming
            {
                if (i == 3)
                    kill(getpid(), signal);
                std::ofstream(folder.GetPath() + "/" + std::to_string(i)) << "x";
            }
            _exit(2);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << signal << " " << status;
        for (int i = 0; i < 1000 && CountEntries(base.Path()) > 0; i++)
            usleep(10000);
        EXPECT_EQ(CountEntries(base.Path()), 0U) << signal;
    }
}

// What a machine that went down has left goes with the next run for the same target; folders in use and those of others
// stay.
TEST(WorkingFolderTest, AbandonedFolders)
{
    const TemporaryFolder base;
    fs::create_directory(base / ".m.abc.zolt-abcdef");
    std::ofstream(base / ".m.abc.zolt-abcdef/m.abc") << "x";
    fs::create_directory(base / ".m.abc.zolt-ghijkl~");
    const std::string strange = base / ".n.abc.zolt-abcdef"; // as long a name
    fs::create_directory(strange);
    {
        WorkingFolder other;
        ASSERT_TRUE(other.Create(base / "other.abc", 511));
        EXPECT_EQ(CountEntries(base.Path()), 4U);
        RemoveAbandonedFolders(base / "other.abc");
        EXPECT_EQ(CountEntries(base.Path()), 4U);
        RemoveAbandonedFolders(base / "m.abc");
        EXPECT_EQ(CountEntries(base.Path()), 2U);
        EXPECT_TRUE(fs::remove(strange));
        WorkingFolder one;
        WorkingFolder another;
        ASSERT_TRUE(one.Create(base / "m.abc", 511) && another.Create(base / "m.abc", 511));
        EXPECT_EQ(CountEntries(base.Path()), 3U);
        EXPECT_TRUE(fs::exists(one.GetPath()));
    }
    EXPECT_EQ(CountEntries(base.Path()), 0U);
}

// Links, permissions and all else that a new file may lose: ReplaceFile.* of the stream below.
TEST(PlaceFileTest, NewFileOrTheOldOne)
{
    const TemporaryFolder base;
    std::ofstream(base / "new") << "new bytes";
    std::ofstream(base / "real") << "old";
    fs::create_symlink("real", base / "link");
    std::string error;
    ASSERT_TRUE(PlaceFile(base / "new", base / "link", error)) << error;
    EXPECT_EQ(fs::file_size(base / "real"), 9U);
    EXPECT_FALSE(PlaceFile(base / "gone", base / "real", error));
    EXPECT_EQ(error, "Unable to write " + (base / "real") + ".");
    EXPECT_EQ(fs::file_size(base / "real"), 9U);
    EXPECT_FALSE(PlaceFile(base.Path(), base / "real", error)) << "opens, but can't be read";
    EXPECT_EQ(fs::file_size(base / "real"), 9U);
    EXPECT_FALSE(PlaceFile(base / "new", base / "no/m.abc", error));
    EXPECT_EQ(error, "Unable to open " + (base / "no/m.abc") + " for writing.");
}
