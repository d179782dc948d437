#include "abctools/commands.h"
#include "abctools/jsontext.h"
#include "abctools/modelfile.h"
#include "commandline/progressbar.h"
#include "engine/model/src/modelfolder.h"
#include "tools/model/animfit.h"
#include "tools/model/convmodel.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

using nlohmann::ordered_json;

// What sentences on a fit call the other file. What is in use has vertices, or lacks the flag that lets it go.
static const FitSource FIT_SOURCE = {"source", "in use there, which keeps them"};

namespace
{

// One run: what has come into the model and what there is to say.
struct Append
{
    const AppendOptions& m_Options;
    ConvModel m_Model;
    std::vector<const ModelAnim*> m_Made;
    std::vector<std::string> m_Changes; // sentences without a full stop
    std::vector<std::string> m_Warnings;
    std::string m_FailedPath;
    std::string m_Error;                // the end of a sentence about that file
    std::vector<std::string> m_Reasons; // whole sentences that explain it
};

} // namespace

static std::string WithoutStop(std::string sentence)
{
    if (sentence.ends_with('.'))
        sentence.pop_back();
    return sentence;
}

// Takes out what isn't wanted of a source.
static void ChooseAnims(ConvModel& source, const std::vector<std::string>& wanted, std::vector<bool>& found)
{
    for (uint32_t i = source.CalcNumOwnAnims(); i-- > 0 && !wanted.empty();)
    {
        bool bWanted = false;
        for (size_t k = 0; k < wanted.size(); ++k)
        {
            if (CompareNoCase(wanted[k].c_str(), source.GetAnim(i)->GetName()) != 0)
                continue;
            bWanted = true;
            found[k] = true;
        }
        if (!bWanted)
            source.RemoveOwnAnim(i);
    }
}

static bool AddByShape(Append& run, ConvModel& source, const AnimFit& fit)
{
    const uint32_t result = run.m_Model.AddAnims(&source);
    if (result == ADDANIMS_TREES_DIFFER)
    {
        run.m_Error = "its nodes aren't those of the model";
        run.m_Reasons = fit.ExplainRefusal(FIT_SOURCE);
    }
    else if (result != ADDANIMS_OK)
        run.m_Error = "an animation of it can't be added";
    else if (const std::string sentence = fit.DescribeMisplaced(); !sentence.empty())
        run.m_Warnings.push_back(WithoutStop(sentence));
    return result == ADDANIMS_OK;
}

static bool AddByName(Append& run, const ConvModel& source, AnimFit& fit)
{
    if (fit.CountNamed() == 0)
    {
        run.m_Error = "no node of it is called as one of the model";
        return false;
    }
    for (const std::string& line : fit.Describe(FIT_SOURCE))
        run.m_Changes.push_back(WithoutStop(line));
    for (const std::string& doubt : fit.DescribeDoubts(FIT_SOURCE))
        run.m_Warnings.push_back(WithoutStop(doubt));
    for (uint32_t i = 0; i < source.CalcNumOwnAnims(); ++i)
    {
        size_t nBones = 0;
        const std::vector<BoneDifference> different = fit.CompareBones(*source.GetAnim(i), nBones);
        const std::string sentence = DescribeBoneLengths(different, nBones, 0.0);
        if (!sentence.empty())
            run.m_Warnings.push_back(std::string(source.GetAnim(i)->GetName()) + ": " + WithoutStop(sentence));
        if (!fit.Add(*source.GetAnim(i)))
        {
            run.m_Error = "an animation of it can't be added";
            return false;
        }
    }
    return true;
}

// The row of an animation of that name that was in the model before the run; -1 without one.
static int FindOldRow(const Append& run, const std::string& name)
{
    for (uint32_t i = 0; i < run.m_Model.CalcNumOwnAnims(); ++i)
    {
        const ModelAnim* pAnim = run.m_Model.GetAnim(i);
        if (CompareNoCase(pAnim->GetName(), name.c_str()) == 0 &&
            std::find(run.m_Made.begin(), run.m_Made.end(), pAnim) == run.m_Made.end())
            return static_cast<int>(i);
    }
    return -1;
}

// Takes note of an animation that has just been added at a row, and puts it where it belongs: true if that is the place
// of another one, so that its row is gone.
static bool SettleAnim(Append& run, uint32_t iRow, const std::string& name)
{
    ModelAnim* pAnim = run.m_Model.GetAnim(iRow);
    run.m_Made.push_back(pAnim);
    const int iOld = FindOldRow(run, name);
    if (!run.m_Options.m_bReplace || iOld < 0)
    {
        run.m_Changes.push_back("the animation " + name + " is added" +
                                (pAnim->GetName() == name ? "" : std::string(" as ") + pAnim->GetName()) +
                                (iOld < 0 ? "" : " (--replace puts it in the place of the old one)"));
        return false;
    }
    run.m_Model.ReplaceOwnAnim(static_cast<uint32_t>(iOld), iRow);
    pAnim->SetName(name.c_str());
    run.m_Changes.push_back("the animation " + name + " is replaced");
    return true;
}

// An append leaves to the model what its table holds besides the animation.
static void WarnAboutRow(Append& run, const AnimInfo& row)
{
    const AnimInfo plain;
    if (!row.m_vDims.NearlyEquals(plain.m_vDims, 0.0f) || !row.m_vTranslation.NearlyEquals(plain.m_vTranslation, 0.0f))
        run.m_Warnings.push_back(std::string("the size and the root offset of animation ") + row.m_pAnim->GetName() +
                                 " don't come along; set-dims and set-root-offset of abctool edit set them");
}

static bool AppendSource(Append& run, const std::string& path, std::vector<bool>& found)
{
    run.m_FailedPath = path;
    std::vector<uint8_t> bytes;
    ConvModel source;
    LoadRequest request;
    request.m_bLoadChildModels = QZFALSE;
    if (!ReadModelBytes(path, bytes, run.m_Error) || !LoadModelBytes(bytes, source, request, run.m_Error))
        return false;
    ChooseAnims(source, run.m_Options.m_Anims, found);
    std::vector<std::string> names;
    for (uint32_t i = 0; i < source.CalcNumOwnAnims(); ++i)
    {
        names.emplace_back(source.GetAnim(i)->GetName());
        WarnAboutRow(run, *source.GetAnimInfo(i));
    }
    if (names.empty() && run.m_Options.m_Anims.empty())
    {
        run.m_Error = "it has no animation";
        return false;
    }
    uint32_t iRow = run.m_Model.CalcNumOwnAnims();
    AnimFit fit(run.m_Model, source);
    const bool bByName = run.m_Options.m_bFit && !fit.IsNeedless();
    if (!(bByName ? AddByName(run, source, fit) : AddByShape(run, source, fit)))
        return false;
    for (const std::string& name : names)
        iRow += SettleAnim(run, iRow, name) ? 0 : 1;
    return true;
}

static bool AppendAll(Append& run)
{
    const AppendOptions& options = run.m_Options;
    run.m_FailedPath = options.m_InPath;
    std::vector<uint8_t> bytes;
    ModelFolder folder(FolderOf(options.m_InPath).c_str());
    if (!ReadModelBytes(options.m_InPath, bytes, run.m_Error) ||
        !LoadWithChildren(bytes, folder, run.m_Model, run.m_Warnings, run.m_Error))
        return false;
    std::vector<bool> found(options.m_Anims.size(), false);
    ProgressBar bar("adding");
    size_t nDone = 0;
    for (const std::string& path : options.m_SourcePaths)
    {
        bar.Show(nDone++, options.m_SourcePaths.size());
        if (!AppendSource(run, path, found))
            return false;
    }
    for (size_t i = 0; i < found.size(); ++i)
    {
        if (found[i])
            continue;
        run.m_Error = "no source has an animation " + options.m_Anims[i];
        return false;
    }
    run.m_FailedPath = options.m_OutPath;
    return SaveModelFile(options.m_OutPath, run.m_Model, run.m_Error);
}

int RunAppend(const AppendOptions& options, std::ostream& out, std::ostream& err)
{
    QuietAssertions quiet;
    Append run{.m_Options = options,
               .m_Model = {},
               .m_Made = {},
               .m_Changes = {},
               .m_Warnings = {},
               .m_FailedPath = {},
               .m_Error = {},
               .m_Reasons = {}};
    const bool bAppended = AppendAll(run);
    for (const std::string& warning : run.m_Warnings)
        err << WarningLine(options.m_InPath, warning);
    if (!bAppended)
    {
        err << ErrorLine(run.m_FailedPath, run.m_Error);
        for (const std::string& reason : run.m_Reasons)
            err << "error: " << TerminalText(reason) << '\n';
        return STATUS_FAILED;
    }
    if (options.m_bJson)
    {
        ordered_json report = {{"file", ToUtf8(options.m_InPath)}, {"out", ToUtf8(options.m_OutPath)}};
        report["changes"] = TextList(run.m_Changes);
        report["warnings"] = TextList(run.m_Warnings);
        out << JsonText(report);
        return STATUS_RIGHT;
    }
    for (const std::string& change : run.m_Changes)
        out << TerminalText(change) << '\n';
    return STATUS_RIGHT;
}

Command MakeAppendCommand()
{
    struct State : AppendOptions
    {
        bool m_bInPlace = false;
    };
    const auto pState = std::make_shared<State>();
    Command command;
    command.m_Name = "append";
    command.m_Summary = "Add the animations of other model files to a model";
    command.m_Details =
        "Animations go to nodes by the shape of the two trees, once the nodes whose names the model doesn't have have "
        "left the other's, as far as nothing uses them there; with --fit they go by name. All or nothing.\n";
    CommandOptions& options = command.m_Options;
    options.AddFile("DEST", pState->m_InPath, "The model that gets the animations");
    options.AddFiles("SRC", pState->m_SourcePaths, "Model files that have them");
    options
        .AddText("-o,--output", "OUT", pState->m_OutPath, "The file to write; one that is there is replaced as a whole")
        .m_Kind = ValueKind::File;
    options.AddFlag("--in-place", pState->m_bInPlace, "Replace DEST itself");
    options.AddTexts("--anim", "NAME", pState->m_Anims, "Only this animation; may be given again");
    options.AddFlag("--replace", pState->m_bReplace,
                    "Put an animation in the place of the one of its name, rather than beside it with a number");
    options.AddFlag("--fit", pState->m_bFit, "Bring animations to the model's nodes by name where the trees differ");
    options.AddFlag("--json", pState->m_bJson, "Tell as JSON what was done");
    command.m_Examples = {
        {"abctool append hero.abc wave.abc run.abc -o hero2.abc", "A model with the animations of all three."},
        {"abctool append hero.abc wave.abc --in-place --replace --fit",
         "A new take of a skeleton that isn't quite the same."}};
    command.m_Check = [pState]
    {
        if (pState->m_OutPath.empty() != pState->m_bInPlace)
            return pState->m_bInPlace ? "--output and --in-place don't go together"
                                      : "append needs --output or --in-place";
        if (pState->m_bInPlace)
            pState->m_OutPath = pState->m_InPath;
        return "";
    };
    command.m_Run = [pState](std::ostream& out, std::ostream& err) { return RunAppend(*pState, out, err); };
    return command;
}
