#include "abctools/commands.h"
#include "abctools/displaytext.h"
#include "abctools/fixmodel.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilecheck.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelfolder.h"

#include <algorithm>

static bool IsFault(const Finding& finding, bool bExport)
{
    return finding.m_Kind == FindingKind::Fault || (bExport && finding.m_Kind == FindingKind::Export);
}

int RunFix(const std::string& path, const std::string& outPath, bool bExport, bool bQuiet, std::ostream& out,
           std::ostream& err)
{
    QuietAssertions quiet;
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> mended;
    std::vector<std::string> done;
    std::vector<std::string> warnings;
    std::string error;
    ModelFolder folder(FolderOf(path).c_str());
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!ReadModelBytes(path, bytes, error) || !LoadWithChildren(bytes, folder, model, warnings, error))
    {
        err << ErrorLine(path, error);
        return STATUS_FAILED;
    }
    const std::vector<Finding> before = CheckModelFile(bytes);
    for (const Finding& finding : before)
    {
        if (!finding.m_bLost)
            continue;
        err << ErrorLine(path, finding.m_Text + ", so something would be lost, and nothing is written");
        return STATUS_FAILED;
    }
    FixModel(model, bExport, done);
    if (!SaveModelBytes(model, mended, error))
    {
        err << ErrorLine(path, error);
        return STATUS_FAILED;
    }
    const std::vector<Finding> left = CheckModelFile(mended);
    // What a save puts right by itself, counts and the like, is among these.
    for (const Finding& finding : before)
    {
        const auto isSame = [&finding](const Finding& other) { return other.m_Text == finding.m_Text; };
        if (finding.m_Kind != FindingKind::Warning && std::none_of(left.begin(), left.end(), isSame))
            done.push_back("mended: " + finding.m_Text);
    }
    const std::string prefix = TerminalText(path) + ": ";
    for (const std::string& text : done)
        out << prefix << TerminalText(text) << '\n';
    for (const std::string& warning : warnings)
        err << WarningLine(path, warning);
    bool bFault = false;
    for (const Finding& finding : left)
    {
        if (!IsFault(finding, bExport))
            continue;
        out << prefix << TerminalText(finding.m_Text) << '\n';
        bFault = true;
    }
    if (bFault)
    {
        err << ErrorLine(path, "what is left can't be mended without a guess, so nothing is written");
        return STATUS_FAILED;
    }
    if (!WriteWholeFile(outPath, mended, error))
    {
        err << ErrorLine(outPath, error);
        return STATUS_FAILED;
    }
    if (done.empty() && !bQuiet)
        out << prefix << "there is nothing to mend\n";
    if (!bQuiet)
        out << TerminalText(outPath) << ": ok\n";
    return STATUS_RIGHT;
}
