// What is said of a model that was written, and what keeps one from being written.
#include "host/exportsession.h"

#include "host/console.h"

#include <algorithm>
#include <fstream>

// Holds the file against all that was exported into it. False if that forbids to keep the file.
bool ExportSession::HoldAgainstScene(const std::string& file, const std::string& target)
{
    ModelReport report;
    std::string error;
    const std::vector<std::string> warnings(m_Warned.begin(), m_Warned.end());
    if (!MakeModelReport(file, target, m_Played, warnings, report, error))
    {
        m_Options.strict ? m_Console.Error(error) : m_Console.Warning(error);
        return !m_Options.strict;
    }
    m_Report = std::move(report);
    bool passes = true;
    for (const ClipReport& clip : m_Report->clips)
    {
        const double part = JudgedDistance(clip).part;
        if (m_Options.strict && 100.0 * part > *m_Options.strict)
        {
            m_Console.Error(DescribeDistance(*m_Report, clip) + ". --strict forbids it.");
            passes = false;
        }
        else if (std::max(part, clip.distance.worst.part) > REPORT_LIMIT && !m_Options.report)
            m_Console.Warning(DescribeDistance(*m_Report, clip) + ".");
    }
    return passes;
}

// Hands out the report where it was asked for. False if it can't be written.
bool ExportSession::PublishReport(bool written)
{
    if (!m_Report)
        return true;
    bool published = true;
    if (m_Options.report)
    {
        const std::string text = PrintModelReport(*m_Report);
        published = std::fputs(text.c_str(), m_Surroundings.out) >= 0 && std::fflush(m_Surroundings.out) == 0;
    }
    if (!m_Options.reportPath.empty())
    {
        std::ofstream file(m_Options.reportPath, std::ios::binary);
        file << ModelReportAsJson(*m_Report, written) << std::flush;
        published = file.good() && published;
    }
    if (!published)
        m_Console.Error("The report can't be written.");
    return published;
}
