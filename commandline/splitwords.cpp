#include "commandline/splitwords.h"

#include <algorithm>

static bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

bool SplitWords(const std::string& text, std::vector<std::string>& words)
{
    std::string word;
    bool isWord = false;
    char quote = 0;
    for (size_t i = 0; i < text.size(); i++)
    {
        const char c = text[i];
        if (c == '\\' && quote != '\'' && i + 1 < text.size())
        {
            word += text[++i];
            isWord = true;
        }
        else if (quote)
            c == quote ? void(quote = 0) : void(word += c);
        else if (c == '"' || c == '\'')
        {
            quote = c;
            isWord = true;
        }
        else if (IsBlank(c))
        {
            if (isWord)
                words.push_back(word);
            word.clear();
            isWord = false;
        }
        else if (c == '#' && !isWord)
            i = std::min(text.find('\n', i), text.size());
        else
        {
            word += c;
            isWord = true;
        }
    }
    if (isWord)
        words.push_back(word);
    return quote == 0;
}
