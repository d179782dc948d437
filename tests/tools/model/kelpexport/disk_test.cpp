// A disk that is full: the old file or the new one, whole.

#include "tests/tools/model/kelpexport/exporttest.h"

#include <csignal>
#include <cstdlib>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

TEST_F(ExportTest, DiskFullAfterAnyNumberOfBytes)
{
    SetRegistryFile("");
    const std::string folder = m_Folder / "target";
    std::filesystem::create_directory(folder);
    m_Path = folder + "/model.abc";
    OpenScene(MakeTestScene());
    // The stamps are the same in each.
    const auto seededExport = [&](const char* pName)
    {
        std::srand(1);
        return Export(pName, true);
    };
    ASSERT_EQ(seededExport("new"), 0);
    const std::string newFile = ReadWholeFile(m_Path);
    ASSERT_EQ(seededExport("old"), 0);
    const std::string oldFile = ReadWholeFile(m_Path);
    const rlim_t size = newFile.size();
    for (rlim_t limit = 0; limit < size + 97; limit += 97)
    {
        SCOPED_TRACE(limit);
        WriteWholeFile(m_Path, oldFile);
        const pid_t child = fork();
        if (child == 0)
        {
            signal(SIGXFSZ, SIG_IGN);
            const rlimit bytes = {limit, limit};
            SetLogPath("/dev/null");
            const bool bDone = setrlimit(RLIMIT_FSIZE, &bytes) == 0 && seededExport("new") == 0;
            _exit(bDone ? 0 : Boxes() == "Unable to write " + m_Path + ".|" ? 1 : 2);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(WEXITSTATUS(status), limit < size ? 1 : 0);
        EXPECT_TRUE(ReadWholeFile(m_Path) == (limit < size ? oldFile : newFile));
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            EXPECT_EQ(entry.path().filename(), "model.abc");
    }
}
