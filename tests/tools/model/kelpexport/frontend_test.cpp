// The dialog's every way out, the settings, messages and the log.

#include "tests/tools/model/kelpexport/exporttest.h"
#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"
#include "tools/model/kelpexport/settings.h"

TEST_F(ExportTest, CancelChangesNothing)
{
    OpenScene(MakeTestScene());
    WriteWholeFile(m_Log, "the log of the run before");
    const auto cancel = [&](bool bClose)
    {
        m_User = ScriptedUser();
        m_User.Type(IDC_FILENAME, m_Path).SetCheck(IDC_DEBUGMODE, true).SetCheck(IDC_FORCEOVERWRITE, true);
        bClose ? m_User.Close() : m_User.Press(IDCANCEL);
        EXPECT_EQ(init(), 124);
        EXPECT_EQ(m_User.m_FailedActions, 0);
        EXPECT_EQ(Boxes(), "");
        EXPECT_EQ(g_DebugMode, 0);
    };
    g_DebugMode = 1; // of a run before
    cancel(false);
    EXPECT_FALSE(m_User.m_Dialogs[0].atStart[7].checked);
    cancel(true);
    OwnedString value;
    EXPECT_FALSE(ReadSetting("Filename", value));
    EXPECT_FALSE(ReadSetting("DebugMode", value));
    EXPECT_EQ(Log(), "the log of the run before");
    EXPECT_FALSE(std::filesystem::exists(m_Path));
    EXPECT_TRUE(m_Status.empty());
    SetDialogUser(nullptr); // nobody there counts as a cancel
    EXPECT_EQ(init(), 124);
}

TEST_F(ExportTest, SettingsComeBackInTheNextRun)
{
    OpenScene(MakeTestScene());
    ASSERT_EQ(Export("a", true, {}, true), 0);
    SetSettingsPath("ZoltExport", "1.0");
    OwnedString value;
    EXPECT_TRUE(ReadSetting("Filename", value));
    EXPECT_EQ(value.GetString(), m_Path);
    EXPECT_TRUE(ReadSetting("DebugMode", value));
    EXPECT_STREQ(value.GetString(), "1");
    EXPECT_TRUE(ReadSetting("ForceOverwrite", value));
    EXPECT_STREQ(value.GetString(), "1");

    m_User = ScriptedUser();
    m_User.SetCheck(IDC_FORCEOVERWRITE, false).Press(IDOK).Answer(IDNO);
    FailOperation("SAA_sceneGetName", 1, 4);
    EXPECT_EQ(init(), 124);
    const std::vector<DialogControlState>& shown = m_User.m_Dialogs[0].atStart;
    EXPECT_EQ(shown[0].text, m_Path);
    EXPECT_EQ(shown[1].text, "anim") << "the animation name isn't stored, and the scene didn't tell its name";
    EXPECT_TRUE(shown[7].checked);
    EXPECT_TRUE(shown[8].checked);
    EXPECT_TRUE(ReadSetting("ForceOverwrite", value));
    EXPECT_STREQ(value.GetString(), "0") << "stored also by a run that ends without a file";

    // Text that isn't a number.
    EXPECT_TRUE(WriteSetting("DebugMode", "yes"));
    EXPECT_TRUE(WriteSetting("ForceOverwrite", ""));
    m_User = ScriptedUser();
    m_User.Press(IDCANCEL);
    init();
    EXPECT_FALSE(m_User.m_Dialogs[0].atStart[7].checked);
    EXPECT_FALSE(m_User.m_Dialogs[0].atStart[8].checked);
    EXPECT_EQ(g_DebugMode, 0);
}

TEST_F(ExportTest, SettingsStore)
{
    SetSettingsPath("ZoltExport", "1.0");
    OwnedString value;
    value.Set("old");
    EXPECT_FALSE(ReadSetting("Missing", value));
    EXPECT_STREQ(value.GetString(), "");
    const std::string longest(1023, 'x');
    EXPECT_TRUE(WriteSetting("Long", longest.c_str()));
    EXPECT_TRUE(ReadSetting("Long", value));
    EXPECT_EQ(value.GetString(), longest);
    EXPECT_TRUE(WriteSetting("Long", (longest + "x").c_str()));
    EXPECT_FALSE(ReadSetting("Long", value));
    EXPECT_STREQ(value.GetString(), "");

    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "Software\\Varnish Hill Studios\\ZoltExport\\1.0", 0, nullptr, 0,
                              0x2001F, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    const BYTE bytes[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(RegSetValueExA(key, "Number", 0, REG_DWORD, bytes, 4), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExA(key, "Unterminated", 0, REG_SZ, bytes, 4), ERROR_SUCCESS);
    EXPECT_TRUE(WriteSetting("Empty", ""));
    DWORD size = 0;
    DWORD type = 0;
    EXPECT_EQ(RegQueryValueExA(key, "Empty", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(type, REG_SZ);
    RegCloseKey(key);
    EXPECT_FALSE(ReadSetting("Number", value)) << "a value of another type isn't there";
    EXPECT_TRUE(ReadSetting("Unterminated", value));
    EXPECT_STREQ(value.GetString(), "abcd");
    char small[4] = "xyz";
    EXPECT_FALSE(ReadSettingRaw("Unterminated", small, sizeof(small)));
    EXPECT_STREQ(small, "");
    EXPECT_TRUE(ReadSetting("Empty", value));

    // A store that can't be opened.
    SetRegistryFile("/dev/null/registry.db");
    EXPECT_EQ(OpenSettingsKey(), nullptr);
    EXPECT_FALSE(WriteSetting("Empty", ""));
    EXPECT_FALSE(ReadSetting("Empty", value));
}

TEST_F(ExportTest, BrowseAndLongNames)
{
    OpenScene(MakeTestScene());
    WriteWholeFile(m_Folder / "chosen.abc", "a file that is there is no reason to ask yet");
    std::vector<std::string> names;
    const auto look = [&](DialogWindow& dialog) { names.push_back(dialog.GetText(IDC_FILENAME)); };
    m_User.Type(IDC_FILENAME, "start").CancelChooser().Press(IDC_BROWSE).Do(look);
    m_User.Choose(m_Folder / "chosen").Press(IDC_BROWSE).Do(look);
    m_User.Choose(m_Folder / "no/folder").Press(IDC_BROWSE).Do(look);
    const std::string longName(600, 'n');
    m_User.Type(IDC_FILENAME, m_Folder / longName).Type(IDC_ANIMNAME, longName).Press(IDOK);
    init();
    EXPECT_EQ(names, (std::vector<std::string>{"start", m_Folder / "chosen.abc", m_Folder / "chosen.abc"}));
    ASSERT_EQ(m_User.m_Choosers.size(), 3u);
    const SaveFileQuestion& question = m_User.m_Choosers[0];
    EXPECT_EQ(question.title, "Select file...");
    EXPECT_EQ(question.filters, (std::vector<std::pair<std::string, std::string>>{{"ABC Files (*.abc)", "*.abc"},
                                                                                  {"All Files (*.*)", "*.*"}}));
    EXPECT_EQ(question.defaultExtension, "abc");
    EXPECT_EQ(question.startingName, "start");
    EXPECT_TRUE(question.pathMustExist);
    EXPECT_EQ(Boxes().find("already exists"), std::string::npos);
    OwnedString value;
    EXPECT_TRUE(ReadSetting("Filename", value));
    EXPECT_EQ(value.GetString(), (m_Folder / longName).substr(0, 511));
}

TEST_F(ExportTest, MessagesAndLog)
{
    m_User.Answer(IDOK).Answer(IDYES).Answer(IDNO).Answer(IDCANCEL);
    EXPECT_EQ(ShowMessage(0, "before the log: %s", "%d"), 0);
    LogOpen();
    EXPECT_EQ(ShowMessage(1, "Yes?"), 1);
    EXPECT_EQ(ShowMessage(1, "No?"), 2);
    SetStatus(1, "Status %d", 1);
    EXPECT_EQ(ShowMessage(1, "Closed?"), 2);
    SetStatus(0, "Status %d", 2);
    const std::string longText(5000, 'l');
    ShowMessage(0, "%s", longText.c_str());
    LogWrite("%s", longText.c_str());
    LogClose();
    LogClose();
    LogWrite("after the log");
    EXPECT_EQ(m_User.m_Boxes[0].text, "before the log: %d");
    EXPECT_EQ(m_User.m_Boxes[0].caption, "KelpExport");
    EXPECT_EQ(m_User.m_Boxes[0].type, MB_OK);
    EXPECT_EQ(m_User.m_Boxes[1].type, MB_YESNO);
    EXPECT_EQ(m_User.m_Boxes[4].text, longText.substr(0, 1023));
    EXPECT_EQ(m_Status, (std::vector<std::string>{"Status 1", "Status 2"}));
    EXPECT_EQ(Log(), "MessageBox: Yes?MessageBox: No?StatusBar: Status 1\nMessageBox: Closed?MessageBox: " +
                         longText.substr(0, 1023) + longText.substr(0, 4095));
    // Each run begins anew; no place for a log is no error.
    LogOpen();
    LogClose();
    EXPECT_EQ(Log(), "");
    SetLogPath("");
    LogOpen();
    LogWrite("nowhere");
    LogClose();
}

TEST_F(ExportTest, DebugModeShowsTheTextOfTheFailingCall)
{
    EXPECT_EQ(CheckStatus(7, "silent", 1), 7);
    g_DebugMode = 1;
    EXPECT_EQ(CheckStatus(7, "call()", 42), 7);
    EXPECT_EQ(CheckStatus(0, "call()", 42), 0);
    EXPECT_EQ(CheckBool(0, "array.SetSize(n)", 43), 0);
    EXPECT_EQ(CheckBool(5, "array.SetSize(n)", 43), 5);
    g_DebugMode = 0;
    EXPECT_EQ(Boxes(), "DEBUG: 'call()' returned 7 (line 42).|DEBUG: 'array.SetSize(n)' returned 0 (line 43).|");

    OpenScene(MakeTestScene());
    FailOperation("SAA_texture2DGetCropMin", 1, 9);
    EXPECT_EQ(Export("a", false, {}, true), 124);
    ASSERT_EQ(m_User.m_Boxes.size(), 2u);
    EXPECT_EQ(m_User.m_Boxes[0].text.find("DEBUG: 'SAA_texture2DGetCropMin(m_pScene, &modelTexture, &uCropMin, "
                                          "&vCropMin)' returned 9 (line "),
              0u);
    EXPECT_EQ(m_User.m_Boxes[1].text, "Node skin_zTex1: unable to get global texture coordinates.");
}
