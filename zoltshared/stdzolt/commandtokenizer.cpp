#include "zoltshared/stdzolt/commandtokenizer.h"

#include <cctype>
#include <cstring>

#include "zoltshared/stdzolt/strcasecompare.h"

ZOLT_BEGIN_NAMESPACE

static bool IsSeparator(char c)
{
    return c == ';' || std::iscntrl(static_cast<unsigned char>(c)) != 0;
}

QZBOOL CommandTokenizer::NextCommand()
{
    if (!m_pNext)
        return QZFALSE;
    const char* pText = m_pNext;
    char* pOut = m_Buffer;
    m_pNext = nullptr;
    m_nTokens = 0;
    while (m_nTokens < MAX_TOKENS)
    {
        char* pToken = pOut;
        const TokenResult result = ReadToken(pText, pOut);
        if (result == NOTHING_MORE)
            break;
        if (result == END_OF_COMMAND)
        {
            m_pNext = pText;
            break;
        }
        m_Tokens[m_nTokens++] = pToken;
    }
    return QZTRUE;
}

// Reads the token at `pText` and moves behind it. It goes, terminated, to `pOut`, which moves behind the terminator;
// the last character of the buffer is kept for the terminator of whatever is cut.
CommandTokenizer::TokenResult CommandTokenizer::ReadToken(const char*& pText, char*& pOut)
{
    char* const pToken = pOut;
    const char* const pLast = m_Buffer + BUFFER_SIZE - 1;
    uint32_t depth = 0;
    bool bSeparator = false;

    while (*pText == ' ')
        pText++;
    if (*pText == 0)
        return NOTHING_MORE;
    for (; *pText; pText++)
    {
        char c = *pText;
        if (c == '%')
        {
            c = *++pText;
            if (c == 0)
                break;
        }
        else if (IsSeparator(c))
        {
            bSeparator = true;
            break;
        }
        else if (c == '(')
        {
            if (++depth == 1)
                continue;
        }
        else if (c == ')')
        {
            if (--depth == 0)
            {
                pText++;
                break;
            }
        }
        else if (c == '"')
        {
            if (depth != 0)
            {
                pText++;
                break;
            }
            depth = 1;
            continue;
        }
        else if (c == ' ' && depth == 0)
            break;
        if (pOut - pToken < MAX_TOKEN_LENGTH && pOut < pLast)
            *pOut++ = c;
    }
    *pOut = 0;
    const bool bEmpty = pOut == pToken;
    if (pOut < pLast)
        pOut++;
    if (bEmpty && bSeparator)
    {
        pText++;
        return END_OF_COMMAND;
    }
    return bEmpty ? NOTHING_MORE : TOKEN;
}

QZBOOL CommandTokenizer::FindCommand(const char* pWord, QZBOOL bCaseSensitive, int minTokens)
{
    if (minTokens == 0)
        minTokens = 1;
    while (NextCommand())
    {
        if (m_nTokens < minTokens || m_nTokens == 0)
            continue;
        if ((bCaseSensitive ? std::strcmp(m_Tokens[0], pWord) : CompareNoCase(m_Tokens[0], pWord)) == 0)
            return QZTRUE;
    }
    return QZFALSE;
}

ZOLT_END_NAMESPACE
