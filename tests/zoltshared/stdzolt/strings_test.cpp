#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/zoltshared/stdzolt/assertioncatcher.h"
#include "zoltshared/stdzolt/debugprintf.h"
#include "zoltshared/stdzolt/emptystring.h"
#include "zoltshared/stdzolt/findnametoken.h"
#include "zoltshared/stdzolt/ownedstring.h"
#include "zoltshared/stdzolt/safestrcopy.h"
#include "zoltshared/stdzolt/strcasecompare.h"

TEST(OwnedString, OwnsItsCopy)
{
    OwnedString a;
    EXPECT_EQ(a.GetString(), g_EmptyString);
    char text[] = "hello";
    a.Set(text);
    text[0] = 'j';
    OwnedString b(a), c;
    c = b;
    EXPECT_STREQ(c.GetString(), "hello");
    c.Set(c.GetString() + 1); // a part of itself
    EXPECT_STREQ(c.GetString(), "ello");
    const OwnedString& same = b;
    b = same;
    EXPECT_TRUE(a.Equals(b));
    b.Set("Hello");
    EXPECT_FALSE(a.Equals(b));
    b.Clear();
    EXPECT_EQ(b.GetString(), g_EmptyString);
    std::unique_ptr<char[]> pCopy(b.Duplicate());
    EXPECT_STREQ(pCopy.get(), "");
    a.Set(nullptr);
    EXPECT_EQ(a.GetString(), g_EmptyString);
}

TEST(SafeStrCopy, CutsAndFills)
{
    char buffer[33];
    std::memset(buffer, '#', sizeof(buffer));
    SafeStrCopy(buffer, "unused", 0);
    EXPECT_EQ(buffer[0], '#');
    SafeStrCopy(buffer, std::string(40, 'n').c_str(), 32);
    EXPECT_EQ(std::string(buffer), std::string(31, 'n'));
    EXPECT_EQ(buffer[32], '#');
    SafeStrCopy(buffer, "ab", 8);
    EXPECT_EQ(std::string(buffer, 9), std::string("ab\0\0\0\0\0\0n", 9));
}

TEST(FindNameToken, Table)
{
    struct
    {
        const char* m_pName;
        const char* m_pWord;
        int m_Place; // -1 for none
    } const cases[] = {
        {"body_zTex1", "tex", 6},       {"body_ZTex1", "Tex", -1}, {"", "Tex", -1},   {"_zNose", "N", 2},
        {"_zTe_zTEXT", "Tex", 6},       {"a_zTe", "Tex", -1},      {"_z", "N", -1},   {"_zMagScale050_zN", "n", 15},
        {"__zmagscale", "MagScale", 3}, {"Tex_", "Tex", -1},       {"_z_zN", "N", 4},
    };
    for (const auto& test : cases)
    {
        const char* pFound = FindNameToken(test.m_pName, test.m_pWord);
        EXPECT_EQ(pFound ? pFound - test.m_pName : -1, test.m_Place) << test.m_pName << " " << test.m_pWord;
    }
}

TEST(CompareNoCase, FoldsLettersOnly)
{
    EXPECT_EQ(CompareNoCase("VisRadius", "vISrADIUS"), 0);
    EXPECT_LT(CompareNoCase("abc", "ABD"), 0);
    EXPECT_GT(CompareNoCase("abc", "AB"), 0);
    EXPECT_NE(CompareNoCase("[", "{"), 0);
    EXPECT_NE(CompareNoCase("\xC4", "\xE4"), 0);
    EXPECT_GT(CompareNoCase("\xC4", "a"), 0); // characters count as unsigned
}

#ifndef _WIN32
TEST(DebugPrintf, StaysWithinItsBuffer)
{
    testing::internal::CaptureStderr();
    DebugPrintf("%s%d", std::string(600, 'x').c_str(), 5);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(511, 'x'));
}
#endif

static std::string g_Report;

TEST(Assertion, ReportsAndGoesOn)
{
    const AssertionSink old =
        SetAssertionSink([](const char* expression, const char* file, int line)
                         { g_Report = std::string(expression) + "|" + file + "|" + std::to_string(line); });
    const int three = 3;
    EXPECT_TRUE(ZOLT_ASSERT(three == 3, "three==3"));
    EXPECT_EQ(g_Report, "");
    const int line = __LINE__ + 1;
    EXPECT_FALSE(ZOLT_ASSERT(three == 4, "three  ==4"));
    EXPECT_EQ(g_Report, "three  ==4|tests/zoltshared/stdzolt/strings_test.cpp|" + std::to_string(line));
    EXPECT_NE(SetAssertionSink(nullptr), nullptr);
    testing::internal::CaptureStderr();
    ZOLT_ASSERT(three == 4, "to stderr");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("to stderr"), std::string::npos);
    SetAssertionSink(old);
}
