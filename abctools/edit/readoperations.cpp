#include "abctools/edit/readoperations.h"

#include "abctools/format.h"
#include "commandline/splitwords.h"

#include <nlohmann/json.hpp>

#include <cctype>
#include <sstream>

using nlohmann::json;

// `where` tells which operation of the file it is.
static bool AddStep(const std::string& name, std::vector<std::string> values, const std::string& where,
                    std::vector<EditStep>& steps, std::string& error)
{
    const EditOperation* pOperation = FindEditOperation(name.starts_with("--") ? name.substr(2) : name);
    if (!pOperation)
    {
        error = where + ": there is no operation " + name;
        return false;
    }
    const std::string problem = CheckEditValues(*pOperation, values);
    if (!problem.empty())
    {
        error = where + ": " + pOperation->m_pName + " " + problem;
        return false;
    }
    steps.push_back({pOperation, EditValues(std::move(values))});
    return true;
}

bool ReadOperationLines(const std::string& text, std::vector<EditStep>& steps, std::string& error)
{
    std::istringstream lines(text);
    std::string line;
    for (int nLine = 1; std::getline(lines, line); ++nLine)
    {
        const std::string where = "line " + std::to_string(nLine);
        std::vector<std::string> words;
        if (!SplitWords(line, words))
        {
            error = where + ": a quote isn't closed";
            return false;
        }
        if (words.empty())
            continue;
        if (!AddStep(words[0], {words.begin() + 1, words.end()}, where, steps, error))
            return false;
    }
    return true;
}

static bool TextOf(const json& value, std::string& text)
{
    if (value.is_string())
        text = value.get<std::string>();
    else if (value.is_number())
        text = value.dump();
    else
        return false;
    return true;
}

// The values that an object has under the names of the operation's help.
static bool ValuesOf(const json& object, const std::string& name, std::vector<std::string>& values,
                     std::string& problem)
{
    const EditOperation* pOperation = FindEditOperation(name);
    size_t nUsed = 1;
    for (std::string key : pOperation ? EditValueNames(*pOperation) : std::vector<std::string>())
    {
        for (char& c : key)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (!object.contains(key) || !TextOf(object[key], values.emplace_back()))
        {
            problem = Format("%s needs text or a number for %s", name.c_str(), key.c_str());
            return false;
        }
        ++nUsed;
    }
    if (pOperation && nUsed != object.size())
        problem = name + " has a value that it doesn't need; it needs " + pOperation->m_pValues + " in small letters";
    return problem.empty();
}

bool ReadOperationJson(const std::string& text, std::vector<EditStep>& steps, std::string& error)
{
    const json list = json::parse(text, nullptr, false);
    if (!list.is_array())
    {
        error = list.is_discarded() ? "it is no JSON" : "it is no JSON array of operations";
        return false;
    }
    for (size_t i = 0; i < list.size(); ++i)
    {
        const json& entry = list[i];
        const std::string where = "operation " + std::to_string(i + 1);
        std::vector<std::string> words;
        bool bText = true;
        if (entry.is_array())
        {
            for (const json& value : entry)
                bText = TextOf(value, words.emplace_back()) && bText;
        }
        else if (entry.is_object() && entry.contains("operation") && TextOf(entry["operation"], words.emplace_back()))
        {
            std::string problem;
            if (!ValuesOf(entry, std::string(words[0]), words, problem))
            {
                error = Format("%s: %s", where.c_str(), problem.c_str());
                return false;
            }
        }
        if (words.empty() || !bText)
        {
            error = where + " is neither an array of a name and its values nor an object with \"operation\"";
            return false;
        }
        if (!AddStep(words[0], {words.begin() + 1, words.end()}, where, steps, error))
            return false;
    }
    return true;
}
