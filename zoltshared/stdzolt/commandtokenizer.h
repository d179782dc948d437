#pragma once

#include <cstdint>

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

// Cuts a text into commands and these into tokens, which it copies into a buffer of its own.
//
// Spaces split tokens; ";" or any control character ends a command; a double quote or "(" opens a group, in which
// spaces count, and the next double quote or matching ")" ends it and the token; "%" takes the next character as it
// is. Separators end a command within a group too. An empty group ends the scan of the whole text.
//
// A command has at most 30 tokens, behind which the whole text is dropped, and a token at most 256 characters; what
// doesn't fit into the buffer is dropped.
class CommandTokenizer
{
public:
    static constexpr int MAX_TOKENS = 30;
    static constexpr int MAX_TOKEN_LENGTH = 256;
    static constexpr int BUFFER_SIZE = 5120;

    CommandTokenizer() = default;
    CommandTokenizer(const CommandTokenizer&) = delete;
    CommandTokenizer& operator=(const CommandTokenizer&) = delete;

    // The text must stay alive during the scan.
    void SetText(const char* pText) { m_pNext = pText; }

    // Scans a command into `m_Tokens` and `m_nTokens`; false if there is none left. An empty text, or a separator at
    // the end of one, gives a command of 0 tokens.
    QZBOOL NextCommand();

    // Goes on to the next command of at least `minTokens` tokens (0 means 1) that starts with `pWord`.
    QZBOOL FindCommand(const char* pWord, QZBOOL bCaseSensitive, int minTokens);

    char* m_Tokens[64]; // only the first m_nTokens are set
    int32_t m_nTokens = 0;

private:
    enum TokenResult
    {
        NOTHING_MORE = 0,
        TOKEN = 1,
        END_OF_COMMAND = 2
    };

    TokenResult ReadToken(const char*& pText, char*& pOut);

    const char* m_pNext = nullptr;
    char m_Buffer[BUFFER_SIZE];
};

ZOLT_END_NAMESPACE
