#include "zoltshared/stdzolt/replacefilestream.h"

#ifndef _WIN32

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/win32/temporaryfolder.h"

namespace fs = std::filesystem;

class ReplaceFile : public testing::Test
{
protected:
    std::string Path(const std::string& name) const { return m_Folder / name; }

    std::string Make(const std::string& name, const std::string& text) const
    {
        std::ofstream(Path(name)) << text;
        return Path(name);
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_Folder.Path()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    static std::string Read(const std::string& path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    static int Write(const std::string& path, const std::string& text)
    {
        ReplaceFileStream* pStream = OpenReplaceFileStream(path.c_str());
        if (!pStream)
            return -1;
        pStream->Write(text.data(), static_cast<uint32_t>(text.size()));
        const int result = pStream->Commit();
        pStream->Release();
        return result;
    }

    static unsigned Mode(const std::string& path)
    {
        struct stat status = {};
        stat(path.c_str(), &status);
        return status.st_mode & 07777;
    }

    TemporaryFolder m_Folder;
};

TEST_F(ReplaceFile, OldOrNewNeverAPart)
{
    const std::string path = Make("model.abc", "old");
    ReplaceFileStream* pStream = OpenReplaceFileStream(path.c_str());
    ASSERT_NE(pStream, nullptr);
    EXPECT_FALSE(pStream->IsDirect());
    EXPECT_EQ(pStream->Write("xxxx-new", 8), 0);
    EXPECT_EQ(pStream->SeekTo(0), 0);
    EXPECT_EQ(pStream->Write("very", 4), 0);
    EXPECT_EQ(pStream->GetLength(), 8U);
    EXPECT_EQ(Read(path), "old");
    EXPECT_EQ(Names().size(), 2U);
    EXPECT_EQ(Names()[0].rfind(".model.abc.", 0), 0U);
    EXPECT_EQ(pStream->Commit(), 0);
    EXPECT_EQ(Read(path), "very-new");
    EXPECT_NE(pStream->Commit(), 0);
    EXPECT_NE(pStream->Write("x", 1), 0);
    pStream->Release();
    EXPECT_EQ(Names(), std::vector<std::string>{"model.abc"});

    pStream = OpenReplaceFileStream(path.c_str()); // two at a time, and neither is committed
    ReplaceFileStream* pOther = OpenReplaceFileStream(path.c_str());
    ASSERT_TRUE(pStream && pOther);
    EXPECT_EQ(pStream->Write("lost", 4), 0);
    pStream->Release();
    EXPECT_EQ(pOther->Commit(), 0);
    pOther->Release();
    EXPECT_EQ(Read(path), "");
    EXPECT_EQ(Names(), std::vector<std::string>{"model.abc"});
}

TEST_F(ReplaceFile, KeepsPermissions)
{
    const std::string path = Make("a", "old");
    const mode_t mask = umask(027);
    for (unsigned mode : {0600U, 0664U, 0777U})
    {
        fs::permissions(path, static_cast<fs::perms>(mode));
        ASSERT_EQ(Write(path, "new"), 0);
        EXPECT_EQ(Mode(path), mode);
    }
    ASSERT_EQ(Write(Path("b"), "new"), 0);
    EXPECT_EQ(Mode(Path("b")), 0640U);
    umask(mask);
    if (geteuid() == 0)
    {
        ASSERT_EQ(chown(path.c_str(), 1234, 2345), 0);
        ASSERT_EQ(Write(path, "newer"), 0);
        struct stat status = {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_TRUE(status.st_uid == 1234 && status.st_gid == 2345);
    }
}

TEST_F(ReplaceFile, FollowsLinks)
{
    fs::create_directory(Path("deep"));
    Make("deep/end", "old");
    fs::create_symlink("deep/second", Path("first"));
    fs::create_symlink("end", Path("deep/second"));
    ASSERT_EQ(Write(Path("first"), "new"), 0);
    EXPECT_TRUE(fs::is_symlink(Path("first")) && fs::is_symlink(Path("deep/second")));
    EXPECT_EQ(Read(Path("deep/end")), "new");
    fs::create_symlink(Path("deep/fresh"), Path("dangling"));
    ASSERT_EQ(Write(Path("dangling"), "made"), 0);
    EXPECT_TRUE(fs::is_symlink(Path("dangling")));
    EXPECT_EQ(Read(Path("deep/fresh")), "made");
    fs::create_symlink("round", Path("round"));
    EXPECT_EQ(Write(Path("round"), "x"), -1);
}

TEST_F(ReplaceFile, FailsToOpenWhereFopenWould)
{
    fs::create_directory(Path("folder"));
    fs::create_symlink("nowhere/file", Path("astray"));
    Make("file", "old");
    for (const std::string& path :
         {Path("folder"), Path("folder/"), Path("none/file"), Path("none/"), Path("astray"), Path("file/x"), Path("."),
          std::string(), std::string(5000, 'x'), Path(std::string(256, 'x'))})
    {
        EXPECT_EQ(std::fopen(path.c_str(), "wb"), nullptr);
        EXPECT_EQ(OpenReplaceFileStream(path.c_str()), nullptr) << path;
    }
    EXPECT_EQ(Write(Path(std::string(255, 'x')), "long"), 0); // as long as a name can be
    EXPECT_EQ(Names(), (std::vector<std::string>{"astray", "file", "folder", std::string(255, 'x')}));
}

// In a folder that is closed the open file is written directly.
TEST_F(ReplaceFile, WithoutRights)
{
    fs::create_directory(Path("closed"));
    const std::string open = Make("closed/open", "old");
    fs::permissions(open, static_cast<fs::perms>(0666));
    fs::permissions(Path("closed"), static_cast<fs::perms>(0555));
    fs::permissions(m_Folder.Path(), static_cast<fs::perms>(0777));
    // As another user, in a process of its own; skipped where that can't be had.
    const pid_t child = fork();
    if (child == 0)
    {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            _exit(99);
        ReplaceFileStream* pStream = OpenReplaceFileStream(open.c_str());
        const bool bDirect = pStream && pStream->IsDirect() && pStream->Write("direct", 6) == 0;
        const int result = bDirect ? pStream->Commit() : 1;
        if (pStream)
            pStream->Release();
        _exit(result);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 99)
        GTEST_SKIP();
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Read(open), "direct");
    fs::permissions(Path("closed"), static_cast<fs::perms>(0755));
}

TEST_F(ReplaceFile, AFailedWriteKeepsTheOldFile)
{
    const std::string path = Make("a", "old");
    ReplaceFileStream* pStream = OpenReplaceFileStream(path.c_str());
    ASSERT_NE(pStream, nullptr);
    EXPECT_EQ(pStream->Write("new", 3), 0);
    char byte;
    EXPECT_NE(pStream->Read(&byte, 1), 0); // an error on the way is enough, though all else goes well
    EXPECT_NE(pStream->Commit(), 0);
    pStream->Release();
    EXPECT_EQ(Read(path), "old");

    pStream = OpenReplaceFileStream(path.c_str()); // a rename that fails
    ASSERT_NE(pStream, nullptr);
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_NE(pStream->Commit(), 0);
    pStream->Release();
    EXPECT_EQ(Names(), std::vector<std::string>{"a"});
}

TEST_F(ReplaceFile, KilledProcessesAreSweptAfter)
{
    const std::string path = Make("a", "old");
    const pid_t child = fork();
    if (child == 0)
    {
        OpenReplaceFileStream(path.c_str());
        OpenReplaceFileStream(Path("other").c_str());
        _exit(0); // without a Release
    }
    waitpid(child, nullptr, 0);
    Make(".a.zolt-notes", "a user's own");
    ASSERT_EQ(Names().size(), 4U);
    ReplaceFileStream* pRunning = OpenReplaceFileStream(path.c_str());
    ASSERT_EQ(Write(path, "new"), 0);
    std::vector<std::string> names = Names();
    EXPECT_EQ(names.size(), 4U); // .a of the running one, the notes, .other, a
    EXPECT_EQ(pRunning->Commit(), 0);
    pRunning->Release();
    ASSERT_EQ(Write(Path("other"), "new"), 0);
    EXPECT_EQ(Names(), (std::vector<std::string>{".a.zolt-notes", "a", "other"}));
}

TEST_F(ReplaceFile, SpecialFilesAreWrittenDirectly)
{
    ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
    const int reader = open(Path("fifo").c_str(), O_RDONLY | O_NONBLOCK);
    ReplaceFileStream* pStream = OpenReplaceFileStream(Path("fifo").c_str());
    ASSERT_NE(pStream, nullptr);
    EXPECT_TRUE(pStream->IsDirect());
    // A pipe gets the bytes as they are in the end.
    std::string text(40000, 'x');
    EXPECT_EQ(pStream->Write(text.data(), 40000), 0);
    EXPECT_EQ(pStream->SeekTo(0), 0);
    text[0] = 'a';
    EXPECT_EQ(pStream->Write("a", 1), 0);
    EXPECT_EQ(pStream->Commit(), 0);
    pStream->Release();
    std::string bytes(50000, '\0');
    bytes.resize(static_cast<size_t>(std::max<ssize_t>(read(reader, bytes.data(), bytes.size()), 0)));
    EXPECT_TRUE(bytes == text) << bytes.size();
    const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    close(reader);
    for (const uint32_t size : {400U, 40000U}) // in the last flush alone, and before it
    {
        const int gone = open(Path("fifo").c_str(), O_RDONLY | O_NONBLOCK);
        pStream = OpenReplaceFileStream(Path("fifo").c_str());
        ASSERT_NE(pStream, nullptr);
        EXPECT_EQ(pStream->Write(text.data(), size), 0);
        close(gone);
        EXPECT_NE(pStream->Commit(), 0) << "nobody reads";
        pStream->Release();
    }
    std::signal(SIGPIPE, ignored);
    EXPECT_EQ(Names(), std::vector<std::string>{"fifo"});
    if (fs::exists("/dev/full"))
    {
        EXPECT_GT(Write("/dev/full", "abc"), 0);
    }
}

#endif
