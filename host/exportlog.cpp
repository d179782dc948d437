#include "host/exportlog.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

static const char WARNING_MARK[] = "WARNING:";

KeptLog::~KeptLog()
{
    if (m_File >= 0)
        close(m_File);
}

bool KeptLog::Add(const std::string& text)
{
    const bool isFirst = m_File < 0;
    if (isFirst && !m_Path.empty())
        m_File = open(m_Path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    size_t done = 0;
    while (m_File >= 0 && !m_Failed && done < text.size())
    {
        const ssize_t written = write(m_File, text.data() + done, text.size() - done);
        m_Failed = written < 0 && errno != EINTR;
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
    // Written over, and cut off then: of a file that was emptied first, the system would force all to the disk as it is
    // closed. What has no length can't be cut off.
    if (isFirst && m_File >= 0)
        (void)!ftruncate(m_File, static_cast<off_t>(done));
    return m_File >= 0 && !m_Failed;
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
