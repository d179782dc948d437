#include "abctools/commands.h"
#include "abctools/displaytext.h"
#include "abctools/format.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilecheck.h"

#include <memory>

// So many lines of a kind are printed for one file.
constexpr uint32_t MAX_LINES = 200;

static std::string TotalsText(const ModelFileTotals& totals)
{
    return Format("version %u, ", totals.m_Version) + Counted(totals.m_nNodes, "node") + ", " +
           Counted(totals.m_nPieces, "piece") + ", " + Counted(totals.m_nTris, "triangle") + ", " +
           Counted(totals.m_nVerts, "vertex", "vertices") + ", " + Counted(totals.m_nAnims, "animation");
}

static bool CheckFile(const std::string& path, bool bExport, bool bQuiet, std::ostream& out, std::ostream& err)
{
    std::vector<uint8_t> bytes;
    std::string error;
    if (!ReadModelBytes(path, bytes, error))
    {
        err << ErrorLine(path, error);
        return false;
    }
    ModelFileTotals totals;
    uint32_t nFaults = 0;
    uint32_t nWarnings = 0;
    const std::string prefix = TerminalText(path) + ": ";
    for (const Finding& finding : CheckModelFile(bytes, &totals))
    {
        const bool bFault = finding.m_Kind == FindingKind::Fault || (bExport && finding.m_Kind == FindingKind::Export);
        if (bFault && ++nFaults <= MAX_LINES)
            out << prefix << TerminalText(finding.m_Text) << '\n';
        else if (!bFault && !bQuiet && ++nWarnings <= MAX_LINES)
            out << prefix << "warning: " << TerminalText(finding.m_Text) << '\n';
    }
    if (nFaults > MAX_LINES)
        out << prefix << Counted(nFaults - MAX_LINES, "more fault") << '\n';
    if (nFaults == 0 && !bQuiet)
        out << prefix << "ok (" << TotalsText(totals) << ")\n";
    return nFaults == 0;
}

int RunCheck(const std::vector<std::string>& paths, bool bExport, bool bQuiet, std::ostream& out, std::ostream& err)
{
    int status = 0;
    for (const std::string& path : paths)
    {
        if (!CheckFile(path, bExport, bQuiet, out, err))
            status = 1;
    }
    return status;
}

namespace
{

struct CheckOptions
{
    std::vector<std::string> m_Paths;
    bool m_bExport = false;
    bool m_bQuiet = false;
};

} // namespace

Command MakeCheckCommand()
{
    const auto pOptions = std::make_shared<CheckOptions>();
    Command command;
    command.m_Name = "check";
    command.m_Summary = "Verify files: a line for each fault, exit status 1 if there is one";
    command.m_Options.AddFiles("FILE", pOptions->m_Paths, "Model files");
    command.m_Options.AddFlag("--export", pOptions->m_bExport, "Also what holds for every finished export");
    command.m_Options.AddFlag("-q,--quiet", pOptions->m_bQuiet, "Faults only");
    command.m_Examples = {{"abctool check strider.abc", "Is the file valid, and does it hold what an engine dislikes?"},
                          {"abctool check --quiet models/*.abc", "Only the faults of many files."}};
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err)
    { return RunCheck(pOptions->m_Paths, pOptions->m_bExport, pOptions->m_bQuiet, out, err); };
    return command;
}
