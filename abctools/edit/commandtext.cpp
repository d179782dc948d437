#include "abctools/edit/commandtext.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/commandtokenizer.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <cctype>
#include <cstdlib>

namespace
{

struct Keyword
{
    const char* m_pName;
    int m_nValues;
    bool m_bExact; // with more values it does nothing; else they are ignored
    bool m_bNumbers;
};

} // namespace

static const Keyword KEYWORDS[] = {
    {"NoAnimation", 0, true, true},     {"ShadowEnable", 0, true, true},
    {"SpecularEnable", 0, true, true},  {"Rigid", 0, true, true},
    {"VisRadius", 1, true, true},       {"AmbientLight", 1, true, true},
    {"DirLight", 1, true, true},        {"FadeRangeMin", 1, true, true},
    {"FadeRangeMax", 1, true, true},    {"FovXOffset", 1, true, true},
    {"FovYOffset", 1, true, true},      {"ShadowProjectLength", 1, true, true},
    {"ShadowLightDist", 1, true, true}, {"ShadowSizeX", 1, true, true},
    {"ShadowSizeY", 1, true, true},     {"ShadowCenterOffset", 3, false, true},
    {"FadeSpriteSize", 2, false, true}, {"NormalRef", 2, false, false},
};

static bool IsSeparator(char c)
{
    return c == ';' || std::iscntrl(static_cast<unsigned char>(c));
}

// The commands, each with the separator behind it.
static std::vector<std::string> SplitCommands(const std::string& text)
{
    std::vector<std::string> commands(1);
    for (size_t i = 0; i < text.size(); ++i)
    {
        commands.back() += text[i];
        if (text[i] == '%' && i + 1 < text.size())
            commands.back() += text[++i];
        else if (IsSeparator(text[i]))
            commands.emplace_back();
    }
    return commands;
}

static std::vector<std::string> TokensOf(const std::string& command)
{
    CommandTokenizer tokenizer;
    tokenizer.SetText(command.c_str());
    tokenizer.NextCommand();
    return std::vector<std::string>(tokenizer.m_Tokens, tokenizer.m_Tokens + tokenizer.m_nTokens);
}

std::string AddCommand(const std::string& text, const std::string& command)
{
    if (text.empty() || SplitCommands(text).back().empty())
        return text + command;
    return text + (text.find('\n') == std::string::npos ? "; " : "\n") + command;
}

std::string RemoveCommands(const std::string& text, const std::string& keyword, uint32_t* pnRemoved)
{
    *pnRemoved = 0;
    std::string kept;
    for (const std::string& command : SplitCommands(text))
    {
        const std::vector<std::string> tokens = TokensOf(command);
        if (tokens.empty() || CompareNoCase(tokens[0].c_str(), keyword.c_str()) != 0)
            kept += command;
        else
            ++*pnRemoved;
    }
    if (*pnRemoved == 0)
        return text;
    // No separator that parts nothing.
    const size_t first = kept.find_first_not_of(' ');
    kept.erase(0, first == std::string::npos ? kept.size() : first);
    if (SplitCommands(kept).back().find_first_not_of(' ') == std::string::npos)
    {
        while (!kept.empty() && (kept.back() == ' ' || IsSeparator(kept.back())) && !kept.ends_with("%;"))
            kept.pop_back();
    }
    return kept;
}

static std::string CountedValues(int n)
{
    return n == 0 ? "no value" : n == 1 ? "1 value" : std::to_string(n) + " values";
}

static void CheckCommand(const Model& model, const std::vector<std::string>& tokens, std::vector<std::string>& problems)
{
    const Keyword* pKeyword = nullptr;
    for (const Keyword& keyword : KEYWORDS)
    {
        if (CompareNoCase(tokens[0].c_str(), keyword.m_pName) == 0)
            pKeyword = &keyword;
    }
    if (!pKeyword)
    {
        problems.push_back("the command string has the unknown keyword " + tokens[0]);
        return;
    }
    const std::string name = "the command string's " + std::string(pKeyword->m_pName);
    const int nValues = static_cast<int>(tokens.size()) - 1;
    if (nValues != pKeyword->m_nValues)
    {
        const bool bIgnored = nValues < pKeyword->m_nValues || pKeyword->m_bExact;
        problems.push_back(name + " takes " + CountedValues(pKeyword->m_nValues) + " and has " +
                           CountedValues(nValues) +
                           (bIgnored ? ", so it does nothing" : ", the last of which do nothing"));
        if (bIgnored)
            return;
    }
    for (size_t i = 1; pKeyword->m_bNumbers && i <= static_cast<size_t>(pKeyword->m_nValues); ++i)
    {
        char* pEnd = nullptr;
        const double value = std::strtod(tokens[i].c_str(), &pEnd);
        if (*pEnd != '\0')
            problems.push_back(
                name + " has " + tokens[i] + ", which is no number and counts as " +
                (value == 0.0 ? "0" : tokens[i].substr(0, static_cast<size_t>(pEnd - tokens[i].c_str()))));
    }
    if (pKeyword->m_bNumbers)
        return;
    if (!model.FindNode(tokens[1].c_str(), nullptr))
        problems.push_back(name + " names the node " + tokens[1] + ", which isn't there");
    if (!const_cast<Model&>(model).FindAnim(tokens[2].c_str(), nullptr, nullptr))
        problems.push_back(name + " names the animation " + tokens[2] + ", which isn't there");
}

std::vector<std::string> FindCommandProblems(const Model& model)
{
    std::vector<std::string> problems;
    const std::vector<std::string> commands = SplitCommands(model.m_CommandString);
    CommandTokenizer tokenizer;
    tokenizer.SetText(model.m_CommandString);
    size_t nRead = 0;
    while (tokenizer.NextCommand())
        ++nRead;
    for (size_t i = 0; i < nRead && i < commands.size(); ++i)
    {
        const std::vector<std::string> tokens = TokensOf(commands[i]);
        if (!tokens.empty())
            CheckCommand(model, tokens, problems);
    }
    if (nRead < commands.size())
        problems.push_back("the command string is read up to its command " + std::to_string(nRead) +
                           " alone, which has an empty pair of quotes or 30 words");
    return problems;
}
