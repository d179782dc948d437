#include "engine/model/src/model.h"
#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "zoltshared/stdzolt/commandtokenizer.h"

#include <cstring>
#include <string>

static void CheckTokens(const CommandTokenizer& tokenizer)
{
    FUZZ_REQUIRE(tokenizer.m_nTokens >= 0 && tokenizer.m_nTokens <= CommandTokenizer::MAX_TOKENS);
    for (int32_t i = 0; i < tokenizer.m_nTokens; ++i)
    {
        const size_t length = strlen(tokenizer.m_Tokens[i]);
        FUZZ_REQUIRE(length <= CommandTokenizer::MAX_TOKEN_LENGTH);
        // One behind the other.
        FUZZ_REQUIRE(i == 0 || tokenizer.m_Tokens[i - 1] + strlen(tokenizer.m_Tokens[i - 1]) < tokenizer.m_Tokens[i]);
    }
}

void FuzzCommand(std::span<const uint8_t> bytes)
{
    const StrictAssertions strict;
    const std::string text(bytes.begin(), bytes.end());
    CommandTokenizer tokenizer;
    tokenizer.SetText(text.c_str());
    size_t nCommands = 0;
    while (tokenizer.NextCommand())
    {
        CheckTokens(tokenizer);
        FUZZ_REQUIRE(++nCommands <= text.size() + 1);
    }
    for (const int minTokens : {0, 1, 3, 31})
    {
        tokenizer.SetText(text.c_str());
        while (tokenizer.FindCommand("NormalRef", minTokens % 2 == 0, minTokens))
        {
            CheckTokens(tokenizer);
            FUZZ_REQUIRE(tokenizer.m_nTokens >= minTokens && tokenizer.m_nTokens > 0);
        }
    }

    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    model.GetRootNode()->SetName("root");
    FUZZ_REQUIRE(model.Precalc(QZTRUE) && model.AddDefaultAnim("walk"));
    model.m_CommandString = model.AddString(text.c_str());
    model.ParseCommandString();
    FUZZ_REQUIRE(model.m_iNormalRefNode >= -1 && model.m_iNormalRefNode < 1);
    FUZZ_REQUIRE(model.m_iNormalRefAnim >= -1 && model.m_iNormalRefAnim < 1);
    FUZZ_REQUIRE(!model.m_bNormalRef || (model.m_iNormalRefNode == 0 && model.m_iNormalRefAnim == 0));
}
