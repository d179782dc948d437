// The registry: what the calls answer, and what becomes of the file under them.
#include "tests/win32/temporaryfolder.h"
#include "win32/registrystore.h"
#include "win32/zoltwin32.h"

#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

static HKEY OpenKey(const char* path, REGSAM access = KEY_READ | KEY_WRITE)
{
    HKEY key = nullptr;
    const LONG status = RegCreateKeyExA(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, access, nullptr, &key, nullptr);
    return status == ERROR_SUCCESS ? key : nullptr;
}

static LONG SetText(const char* path, const char* name, const std::string& text)
{
    HKEY key = OpenKey(path);
    if (!key)
        return -1;
    const LONG status = RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                                       static_cast<DWORD>(text.size() + 1));
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    return status;
}

// The text of a value; "<none>" when it is missing, "<error>" on any other failure.
static std::string GetText(const char* path, const char* name)
{
    HKEY key = OpenKey(path);
    if (!key)
        return "<error>";
    char text[256] = "";
    DWORD size = sizeof(text);
    DWORD type = 0;
    const LONG status = RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    if (status == ERROR_FILE_NOT_FOUND)
        return "<none>";
    return status == ERROR_SUCCESS && type == REG_SZ ? text : "<error>";
}

static std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

static void WriteFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// By another program, straight in the file.
static void Execute(const std::string& path, const char* sql)
{
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
}

static pid_t Fork(const std::function<int()>& work)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(work());
    return child;
}

static void ExpectSuccess(pid_t child)
{
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

class RegistryTest : public testing::Test
{
protected:
    void SetUp() override { SetRegistryFile(m_File.c_str()); }
    void TearDown() override { SetRegistryFile(nullptr); }

    TemporaryFolder m_Folder;
    std::string m_File = m_Folder / "deep/er/registry.db";
};

TEST_F(RegistryTest, PathsNamesAndPersistence)
{
    HKEY key = HKEY_LOCAL_MACHINE;
    for (const char* part : {"Software", "Maker", "Product", "1.0"})
    {
        HKEY next = nullptr;
        DWORD disposition = 0;
        ASSERT_EQ(RegCreateKeyExA(key, part, 0, nullptr, 0, 0x2001F, nullptr, &next, &disposition), ERROR_SUCCESS);
        EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
        EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
        key = next;
    }
    const BYTE text[] = "model.abc";
    EXPECT_EQ(RegSetValueExA(key, "Filename", 0, REG_SZ, text, sizeof(text)), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);

    // Every call has closed the file, so this is another store with the same file.
    SetRegistryFile(m_Folder.operator/("other.db").c_str());
    EXPECT_EQ(GetText("Software\\Maker\\Product\\1.0", "Filename"), "<none>");
    SetRegistryFile(m_File.c_str());
    DWORD disposition = 0;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE\\maker\\\\PRODUCT\\1.0\\", 0, nullptr, 0, KEY_READ, nullptr,
                              &key, &disposition),
              ERROR_SUCCESS);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    RegCloseKey(key);
    EXPECT_EQ(GetText("sOFTWARE\\mAKER\\pRODUCT\\1.0", "fILENAME"), "model.abc");
    EXPECT_EQ(GetText("Software\\Maker\\Product", "Filename"), "<none>") << "the key above has no such value";
    EXPECT_EQ(SetText("software\\maker\\product\\1.0", "FILENAME", "second"), ERROR_SUCCESS);
    EXPECT_EQ(GetText("Software\\Maker\\Product\\1.0", "Filename"), "second");
    EXPECT_EQ(SetText("Software", nullptr, "default value"), ERROR_SUCCESS);
    EXPECT_EQ(GetText("Software", ""), "default value");
    // Names are data: none of these means anything to the store.
    const char* odd = "x' OR 1=1; -- %s %n _ \"";
    EXPECT_EQ(SetText(odd, odd, odd), ERROR_SUCCESS);
    EXPECT_EQ(GetText(odd, odd), odd);
}

// Also long after the last change, when what was read is remembered.
TEST_F(RegistryTest, WhatAnotherProgramWritesIsSeenAtOnce)
{
    ASSERT_EQ(SetText("Key", "name", "first"), ERROR_SUCCESS);
    for (const useconds_t pause : {0U, 150000U})
    {
        usleep(pause);
        EXPECT_EQ(GetText("Key", "name"), "first");
        Execute(m_File, "UPDATE registry_value SET data = 'other'");
        EXPECT_EQ(GetText("Key", "name"), "other");
        EXPECT_EQ(SetText("Key", "name", "first"), ERROR_SUCCESS);
        EXPECT_EQ(GetText("Key", "name"), "first");
    }
}

TEST_F(RegistryTest, SizesAndShortBuffers)
{
    HKEY key = OpenKey("Types");
    ASSERT_NE(key, nullptr);
    const BYTE bytes[] = {0, 255, 0, 7, 0};
    EXPECT_EQ(RegSetValueExA(key, "b", 0, REG_BINARY, bytes, 5), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExA(key, "z", 0, REG_NONE, nullptr, 0), ERROR_SUCCESS);
    std::array<BYTE, 6> buffer;
    buffer.fill(0xEE);
    DWORD type = 0;
    DWORD size = 4;
    EXPECT_EQ(RegQueryValueExA(key, "b", nullptr, &type, buffer.data(), &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 5U);
    EXPECT_EQ(buffer[0], 0xEE) << "nothing is copied";
    EXPECT_EQ(RegQueryValueExA(key, "b", nullptr, &type, buffer.data(), &size), ERROR_SUCCESS);
    EXPECT_EQ(std::memcmp(buffer.data(), bytes, 5), 0);
    EXPECT_EQ(buffer[5], 0xEE);
    EXPECT_EQ(RegQueryValueExA(key, "z", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(type, REG_NONE);
    // A value changes its type with its data.
    EXPECT_EQ(RegSetValueExA(key, "b", 0, REG_SZ, reinterpret_cast<const BYTE*>("1"), 2), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(key, "B", nullptr, &type, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, 2U);
    RegCloseKey(key);
}

TEST_F(RegistryTest, RightsHandlesAndLongNames)
{
    BYTE byte = 0;
    DWORD one = 1;
    const std::string longName(256, 'x');
    EXPECT_EQ(OpenKey(longName.c_str()), nullptr);
    EXPECT_NE(OpenKey(longName.c_str() + 1), nullptr);
    HKEY readOnly = OpenKey("K", KEY_READ);
    EXPECT_EQ(RegSetValueExA(readOnly, "v", 0, REG_SZ, &byte, 1), ERROR_ACCESS_DENIED);
    HKEY writeOnly = OpenKey("K", KEY_WRITE);
    EXPECT_EQ(RegSetValueExA(writeOnly, "v", 0, REG_SZ, &byte, 1), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(writeOnly, "v", nullptr, nullptr, &byte, &one), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegQueryValueExA(readOnly, "v", nullptr, nullptr, &byte, &one), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(readOnly, "absent", nullptr, nullptr, &byte, &one), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegCloseKey(readOnly), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExA(readOnly, "v", nullptr, nullptr, &byte, &one), ERROR_INVALID_HANDLE);
}

// Whatever the file holds, the registry works, and what was in it is in the file set aside.
TEST_F(RegistryTest, DamagedFileIsMovedAside)
{
    ASSERT_EQ(SetText("Key", "name", "kept"), ERROR_SUCCESS);
    const std::string junk =
        "this was never a database, and it is long enough to be looked at as one: " + std::string(2000, '#');
    WriteFile(m_File, junk);
    WriteFile(m_File + "-journal", std::string("\0its journal", 12));
    WriteFile(m_File + ".damaged", "an earlier one");
    EXPECT_EQ(GetText("Key", "name"), "<none>");
    EXPECT_EQ(ReadFile(m_File + ".damaged"), junk);
    EXPECT_EQ(ReadFile(m_File + ".damaged-journal"), std::string("\0its journal", 12));
    EXPECT_EQ(SetText("Key", "name", "new"), ERROR_SUCCESS);
    EXPECT_EQ(GetText("Key", "name"), "new");

    // A store whose tables are gone although the file is sound.
    Execute(m_File, "DROP TABLE registry_value");
    EXPECT_EQ(SetText("Key", "name", "again"), ERROR_SUCCESS);
    EXPECT_EQ(GetText("Key", "name"), "again");
}

TEST_F(RegistryTest, PlacesThatCannotHoldAStoreGiveErrors)
{
    WriteFile(m_Folder / "file", "x");
    SetRegistryFile((m_Folder / "file/registry.db").c_str());
    EXPECT_EQ(OpenKey("Key"), nullptr);
    SetRegistryFile(m_Folder.Path().c_str());
    EXPECT_EQ(OpenKey("Key"), nullptr);
    SetRegistryFile("/proc/registry.db");
    EXPECT_EQ(OpenKey("Key"), nullptr);

    // A store of a later version is left as it is.
    const std::string later = m_Folder / "later.db";
    Execute(later, "CREATE TABLE t(x); PRAGMA user_version = 2");
    const std::string bytes = ReadFile(later);
    SetRegistryFile(later.c_str());
    EXPECT_EQ(OpenKey("Key"), nullptr);
    EXPECT_EQ(ReadFile(later), bytes);
}

TEST_F(RegistryTest, ProcessesThatFindTheDamageTogetherLoseNothingWrittenAfterIt)
{
    fs::create_directories(fs::path(m_File).parent_path());
    for (int round = 0; round < 5; round++)
    {
        WriteFile(m_File, std::string(5000, '?'));
        int gate[2]; // the children wait at it until all of them are there
        ASSERT_EQ(pipe(gate), 0);
        pid_t children[4];
        for (int c = 0; c < 4; c++)
        {
            children[c] = Fork(
                [&gate, c]
                {
                    char byte = 0;
                    close(gate[1]);
                    const bool opened = read(gate[0], &byte, 1) == 0;
                    return opened && SetText("Key", std::to_string(c).c_str(), "here") == ERROR_SUCCESS ? 0 : 1;
                });
        }
        close(gate[0]);
        close(gate[1]);
        for (const pid_t child : children)
            ExpectSuccess(child);
        for (int c = 0; c < 4; c++)
            EXPECT_EQ(GetText("Key", std::to_string(c).c_str()), "here") << "round " << round;
        EXPECT_EQ(ReadFile(m_File + ".damaged"), std::string(5000, '?'));
    }
}

TEST_F(RegistryTest, PlaceOfTheFile)
{
    EXPECT_STREQ(SetRegistryFile(nullptr), m_File.c_str());
    const std::string home = m_Folder.Path();
    const ScopedVariable homeVariable("HOME", home.c_str());
    {
        const ScopedVariable config("XDG_CONFIG_HOME", (home + "/conf").c_str());
        EXPECT_EQ(GetRegistryFile(), home + "/conf/zoltexport/registry.db");
        EXPECT_EQ(SetText("Key", "name", "x"), ERROR_SUCCESS);
        EXPECT_TRUE(fs::exists(home + "/conf/zoltexport/registry.db"));
    }
    const ScopedVariable config("XDG_CONFIG_HOME", "relative/is/ignored");
    EXPECT_EQ(GetRegistryFile(), home + "/.config/zoltexport/registry.db");

    const ScopedVariable noHome("HOME", nullptr);
    EXPECT_STREQ(GetRegistryFile(), "");
    EXPECT_EQ(SetText("Memory", "name", "lives on"), ERROR_SUCCESS);
    EXPECT_EQ(GetText("memory", "NAME"), "lives on");
    EXPECT_EQ(SetRegistryFile(""), nullptr);
    EXPECT_EQ(GetText("memory", "NAME"), "lives on");
    const fs::path here = fs::current_path();
    fs::current_path(m_Folder.Path());
    SetRegistryFile("near.db");
    fs::current_path(here);
    EXPECT_EQ(GetRegistryFile(), fs::canonical(m_Folder.Path()) / "near.db") << "wherever one goes later";
}
