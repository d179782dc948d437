#include "host/exportlog.h"

#include <sstream>

static const char WARNING_MARK[] = "WARNING:";

bool KeptLog::Add(const std::string& text)
{
    if (!m_File.is_open() && !m_Path.empty())
        m_File.open(m_Path, std::ios::binary | std::ios::trunc);
    m_File << text << std::flush;
    return m_File.is_open() && m_File.good();
}

std::vector<std::string> FindLogWarnings(const std::string& log)
{
    std::vector<std::string> warnings;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);)
    {
        if (line.compare(0, sizeof(WARNING_MARK) - 1, WARNING_MARK) == 0)
        {
            const size_t at = line.find_first_not_of(' ', sizeof(WARNING_MARK) - 1);
            warnings.push_back(at == std::string::npos ? std::string() : line.substr(at));
        }
    }
    return warnings;
}
