#include "host/exportsession.h"

#include "host/console.h"
#include "host/exportlog.h"
#include "host/sceneclips.h"
#include "host/scenelisting.h"
#include "saa/saahost.h"
#include "scene/readscene.h"
#include "win32/stateplaces.h"

#include <filesystem>
#include <system_error>

ExportSession::ExportSession(const Scene& scene, const ExportOptions& options, const ExportSurroundings& surroundings)
    : m_Scene(scene), m_Options(options), m_Surroundings(surroundings), m_Console(*surroundings.console)
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
    return answers;
}

// The clips of a run share most of their warnings.
void ExportSession::WarnOnce(const std::string& sentence)
{
    if (m_Warned.insert(sentence).second)
        m_Console.Warning(sentence);
}

// Opens the clip as the host's current scene and lets the plug-in export it. The log is looked at only if this run
// has written it: a dialog that ends without OK leaves the one of the run before.
bool ExportSession::RunPlugin(int clip, CommandLineUser& user, const std::string& logPath)
{
    const std::string problem = PlayRangeProblem(m_Scene, clip, m_Options);
    if (!problem.empty())
    {
        m_Console.Error(problem);
        return false;
    }
    RecordedSceneOptions recordedOptions;
    recordedOptions.clip = clip;
    recordedOptions.fps = m_Options.fps;
    recordedOptions.start = m_Options.start;
    recordedOptions.end = m_Options.end;
    RecordedScene recorded(m_Scene, recordedOptions);
    for (const std::string& warning : recorded.Warnings())
        WarnOnce(warning);

    m_Console.SetFrames(recorded.StartFrame(), recorded.EndFrame());
    SetStatusSink([](const char* text, void* console) { static_cast<Console*>(console)->Say(text); }, &m_Console);
    SetFrameSink([](int frame, void* console) { static_cast<Console*>(console)->ShowFrame(frame); }, &m_Console);
    SetLogPath(logPath.empty() ? nullptr : logPath.c_str());
    SetCurrentScene(&recorded);
    DialogUser* before = SetDialogUser(&user);
    const bool written = m_Plugin.Init() == 0;
    SetDialogUser(before);
    SetCurrentScene(nullptr);
    SetStatusSink(nullptr, nullptr);
    SetFrameSink(nullptr, nullptr);
    m_Console.ClearBar();

    if (user.PressedOk())
    {
        for (const std::string& warning : ReadLogWarnings(GetLogPath()))
            WarnOnce(warning);
    }
    SetLogPath(nullptr);
    return written;
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

bool ExportSession::ExportOne(int clip)
{
    if (!m_Options.clip)
        NameOtherClips(clip);
    CommandLineUser user(MakeAnswers(), m_Console, m_Surroundings.terminal);
    const bool written = RunPlugin(clip, user, m_Options.logPath);
    const std::string target = user.GetTarget().empty() ? "The model file" : user.GetTarget();
    if (written)
        m_Console.Say(target + ": animation \"" + user.GetAnimName() + "\" written.");
    else
        m_Console.Error(target + " was not written.");
    return written;
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

static bool IsSameFile(const std::string& one, const std::string& other)
{
    std::error_code error;
    return !one.empty() && std::filesystem::equivalent(one, other, error) && !error;
}

int RunExport(const ExportOptions& options, const ExportSurroundings& surroundings)
{
    Console& console = *surroundings.console;
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
    }
    if (options.list)
        return ListAndPrint(scene, clip, options, surroundings);
    if (!HasTriangles(scene))
    {
        console.Error("There are no triangles in " + options.scenePath + ".");
        return 1;
    }
    if (IsSameFile(options.outPath, options.scenePath))
    {
        console.Error("The output file is the scene file itself.");
        return 1;
    }
    ExportSession session(scene, options, surroundings);
    if (!session.LoadPlugin())
        return 1;
    const bool all = options.allClips && !scene.clips.empty();
    return (all ? session.ExportAll() : session.ExportOne(clip)) ? 0 : 1;
}
