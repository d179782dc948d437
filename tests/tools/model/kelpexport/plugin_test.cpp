// The plug-in as the host loads it.

#include "tests/tools/model/kelpexport/exporttest.h"
#include "win32/dialogtemplate.h"

#include <dlfcn.h>
#include <new>

TEST_F(ExportTest, PluginRunsAndGoes)
{
    void* pLibrary = dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(pLibrary, nullptr) << dlerror();
    const auto pInit = reinterpret_cast<int32_t (*)()>(dlsym(pLibrary, "init"));
    const auto pCleanup = reinterpret_cast<int32_t (*)()>(dlsym(pLibrary, "cleanup"));
    ASSERT_TRUE(pInit && pCleanup);
    OpenScene(MakeTestScene());
    m_User.Type(IDC_FILENAME, m_Path).Press(IDOK);
    EXPECT_EQ(pInit(), 0);
    EXPECT_EQ(pCleanup(), 0);
    EXPECT_TRUE(LoadModelFile(m_Path));
    m_User = ScriptedUser();
    EXPECT_EQ(pInit(), 124);
    dlclose(pLibrary);

    // The template went with the library, and the one that is linked into this program comes back.
    m_User = ScriptedUser();
    m_User.Press(IDOK);
    EXPECT_EQ(init(), 124);
    EXPECT_TRUE(m_User.m_Dialogs.empty());
    RegisterDialogTemplate(&g_ExportDialogTemplate);
    EXPECT_EQ(Export("a", true), 0);
}

// A host's user who runs out of memory.
class ThrowingUser : public DialogUser
{
public:
    void OperateDialog(DialogWindow&) override { throw std::bad_alloc(); }
    int AnswerMessageBox(const char*, const char*, unsigned) override { return IDOK; }
    bool ChooseSaveFile(SaveFileQuestion&) override { return false; }
};

TEST_F(ExportTest, ExceptionsOfTheHostPassThroughThePlugin)
{
    void* pLibrary = dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(pLibrary, nullptr) << dlerror();
    const auto pInit = reinterpret_cast<int32_t (*)()>(dlsym(pLibrary, "init"));
    OpenScene(MakeTestScene());
    ThrowingUser user;
    DialogUser* const pBefore = SetDialogUser(&user);
    EXPECT_THROW(pInit(), std::bad_alloc);
    SetDialogUser(pBefore);
    m_User.Type(IDC_FILENAME, m_Path).Press(IDOK);
    EXPECT_EQ(pInit(), 0);
    dlclose(pLibrary);
    RegisterDialogTemplate(&g_ExportDialogTemplate);
}

// The rows that the resource has as well.
TEST(ExportDialog, Table)
{
    const DialogTemplate& dialog = g_ExportDialogTemplate;
    EXPECT_TRUE(dialog.id == 101 && dialog.language == 1033 && std::string(dialog.title) == "ZoltExport");
    EXPECT_TRUE(dialog.fontPoints == 8 && std::string(dialog.fontName) == "MS Sans Serif");
    EXPECT_TRUE(dialog.x == 0 && dialog.y == 0 && dialog.width == 298 && dialog.height == 102);
    EXPECT_EQ(dialog.style, 0x80C80AC0u);
    std::ostringstream rows;
    for (int i = 0; i < dialog.controlCount; ++i)
    {
        const DialogControl& row = dialog.controls[i];
        rows << row.id << row.className[0] << std::string(row.text) << std::hex << row.style << std::dec << ' ' << row.x
             << ' ' << row.y << ' ' << row.width << ' ' << row.height << '\n';
    }
    EXPECT_EQ(rows.str(), "1000E50810080 75 7 162 14\n1001E50810080 75 28 162 14\n1B&OK50010001 94 81 50 14\n"
                          "2B&Cancel50010000 152 81 50 14\n1002B&Browse50010000 241 7 50 14\n"
                          "-1SFilename50020002 7 10 65 8\n1003SAnimation Name50020002 7 31 64 8\n"
                          "1004BDebug Mode50010023 8 49 76 10\n1005BForce Overwrite50010023 8 63 76 10\n");
}
