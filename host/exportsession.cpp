#include "host/exportsession.h"

#include "host/console.h"
#include "host/fileclash.h"
#include "host/keepnodes.h"
#include "host/memoryfile.h"
#include "host/preparejob.h"
#include "host/reportfile.h"
#include "host/sceneclips.h"
#include "host/scenelisting.h"
#include "host/workingfolder.h"
#include "saa/saahost.h"
#include "scene/flatnodes.h"
#include "tools/model/counted.h"
#include "tools/model/kelpexport/clipappender.h"
#include "win32/stateplaces.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

ExportSession::ExportSession(std::vector<OpenedScene>& scenes, const ExportOptions& options,
                             const ExportSurroundings& surroundings, const std::string& logPath)
    : m_Scenes(scenes), m_Options(options), m_Surroundings(surroundings), m_Console(*surroundings.console),
      m_Log(logPath)
{
}

std::string ExportSession::FindClash(const std::string& target) const
{
    std::string clash;
    for (const OpenedScene& opened : m_Scenes)
    {
        if (clash.empty())
            clash = FindFileClash(opened.scene, opened.options, target, m_Log.GetPath());
    }
    return clash;
}

bool ExportSession::LoadPlugin()
{
    std::string error;
    if (m_Plugin.Open(m_Surroundings.plugin, error))
        return true;
    m_Console.Error(error);
    return false;
}

CommandLineAnswers ExportSession::MakeAnswers() const
{
    CommandLineAnswers answers;
    answers.file = m_Options.outPath;
    answers.animName = m_Options.animName;
    answers.debug = m_Options.debug;
    answers.append = m_Options.append;
    answers.overwrite = m_Options.overwrite;
    answers.objection = [this](const std::string& target)
    {
        const std::string problem = FindOutputProblem(target);
        return problem.empty() ? FindClash(target) : problem;
    };
    return answers;
}

// The clips of a run share most of their warnings.
void ExportSession::WarnOnce(const std::string& sentence)
{
    if (m_Warned.insert(sentence).second)
        m_Console.Warning(sentence);
}

void ExportSession::SayOnce(const std::string& line)
{
    if (m_SaidLines.insert(line).second)
        m_Console.Say(line);
}

void ExportSession::KeepLog(const std::string& text)
{
    const std::string& path = m_Log.GetPath();
    if (!m_Log.Add(text) && !std::exchange(m_LogFailed, true))
        m_Console.Warning(path.empty() ? "There is no place for the log; --log names one."
                                       : "The log can't be written to " + path + ".");
}

// Runs something that may tell or ask the user, and shows its progress.
bool ExportSession::RunAsUser(CommandLineUser& user, const std::function<bool()>& run)
{
    SetStatusSink([](const char* text, void* console) { static_cast<Console*>(console)->Say(text); }, &m_Console);
    SetFrameSink([](int frame, void* console) { static_cast<Console*>(console)->ShowFrame(frame); }, &m_Console);
    DialogUser* before = SetDialogUser(&user);
    const bool done = run();
    SetDialogUser(before);
    SetStatusSink(nullptr, nullptr);
    SetFrameSink(nullptr, nullptr);
    m_Console.ClearBar();
    return done;
}

// The model that the job's scene is fitted to, or measured by where it has no triangles; null where it needs none.
const AppendTarget* ExportSession::FindAppendTarget(const ExportJob& job, ClipAppender* appender)
{
    const bool isOfThisScene = appender && job.source == 0 && !m_Appends;
    if ((!m_Options.fit || isOfThisScene) && HasTriangles(*job.scene))
        return nullptr;
    if (m_Target)
        return &*m_Target;
    AppendTarget target;
    const bool isFresh = m_Options.overwrite && !m_Options.append;
    if (appender)
        DescribeAppendTarget(appender->GetModel(), target);
    else if (isFresh || !LoadAppendTarget(FindTarget(m_Options), target))
    {
        if (m_Options.fit && m_Scenes.size() == 1)
            WarnOnce("--fit does nothing: there is no model that the scene could be fitted to.");
        return nullptr;
    }
    m_Target = std::move(target);
    return &*m_Target;
}

// They depend on all clips: each one needn't look through all others.
std::shared_ptr<const std::vector<bool>> ExportSession::FlatNodesOf(const Scene& scene)
{
    std::shared_ptr<const std::vector<bool>>& flat = m_FlatNodes[&scene];
    if (!flat)
        flat = std::make_shared<const std::vector<bool>>(FindFlatNodes(scene));
    return flat;
}

// A whole run of the plug-in.
bool ExportSession::RunPlugin(CommandLineUser& user, KeepWishes& keep)
{
    user.TellDecision(
        [&](bool appends)
        {
            m_Appends = appends;
            keep.Tell(!appends);
        });
    keep.Tell(true);
    return m_Plugin.Init() == 0;
}

// Lets the first job, which alone reads meshes, spend them where nobody needs them afterwards: the model needs the
// memory. What the other jobs take from them is worked out before; nothing of it is told, since the run is quiet then.
// False if one of these can't be prepared.
bool ExportSession::SpendMeshes(std::vector<ExportJob>& jobs)
{
    if (WantsComparison() || m_Options.fit || m_Scenes.size() > 1 || !HasTriangles(m_Scenes.front().scene))
        return true;
    for (size_t i = 1; i < jobs.size(); i++)
    {
        PreparedJob prepared;
        std::string error;
        if (!PrepareJob(*jobs[i].scene, jobs[i].clip, *jobs[i].options, nullptr, prepared, error))
        {
            m_Console.Error(error);
            return false;
        }
        jobs[i].recorded = std::move(prepared.options);
    }
    jobs.front().spendsMeshes = true;
    return true;
}

// The meshes of a scene that a job spends.
ScenePrimitives* ExportSession::FindSpentMeshes(const ExportJob& job)
{
    Scene& opened = m_Scenes.front().scene;
    const bool isAtRest = job.scene == &m_RestScene;
    // The two share their meshes.
    (isAtRest ? opened : m_RestScene).primitives = ScenePrimitives();
    return &(isAtRest ? m_RestScene : opened).primitives;
}

// Opens the clip as the host's current scene and lets the plug-in export it, or adds it to a model in memory. The log
// is kept, one of several under the animation's name. A dialog that ends without OK leaves the log of the run before.
bool ExportSession::RunJob(const ExportJob& job, CommandLineUser& user, ClipAppender* appender, bool isOneOfSeveral)
{
    PreparedJob prepared;
    std::string error;
    if (job.recorded)
    {
        prepared.scene = job.scene;
        prepared.options = *job.recorded;
    }
    else if (!PrepareJob(*job.scene, job.clip, *job.options, FindAppendTarget(job, appender), prepared, error))
    {
        m_Console.Error(error);
        return false;
    }
    // What the meshes lack was told with the first clip of their scene.
    prepared.options.warnsOfWeights =
        prepared.scene != job.scene ||
        std::none_of(m_Played.begin(), m_Played.end(),
                     [&](const PlayedClip& played) { return played.source == job.source; });
    if (job.spendsMeshes)
        prepared.options.spent = FindSpentMeshes(job);
    if (prepared.scene == job.scene)
        prepared.options.flatNodes = FlatNodesOf(*job.scene);
    for (const std::string& line : prepared.lines)
        SayOnce(line);
    for (const std::string& warning : prepared.warnings)
        WarnOnce(warning);
    RecordedScene recorded(*prepared.scene, prepared.options);
    for (const std::string& warning : recorded.Warnings())
        WarnOnce(warning);

    m_Console.SetFrames(recorded.StartFrame(), recorded.EndFrame());
    KeepWishes keep(recorded, appender ? std::vector<std::string>() : m_Options.keep);
    MemoryFile log;
    log.Create("KE_Error.log");
    SetLogPath(log.GetPath().c_str());
    SetCurrentScene(&recorded);
    if (appender)
        user.SetAnimName(FitAnimName(job.animName.value_or(recorded.Name()), m_Console));
    bool written =
        RunAsUser(user, [&] { return appender ? appender->Add(user.GetAnimName().c_str()) : RunPlugin(user, keep); });
    SetCurrentScene(nullptr);
    if (user.PressedOk())
    {
        const std::string text = keep.CleanText(ReplaceAll(log.Read(), user.GetStaged(), user.GetTarget()));
        for (const std::string& warning : FindLogWarnings(text))
            WarnOnce(warning);
        const std::string lineEnd = text.empty() || text.back() == '\n' ? "" : "\n";
        KeepLog(isOneOfSeveral ? "Clip: " + PrintableText(user.GetAnimName()) + "\n" + text + lineEnd : text);
    }
    SetLogPath(nullptr);
    if (user.SawDifference())
        ExplainDifference(user, appender, recorded);
    if (written && !appender)
        written = FinishKeeping(keep, user.GetStaged());
    if (written)
    {
        PlayedClip played = RecordPlayedClip(recorded, user.GetAnimName());
        played.scene = job.scene;
        played.clip = job.clip;
        played.source = job.source;
        played.sceneNodes = prepared.sceneNodes;
        m_Played.push_back(std::move(played));
    }
    return written;
}

// Why the plug-in has found that the animation doesn't go with the model.
void ExportSession::ExplainDifference(const CommandLineUser& user, ClipAppender* appender,
                                      const RecordedScene& recorded)
{
    AppendTarget target;
    if (appender)
        DescribeAppendTarget(appender->GetModel(), target);
    else if (!LoadAppendTarget(user.GetStaged(), target))
        return;
    const SceneTree tree = MakeSceneTree(recorded);
    for (const std::string& sentence : ExplainRefusal(FIT_SCENE, tree.tree, tree.fixed, target.tree))
        m_Console.Error(sentence);
}

// Takes what kept nodes from being removed out of the file again, and says what of it was in vain.
bool ExportSession::FinishKeeping(const KeepWishes& keep, const std::string& file)
{
    if (m_Appends)
    {
        if (!m_Options.keep.empty())
            WarnOnce("--keep has no say in an append: the nodes of the model stay as they are.");
        return true;
    }
    for (const std::string& pattern : keep.Unused())
        WarnOnce("--keep " + pattern + " fits no node of the scene.");
    std::string error;
    if (keep.IsEmpty() || keep.CleanModel(file, error))
        return true;
    m_Console.Error(error);
    return false;
}

bool ExportSession::HasPlayRanges(const std::vector<ExportJob>& jobs)
{
    for (const ExportJob& job : jobs)
    {
        const std::string problem = PlayRangeProblem(*job.scene, job.clip, *job.options);
        if (!problem.empty())
        {
            m_Console.Error(problem);
            return false;
        }
    }
    return true;
}

void ExportSession::NameOtherClips() const
{
    const auto& [scene, options, clip] = m_Scenes.front();
    std::string others;
    for (int i = 0; i < static_cast<int>(scene.clips.size()); i++)
    {
        if (i != clip)
            others += (others.empty() ? "" : ", ") + DescribeClip(scene, i);
    }
    if (!others.empty())
        m_Console.Say("Exporting the first clip, " + DescribeClip(scene, clip) + "; not exported: " + others +
                      " (--clip NAME for one of them, --all-clips for all).");
}

// The last words on a run whose model is in its place, or isn't written.
bool ExportSession::Finish(const CommandLineUser& user, bool written)
{
    const std::string& target = user.GetTarget();
    const auto nKept = static_cast<size_t>(
        std::count_if(m_Played.begin(), m_Played.end(), [](const PlayedClip& played) { return played.isKept; }));
    if (written && !m_Appends && !m_SkinChoice.empty())
        m_Console.Say(m_SkinChoice);
    if (!written)
        m_Console.Error((target.empty() ? FindTarget(m_Options) : target) + " was not written.");
    else if (nKept > 1)
        m_Console.Say(target + ": " + Counted(nKept, "animation") + " written.");
    else
        m_Console.Say(target + ": animation \"" + m_Played.back().animation + "\" written.");
    return PublishReport(target, written) && written;
}

bool ExportSession::ExportDirectly(const ExportJob& job)
{
    CommandLineUser user(MakeAnswers(), m_Console, m_Surroundings.terminal);
    const bool written = RunJob(job, user, nullptr, false);
    const std::string& target = user.GetTarget();
    // Of what isn't a file nothing can be read back.
    std::error_code error;
    if (written && std::filesystem::is_regular_file(target, error))
    {
        RemoveAbandonedFolders(target);
        HoldAgainstScene(target, target);
    }
    if (written && m_Report)
        NameNewest(m_Played.back(), m_Report->clips[0].animation, true);
    return Finish(user, written);
}

bool ExportSession::Export()
{
    std::vector<ExportJob> jobs = ListJobs();
    const bool isFirstOfOne = m_Scenes.size() == 1 && !m_Options.allClips && !m_Options.clip;
    if (isFirstOfOne)
        NameOtherClips();
    if (!HasPlayRanges(jobs))
        return false;
    AddRestJob(jobs);
    if (!SpendMeshes(jobs))
        return false;
    const bool direct = jobs.size() == 1 && !m_Options.strict && !m_Options.replace && m_Options.keep.empty();
    return direct ? ExportDirectly(jobs.front()) : ExportInCopy(jobs);
}

static int ListAndPrint(const OpenedScene& opened, const ExportSurroundings& surroundings)
{
    const std::string text = opened.options.json ? ListSceneAsJson(opened.scene, opened.options)
                                                 : ListScene(opened.scene, opened.clip, opened.options);
    if (std::fputs(text.c_str(), surroundings.out) >= 0 && std::fflush(surroundings.out) == 0)
        return 0;
    surroundings.console->Error("The list can't be written.");
    return 1;
}

// Why one of the scenes can't be exported, as a sentence; empty if they can. All but the first are only added.
static std::string FindProblem(const std::vector<OpenedScene>& scenes, const ExportOptions& options)
{
    for (const OpenedScene& opened : scenes)
    {
        const bool isFirst = &opened == scenes.data();
        if (!isFirst && opened.scene.roots.empty())
            return "There is nothing in " + opened.options.scenePath + ".";
        std::string problem = isFirst ? FindSceneProblem(opened.scene, options) : std::string();
        if (!problem.empty())
            return problem;
    }
    return std::string();
}

static int ExportScenes(std::vector<OpenedScene>& scenes, const ExportOptions& options,
                        const ExportSurroundings& surroundings)
{
    SetLogPath(options.logPath.empty() ? nullptr : options.logPath.c_str());
    ExportSession session(scenes, options, surroundings, GetLogPath());
    SetLogPath(nullptr);
    std::string problem = FindProblem(scenes, options);
    if (problem.empty())
        problem = session.FindClash(options.outPath);
    if (!problem.empty() || (!options.reportPath.empty() && !CheckReportFile(options.reportPath, problem)))
    {
        surroundings.console->Error(problem);
        return 1;
    }
    return session.LoadPlugin() && session.Export() ? 0 : 1;
}

int RunExport(const ExportOptions& options, const ExportSurroundings& surroundings)
{
    if (!options.reportPath.empty())
        ReplaceOldReport(options.reportPath, MissingReportAsJson("", false));
    const std::string problem = FindOutputProblem(options.outPath);
    if (!problem.empty())
    {
        surroundings.console->Error(problem);
        return 1;
    }
    std::vector<OpenedScene> scenes;
    std::vector<std::string> files;
    const bool opened = OpenScenes(options, *surroundings.console, scenes, files);
    if (surroundings.read)
        *surroundings.read = files;
    if (!opened)
        return 1;
    return options.list ? ListAndPrint(scenes.front(), surroundings) : ExportScenes(scenes, options, surroundings);
}
