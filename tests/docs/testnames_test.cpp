// The tests that docs/reliability.md names, against the sources of the tests.
#include <algorithm>
#include <filesystem>
#include <fnmatch.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace fs = std::filesystem;

static std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path);
    EXPECT_TRUE(file) << path;
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// What stands between the words `before` and `after`, spaces and line breaks left out.
static std::set<std::string> FindBetween(const std::string& text, const std::string& before, const std::string& after)
{
    std::set<std::string> found;
    for (size_t at = text.find(before); at != std::string::npos;)
    {
        at += before.size();
        const size_t end = std::min(text.find_first_of(after, at), text.size());
        std::string name = text.substr(at, end - at);
        at = text.find(before, end + 1);
        std::erase_if(name, [](char c) { return c == ' ' || c == '\n'; });
        found.insert(name);
    }
    return found;
}

// "Suite.Name" with a capital letter, or "something_test".
static bool IsTestName(const std::string& text)
{
    const char* const letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.*";
    if (text.empty() || text.find_first_not_of(letters) != std::string::npos)
        return false;
    const size_t dot = text.find('.');
    return dot == std::string::npos ? text.ends_with("_test") : text[0] <= 'Z' && (text[dot + 1] <= 'Z');
}

TEST(TestNames, OfTheReliabilityGuideExist)
{
    std::set<std::string> existing;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(ZOLT_SOURCE_DIR "/tests"))
    {
        if (entry.path().extension() == ".cpp")
        {
            for (const char* pMacro : {"\nTEST(", "\nTEST_F("})
                existing.merge(FindBetween(ReadFile(entry.path()), pMacro, ")"));
        }
        else if (entry.path().filename() == "CMakeLists.txt")
            existing.merge(FindBetween(ReadFile(entry.path()), "zolt_add_tests(", " )"));
    }
    const std::string guide = ReadFile(ZOLT_SOURCE_DIR "/docs/reliability.md");
    std::set<std::string> named;
    std::set<std::string> words = FindBetween(guide, "`", "`");
    words.merge(FindBetween(guide, "gtest_filter='", "'"));
    std::copy_if(words.begin(), words.end(), std::inserter(named, named.end()), IsTestName);
    EXPECT_GE(named.size(), 20u);
    for (const std::string& name : named)
    {
        std::string pattern = name;
        std::replace(pattern.begin(), pattern.end(), '.', ',');
        const auto fits = [&](const std::string& test) { return fnmatch(pattern.c_str(), test.c_str(), 0) == 0; };
        EXPECT_TRUE(std::any_of(existing.begin(), existing.end(), fits)) << name;
    }
}
