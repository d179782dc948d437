#include "host/exportsession.h"

#include "host/appendtarget.h"
#include "host/console.h"
#include "host/fileclash.h"
#include "host/fitsentences.h"
#include "host/keepnodes.h"
#include "host/preparejob.h"
#include "host/reportfile.h"
#include "host/sceneclips.h"
#include "host/scenelisting.h"
#include "host/workingfolder.h"
#include "saa/saahost.h"
#include "scene/framerate.h"
#include "scene/readscene.h"
#include "scene/transformscene.h"
#include "win32/stateplaces.h"

#include <filesystem>
#include <system_error>
#include <utility>

ExportSession::ExportSession(const Scene& scene, const ExportOptions& options, const ExportSurroundings& surroundings,
                             const std::string& logPath)
    : m_Scene(scene), m_Options(options), m_Surroundings(surroundings), m_Console(*surroundings.console), m_Log(logPath)
{
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
    { return FindFileClash(m_Scene, m_Options, target, m_Log.GetPath()); };
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

// Opens the clip as the host's current scene and lets the plug-in export it. A dialog that ends without OK leaves the
// log of the run before.
bool ExportSession::RunPlugin(const ExportJob& job, CommandLineUser& user, bool isOneOfSeveral)
{
    PreparedJob prepared;
    std::string error;
    if (!PrepareJob(*job.scene, job.clip, m_Options, m_AppendTo, prepared, error))
    {
        m_Console.Error(error);
        return false;
    }
    for (const std::string& line : prepared.lines)
        SayOnce(line);
    for (const std::string& warning : prepared.warnings)
        WarnOnce(warning);
    RecordedScene recorded(*prepared.scene, prepared.options);
    for (const std::string& warning : recorded.Warnings())
        WarnOnce(warning);
    KeepWishes keep(recorded, m_Options.keep);
    bool appends = false;
    user.TellDecision(
        [&](bool isAppend)
        {
            appends = isAppend;
            keep.Tell(!appends);
        });
    keep.Tell(true);

    m_Console.SetFrames(recorded.StartFrame(), recorded.EndFrame());
    SetStatusSink([](const char* text, void* console) { static_cast<Console*>(console)->Say(text); }, &m_Console);
    SetFrameSink([](int frame, void* console) { static_cast<Console*>(console)->ShowFrame(frame); }, &m_Console);
    const MemoryLog log;
    SetLogPath(log.GetPath().c_str());
    SetCurrentScene(&recorded);
    DialogUser* before = SetDialogUser(&user);
    bool written = m_Plugin.Init() == 0;
    SetDialogUser(before);
    SetCurrentScene(nullptr);
    SetStatusSink(nullptr, nullptr);
    SetFrameSink(nullptr, nullptr);
    m_Console.ClearBar();

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
        ExplainDifference(user, recorded);
    if (written)
        written = FinishKeeping(keep, appends, user.GetStaged());
    if (written)
    {
        m_Played.push_back(RecordPlayedClip(recorded, user.GetAnimName()));
        m_Played.back().scene = job.scene;
        m_Played.back().clip = job.clip;
        m_Played.back().sceneNodes = prepared.sceneNodes;
    }
    return written;
}

// Why the plug-in has found that the animation doesn't go with the model.
void ExportSession::ExplainDifference(const CommandLineUser& user, const RecordedScene& recorded)
{
    AppendTarget target;
    if (!LoadAppendTarget(user.GetStaged(), target))
        return;
    for (const std::string& sentence : ExplainRefusal(recorded, target))
        m_Console.Error(sentence);
}

// Takes what kept nodes from being removed out of the file again, and says what of it was in vain.
bool ExportSession::FinishKeeping(const KeepWishes& keep, bool appends, const std::string& file)
{
    if (appends)
    {
        if (m_Played.empty() && !m_Options.keep.empty())
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
        const std::string problem = PlayRangeProblem(*job.scene, job.clip, m_Options);
        if (!problem.empty())
        {
            m_Console.Error(problem);
            return false;
        }
    }
    return true;
}

void ExportSession::NameOtherClips(int clip)
{
    std::string others;
    for (int i = 0; i < static_cast<int>(m_Scene.clips.size()); i++)
    {
        if (i != clip)
            others += (others.empty() ? "" : ", ") + DescribeClip(m_Scene, i);
    }
    if (!others.empty())
        m_Console.Say("Exporting the first clip, " + DescribeClip(m_Scene, clip) + "; not exported: " + others +
                      " (--clip NAME for one of them, --all-clips for all).");
}

// The file that the first job may be added to; empty if it is replaced.
std::string ExportSession::FindFileToAppendTo() const
{
    return m_Options.overwrite && !m_Options.append ? std::string() : FindTarget(m_Options);
}

bool ExportSession::ExportOne(int clip)
{
    const ExportJob job = {&m_Scene, clip, m_Options.animName, DescribeClip(m_Scene, clip)};
    if (!m_Options.clip)
        NameOtherClips(clip);
    if (!HasPlayRanges({job}))
        return false;
    CommandLineUser user(MakeAnswers(), m_Console, m_Surroundings.terminal);
    m_AppendTo = FindFileToAppendTo();
    const bool written = RunPlugin(job, user, false);
    const std::string& target = user.GetTarget();
    // Of what isn't a file nothing can be read back.
    std::error_code error;
    if (written && std::filesystem::is_regular_file(target, error))
    {
        RemoveAbandonedFolders(target);
        HoldAgainstScene(target, target);
    }
    if (written)
        m_Console.Say(target + ": animation \"" + (m_Report ? m_Report->clips[0].animation : user.GetAnimName()) +
                      "\" written.");
    else
        m_Console.Error((target.empty() ? "The model file" : target) + " was not written.");
    return PublishReport(target, written) && written;
}

static int ListAndPrint(const Scene& scene, int clip, const ExportOptions& options,
                        const ExportSurroundings& surroundings)
{
    const std::string text = options.json ? ListSceneAsJson(scene, options) : ListScene(scene, clip, options);
    if (std::fputs(text.c_str(), surroundings.out) >= 0 && std::fflush(surroundings.out) == 0)
        return 0;
    surroundings.console->Error("The list can't be written.");
    return 1;
}

// The rate that suits the keys of the clips that are exported: `clip`, or all of them.
static FrameRateChoice ChooseRate(const Scene& scene, int clip, const ExportOptions& options)
{
    std::vector<int> clips;
    for (int i = 0; i < static_cast<int>(scene.clips.size()); i++)
    {
        if (options.allClips || i == clip)
            clips.push_back(i);
    }
    return ChooseFrameRate(scene, clips);
}

static std::string DescribeRate(const FrameRateChoice& choice)
{
    std::string text = FormatFps(choice.fps) + " frames per second";
    switch (choice.reason)
    {
    case FrameRateReason::FitsKeys:
        return text + ": every key lies on a frame.";
    case FrameRateReason::StatedRate:
        return text + ", as the file states.";
    case FrameRateReason::NoneFits:
        break;
    }
    return text + ".";
}

// Brings the scene to the unit, the axes and the texture coordinates that the model gets.
static void TransformAsAsked(Scene& scene, const ExportOptions& options, Console& console)
{
    const std::string done = ConvertStatedUnits(scene);
    if (!done.empty() && !options.list)
        console.Say(done);
    SceneTransform transform;
    transform.scale = options.scale;
    transform.toUp = options.up ? options.up : transform.toUp;
    transform.flipV = options.flipV;
    TransformScene(scene, transform);
}

static int ExportScene(const Scene& scene, int clip, const ExportOptions& options,
                       const ExportSurroundings& surroundings)
{
    Console& console = *surroundings.console;
    const std::string sceneProblem = FindSceneProblem(scene, options);
    if (!sceneProblem.empty())
    {
        console.Error(sceneProblem);
        return 1;
    }
    SetLogPath(options.logPath.empty() ? nullptr : options.logPath.c_str());
    const std::string logPath = GetLogPath();
    SetLogPath(nullptr);
    std::string problem = FindFileClash(scene, options, options.outPath, logPath);
    if (!problem.empty() || (!options.reportPath.empty() && !CheckReportFile(options.reportPath, problem)))
    {
        console.Error(problem);
        return 1;
    }
    ExportSession session(scene, options, surroundings, logPath);
    if (!session.LoadPlugin())
        return 1;
    const bool all = options.allClips && !scene.clips.empty();
    const bool several = all || options.rest || options.strict || !options.keep.empty();
    const bool written = several ? session.ExportSeveral(all ? -1 : clip) : session.ExportOne(clip);
    return written ? 0 : 1;
}

int RunExport(const ExportOptions& options, const ExportSurroundings& surroundings)
{
    Console& console = *surroundings.console;
    if (!options.reportPath.empty())
        ReplaceOldReport(options.reportPath, MissingReportAsJson("", false));
    Scene scene;
    std::string error;
    if (!ReadScene(options.scenePath.c_str(), scene, error))
    {
        console.Error(error);
        return 1;
    }
    int clip = scene.clips.empty() ? -1 : 0;
    if (options.clip)
    {
        clip = FindClip(scene, *options.clip, error);
        if (clip < 0)
        {
            console.Error(error);
            return 1;
        }
        const std::string others = NameTwins(scene, clip, *options.clip);
        if (!others.empty())
            console.Warning(others);
    }
    TransformAsAsked(scene, options, console);
    ExportOptions settled = options;
    if (options.autoFps)
    {
        const FrameRateChoice choice = ChooseRate(scene, clip, options);
        settled.fps = choice.fps;
        if (!options.list && clip >= 0)
            console.Say(DescribeRate(choice));
    }
    return options.list ? ListAndPrint(scene, clip, settled, surroundings)
                        : ExportScene(scene, clip, settled, surroundings);
}
