// Exports as a user meets them: the dialog, its boxes and the chooser on a real screen, settings in the real registry.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/model/src/loadrequest.h"
#include "engine/model/src/model.h"
#include "tests/windows/hostprocess.h"
#include "tests/windows/user.h"
#include "zoltshared/stdzolt/stdiostream.h"

static const char KEY[] = "Software\\Varnish Hill Studios\\ZoltExport\\1.0";
static const char LOG[] = "c:\\KE_Error.log";
static const char APPEND_QUESTION[] = "Filename exists - append current animation to this file?";

enum
{
    FILENAME = 1000,
    ANIMNAME = 1001,
    BROWSE = 1002,
    DEBUG_MODE = 1004,
    FORCE_OVERWRITE = 1005
};

static std::string ReadWhole(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

static void WriteWhole(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

// The value as it lies in the registry: its type and its bytes; "none" without one.
static std::string Setting(const char* pName)
{
    HKEY key = nullptr;
    char bytes[2048] = "";
    DWORD type = REG_NONE;
    DWORD size = sizeof(bytes);
    LSTATUS status = RegOpenKeyExA(HKEY_LOCAL_MACHINE, KEY, 0, KEY_READ, &key);
    if (status == ERROR_SUCCESS)
        status = RegQueryValueExA(key, pName, nullptr, &type, reinterpret_cast<BYTE*>(bytes), &size);
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? std::to_string(type) + ":" + std::string(bytes, size) : "none";
}

static std::string Text(const std::string& text)
{
    return "1:" + text + std::string(1, '\0'); // REG_SZ, with its terminator
}

static void SetSetting(const char* pName, DWORD type, const std::string& bytes)
{
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, KEY, 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr), 0);
    EXPECT_EQ(RegSetValueExA(key, pName, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                             static_cast<DWORD>(bytes.size())),
              0);
    RegCloseKey(key);
}

class WindowsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        char folder[MAX_PATH] = "";
        GetTempPathA(MAX_PATH, folder);
        m_Path = std::string(folder) + "zolt_windows_test.abc";
        std::filesystem::remove(m_Path);
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, KEY);
        WriteWhole(LOG, "the log of the run before");
    }
    void TearDown() override { std::filesystem::remove(m_Path); }

    // Starts a run and waits for its dialog.
    void Start(const char* pClip = "walk")
    {
        m_pHost = std::make_unique<HostProcess>(ZOLT_SOURCE_DIR "/examples/strider.gltf", pClip);
        m_Dialog = m_pHost->WaitForWindow("ZoltExport");
        ASSERT_NE(m_Dialog, nullptr);
    }

    HWND Item(int id) const { return GetDlgItem(m_Dialog, id); }

    void SetCheck(int id, bool bOn)
    {
        if (IsChecked(Item(id)) != bOn)
            Click(Item(id));
        EXPECT_TRUE(WaitUntil([&] { return IsChecked(Item(id)) == bOn; }));
    }

    // Waits for a message box and presses one of its buttons.
    void Answer(const std::string& sentence, int button, const char* pScreenshot = nullptr)
    {
        HWND box = m_pHost->WaitForWindow("KelpExport");
        ASSERT_NE(box, nullptr) << sentence;
        EXPECT_EQ(SentenceOf(box), sentence);
        if (pScreenshot)
            TakeScreenshot(box, pScreenshot);
        if (button == IDOK)
            PressKey(VK_RETURN);
        else
            Click(GetDlgItem(box, button));
        EXPECT_TRUE(WaitUntil([&] { return !IsWindow(box); }));
    }

    // The names of the animations of the written file.
    std::string Anims() const
    {
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        LoadRequest request;
        request.m_pStream = OpenStdioStream(m_Path.c_str(), "rb");
        if (!request.m_pStream)
            return "no file";
        const uint32_t result = model.Load(&request);
        request.m_pStream->Release();
        std::string names = result == 0 ? "" : "no model";
        for (uint32_t i = 0; i < model.NumAnims(); i++)
            names += (i ? "," : "") + std::string(model.GetAnim(i)->GetName());
        return names;
    }

    // A whole run that isn't asked anything but for the dialog.
    void ExportFresh()
    {
        Start();
        ASSERT_EQ(TypeInto(Item(FILENAME), m_Path), m_Path);
        Click(Item(IDOK));
        ASSERT_EQ(m_pHost->WaitForEnd(), 0);
    }

    std::string m_Path;
    std::unique_ptr<HostProcess> m_pHost;
    HWND m_Dialog = nullptr;
};

TEST_F(WindowsTest, ExportsAppendsAndRemembers)
{
    Start();
    EXPECT_EQ(TextOf(Item(FILENAME)), "model.abc");
    EXPECT_EQ(TextOf(Item(ANIMNAME)), "walk");
    EXPECT_FALSE(IsChecked(Item(DEBUG_MODE)) || IsChecked(Item(FORCE_OVERWRITE)));
    TakeScreenshot(m_Dialog, "dialog");
    ASSERT_EQ(TypeInto(Item(FILENAME), m_Path), m_Path);
    ASSERT_EQ(TypeInto(Item(ANIMNAME), "first steps"), "first steps");
    SetCheck(DEBUG_MODE, true);
    TakeScreenshot(m_Dialog, "dialog-filled");
    Click(Item(IDOK));
    ASSERT_EQ(m_pHost->WaitForEnd(), 0);
    EXPECT_EQ(Anims(), "first steps");
    EXPECT_EQ(Setting("Filename"), Text(m_Path));
    EXPECT_EQ(Setting("DebugMode"), Text("1"));
    EXPECT_EQ(Setting("ForceOverwrite"), Text("0"));
    const std::string log = ReadWhole(LOG);
    EXPECT_EQ(log.rfind("StatusBar: ", 0), 0U) << log;
    EXPECT_NE(log.find("StatusBar: Writing file...\r\n"), std::string::npos) << log;

    const std::string written = ReadWhole(m_Path);
    for (int answer : {IDNO, IDYES})
    {
        Start("wave");
        EXPECT_EQ(TextOf(Item(FILENAME)), m_Path);
        EXPECT_EQ(TextOf(Item(ANIMNAME)), "wave");
        EXPECT_TRUE(IsChecked(Item(DEBUG_MODE)));
        PressKey(VK_RETURN); // OK is the default button
        Answer(APPEND_QUESTION, answer, answer == IDYES ? "append" : nullptr);
        ASSERT_EQ(m_pHost->WaitForEnd(), answer == IDYES ? 0 : 124);
        if (answer == IDNO)
        {
            EXPECT_EQ(ReadWhole(m_Path), written);
            EXPECT_EQ(ReadWhole(LOG), std::string("MessageBox: ") + APPEND_QUESTION);
        }
    }
    EXPECT_EQ(Anims(), "first steps,wave");

    Start();
    SetCheck(FORCE_OVERWRITE, true);
    Click(Item(IDOK));
    ASSERT_EQ(m_pHost->WaitForEnd(), 0) << "nothing is asked";
    EXPECT_EQ(Anims(), "walk");
    EXPECT_EQ(Setting("ForceOverwrite"), Text("1"));
}

TEST_F(WindowsTest, AFileThatIsNoModel)
{
    WriteWhole(m_Path, "no model");
    SetSetting("Filename", REG_SZ, m_Path + std::string(1, '\0'));
    for (int answer : {IDNO, IDYES})
    {
        Start();
        Click(Item(IDOK));
        Answer(APPEND_QUESTION, IDYES);
        Answer(m_Path + " is an invalid model file, overwrite?", answer);
        ASSERT_EQ(m_pHost->WaitForEnd(), answer == IDYES ? 0 : 124);
        EXPECT_EQ(Anims(), answer == IDYES ? "walk" : "no model");
    }
}

TEST_F(WindowsTest, CancelAndCloseChangeNothing)
{
    for (bool bClose : {false, true})
    {
        Start();
        ASSERT_EQ(TypeInto(Item(FILENAME), m_Path), m_Path);
        SetCheck(FORCE_OVERWRITE, true);
        if (!bClose)
            Click(Item(IDCANCEL));
        // Without a window manager Wine draws frames where Managed is N, and else no window has this button.
        EXPECT_TRUE(!bClose || ClickCloseButton(m_Dialog));
        EXPECT_EQ(m_pHost->WaitForEnd(), 124);
        EXPECT_EQ(Setting("Filename"), "none");
        EXPECT_EQ(ReadWhole(LOG), "the log of the run before");
        EXPECT_FALSE(std::filesystem::exists(m_Path));
    }
}

TEST_F(WindowsTest, Browse)
{
    Start();
    for (bool bAccept : {false, true})
    {
        const std::string before = TextOf(Item(FILENAME));
        Click(Item(BROWSE));
        HWND chooser = m_pHost->WaitForWindow("Select file...");
        ASSERT_NE(chooser, nullptr);
        PressKey(VK_HOME);
        TypeText("c:\\");
        TakeScreenshot(chooser, "browse");
        PressKey(bAccept ? VK_RETURN : VK_ESCAPE);
        ASSERT_TRUE(WaitUntil([&] { return !IsWindow(chooser); }));
        EXPECT_TRUE(WaitUntil([&] { return (TextOf(Item(FILENAME)) != before) == bAccept; }));
    }
    std::string chosen = TextOf(Item(FILENAME));
    std::transform(chosen.begin(), chosen.end(), chosen.begin(), [](char c) { return c == 'C' ? 'c' : c; });
    EXPECT_EQ(chosen, "c:\\model.abc");
    PressKey(VK_ESCAPE); // Cancel
    EXPECT_EQ(m_pHost->WaitForEnd(), 124);
}

TEST_F(WindowsTest, SettingsThatAreNone)
{
    SetSetting("DebugMode", REG_DWORD, std::string("1\0\0\0", 4));
    SetSetting("ForceOverwrite", REG_SZ, "on");
    SetSetting("Filename", REG_SZ, std::string(1024, 'x') + std::string(1, '\0'));
    Start();
    EXPECT_EQ(TextOf(Item(FILENAME)), "model.abc") << "a text of 1023 characters is the longest";
    EXPECT_FALSE(IsChecked(Item(DEBUG_MODE)));
    EXPECT_FALSE(IsChecked(Item(FORCE_OVERWRITE)));
    Click(Item(IDCANCEL));
    EXPECT_EQ(m_pHost->WaitForEnd(), 124);

    SetSetting("Filename", REG_SZ, std::string(1023, 'x') + std::string(1, '\0'));
    Start();
    EXPECT_EQ(TextOf(Item(FILENAME)), std::string(1023, 'x'));
    Click(Item(IDOK));
    const std::string cut(511, 'x');
    Answer("Unable to open " + cut + " for writing.", IDOK);
    EXPECT_EQ(m_pHost->WaitForEnd(), 124);
    EXPECT_EQ(Setting("Filename"), Text(cut));
    EXPECT_EQ(Setting("DebugMode"), Text("0"));
}

TEST_F(WindowsTest, AFileThatIsHeldOpen)
{
    ExportFresh();
    const std::string before = ReadWhole(m_Path);
    HANDLE held = CreateFileA(m_Path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    for (bool bHeld : {true, false})
    {
        Start("wave");
        SetCheck(FORCE_OVERWRITE, true);
        Click(Item(IDOK));
        if (bHeld)
            Answer("Unable to open " + m_Path + " for writing.", IDOK, "held");
        EXPECT_EQ(m_pHost->WaitForEnd(), bHeld ? 124 : 0);
        EXPECT_EQ(Anims(), bHeld ? "walk" : "wave");
        if (bHeld)
        {
            EXPECT_EQ(ReadWhole(m_Path), before);
            CloseHandle(held);
        }
    }
}

// What kelpexport.rc has become: the template as Windows reads it, word by word.
TEST(Resource, Template101)
{
    char folder[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, folder, MAX_PATH);
    const std::filesystem::path path = std::filesystem::path(folder).parent_path() / "../bin/ZoltExport.dll";
    HMODULE plugin = LoadLibraryExA(path.string().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    ASSERT_NE(plugin, nullptr);
    HRSRC found = FindResourceExA(plugin, MAKEINTRESOURCEA(5), MAKEINTRESOURCEA(101), 1033); // 5: dialogs
    ASSERT_NE(found, nullptr);
    std::vector<WORD> words(SizeofResource(plugin, found) / sizeof(WORD));
    memcpy(words.data(), LockResource(LoadResource(plugin, found)), words.size() * sizeof(WORD));
    FreeLibrary(plugin);

    std::vector<WORD> expected;
    const auto addRow = [&](DWORD style, std::initializer_list<int> numbers, std::initializer_list<const char*> texts)
    {
        expected.resize((expected.size() + 1) / 2 * 2); // rows are aligned
        for (DWORD number : {style & 0xFFFF, style >> 16, DWORD(0), DWORD(0)})
            expected.push_back(static_cast<WORD>(number));
        for (int number : numbers)
            expected.push_back(static_cast<WORD>(number));
        for (const char* pText : texts)
            expected.insert(expected.end(), pText, pText + strlen(pText) + 1);
    };
    addRow(0x80C80AC0, {9, 0, 0, 298, 102, 0, 0}, {"ZoltExport", "\bMS Sans Serif"}); // of 8 points
    const struct
    {
        int m_Id, m_X, m_Y, m_Width, m_Height;
        DWORD m_Style;
        const char *m_pClass, *m_pText;
    } controls[] = {
        {1000, 75, 7, 162, 14, 0x50810080, "EDIT", ""},
        {1001, 75, 28, 162, 14, 0x50810080, "EDIT", ""},
        {1, 94, 81, 50, 14, 0x50010001, "BUTTON", "&OK"},
        {2, 152, 81, 50, 14, 0x50010000, "BUTTON", "&Cancel"},
        {1002, 241, 7, 50, 14, 0x50010000, "BUTTON", "&Browse"},
        {-1, 7, 10, 65, 8, 0x50020002, "STATIC", "Filename"},
        {1003, 7, 31, 64, 8, 0x50020002, "STATIC", "Animation Name"},
        {1004, 8, 49, 76, 10, 0x50010023, "BUTTON", "Debug Mode"},
        {1005, 8, 63, 76, 10, 0x50010023, "BUTTON", "Force Overwrite"},
    };
    for (const auto& row : controls)
    {
        addRow(row.m_Style, {row.m_X, row.m_Y, row.m_Width, row.m_Height, row.m_Id}, {row.m_pClass, row.m_pText});
        expected.push_back(0); // no data
    }
    EXPECT_EQ(words, expected);
}

// Models of other scenes, for a comparison with those of other platforms: each .glb and .gltf of the folder that
// ZOLT_SCENES names, as NAME.abc in the one that ZOLT_MODELS names.
TEST_F(WindowsTest, ExportsEveryScene)
{
    const char* pScenes = std::getenv("ZOLT_SCENES");
    const char* pModels = std::getenv("ZOLT_MODELS");
    if (!pScenes || !pModels)
        GTEST_SKIP() << "no scenes are given";
    for (const auto& entry : std::filesystem::directory_iterator(pScenes))
    {
        const std::string extension = entry.path().extension().string();
        if (extension != ".glb" && extension != ".gltf")
            continue;
        SCOPED_TRACE(entry.path().string());
        m_pHost = std::make_unique<HostProcess>(entry.path().string(), "");
        m_Dialog = m_pHost->WaitForWindow("ZoltExport");
        ASSERT_NE(m_Dialog, nullptr);
        const std::string model = std::string(pModels) + "/" + entry.path().stem().string() + ".abc";
        ASSERT_EQ(TypeInto(Item(FILENAME), model), model);
        SetCheck(FORCE_OVERWRITE, true);
        Click(Item(IDOK));
        EXPECT_EQ(m_pHost->WaitForEnd(), 0);
    }
}
