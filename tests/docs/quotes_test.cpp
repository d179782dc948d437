// The documents against the sources that they quote.
#include "engine/model/src/model.h"
#include "tools/model/convmodel.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/memorystream.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

static std::string ReadText(const std::string& path)
{
    std::ifstream file(std::string(ZOLT_SOURCE_DIR) + "/" + path);
    EXPECT_TRUE(file) << path;
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// The fenced blocks of one language.
static std::vector<std::string> Blocks(const std::string& document, const std::string& language)
{
    std::vector<std::string> blocks;
    std::istringstream lines(document);
    bool bInside = false;
    for (std::string line; std::getline(lines, line);)
    {
        if (line == "```" + language)
        {
            bInside = true;
            blocks.emplace_back();
        }
        else if (line == "```")
            bInside = false;
        else if (bInside)
            blocks.back() += line + "\n";
    }
    return blocks;
}

static std::string WithoutBlanks(std::string text)
{
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
    return text;
}

TEST(Quotes, CodeOfTheRuntimeGuideIsCompiled)
{
    const std::string document = ReadText("docs/runtime.md");
    const std::pair<const char*, const char*> sources[] = {{"cpp", "tests/docs/runtime_snippets.cpp"},
                                                           {"c", "tests/zolt/capi_test.c"},
                                                           {"python", "tests/python/test_zolt.py"}};
    size_t nBlocks = 0;
    for (const auto& [pLanguage, pPath] : sources)
    {
        const std::string source = WithoutBlanks(ReadText(pPath));
        for (const std::string& block : Blocks(document, pLanguage))
        {
            ++nBlocks;
            EXPECT_NE(source.find(WithoutBlanks(block)), std::string::npos) << block;
        }
    }
    EXPECT_GE(nBlocks, 20u);
}

TEST(Quotes, TheSmallestFileOfTheFormatGuideIsWhatIsWrittenAndRead)
{
    const std::vector<std::string> blocks = Blocks(ReadText("docs/abc-format.md"), "hex");
    ASSERT_EQ(blocks.size(), 1u);
    std::vector<uint8_t> bytes;
    std::istringstream lines(blocks[0]);
    for (std::string line; std::getline(lines, line);)
    {
        std::istringstream words(line.substr(0, line.find(';')));
        size_t offset = 0;
        words >> offset;
        EXPECT_EQ(offset, bytes.size()) << line;
        for (std::string word; words >> word;)
            bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
    }
    ASSERT_EQ(bytes.size(), 357u);

    Model loaded(&g_DefaultAllocator, &g_DefaultAllocator);
    FixedMemoryStream stream(bytes.data(), static_cast<uint32_t>(bytes.size()));
    LoadRequest request;
    request.m_pStream = &stream;
    ASSERT_EQ(loaded.Load(&request), RESULT_OK);
    EXPECT_EQ(loaded.NumNodes(), 1u);
    EXPECT_EQ(loaded.GetModelStamp(), 1u);

    ConvModel written;
    ASSERT_TRUE(written.Precalc(QZTRUE));
    written.SetModelStamp(0);
    MemoryStream file(512);
    ASSERT_TRUE(written.Save(&file));
    ASSERT_EQ(file.m_Data.GetSize(), bytes.size());
    for (uint32_t i = 0; i < bytes.size(); ++i)
        EXPECT_EQ(file.m_Data[i], bytes[i]) << i;
}
