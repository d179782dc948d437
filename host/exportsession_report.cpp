// What is said of a model that was written, and what keeps one from being written.
#include "host/exportsession.h"

#include "host/console.h"
#include "host/fileclash.h"
#include "host/reportfile.h"

// What the comparison finds goes to the report, against the limit or into a warning. On a long clip it takes longer
// than the export, so it is left out where nobody would hear of it.
bool ExportSession::WantsComparison() const
{
    return !m_Options.quiet || m_Options.report || !m_Options.reportPath.empty() || m_Options.strict;
}

// Holds the file against all that was exported into it. False if that forbids to keep the file.
bool ExportSession::HoldAgainstScene(const std::string& file, const std::string& target)
{
    if (!WantsComparison())
        return true;
    ModelReport report;
    std::string error;
    const std::vector<std::string> warnings(m_Warned.begin(), m_Warned.end());
    if (!MakeModelReport(file, target, m_Played, warnings, m_Options.jobs, report, error))
    {
        m_Options.strict ? m_Console.Error(error) : m_Console.Warning(error);
        return !m_Options.strict;
    }
    if (!report.misplaced.empty())
    {
        WarnOnce(report.misplaced);
        report.warnings.push_back(report.misplaced);
    }
    m_Report = std::move(report);
    bool passes = true;
    const LeftOut& leftOut = m_Report->leftOut;
    if (m_Options.strict && leftOut.triangles != 0 && leftOut.trianglesDropped == leftOut.triangles)
    {
        m_Console.Error("The model has lost all triangles of the scene, which is too small. --strict forbids it.");
        passes = false;
    }
    for (const ClipReport& clip : m_Report->clips)
    {
        const double part = clip.distance.all.worst.part;
        if (m_Options.strict && 100.0 * part > *m_Options.strict)
        {
            m_Console.Error(DescribeDistance(*m_Report, clip) + ". --strict forbids it.");
            passes = false;
        }
        else if (part > REPORT_LIMIT && !m_Options.report)
            m_Console.Warning(DescribeDistance(*m_Report, clip) + ".");
    }
    return passes;
}

// Hands out the report where it was asked for. False if it can't be written.
bool ExportSession::PublishReport(const std::string& target, bool written)
{
    std::string error;
    if (m_Report && m_Options.report)
    {
        const std::string text = PrintModelReport(*m_Report);
        if (std::fputs(text.c_str(), m_Surroundings.out) < 0 || std::fflush(m_Surroundings.out) != 0)
            m_Console.Error(error = "The report can't be printed.");
    }
    const std::string json = m_Report ? ModelReportAsJson(*m_Report, written) : MissingReportAsJson(target, written);
    // A report that is the target itself has been refused.
    const bool goesToFile = !m_Options.reportPath.empty() && FindClash(target).empty();
    if (goesToFile && !WriteReportFile(m_Options.reportPath, json, error))
        m_Console.Error(error);
    return error.empty();
}
