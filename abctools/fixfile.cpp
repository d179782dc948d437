#include "abctools/commands.h"
#include "abctools/fixmodel.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilecheck.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

#include <nlohmann/json.hpp>

#include <algorithm>

using nlohmann::ordered_json;

static bool IsFault(const Finding& finding, bool bExport)
{
    return finding.m_Kind == FindingKind::Fault || (bExport && finding.m_Kind == FindingKind::Export);
}

namespace
{

struct FixReport
{
    std::vector<std::string> m_Done; // sentences without a full stop
    std::vector<std::string> m_Faults;
    std::vector<std::string> m_Warnings;
    std::string m_FailedPath;
    std::string m_Error; // the end of a sentence about that file
};

} // namespace

static bool FixFile(const CheckOptions& options, FixReport& report)
{
    const std::string& path = options.m_Paths[0];
    report.m_FailedPath = path;
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> mended;
    ModelFolder folder(FolderOf(path).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!ReadModelBytes(path, bytes, report.m_Error) ||
        !LoadWithChildren(bytes, folder, model, report.m_Warnings, report.m_Error))
        return false;
    const std::vector<Finding> before = CheckModelFile(bytes);
    for (const Finding& finding : before)
    {
        if (!finding.m_bLost)
            continue;
        report.m_Error = finding.m_Text + ", so something would be lost, and nothing is written";
        return false;
    }
    FixModel(model, options.m_bExport, report.m_Done);
    if (!SaveModelBytes(model, mended, report.m_Error))
        return false;
    const std::vector<Finding> left = CheckModelFile(mended);
    // What a save puts right by itself, counts and the like, is among these.
    for (const Finding& finding : before)
    {
        const auto isSame = [&finding](const Finding& other) { return other.m_Text == finding.m_Text; };
        if (finding.m_Kind != FindingKind::Warning && std::none_of(left.begin(), left.end(), isSame))
            report.m_Done.push_back("mended: " + finding.m_Text);
    }
    for (const Finding& finding : left)
    {
        if (IsFault(finding, options.m_bExport))
            report.m_Faults.push_back(finding.m_Text);
    }
    if (!report.m_Faults.empty())
    {
        report.m_Error = "what is left can't be mended without a guess, so nothing is written";
        return false;
    }
    report.m_FailedPath = options.m_FixPath;
    return WriteWholeFile(options.m_FixPath, mended, report.m_Error);
}

int RunFix(const CheckOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    const std::string& path = options.m_Paths[0];
    FixReport report;
    const bool bFixed = FixFile(options, report);
    for (const std::string& warning : report.m_Warnings)
        err << WarningLine(path, warning);
    if (options.m_bJson)
    {
        ordered_json document = {{"file", ToUtf8(path)},
                                 {"out", ToUtf8(options.m_FixPath)},
                                 {"written", bFixed},
                                 {"changes", TextList(report.m_Done)},
                                 {"faults", TextList(report.m_Faults)},
                                 {"warnings", TextList(report.m_Warnings)}};
        if (!bFixed)
            document["error"] = ToUtf8(report.m_FailedPath + ": " + report.m_Error + ".");
        out << JsonText(document);
    }
    else
    {
        const std::string prefix = TerminalText(path) + ": ";
        for (const std::string& text : report.m_Done)
            out << prefix << TerminalText(text) << '\n';
        for (const std::string& fault : report.m_Faults)
            out << prefix << TerminalText(fault) << '\n';
        if (bFixed && report.m_Done.empty() && !options.m_bQuiet)
            out << prefix << "there is nothing to mend\n";
        if (bFixed && !options.m_bQuiet)
            out << TerminalText(options.m_FixPath) << ": ok\n";
    }
    if (!bFixed)
        err << ErrorLine(report.m_FailedPath, report.m_Error);
    return bFixed ? STATUS_RIGHT : STATUS_FAILED;
}
