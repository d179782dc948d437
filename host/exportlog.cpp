#include "host/exportlog.h"

#include "host/commandlineuser.h"

#include <fstream>
#include <sstream>

static const char WARNING_MARK[] = "WARNING:";

std::vector<std::string> ReadLogWarnings(const std::string& path)
{
    std::vector<std::string> warnings;
    std::ifstream log(path);
    for (std::string line; std::getline(log, line);)
    {
        if (line.compare(0, sizeof(WARNING_MARK) - 1, WARNING_MARK) == 0)
            warnings.push_back(line.substr(line.find_first_not_of(' ', sizeof(WARNING_MARK) - 1)));
    }
    return warnings;
}

void JoinLog(const std::string& part, const std::string& joined, bool first, const std::string& heading,
             const std::string& staged, const std::string& target)
{
    if (joined.empty())
        return;
    std::ifstream in(part, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in.is_open())
        return;
    std::ofstream out(joined, std::ios::binary | (first ? std::ios::trunc : std::ios::app));
    const std::string lines = ReplaceAll(text.str(), staged, target);
    out << heading << "\n" << lines;
    if (!lines.empty() && lines.back() != '\n')
        out << "\n";
}
