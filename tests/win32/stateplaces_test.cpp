// Where the log goes.
#include "win32/stateplaces.h"

#include "tests/win32/temporaryfolder.h"

#include <fstream>
#include <gtest/gtest.h>

TEST(StatePlacesTest, FolderAndLog)
{
    const TemporaryFolder folder;
    const ScopedVariable home("HOME", folder.Path().c_str());
    const ScopedVariable none("XDG_STATE_HOME", nullptr);
    EXPECT_EQ(StateFolder(), folder / ".local/state/zoltexport");
    EXPECT_TRUE(std::filesystem::is_directory(folder / ".local/state/zoltexport"));
    EXPECT_EQ(GetLogPath(), folder / ".local/state/zoltexport/KE_Error.log");
    {
        const ScopedVariable state("XDG_STATE_HOME", (folder / "st").c_str());
        EXPECT_EQ(StateFolder(), folder / "st/zoltexport");
        SetLogPath("/tmp/there.log");
        EXPECT_STREQ(GetLogPath(), "/tmp/there.log");
        SetLogPath("");
        EXPECT_STREQ(GetLogPath(), "");
        SetLogPath(nullptr);
        EXPECT_EQ(GetLogPath(), folder / "st/zoltexport/KE_Error.log");

        std::ofstream(folder / "file") << "x";
        const ScopedVariable blocked("XDG_STATE_HOME", (folder / "file").c_str());
        EXPECT_EQ(StateFolder(), "");
        EXPECT_STREQ(GetLogPath(), "");
    }
    const ScopedVariable noHome("HOME", nullptr);
    EXPECT_EQ(StateFolder(), "");
}
