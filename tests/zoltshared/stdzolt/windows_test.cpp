// What is done by Windows itself: streams on its handles, replacing files, its debugger output.

#ifdef _WIN32

#include <cstdio>
#include <string>

#include <windows.h>

#include <gtest/gtest.h>

#include "zoltshared/stdzolt/debugprintf.h"
#include "zoltshared/stdzolt/replacefilestream.h"
#include "zoltshared/stdzolt/win32stream.h"

static std::string PathOf(const char* pName)
{
    return testing::TempDir() + "\\zolt_windows_" + pName;
}

static std::string ReadWhole(const std::string& path)
{
    std::string bytes;
    FILE* pFile = std::fopen(path.c_str(), "rb");
    for (int c = pFile ? std::fgetc(pFile) : EOF; c != EOF; c = std::fgetc(pFile))
        bytes += static_cast<char>(c);
    if (pFile)
        std::fclose(pFile);
    return bytes;
}

static void WriteWhole(const std::string& path, const std::string& bytes)
{
    FILE* pFile = std::fopen(path.c_str(), "wb");
    ASSERT_NE(pFile, nullptr);
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), pFile), bytes.size());
    std::fclose(pFile);
}

TEST(Win32Stream, WithoutAHandle)
{
    Win32Stream stream;
    uint32_t number = 9;
    EXPECT_EQ(stream.Read(&number, 0), 1);
    EXPECT_EQ(stream.Read(&number, 4), 1);
    EXPECT_EQ(stream.Write(&number, 0), 1);
    EXPECT_EQ(stream.SeekTo(0), 1);
    number = 9;
    EXPECT_EQ(stream.GetPos(&number), 1);
    EXPECT_EQ(number, 0U);
    number = 9;
    EXPECT_EQ(stream.GetLen(&number), 1);
    EXPECT_EQ(number, 0U);
    EXPECT_EQ(stream.ErrorStatus(), 0);
}

TEST(Win32Stream, OnAFile)
{
    const std::string path = PathOf("stream");
    DeleteFileA(path.c_str());
    ModelStream* pStream = OpenWin32Stream(path.c_str(), GENERIC_READ | GENERIC_WRITE); // makes it
    ASSERT_NE(pStream, nullptr);
    EXPECT_EQ(OpenWin32Stream(path.c_str(), GENERIC_WRITE), nullptr) << "others may read, and no more";
    EXPECT_EQ(pStream->Write("abcdef", 6), 0);
    EXPECT_EQ(pStream->Write(nullptr, 0), 0);
    EXPECT_EQ(pStream->GetPosition(), 6U);
    EXPECT_EQ(pStream->SeekTo(100), 0) << "beyond the end";
    EXPECT_EQ(pStream->GetLength(), 6U);
    EXPECT_EQ(pStream->SeekTo(4), 0);
    char bytes[5] = "zzzz";
    EXPECT_NE(pStream->Read(bytes, 4), 0);
    EXPECT_EQ(std::string(bytes, 4), std::string(4, '\0'));
    EXPECT_EQ(pStream->SeekTo(0), 0);
    EXPECT_EQ(pStream->Read(bytes, 4), 0);
    EXPECT_EQ(std::string(bytes, 4), "abcd");
    EXPECT_EQ(pStream->ErrorStatus(), 1) << "once set it stays";
    pStream->Release();
    EXPECT_EQ(ReadWhole(path), "abcdef") << "closed by Release";

    pStream = OpenWin32Stream(path.c_str(), GENERIC_READ);
    ASSERT_NE(pStream, nullptr);
    EXPECT_NE(pStream->Write("x", 1), 0);
    EXPECT_EQ(pStream->ErrorStatus(), 1);
    pStream->Release();
    EXPECT_EQ(OpenWin32Stream(PathOf("no\\such\\folder").c_str(), GENERIC_WRITE), nullptr);
    DeleteFileA(path.c_str());
}

// A new file for an old one that somebody else has open, with what he lets others do.
TEST(ReplaceFileStream, AFileThatIsHeldOpen)
{
    const std::string path = PathOf("held");
    const struct
    {
        DWORD m_Share;
        bool m_bReplaced;
    } cases[] = {{0, false},
                 {FILE_SHARE_READ, false},
                 {FILE_SHARE_READ | FILE_SHARE_WRITE, false},
                 {FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, true}};
    for (const auto& test : cases)
    {
        SCOPED_TRACE(test.m_Share);
        WriteWhole(path, "old");
        HANDLE hHeld = CreateFileA(path.c_str(), GENERIC_READ, test.m_Share, nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(hHeld, INVALID_HANDLE_VALUE);
        ReplaceFileStream* pStream = OpenReplaceFileStream(path.c_str());
        EXPECT_EQ(pStream != nullptr, test.m_bReplaced);
        if (pStream)
        {
            EXPECT_EQ(pStream->Write("new!", 4), 0);
            EXPECT_EQ(pStream->Commit(), 0);
            pStream->Release();
        }
        char bytes[4] = {};
        DWORD nRead = 0;
        EXPECT_TRUE(ReadFile(hHeld, bytes, 3, &nRead, nullptr));
        EXPECT_STREQ(bytes, "old") << "whoever has the old file open keeps it";
        CloseHandle(hHeld);
        EXPECT_EQ(ReadWhole(path), test.m_bReplaced ? "new!" : "old");
    }
    // Held from the open to the end: the old file stays, and nothing is left beside it.
    ReplaceFileStream* pStream = OpenReplaceFileStream(path.c_str());
    ASSERT_NE(pStream, nullptr);
    pStream->Write("lost", 4);
    HANDLE hHeld = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(pStream->Commit(), 0);
    pStream->Release();
    CloseHandle(hHeld);
    EXPECT_EQ(ReadWhole(path), "new!");
    WIN32_FIND_DATAA found;
    HANDLE hFind = FindFirstFileA((path + ".zolt*").c_str(), &found);
    EXPECT_EQ(hFind, INVALID_HANDLE_VALUE) << found.cFileName;
    EXPECT_TRUE(SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(OpenReplaceFileStream(path.c_str()), nullptr);
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileA(path.c_str());
}

// What a process left that ended in the middle goes with the next file; what runs, and what only looks like it, stays.
TEST(ReplaceFileStream, SweepsAfterEndedProcesses)
{
    const std::string path = PathOf("swept");
    ReplaceFileStream* pRunning = OpenReplaceFileStream(path.c_str());
    ReplaceFileStream* pStream = OpenReplaceFileStream(path.c_str());
    ASSERT_TRUE(pRunning && pStream) << "two at a time";
    WIN32_FIND_DATAA found;
    HANDLE hFind = FindFirstFileA((path + ".zolt-*.tmp").c_str(), &found);
    ASSERT_NE(hFind, INVALID_HANDLE_VALUE);
    FindClose(hFind);
    const std::string own = std::to_string(GetCurrentProcessId()) + "-";
    std::string stale = testing::TempDir() + "\\" + found.cFileName;
    const std::string notes = path + ".zolt-notes.tmp";
    stale.replace(stale.rfind(own), own.size(), "4294967292-"); // an id that no process has
    WriteWhole(stale, "half a model");
    WriteWhole(notes, "a user's own");
    EXPECT_EQ(pStream->Write("new", 3), 0);
    EXPECT_EQ(pStream->Commit(), 0);
    pStream->Release();
    EXPECT_EQ(ReadWhole(path), "new");
    EXPECT_EQ(GetFileAttributesA(stale.c_str()), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(ReadWhole(notes), "a user's own");
    EXPECT_EQ(pRunning->Write("newer", 5), 0);
    EXPECT_EQ(pRunning->Commit(), 0);
    pRunning->Release();
    EXPECT_EQ(ReadWhole(path), "newer");
    DeleteFileA(notes.c_str());
    DeleteFileA(path.c_str());
}

static std::string s_Debugged;

// The system hands debugger output to a process without a debugger as an exception.
static LONG CALLBACK TakeDebugText(EXCEPTION_POINTERS* pPointers)
{
    const EXCEPTION_RECORD& record = *pPointers->ExceptionRecord;
    constexpr DWORD DEBUG_TEXT = 0x40010006;
    if (record.ExceptionCode != DEBUG_TEXT)
        return EXCEPTION_CONTINUE_SEARCH;
    s_Debugged += reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(DebugPrintf, GoesToTheDebugger)
{
    void* pHandler = AddVectoredExceptionHandler(1, TakeDebugText);
    DebugPrintf("%d of %s\n", 7, "nine");
    EXPECT_EQ(s_Debugged, "7 of nine\n");
    s_Debugged.clear();
    DebugPrintf("%s%d", std::string(600, 'x').c_str(), 5);
    EXPECT_EQ(s_Debugged, std::string(511, 'x'));
    RemoveVectoredExceptionHandler(pHandler);
}

#endif
