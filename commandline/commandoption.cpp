#include "commandline/commandoption.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

static std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    size_t first = 0;
    while (first < text.size())
    {
        const size_t last = std::min(text.find(separator, first), text.size());
        parts.push_back(text.substr(first, last - first));
        first = last + 1;
    }
    return parts;
}

template <typename Number> static bool ParseWhole(const std::string& text, Number& number)
{
    const char* pEnd = text.data() + text.size();
    const auto [pParsed, error] = std::from_chars(text.data(), pEnd, number);
    return error == std::errc() && pParsed == pEnd;
}

std::vector<std::string> CommandOption::NameList() const
{
    return Split(m_Names, ',');
}

size_t CommandOption::NumValues() const
{
    return m_bPositional ? 1 : Split(m_Values, ' ').size();
}

CommandOption& CommandOptions::Add(const char* pNames, const char* pValues, const char* pHelp)
{
    CommandOption& option = m_List.emplace_back();
    option.m_Names = pNames;
    option.m_Values = pValues;
    option.m_Help = pHelp;
    return option;
}

CommandOption& CommandOptions::AddFile(const char* pName, std::string& path, const char* pHelp)
{
    CommandOption& option = AddText(pName, "", path, pHelp);
    option.m_Kind = ValueKind::File;
    option.m_bPositional = true;
    option.m_bRequired = true;
    return option;
}

CommandOption& CommandOptions::AddFiles(const char* pName, std::vector<std::string>& paths, const char* pHelp)
{
    CommandOption& option = AddWords(pName, paths, pHelp);
    option.m_Kind = ValueKind::File;
    option.m_bRequired = true;
    return option;
}

CommandOption& CommandOptions::AddWords(const char* pName, std::vector<std::string>& words, const char* pHelp)
{
    CommandOption& option = AddTexts(pName, "", words, pHelp);
    option.m_bPositional = true;
    return option;
}

CommandOption& CommandOptions::AddFlag(const char* pNames, bool& bSet, const char* pHelp)
{
    CommandOption& option = Add(pNames, "", pHelp);
    option.m_Take = [&bSet](const std::vector<std::string>&)
    {
        bSet = true;
        return std::string();
    };
    return option;
}

template <typename Text> static auto TakeText(Text& text)
{
    return [&text](const std::vector<std::string>& values)
    {
        text = values[0];
        return std::string();
    };
}

CommandOption& CommandOptions::AddText(const char* pNames, const char* pValue, std::string& text, const char* pHelp)
{
    CommandOption& option = Add(pNames, pValue, pHelp);
    option.m_Take = TakeText(text);
    return option;
}

CommandOption& CommandOptions::AddText(const char* pNames, const char* pValue, std::optional<std::string>& text,
                                       const char* pHelp)
{
    CommandOption& option = Add(pNames, pValue, pHelp);
    option.m_Take = TakeText(text);
    return option;
}

CommandOption& CommandOptions::AddTexts(const char* pNames, const char* pValue, std::vector<std::string>& texts,
                                        const char* pHelp)
{
    CommandOption& option = Add(pNames, pValue, pHelp);
    option.m_bRepeated = true;
    option.m_Take = [&texts](const std::vector<std::string>& values)
    {
        texts.push_back(values[0]);
        return std::string();
    };
    return option;
}

CommandOption& CommandOptions::AddChoice(const char* pNames, std::string& text, std::vector<std::string> choices,
                                         const char* pHelp)
{
    std::string values;
    for (const std::string& choice : choices)
        values += (values.empty() ? "" : "|") + choice;
    CommandOption& option = Add(pNames, values.c_str(), pHelp);
    option.m_Kind = ValueKind::Choice;
    option.m_Choices = std::move(choices);
    option.m_Take = [&text, values, list = option.m_Choices](const std::vector<std::string>& given)
    {
        text = given[0];
        for (const std::string& choice : list)
        {
            if (choice == text)
                return std::string();
        }
        return "is one of " + values;
    };
    return option;
}

template <typename Count> static auto TakeCount(Count& count)
{
    return [&count](const std::vector<std::string>& values)
    {
        uint32_t number = 0;
        if (!ParseWhole(values[0], number))
            return "needs a whole number from 0 up";
        count = number;
        return "";
    };
}

CommandOption& CommandOptions::AddCount(const char* pNames, const char* pValue, std::optional<uint32_t>& count,
                                        const char* pHelp)
{
    CommandOption& option = Add(pNames, pValue, pHelp);
    option.m_Take = TakeCount(count);
    return option;
}

CommandOption& CommandOptions::AddCount(const char* pNames, const char* pValue, uint32_t& count, const char* pHelp)
{
    CommandOption& option = Add(pNames, pValue, pHelp);
    option.m_Take = TakeCount(count);
    return option;
}

CommandOption& CommandOptions::AddNumber(const char* pNames, const char* pValue, std::optional<double>& number,
                                         const char* pHelp)
{
    CommandOption& option = Add(pNames, pValue, pHelp);
    option.m_Take = [&number](const std::vector<std::string>& values)
    {
        double value = 0.0;
        if (!ParseWhole(values[0], value) || !std::isfinite(value))
            return "needs a finite number";
        number = value;
        return "";
    };
    return option;
}

CommandOption& CommandOptions::AddOperation(const char* pNames, const char* pValues,
                                            std::function<std::string(const std::vector<std::string>&)> take,
                                            const char* pHelp)
{
    CommandOption& option = Add(pNames, pValues, pHelp);
    option.m_bRepeated = true;
    option.m_Take = std::move(take);
    return option;
}
