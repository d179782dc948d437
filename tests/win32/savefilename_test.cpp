// The file chooser.
#include "tests/win32/temporaryfolder.h"
#include "win32/scripteduser.h"
#include "win32/terminaluser.h"

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>

class SaveFileTest : public testing::Test
{
protected:
    void SetUp() override
    {
        std::memset(&m_Record, 0, sizeof(m_Record));
        std::strcpy(m_Buffer, "start.abc");
        m_Record.lStructSize = sizeof(m_Record);
        m_Record.lpstrFilter = "ABC Files (*.abc)\0*.abc\0All Files (*.*)\0*.*\0";
        m_Record.nFilterIndex = 1;
        m_Record.lpstrFile = m_Buffer;
        m_Record.nMaxFile = sizeof(m_Buffer);
        m_Record.lpstrTitle = "Select file...";
        m_Record.Flags = OFN_EXPLORER | OFN_PATHMUSTEXIST;
        m_Record.lpstrDefExt = "abc";
        SetDialogUser(&m_User);
    }
    void TearDown() override { SetDialogUser(nullptr); }

    // The chooser's outcome for a name, "-" when it fails; a failure has to leave the buffer alone.
    std::string Choose(const std::string& name)
    {
        std::strcpy(m_Buffer, "start.abc");
        m_User.Choose(name);
        if (GetSaveFileNameA(&m_Record))
            return m_Buffer;
        EXPECT_STREQ(m_Buffer, "start.abc");
        return "-";
    }

    TemporaryFolder m_Folder;
    ScriptedUser m_User;
    OPENFILENAMEA m_Record;
    char m_Buffer[512];
};

TEST_F(SaveFileTest, ExtensionAndFolderRules)
{
    EXPECT_EQ(Choose(m_Folder / "a"), m_Folder / "a.abc");
    EXPECT_EQ(m_Record.nFileOffset, m_Folder.Path().size() + 1);
    EXPECT_EQ(m_Record.nFileExtension, m_Folder.Path().size() + 3);
    EXPECT_EQ(Choose(m_Folder / "walk.v2"), m_Folder / "walk.v2");
    EXPECT_EQ(Choose(m_Folder / ".hidden"), m_Folder / ".hidden.abc");
    EXPECT_EQ(Choose(m_Folder / "missing/a"), "-");
    EXPECT_EQ(Choose(m_Folder.Path()), "-") << "a folder is no file";
    EXPECT_EQ(Choose(m_Folder / "x/.."), "-");
    EXPECT_EQ(Choose(m_Folder.Path() + "/"), "-");
    EXPECT_EQ(Choose(""), "-");
    m_Record.Flags = OFN_EXPLORER;
    EXPECT_EQ(Choose(m_Folder / "missing/a"), m_Folder / "missing/a.abc");
    m_Record.lpstrDefExt = nullptr;
    EXPECT_EQ(Choose(m_Folder / "a"), m_Folder / "a");
    const std::string folder = m_Folder.Path();
    m_Record.lpstrInitialDir = folder.c_str();
    EXPECT_EQ(Choose("b.abc"), m_Folder / "b.abc");
    m_Record.lpstrInitialDir = nullptr;
    EXPECT_EQ(Choose("b.abc"), (std::filesystem::current_path() / "b.abc").string());
}

TEST_F(SaveFileTest, ResultHasToFit)
{
    const std::string name = m_Folder / "fits"; // and ".abc" and a zero
    m_Record.nMaxFile = static_cast<DWORD>(name.size() + 5);
    EXPECT_EQ(Choose(name), name + ".abc");
    m_Record.nMaxFile--;
    EXPECT_EQ(Choose(name), "-");
}

TEST_F(SaveFileTest, CancelAndBadRecords)
{
    m_User.CancelChooser();
    EXPECT_FALSE(GetSaveFileNameA(&m_Record));
    EXPECT_STREQ(m_Buffer, "start.abc");
    SetDialogUser(nullptr);
    EXPECT_FALSE(GetSaveFileNameA(&m_Record)) << "nobody there";
    SetDialogUser(&m_User);
    EXPECT_FALSE(GetSaveFileNameA(nullptr));
    m_Record.lStructSize--;
    EXPECT_EQ(Choose(m_Folder / "a"), "-");
}

TEST_F(SaveFileTest, OverwritePromptOnlyWhenAskedFor)
{
    std::ofstream(m_Folder / "old.abc") << "x";
    EXPECT_EQ(Choose(m_Folder / "old"), m_Folder / "old.abc");
    EXPECT_TRUE(m_User.m_Boxes.empty());
    m_Record.Flags |= OFN_OVERWRITEPROMPT;
    EXPECT_EQ(Choose(m_Folder / "old"), "-");
    m_User.Answer(IDYES);
    EXPECT_EQ(Choose(m_Folder / "old"), m_Folder / "old.abc");
    EXPECT_EQ(m_User.m_Boxes.size(), 2U);
}

TEST_F(SaveFileTest, TerminalUserIsAskedAgainUntilTheNameIsAccepted)
{
    const std::string typed = m_Folder / "no/a" + "\n" + m_Folder / "yes" + "\n-\n";
    FILE* in = std::tmpfile();
    FILE* out = std::tmpfile();
    std::fputs(typed.c_str(), in);
    std::rewind(in);
    TerminalUser user(in, out);
    SetDialogUser(&user);
    EXPECT_TRUE(GetSaveFileNameA(&m_Record));
    EXPECT_EQ(m_Buffer, m_Folder / "yes.abc");
    EXPECT_FALSE(GetSaveFileNameA(&m_Record)) << "cancelled by -";
    EXPECT_FALSE(GetSaveFileNameA(&m_Record)) << "cancelled by the end of the input";
    std::fclose(in);
    std::fclose(out);
}
