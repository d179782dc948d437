#include "host/exportlog.h"

#include <algorithm>
#include <string_view>

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
    for (size_t start = 0; start < log.size();)
    {
        const size_t end = std::min(log.find('\n', start), log.size());
        const std::string_view line(log.data() + start, end - start);
        start = end + 1;
        if (line.substr(0, sizeof(WARNING_MARK) - 1) == WARNING_MARK)
        {
            const size_t at = line.find_first_not_of(' ', sizeof(WARNING_MARK) - 1);
            warnings.emplace_back(at == std::string::npos ? std::string_view() : line.substr(at));
        }
    }
    return warnings;
}
