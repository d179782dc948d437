#include "abctools/commands.h"
#include "abctools/format.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilecheck.h"
#include "commandline/progressbar.h"

#include <nlohmann/json.hpp>

#include <memory>
#include <sstream>

using nlohmann::ordered_json;

// So many lines of a kind are printed for one file.
constexpr uint32_t MAX_LINES = 200;

static std::string TotalsText(const ModelFileTotals& totals)
{
    return Format("version %u, ", totals.m_Version) + Counted(totals.m_nNodes, "node") + ", " +
           Counted(totals.m_nPieces, "piece") + ", " + Counted(totals.m_nTris, "triangle") + ", " +
           Counted(totals.m_nVerts, "vertex", "vertices") + ", " + Counted(totals.m_nAnims, "animation");
}

static ordered_json TotalsJson(const ModelFileTotals& totals)
{
    return {{"version", totals.m_Version}, {"nodes", totals.m_nNodes}, {"pieces", totals.m_nPieces},
            {"tris", totals.m_nTris},      {"verts", totals.m_nVerts}, {"anims", totals.m_nAnims}};
}

// One file: `out` gets lines, or `document` what they would say.
static bool CheckFile(const std::string& path, const CheckOptions& options, std::ostream& out, std::ostream& err,
                      ordered_json& document)
{
    std::vector<uint8_t> bytes;
    std::string error;
    document = {{"file", ToUtf8(path)}, {"ok", false}};
    if (!ReadModelBytes(path, bytes, error))
    {
        document["error"] = ToUtf8(path + ": " + error + ".");
        err << ErrorLine(path, error);
        return false;
    }
    ModelFileTotals totals;
    uint32_t nFaults = 0;
    uint32_t nWarnings = 0;
    const std::string prefix = TerminalText(path) + ": ";
    document["faults"] = ordered_json::array();
    document["warnings"] = ordered_json::array();
    for (const Finding& finding : CheckModelFile(bytes, &totals))
    {
        const bool bFault =
            finding.m_Kind == FindingKind::Fault || (options.m_bExport && finding.m_Kind == FindingKind::Export);
        document[bFault ? "faults" : "warnings"].push_back(ToUtf8(finding.m_Text));
        if (bFault && ++nFaults <= MAX_LINES && !options.m_bJson)
            out << prefix << TerminalText(finding.m_Text) << '\n';
        else if (!bFault && !options.m_bQuiet && ++nWarnings <= MAX_LINES && !options.m_bJson)
            out << prefix << "warning: " << TerminalText(finding.m_Text) << '\n';
    }
    document["ok"] = nFaults == 0;
    document.update(TotalsJson(totals));
    if (nFaults > MAX_LINES && !options.m_bJson)
        out << prefix << Counted(nFaults - MAX_LINES, "more fault") << '\n';
    if (nFaults == 0 && !options.m_bQuiet && !options.m_bJson)
        out << prefix << "ok (" << TotalsText(totals) << ")\n";
    return nFaults == 0;
}

int RunCheck(const std::vector<std::string>& paths, bool bExport, bool bQuiet, std::ostream& out, std::ostream& err)
{
    return RunCheck({paths, bExport, bQuiet, false}, out, err);
}

int RunCheck(const CheckOptions& options, std::ostream& out, std::ostream& err)
{
    int status = STATUS_RIGHT;
    ProgressBar bar("checking");
    ordered_json documents = ordered_json::array();
    for (const std::string& path : options.m_Paths)
    {
        bar.Show(documents.size(), options.m_Paths.size());
        std::ostringstream lines;
        ordered_json document;
        if (!CheckFile(path, options, lines, err, document))
            status = STATUS_FAILED;
        documents.push_back(std::move(document));
        if (const std::string text = lines.str(); !text.empty())
        {
            bar.Clear();
            out << text;
        }
    }
    bar.Clear();
    if (options.m_bJson && !documents.empty())
        out << JsonText(documents.size() > 1 ? documents : documents[0]);
    return status;
}

Command MakeCheckCommand()
{
    const auto pOptions = std::make_shared<CheckOptions>();
    Command command;
    command.m_Name = "check";
    command.m_Summary = "Verify files: a line for each fault, exit status 1 if there is one";
    command.m_Options.AddFiles("FILE", pOptions->m_Paths, "Model files");
    command.m_Options.AddFlag("--export", pOptions->m_bExport, "Also what holds for every finished export");
    command.m_Options.AddFlag("-q,--quiet", pOptions->m_bQuiet, "Faults only");
    command.m_Options.AddFlag("--json", pOptions->m_bJson,
                              "Print JSON: an object, or a list of them for several files");
    command.m_Options
        .AddText("--fix", "OUT", pOptions->m_FixPath,
                 "Write a file in which is mended what can be without a guess (unit lengths, key times, idle weights, "
                 "counts), and tell what was done; for one FILE")
        .m_Kind = ValueKind::File;
    command.m_Check = [pOptions]
    { return pOptions->m_FixPath.empty() || pOptions->m_Paths.size() == 1 ? "" : "--fix is for one file"; };
    command.m_Examples = {{"abctool check strider.abc", "Is the file valid, and does it hold what an engine dislikes?"},
                          {"abctool check --quiet models/*.abc", "Only the faults of many files."}};
    command.m_Run = [pOptions](std::ostream& out, std::ostream& err)
    { return pOptions->m_FixPath.empty() ? RunCheck(*pOptions, out, err) : RunFix(*pOptions, out, err); };
    return command;
}
