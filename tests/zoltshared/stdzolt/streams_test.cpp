#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "zoltshared/stdzolt/fileio.h"
#include "zoltshared/stdzolt/fileiostream.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/mappedstream.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/quaternion.h"
#include "zoltshared/stdzolt/stdiostream.h"
#include "zoltshared/stdzolt/vector3.h"
#include "zoltshared/stdzolt/win32stream.h"
#include "zoltshared/stdzolt/zoltexception.h"

#ifdef _WIN32
#include <windows.h>
#endif

static std::string TempPath(const char* pName)
{
    return testing::TempDir() + "/zolt_streams_" + pName;
}

static std::string MakeFile(const char* pName, const std::string& content)
{
    std::string path = TempPath(pName);
    FILE* pFile = std::fopen(path.c_str(), "wb");
    EXPECT_EQ(std::fwrite(content.data(), 1, content.size(), pFile), content.size());
    std::fclose(pFile);
    return path;
}

// A stream of each kind that holds a content and stands at its start.
class Streams : public testing::TestWithParam<const char*>
{
protected:
    ~Streams() override
    {
        for (ModelStream* pStream : m_Made)
            pStream->Release();
        for (FileIO& file : m_Files)
            file.Close();
        for (const std::string& path : m_Paths)
            std::remove(path.c_str());
    }

    ModelStream& Make(const std::string& kind, const std::string& content)
    {
        const size_t n = m_Made.size();
        ModelStream* pStream = nullptr;
        if (kind == "memory")
        {
            pStream = CreateMemoryStream(3);
            EXPECT_EQ(pStream->Write(content.data(), static_cast<uint32_t>(content.size())), 0);
            EXPECT_EQ(pStream->SeekTo(0), 0);
        }
        else if (kind == "fixed")
        {
            m_Fixed[n] = content;
            pStream = CreateFixedMemoryStream(m_Fixed[n].data(), static_cast<uint32_t>(content.size()));
        }
        else
        {
            m_Paths.push_back(MakeFile((kind + std::to_string(n)).c_str(), content));
            const char* pPath = m_Paths.back().c_str();
            if (kind == "loaded")
                pStream = LoadFileToMemoryStream(pPath);
            else if (kind == "stdio")
                pStream = OpenStdioStream(pPath, "r+b");
#ifdef _WIN32
            else if (kind == "win32")
                pStream = OpenWin32Stream(pPath, GENERIC_READ | GENERIC_WRITE);
#endif
            else
            {
                m_Files[n].SetThrowOnError(QZFALSE);
                EXPECT_TRUE(m_Files[n].Open(pPath, "r+b"));
                pStream = CreateFileIOStream(&m_Files[n]);
            }
        }
        m_Made.push_back(pStream);
        return *pStream;
    }

    ModelStream& Make(const std::string& content)
    {
        return Make(GetParam(), content);
    }

private:
    std::vector<ModelStream*> m_Made;
    std::vector<std::string> m_Paths;
    std::string m_Fixed[10];
    FileIO m_Files[10];
};

#ifdef _WIN32
INSTANTIATE_TEST_SUITE_P(Windows, Streams, testing::Values("win32"));
#endif

INSTANTIATE_TEST_SUITE_P(Kinds, Streams, testing::Values("memory", "fixed", "loaded", "stdio", "fileio"),
                         [](const auto& info) { return std::string(info.param); });

static std::string ReadAll(ModelStream& stream)
{
    std::string bytes(stream.GetLength(), '?');
    EXPECT_EQ(stream.SeekTo(0), 0);
    EXPECT_EQ(stream.Read(bytes.data(), static_cast<uint32_t>(bytes.size())), 0);
    return bytes;
}

TEST_P(Streams, NumbersAreLittleEndian)
{
    ModelStream& stream = Make(std::string(43, '.'));
    stream.WriteU8(0xFE).WriteU16(0x1234).WriteU32(0x89ABCDEF).WriteI32(-2).WriteF32(-1.5f);
    stream.WriteVector(Vector3(1.0f, 2.0f, -0.0f)).WriteRotation(Quaternion(0.0f, 0.0f, 0.0f, 1.0f));
    EXPECT_EQ(stream.GetPosition(), 43U);
    EXPECT_EQ(ReadAll(stream), std::string("\xFE\x34\x12\xEF\xCD\xAB\x89\xFE\xFF\xFF\xFF\0\0\xC0\xBF"
                                           "\0\0\x80\x3F\0\0\0\x40\0\0\0\x80\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80\x3F",
                                           43));
    ASSERT_EQ(stream.SeekTo(0), 0);
    uint8_t u8;
    uint16_t u16;
    uint32_t u32;
    int32_t i32;
    float f32;
    Vector3 v;
    Quaternion q(9.0f, 9.0f, 9.0f, 9.0f);
    stream.ReadU8(u8).ReadU16(u16).ReadU32(u32).ReadI32(i32).ReadF32(f32).ReadVector(v).ReadRotation(q);
    EXPECT_TRUE(u8 == 0xFE && u16 == 0x1234 && u32 == 0x89ABCDEF && i32 == -2 && f32 == -1.5f);
    EXPECT_TRUE(v.NearlyEquals(Vector3(1.0f, 2.0f, 0.0f), 0.0f) && q.z == 0.0f && q.w == 1.0f);
    EXPECT_EQ(stream.ErrorStatus(), 0);
    stream.ReadVector(v); // behind the end
    EXPECT_TRUE(v.NearlyEquals(Vector3(0.0f, 0.0f, 0.0f), 0.0f));
    EXPECT_EQ(stream.ErrorStatus(), 1);
}

TEST_P(Streams, AReadAcrossTheEndGivesZerosAndStays)
{
    ModelStream& stream = Make("abcdef");
    EXPECT_EQ(stream.SeekTo(6), 0); // the end itself is allowed
    char bytes[5] = "zzzz";
    EXPECT_EQ(stream.Read(bytes, 0), 0);
    EXPECT_EQ(stream.ErrorStatus(), 0);
    ASSERT_EQ(stream.SeekTo(4), 0);
    EXPECT_NE(stream.Read(bytes, 4), 0);
    EXPECT_EQ(std::memcmp(bytes, "\0\0\0\0", 5), 0);
    EXPECT_EQ(stream.GetPosition(), 6U);
    EXPECT_EQ(stream.SeekTo(1), 0);
    EXPECT_EQ(stream.Read(bytes, 4), 0);
    EXPECT_STREQ(bytes, "bcde");
    EXPECT_EQ(stream.GetLength(), 6U);
    EXPECT_EQ(stream.GetPosition(), 5U);
    EXPECT_EQ(stream.ErrorStatus(), 1); // for good
}

TEST_P(Streams, Strings)
{
    const std::string forty(40, 'n');
    ModelStream& stream = Make(std::string(2 + 40 + 2 + 2 + 5 + 1, '\0'));
    EXPECT_EQ(stream.WriteString(forty.c_str()), 0);
    EXPECT_EQ(stream.WriteString(""), 0);
    EXPECT_EQ(stream.WriteString("hello"), 0);
    ASSERT_EQ(stream.SeekTo(0), 0);
    const struct
    {
        uint32_t m_MaxLen;
        std::string m_Kept;
    } cases[] = {{32, std::string(31, 'n')}, {41, forty}, {40, std::string(39, 'n')}, {1, ""}, {0, "#"}};
    for (const auto& test : cases)
    {
        ASSERT_EQ(stream.SeekTo(0), 0);
        char buffer[64] = "#";
        EXPECT_EQ(stream.ReadString(buffer, test.m_MaxLen), 0);
        EXPECT_EQ(buffer, test.m_Kept);
        EXPECT_EQ(stream.GetPosition(), 42U);
        buffer[0] = '#';
        EXPECT_EQ(stream.ReadString(buffer, test.m_MaxLen), 0);
        EXPECT_EQ(buffer[0], test.m_MaxLen == 0 ? '#' : '\0');
        EXPECT_EQ(stream.ReadString(buffer, 6), 0);
        EXPECT_STREQ(buffer, "hello");
    }
    EXPECT_EQ(stream.ErrorStatus(), 0);
    char buffer[8] = "abcdefg";
    ASSERT_EQ(stream.SeekTo(44), 0);
    stream.WriteU16(6); // one more than there is
    ASSERT_EQ(stream.SeekTo(44), 0);
    EXPECT_EQ(stream.ReadString(buffer, 8), 0);
    EXPECT_NE(stream.ReadString(buffer, 8) | stream.ErrorStatus(), 0);
    EXPECT_EQ(buffer[0], 0);
}

TEST_P(Streams, CopyFromEachOther)
{
    std::string text;
    for (int i = 0; i < 1500; i++)
        text += static_cast<char>('a' + i % 23);
    for (const char* pKind : {"memory", "fixed", "loaded", "stdio", "fileio"})
    {
        SCOPED_TRACE(pKind);
        ModelStream& source = Make(text);
        ModelStream& target = Make(pKind, std::string(1500, '-'));
        ASSERT_EQ(target.SeekTo(3), 0);
        ASSERT_EQ(source.SeekTo(10), 0);
        EXPECT_EQ(target.CopyFrom(&source, 700, 1300), 0); // 600 bytes from where it stands
        EXPECT_EQ(source.GetPosition(), 610U);
        EXPECT_EQ(target.CopyFrom(&source, 5, 4), 1);
        EXPECT_EQ(ReadAll(target), "---" + text.substr(10, 600) + std::string(897, '-'));
        ASSERT_EQ(target.SeekTo(0), 0);
        ASSERT_EQ(source.SeekTo(0), 0);
        EXPECT_EQ(target.CopyFrom(&source, 0xFFFFFFFF, 0xFFFFFFFF), 0);
        EXPECT_EQ(ReadAll(target), text);
        ASSERT_EQ(source.SeekTo(1), 0);
        ASSERT_EQ(target.SeekTo(0), 0);
        EXPECT_EQ(target.CopyFrom(&source, 0xFFFFFFFF, 0xFFFFFFFF), 1); // as many as its length: one isn't there
    }
}

TEST(MemoryStream, GrowsByItsCacheAndKeepsToItsEnd)
{
    MemoryStream stream(10);
    EXPECT_EQ(stream.SeekTo(1), 1);
    EXPECT_EQ(stream.Write("abc", 3), 0);
    EXPECT_EQ(stream.m_Data.GetNumAllocatedElements(), 13U);
    EXPECT_EQ(stream.SeekTo(2), 0);
    EXPECT_EQ(stream.Write("xyz", 3), 0); // over the end
    EXPECT_EQ(stream.SeekTo(6), 1);
    EXPECT_EQ(stream.GetPosition(), 5U);
    EXPECT_EQ(stream.m_Data.GetNumAllocatedElements(), 13U);
    EXPECT_EQ(ReadAll(stream), "abxyz");
    EXPECT_EQ(stream.Write("abc", 0xFFFFFFFF), 1); // beyond 32 bits
    EXPECT_EQ(stream.ErrorStatus(), 0);
    EXPECT_EQ(stream.WriteString(std::string(65536 + 2, 's').c_str()), 0);
    EXPECT_EQ(ReadAll(stream), std::string("abxyz\2\0ss", 9));
    // Larger than its cache it grows by half.
    const std::string large(1000, 'l');
    EXPECT_EQ(stream.Write(large.data(), 1000), 0);
    EXPECT_EQ(stream.Write(large.data(), 10), 0);
    EXPECT_EQ(stream.m_Data.GetNumAllocatedElements(), 1019U);
    EXPECT_EQ(stream.Write("x", 1), 0);
    EXPECT_EQ(stream.m_Data.GetNumAllocatedElements(), 1020U + 1019 / 2);
}

TEST(FixedMemoryStream, DoesNotGrow)
{
    char bytes[] = "abcd";
    FixedMemoryStream stream(bytes, 4);
    EXPECT_EQ(stream.SeekTo(5), 1);
    EXPECT_EQ(stream.SeekTo(2), 0);
    EXPECT_EQ(stream.Write("xyz", 3), 1);
    EXPECT_EQ(stream.Write("xyz", 0xFFFFFFFF), 1);
    EXPECT_EQ(stream.ErrorStatus(), 0);
    EXPECT_EQ(stream.Write("xy", 2), 0);
    EXPECT_STREQ(bytes, "abxy");
}

TEST(MappedStream, ReadsAFileAndWritesNone)
{
    const std::string path = MakeFile("mapped", "abcdef");
    ModelStream* pStream = OpenMappedStream(path.c_str());
    ASSERT_NE(pStream, nullptr);
#ifndef _WIN32
    EXPECT_EQ(rename(MakeFile("other", "xyz").c_str(), path.c_str()), 0); // another file in its place
#endif
    EXPECT_EQ(ReadAll(*pStream), "abcdef");
    EXPECT_EQ(pStream->SeekTo(0), 0);
    EXPECT_EQ(pStream->Write("x", 1), 1);
    EXPECT_EQ(pStream->ErrorStatus(), 1);
    EXPECT_EQ(ReadAll(*pStream), "abcdef");
    pStream->Release();
    MakeFile("mapped", "");
    pStream = OpenMappedStream(path.c_str());
    ASSERT_NE(pStream, nullptr);
    EXPECT_EQ(pStream->GetLength(), 0U);
    char byte = 'x';
    EXPECT_EQ(pStream->Read(&byte, 1), 1);
    EXPECT_EQ(byte, 0);
    pStream->Release();
    std::remove(path.c_str());
    EXPECT_EQ(OpenMappedStream(path.c_str()), nullptr);
#ifndef _WIN32
    EXPECT_EQ(OpenMappedStream("/dev/zero"), nullptr); // no regular file
#endif
}

TEST(StdioStream, WithoutAFile)
{
    EXPECT_EQ(OpenStdioStream("/no/such/file", "rb"), nullptr);
    EXPECT_EQ(LoadFileToMemoryStream("/no/such/file"), nullptr);
    EXPECT_EQ(LoadFileToMemoryStream(testing::TempDir().c_str()), nullptr); // a folder
    StdioStream stream;
    char byte = 'x';
    uint32_t number = 7;
    EXPECT_EQ(stream.Read(&byte, 1) + stream.Write(&byte, 1) + stream.SeekTo(0), 3);
    EXPECT_EQ(byte, 0);
    EXPECT_EQ(stream.GetPos(&number), 1);
    EXPECT_EQ(number, 0U);
    number = 7;
    EXPECT_EQ(stream.GetLen(&number), 1);
    EXPECT_EQ(number, 0U);
}

TEST(StdioStream, AFailedWriteIsRemembered)
{
    const std::string path = MakeFile("readonly", "abc");
    ModelStream* pStream = OpenStdioStream(path.c_str(), "rb");
    ASSERT_NE(pStream, nullptr);
    EXPECT_NE(pStream->Write("x", 1), 0);
    EXPECT_EQ(pStream->ErrorStatus(), 1);
    pStream->Release();
    std::remove(path.c_str());
}

TEST(FileIO, WindowsTextsAndLines)
{
    const std::string path = MakeFile("fileio", std::string("0123\5\0hello\2\0hione\r\ntwo\rx\n\r\nend", 31));
    FileIO file;
    ASSERT_TRUE(file.Open(path.c_str(), "rb"));
    EXPECT_TRUE(file.IsOpen());
    file.SetBoundaries(4, 1000);
    EXPECT_EQ(file.GetFileLen(), 27U);
    EXPECT_EQ(file.GetCurPos(), 0U);
    char buffer[16];
    EXPECT_FALSE(file.ReadText(buffer, 5)); // doesn't fit; stands behind the length
    EXPECT_EQ(file.GetCurPos(), 2U);
    ASSERT_TRUE(file.Seek(0));
    EXPECT_TRUE(file.ReadText(buffer, 6));
    EXPECT_STREQ(buffer, "hello");
    EXPECT_TRUE(file.ReadText(buffer, 16));
    EXPECT_STREQ(buffer, "hi");
    file.SetThrowOnError(QZFALSE);
    for (const char* pLine : {"one", "two\rx\n", "end", ""})
    {
        EXPECT_TRUE(file.ReadLine(buffer, sizeof(buffer)));
        EXPECT_STREQ(buffer, pLine);
    }
    AssertionCatcher catcher;
    file.SetBoundaries(28, 28); // beyond the window's length: from the start again
    EXPECT_EQ(AssertionCatcher::Caught(), std::vector<std::string>{"min < max"});
    EXPECT_EQ(file.GetFileLen(), 27U);
    EXPECT_TRUE(file.Read(buffer, 1));
    EXPECT_EQ(buffer[0], '0');
    file.Close();
    EXPECT_FALSE(file.IsOpen());
    EXPECT_FALSE(file.Read(buffer, 1));
    EXPECT_EQ(AssertionCatcher::Caught().back(), "m_pFile");

    ASSERT_TRUE(file.Open(path.c_str(), "w+b"));
    EXPECT_TRUE(file.WriteText("abc") && file.WriteText(""));
    ASSERT_TRUE(file.Seek(0));
    EXPECT_TRUE(file.ReadText(buffer, 4));
    EXPECT_STREQ(buffer, "abc");
    EXPECT_TRUE(file.ReadText(buffer, 1));
    EXPECT_EQ(file.GetCurPos(), 7U);
    std::remove(path.c_str());
}

static int ThrownType(FileIO& file, int operation)
{
    char byte = 0;
    try
    {
        if (operation == 0)
            file.Write(&byte, 1);
        else if (operation == 1)
            file.Read(&byte, 1);
        else
            file.Seek(0);
    }
    catch (const CZoltIOException& exception)
    {
        return exception.m_Type;
    }
    return -1;
}

TEST(FileIO, ThrowsWhatFailed)
{
    CZoltException plain;
    EXPECT_EQ(g_ZoltErrorCode, 0);
    AssertionCatcher catcher;
    FileIO file;
    EXPECT_FALSE(file.Open("/no/such/file", "rb"));
    for (int operation = 0; operation < 3; operation++)
        EXPECT_EQ(ThrownType(file, operation), operation);
    EXPECT_EQ(g_ZoltErrorCode, 10);
    file.SetThrowOnError(QZFALSE);
    EXPECT_EQ(ThrownType(file, 1), -1);
}
