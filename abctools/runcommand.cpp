#include "abctools/runcommand.h"
#include "abctools/jsontext.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

using nlohmann::ordered_json;

int RunCommand(const Command& command, bool bJson, std::ostream& out, std::ostream& err)
{
    if (!bJson)
        return command.m_Run(out, err);
    std::ostringstream document;
    std::ostringstream problems;
    const int status = command.m_Run(document, problems);
    err << problems.str();
    if (status == STATUS_RIGHT || !document.str().empty())
    {
        out << document.str();
        return status;
    }
    const std::string PREFIX = "error: ";
    std::istringstream lines(problems.str());
    std::string error;
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with(PREFIX))
            error += (error.empty() ? "" : "\n") + line.substr(PREFIX.size());
    }
    out << JsonText({{"error", error}});
    return status;
}

bool AsksForJson(const std::vector<std::string>& words)
{
    const auto end = std::find(words.begin(), words.end(), "--");
    return std::find(words.begin(), end, "--json") != end;
}
