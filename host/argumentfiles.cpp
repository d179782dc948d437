#include "host/argumentfiles.h"

#include "scene/readfile.h"

#include <algorithm>

static constexpr int MAX_DEPTH = 16; // of files in files: more is one that is in itself

static bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v';
}

// False if a quote isn't closed.
static bool SplitWords(const std::string& text, std::vector<std::string>& words)
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

static bool Expand(const std::vector<std::string>& arguments, int depth, std::vector<std::string>& expanded,
                   std::string& error)
{
    for (size_t i = 0; i < arguments.size(); i++)
    {
        const std::string& argument = arguments[i];
        if (argument == "--")
        {
            expanded.insert(expanded.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i), arguments.end());
            return true;
        }
        if (argument.size() < 2 || argument[0] != '@')
        {
            expanded.push_back(argument);
            continue;
        }
        const std::string file = argument.substr(1);
        std::vector<unsigned char> bytes;
        std::vector<std::string> words;
        std::string reason;
        if (depth == MAX_DEPTH)
            error = "The argument file " + file + " is in itself.";
        else if (!ReadFileBytes(file, bytes, reason))
            error = std::string("The argument file ").append(file).append(" ").append(reason) + " (./" + argument +
                    " is a file of that name).";
        else if (!SplitWords(std::string(bytes.begin(), bytes.end()), words))
            error = "The argument file " + file + " ends between quotes.";
        if (!error.empty() || !Expand(words, depth + 1, expanded, error))
            return false;
    }
    return true;
}

bool ExpandArgumentFiles(std::vector<std::string>& arguments, std::string& error)
{
    std::vector<std::string> expanded;
    if (!Expand(arguments, 0, expanded, error))
        return false;
    arguments = std::move(expanded);
    return true;
}
