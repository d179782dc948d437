#include "abctools/commands.h"
#include "abctools/edit/commandtext.h"
#include "abctools/edit/modeledit.h"
#include "abctools/edit/readoperations.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilecheck.h"
#include "commandline/progressbar.h"
#include "engine/model/src/modelfolder.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>

using nlohmann::ordered_json;

// All steps in their order, those of files among them.
static bool CollectSteps(const std::vector<EditSource>& sources, std::vector<EditStep>& steps, std::string& failedPath,
                         std::string& error)
{
    for (const EditSource& source : sources)
    {
        if (source.m_Kind == EditSource::Kind::Step)
        {
            steps.insert(steps.end(), source.m_Step.begin(), source.m_Step.end());
            continue;
        }
        failedPath = source.m_Path;
        std::vector<uint8_t> bytes;
        if (!ReadAllBytes(source.m_Path, bytes, error))
            return false;
        const std::string text(bytes.begin(), bytes.end());
        const bool bRead = source.m_Kind == EditSource::Kind::Json ? ReadOperationJson(text, steps, error)
                                                                   : ReadOperationLines(text, steps, error);
        if (!bRead)
            return false;
    }
    return true;
}

static std::vector<std::string> FaultsOf(std::span<const uint8_t> bytes)
{
    std::vector<std::string> faults;
    for (const Finding& finding : CheckModelFile(bytes))
    {
        if (finding.m_Kind == FindingKind::Fault)
            faults.push_back(finding.m_Text);
    }
    return faults;
}

// The first of the texts that isn't among the others, or null.
static const std::string* FindNew(const std::vector<std::string>& texts, const std::vector<std::string>& others)
{
    const auto it = std::find_if(texts.begin(), texts.end(),
                                 [&others](const std::string& text)
                                 { return std::find(others.begin(), others.end(), text) == others.end(); });
    return it == texts.end() ? nullptr : &*it;
}

static bool RunSteps(ModelEdit& edit, const std::vector<EditStep>& steps, std::string& error)
{
    ProgressBar bar("editing");
    size_t nSteps = 0;
    edit.m_Progress = [&](size_t nDone, size_t nAll) { bar.Show(nSteps * nAll + nDone, steps.size() * nAll); };
    const std::vector<std::string> problemsBefore = FindCommandProblems(edit.m_Model);
    for (const EditStep& step : steps)
    {
        edit.m_Progress(0, 1);
        if (!step.m_pOperation->m_pRun(edit, step.m_Values))
        {
            error = step.Text() + ": " + edit.m_Error;
            return false;
        }
        ++nSteps;
    }
    edit.m_Progress = [](size_t, size_t) {};
    // At the end, when what a command names may be there.
    for (const std::string& problem : FindCommandProblems(edit.m_Model))
    {
        if (edit.m_bCommandEdited ||
            std::find(problemsBefore.begin(), problemsBefore.end(), problem) == problemsBefore.end())
            edit.Warn(problem);
    }
    for (uint32_t i = 1; i < edit.m_Model.NumChildModels(); ++i)
    {
        const char* pName = edit.m_Model.GetChildModel(i)->m_pName;
        std::error_code code;
        if (!std::filesystem::exists(std::filesystem::path(edit.m_Folder) / pName, code))
            edit.Warn("child model " + std::string(pName) + " isn't in the folder that it is written to");
    }
    return true;
}

static bool Edit(const EditOptions& options, ModelEdit& edit, std::string& failedPath, std::string& error)
{
    std::vector<EditStep> steps;
    if (!CollectSteps(options.m_Sources, steps, failedPath, error))
        return false;
    failedPath = options.m_InPath;
    std::vector<uint8_t> bytes;
    ModelFolder folder(FolderOf(options.m_InPath).c_str());
    if (!ReadModelBytes(options.m_InPath, bytes, error) ||
        !LoadWithChildren(bytes, folder, edit.m_Model, edit.m_Warnings, error) || !RunSteps(edit, steps, error))
        return false;
    std::vector<uint8_t> edited;
    if (!SaveModelBytes(edit.m_Model, edited, error))
        return false;
    const std::vector<std::string> faults = FaultsOf(edited);
    if (const std::string* pFault = FindNew(faults, FaultsOf(bytes)))
    {
        error = "the result would have a fault: " + *pFault;
        return false;
    }
    failedPath = options.m_OutPath;
    return options.m_bDryRun || WriteWholeFile(options.m_OutPath, edited, error);
}

int RunEdit(const EditOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    ModelEdit edit(FolderOf(options.m_OutPath));
    std::string failedPath;
    std::string error;
    const bool bEdited = Edit(options, edit, failedPath, error);
    for (const std::string& warning : edit.m_Warnings)
        err << WarningLine(options.m_InPath, warning);
    if (!bEdited)
    {
        err << ErrorLine(failedPath, error);
        return STATUS_FAILED;
    }
    if (options.m_bJson)
    {
        ordered_json report = {{"file", ToUtf8(options.m_InPath)}, {"written", !options.m_bDryRun}};
        if (!options.m_bDryRun)
            report["out"] = ToUtf8(options.m_OutPath);
        report["changes"] = TextList(edit.m_Changes);
        report["warnings"] = TextList(edit.m_Warnings);
        out << JsonText(report);
        return STATUS_RIGHT;
    }
    for (const std::string& change : edit.m_Changes)
        out << TerminalText(change) << '\n';
    return STATUS_RIGHT;
}

static std::string CheckEditOptions(EditOptions& options, bool bInPlace)
{
    if (options.m_Sources.empty())
        return "edit needs an operation";
    if (bInPlace && !options.m_OutPath.empty())
        return "--output and --in-place don't go together";
    if (options.m_OutPath.empty() && !bInPlace && !options.m_bDryRun)
        return "edit needs --output, --in-place or --dry-run";
    if (options.m_OutPath.empty())
        options.m_OutPath = options.m_InPath;
    return std::string();
}

Command MakeEditCommand()
{
    struct State : EditOptions
    {
        bool m_bInPlace = false;
    };
    const auto pState = std::make_shared<State>();
    Command command;
    command.m_Name = "edit";
    command.m_Summary = "Change a model: names, sockets, weight sets, animations, nodes, pieces, LODs";
    command.m_Details =
        "Operations are carried out in the order in which they stand, all or none: if one fails, nothing is written. "
        "Names are found in any case; nodes and pieces without a name of their own go by #INDEX. An operation file has "
        "an operation a line, its name without dashes and its values, with quotes where a value has spaces, and # "
        "ahead of a comment.\n";
    CommandOptions& options = command.m_Options;
    options.AddFile("FILE", pState->m_InPath, "A model file");
    std::vector<std::string> unused;
    CommandOption& files = options.AddWords("@OPERATIONS", unused, "Operations of a file, @ ahead of its name");
    files.m_Kind = ValueKind::File;
    files.m_Take = [pState](const std::vector<std::string>& values)
    {
        if (values[0].size() < 2 || values[0][0] != '@')
            return "is an operation file, @ ahead of its name, not " + values[0];
        pState->m_Sources.push_back({EditSource::Kind::Lines, {}, values[0].substr(1)});
        return std::string();
    };
    options
        .AddText("-o,--output", "OUT", pState->m_OutPath, "The file to write; one that is there is replaced as a whole")
        .m_Kind = ValueKind::File;
    options.AddFlag("--in-place", pState->m_bInPlace, "Replace FILE itself");
    options.AddFlag("--dry-run", pState->m_bDryRun, "Only tell what would change");
    options.AddFlag("--json", pState->m_bJson, "Tell it as JSON");
    options
        .AddOperation(
            "--json-operations", "JSON",
            [pState](const std::vector<std::string>& values)
            {
                pState->m_Sources.push_back({EditSource::Kind::Json, {}, values[0]});
                return std::string();
            },
            "Operations of a JSON file: an array of arrays like [\"rename-anim\", \"walk\", \"stride\"], or of objects "
            "like {\"operation\": \"rename-anim\", \"old\": \"walk\", \"new\": \"stride\"}")
        .m_Kind = ValueKind::File;
    for (const EditOperation& operation : EditOperations())
    {
        options.AddOperation(
            ("--" + std::string(operation.m_pName)).c_str(), operation.m_pValues,
            [pState, &operation](const std::vector<std::string>& values)
            {
                pState->m_Sources.push_back({EditSource::Kind::Step, {{&operation, EditValues(values)}}, {}});
                return CheckEditValues(operation, values);
            },
            operation.m_pHelp);
    }
    command.m_Examples = {
        {"abctool edit strider.abc -o hero.abc --rename-anim walk stride --add-socket grip hand_r 0 0.1 0",
         "One animation is called otherwise, and there is a socket on a node."},
        {"abctool edit hero.abc --in-place --add-weight-set arm --weigh-subtree arm shoulder_r 1",
         "A weight set for the right arm."},
        {"abctool edit hero.abc --dry-run --reduce-keys '*' 0.005", "How many keys would go?"},
        {"abctool edit hero.abc -o hero2.abc @hero.edits", "The operations of a file."}};
    command.m_Check = [pState] { return CheckEditOptions(*pState, pState->m_bInPlace); };
    command.m_Run = [pState](std::ostream& out, std::ostream& err) { return RunEdit(*pState, out, err); };
    return command;
}
