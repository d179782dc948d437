#include "zoltshared/stdzolt/commandtokenizer.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

typedef std::vector<std::vector<std::string>> Commands;

static Commands Scan(const std::string& text)
{
    CommandTokenizer tokenizer;
    EXPECT_FALSE(tokenizer.NextCommand());
    tokenizer.SetText(text.c_str());
    Commands commands;
    while (tokenizer.NextCommand())
    {
        commands.emplace_back(tokenizer.m_Tokens, tokenizer.m_Tokens + tokenizer.m_nTokens);
    }
    return commands;
}

TEST(CommandTokenizer, Table)
{
    const struct
    {
        const char* m_pText;
        Commands m_Commands;
    } cases[] = {
        {"", {{}}},
        {"   ", {{}}},
        {"VisRadius 50", {{"VisRadius", "50"}}},
        {"a b; c", {{"a", "b"}, {"c"}}},
        {"a;;b", {{"a"}, {}, {"b"}}},
        {"a;", {{"a"}, {}}},
        {"a\r\nb\tc", {{"a"}, {}, {"b"}, {"c"}}},
        {"name \"two words\" end", {{"name", "two words", "end"}}},
        {"f(a b(c) d) e", {{"fa b(c) d", "e"}}},
        {"(a \"b c", {{"a ", "b", "c"}}}, // the quote ends what the parenthesis began
        {"\"a )b", {{"a ", "b"}}},        // and the other way round
        {"100%% sure", {{"100%", "sure"}}},
        {"a%;b %\"c%( %)", {{"a;b", "\"c(", ")"}}},
        {"a% b", {{"a b"}}},
        {"a%", {{"a"}}},
        {"%", {{}}},
        {"\"a;b c\"", {{"a"}, {"b", "c"}}}, // a separator ends the group too; the last quote opens an empty one
        {"\"open end", {{"open end"}}},
        {"a)b c d", {{"a)b c d"}}}, // the count has wrapped
        {")a( b", {{")a(", "b"}}},  // and is 0 again
        {"\"\" next", {{}}},
        {"a () b; c", {{"a"}}},
        {"\"; b", {{}, {"b"}}},
        {"\xE4 \xFF", {{"\xE4", "\xFF"}}},
    };
    for (const auto& test : cases)
        EXPECT_EQ(Scan(test.m_pText), test.m_Commands) << test.m_pText;
}

TEST(CommandTokenizer, Limits)
{
    EXPECT_EQ(Scan(std::string(256, 'x') + " y"), (Commands{{std::string(256, 'x'), "y"}}));
    EXPECT_EQ(Scan(std::string(300, 'x') + " y"), (Commands{{std::string(256, 'x'), "y"}}));

    std::string text;
    for (int i = 0; i < 31; i++)
        text += "t ";
    EXPECT_EQ(Scan(text + "; lost"), (Commands{std::vector<std::string>(30, "t")}));

    // 19 tokens of 257 bytes leave 237; the 20th is cut to fit, and nothing is left for more.
    text.clear();
    for (int i = 0; i < 30; i++)
        text += std::string(256, 'x') + " ";
    Commands full{std::vector<std::string>(19, std::string(256, 'x'))};
    full[0].push_back(std::string(5120 - 19 * 257 - 1, 'x'));
    EXPECT_EQ(Scan(text), full);
}

TEST(CommandTokenizer, FindCommand)
{
    const char* pText = "visradius; VISRADIUS 5 ; ;VisRadius 7 8";
    CommandTokenizer tokenizer;
    tokenizer.SetText(pText);
    EXPECT_TRUE(tokenizer.FindCommand("VisRadius", QZFALSE, 0));
    EXPECT_EQ(tokenizer.m_nTokens, 1);
    EXPECT_TRUE(tokenizer.FindCommand("VisRadius", QZFALSE, 3));
    EXPECT_STREQ(tokenizer.m_Tokens[2], "8");
    EXPECT_FALSE(tokenizer.FindCommand("VisRadius", QZFALSE, 0));
    tokenizer.SetText(pText);
    EXPECT_TRUE(tokenizer.FindCommand("VisRadius", QZTRUE, 2));
    EXPECT_STREQ(tokenizer.m_Tokens[1], "7");
}
