// Dialogs as data, operated by scripted and terminal users.
#include "win32/scripteduser.h"
#include "win32/terminaluser.h"

#include <cstdlib>
#include <gtest/gtest.h>

enum
{
    NAME = 500,
    TICK = 501,
    ASK = 502,
    DEAD = 503,
    LOCKED = 504
};

static const DialogControl s_Controls[] = {
    {NAME, "EDIT", nullptr, 60, 7, 100, 14, 0x50810080},
    {-1, "static", "&Name", 7, 9, 40, 8, 0x50020002},
    {IDOK, "button", "&OK", 0, 50, 50, 14, 0x50010001},
    {IDCANCEL, "button", "Cancel", 60, 50, 50, 14, 0x50010000},
    {TICK, "button", "Tick && go", 7, 30, 50, 10, 0x50010023},
    {ASK, "button", "&Ask", 120, 50, 50, 14, 0x50010000},
    {DEAD, "button", "Dead", 120, 70, 50, 14, 0x50010000 | WS_DISABLED},
    {LOCKED, "EDIT", nullptr, 60, 21, 100, 14, 0x50810080 | WS_DISABLED},
};
static const DialogTemplate s_Template = {77, 1033, "Test", "MS Sans Serif", 8,          0,
                                          0,  200,  100,    0x80C80AC0,      s_Controls, 8};

// What the test's dialog procedure saw and took over.
struct Record
{
    bool endOnCancel = true;
    bool endAtOnce = false;
    LPARAM initParam = 0;
    int focusIsName = -1;
    std::string name = "start";
    int nameLength = -1;
    LRESULT ticked = 1;
    std::vector<int> commands;
    int boxAnswer = 0;
};
static Record s_Record;

static INT_PTR CALLBACK TestProcedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_INITDIALOG)
    {
        s_Record.initParam = lParam;
        s_Record.focusIsName = reinterpret_cast<WPARAM>(GetDlgItem(dialog, NAME)) == wParam ? 1 : 0;
        SetWindowTextA(GetDlgItem(dialog, NAME), s_Record.name.c_str());
        SendMessageA(GetDlgItem(dialog, TICK), BM_SETCHECK, static_cast<WPARAM>(s_Record.ticked), 0);
        SetWindowTextA(dialog, "Test of dialogs");
        if (s_Record.endAtOnce)
            EndDialog(dialog, 33);
        return 1;
    }
    if (message != WM_COMMAND)
        return 0;
    s_Record.commands.push_back(LOWORD(wParam));
    char text[8];
    switch (LOWORD(wParam))
    {
    case IDOK:
        s_Record.nameLength = GetWindowTextA(GetDlgItem(dialog, NAME), text, sizeof(text));
        s_Record.name = text;
        s_Record.ticked = SendMessageA(GetDlgItem(dialog, TICK), BM_GETCHECK, 0, 0);
        EndDialog(dialog, 1);
        break;
    case IDCANCEL:
        if (s_Record.endOnCancel)
            EndDialog(dialog, 2);
        break;
    case ASK:
        s_Record.boxAnswer = MessageBoxA(nullptr, "Really?", "Ask", MB_YESNO);
        break;
    default:
        break;
    }
    return 1;
}

class DialogTest : public testing::Test
{
protected:
    void SetUp() override
    {
        s_Record = Record();
        RegisterDialogTemplate(&s_Template);
        SetDialogUser(&m_User);
    }
    void TearDown() override
    {
        SetDialogUser(nullptr);
        UnregisterDialogTemplate(&s_Template);
    }
    static INT_PTR Show() { return DialogBoxParamA(nullptr, MAKEINTRESOURCEA(77), nullptr, TestProcedure, 4711); }

    ScriptedUser m_User;
};

TEST_F(DialogTest, OkTakesWhatWasTypedAndTicked)
{
    m_User.Type(NAME, "abcdefghij").SetCheck(TICK, true).SetCheck(TICK, false).Press(IDOK);
    EXPECT_EQ(Show(), 1);
    EXPECT_EQ(s_Record.initParam, 4711);
    EXPECT_EQ(s_Record.focusIsName, 1);
    EXPECT_EQ(s_Record.name, "abcdefg") << "cut to the size less one";
    EXPECT_EQ(s_Record.nameLength, 7);
    EXPECT_EQ(s_Record.ticked, 0);
    // The box stood ticked, so only the second SetCheck clicked.
    EXPECT_EQ(s_Record.commands, (std::vector<int>{TICK, IDOK}));
    EXPECT_TRUE(m_User.IsDone());
    ASSERT_EQ(m_User.m_Dialogs.size(), 1U);
    const auto& seen = m_User.m_Dialogs[0];
    EXPECT_EQ(seen.title, "Test of dialogs");
    ASSERT_EQ(seen.atStart.size(), 8U);
    EXPECT_EQ(seen.atStart[0].text, "start");
    EXPECT_EQ(seen.atStart[0].className, "edit");
    EXPECT_TRUE(seen.atStart[4].checked);
    EXPECT_EQ(seen.atStart[1].id, -1);
    EXPECT_EQ(seen.atEnd[0].text, "abcdefghij");
}

TEST_F(DialogTest, EveryOtherWayOutIsACancel)
{
    m_User.Press(IDCANCEL);
    EXPECT_EQ(Show(), 2);
    m_User.Close();
    EXPECT_EQ(Show(), 2);
    EXPECT_EQ(Show(), 2) << "a user who walks away";
    SetDialogUser(nullptr);
    EXPECT_EQ(Show(), 2) << "no user";
    EXPECT_EQ(s_Record.commands, (std::vector<int>{IDCANCEL, IDCANCEL, IDCANCEL, IDCANCEL}));
    EXPECT_EQ(s_Record.name, "start");

    SetDialogUser(&m_User);
    s_Record.endOnCancel = false;
    bool openAfterClose = false;
    m_User.Close().Do([&](DialogWindow& dialog) { openAfterClose = dialog.IsOpen(); });
    EXPECT_EQ(Show(), IDCANCEL) << "a dialog that won't end is ended";
    EXPECT_TRUE(openAfterClose);

    s_Record.endAtOnce = true;
    m_User.m_Dialogs.clear();
    EXPECT_EQ(Show(), 33);
    EXPECT_TRUE(m_User.m_Dialogs.empty()) << "it had ended before the user saw it";
}

TEST_F(DialogTest, ActionsThatAPersonCouldNotDoAreRefused)
{
    m_User.Type(TICK, "x").Type(12345, "x").SetCheck(NAME, true).SetCheck(ASK, true);
    m_User.Press(NAME).Press(DEAD).Press(-1).Type(LOCKED, "x");
    EXPECT_EQ(Show(), 2);
    EXPECT_EQ(m_User.m_FailedActions, 8);
    EXPECT_EQ(s_Record.commands, std::vector<int>{IDCANCEL});
    m_User.Do(
        [](DialogWindow& dialog)
        {
            EXPECT_TRUE(dialog.Press(IDOK));
            EXPECT_FALSE(dialog.Type(NAME, "x")) << "it has ended";
            EXPECT_EQ(dialog.GetText(NAME), "start");
        });
    EXPECT_EQ(Show(), 1);
}

TEST(MessageBoxTest, AnswersAreThoseThatTheBoxCanGive)
{
    EXPECT_EQ(MessageBoxA(nullptr, "t", "c", MB_OK), IDOK);
    EXPECT_EQ(MessageBoxA(nullptr, "t", "c", MB_YESNO), IDNO);
    ScriptedUser user;
    EXPECT_EQ(SetDialogUser(&user), nullptr);
    const struct
    {
        UINT type;
        int given, result;
    } rows[] = {{MB_OK, IDOK, IDOK},    {MB_OK, IDCANCEL, IDOK},        {MB_YESNO, IDYES, IDYES},
                {MB_YESNO, IDNO, IDNO}, {MB_YESNO, IDCANCEL, IDCANCEL}, {MB_YESNO, IDOK, IDNO},
                {MB_YESNO, 12345, IDNO}};
    for (const auto& row : rows)
    {
        user.Answer(row.given);
        EXPECT_EQ(MessageBoxA(nullptr, "t", "c", row.type), row.result) << row.type << " " << row.given;
    }
    EXPECT_EQ(MessageBoxA(nullptr, nullptr, nullptr, MB_YESNO), IDNO);
    EXPECT_FALSE(user.m_Boxes.back().expected);
    EXPECT_EQ(SetDialogUser(nullptr), &user);
}

// Runs `work` with a terminal user whose input is the text, and returns what was shown.
static std::string AtTerminal(const std::string& typed, const std::function<void()>& work)
{
    FILE* in = std::tmpfile();
    std::fputs(typed.c_str(), in);
    std::rewind(in);
    char* shown = nullptr;
    size_t size = 0;
    FILE* out = open_memstream(&shown, &size);
    TerminalUser user(in, out);
    SetDialogUser(&user);
    work();
    SetDialogUser(nullptr);
    std::fclose(in);
    std::fclose(out);
    std::string text(shown, size);
    std::free(shown);
    return text;
}

TEST_F(DialogTest, TerminalUserOperatesTheDialog)
{
    // 1 the field, 2 the box, 3 Ask; the disabled button isn't offered.
    const std::string shown = AtTerminal("1\nnew\r\n2\n9\nxyz\n3\nwhat\ny\n1\n\no\n", [] { EXPECT_EQ(Show(), 1); });
    EXPECT_EQ(s_Record.name, "new");
    EXPECT_EQ(s_Record.ticked, 0);
    EXPECT_EQ(s_Record.boxAnswer, IDYES);
    EXPECT_NE(shown.find("  1  Name: start\n  2  [x] Tick & go\n  3  <Ask>\n"), std::string::npos) << shown;
    EXPECT_NE(shown.find("  1  Name: new\n  2  [ ] Tick & go\n"), std::string::npos) << shown;
    EXPECT_NE(shown.find("Type a number from 1 to 3"), std::string::npos);

    AtTerminal("1\n \no\n", [] { EXPECT_EQ(Show(), 1); });
    EXPECT_EQ(s_Record.name, "");
    AtTerminal("c\n", [] { EXPECT_EQ(Show(), 2); });
    AtTerminal("1\nlost", [] { EXPECT_EQ(Show(), 2); });
    AtTerminal("3\n", [] { EXPECT_EQ(Show(), 2); });
    EXPECT_EQ(s_Record.boxAnswer, IDNO) << "the input ended at the question";
    EXPECT_EQ(s_Record.name, "");
}

TEST(TerminalUserTest, ControlCharactersDoNotReachTheTerminal)
{
    const std::string shown =
        AtTerminal("", [] { EXPECT_EQ(MessageBoxA(nullptr, "evil \x1b[2J %s%n name", "C", MB_OK), IDOK); });
    EXPECT_EQ(shown, "C: evil ?[2J %s%n name\n");
}
