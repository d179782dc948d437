// Several animations into one file, all or nothing: the plug-in works on a copy beside the target, the further clips
// are added to that in memory, and the copy takes the target's place at the end, if it passes. Where the model is new,
// and nobody looks at it before it takes its place, the copy is in memory as well.
#include "host/exportsession.h"

#include "host/console.h"
#include "host/exportsettings.h"
#include "host/loadmodelfile.h"
#include "host/memoryfile.h"
#include "host/placefile.h"
#include "host/preparejob.h"
#include "host/sceneclips.h"
#include "host/skinchoice.h"
#include "host/workingfolder.h"
#include "scene/readfile.h"
#include "tools/model/kelpexport/clipappender.h"
#include "win32/registrystore.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <unordered_map>

namespace
{

// While it lives, settings go to a store in memory, filled with those that were stored before, so that nothing that
// the plug-in notes about the working copy outlasts the run, however it ends.
class SettingsInMemory
{
public:
    SettingsInMemory()
    {
        ExportSettings settings = ReadExportSettings();
        // The plug-in's own defaults, in place of what an earlier run may have left in memory.
        for (auto& [text, value] : {std::pair<ExportSettings::Text&, const char*>{settings.filename, "model.abc"},
                                    {settings.debugMode, "0"},
                                    {settings.forceOverwrite, "0"}})
        {
            if (!text.has)
                text = {true, value};
        }
        const char* before = SetRegistryFile("");
        if (before)
            m_Before = before;
        WriteExportSettings(settings);
    }
    ~SettingsInMemory() { End(); }
    SettingsInMemory(const SettingsInMemory&) = delete;
    SettingsInMemory& operator=(const SettingsInMemory&) = delete;

    // Back to the real store.
    void End()
    {
        if (!m_Ended)
            SetRegistryFile(m_Before ? m_Before->c_str() : nullptr);
        m_Ended = true;
    }

private:
    std::optional<std::string> m_Before;
    bool m_Ended = false;
};

} // namespace

// What a single export would find at the target: a file that can be read. Nothing else is copied; a pipe would block.
static bool CopyTarget(const std::string& target, const std::string& copy)
{
    std::error_code error;
    if (std::filesystem::is_directory(target, error))
        return false;
    if (!std::filesystem::is_regular_file(target, error))
        return true;
    FILE* readable = std::fopen(target.c_str(), "rb");
    if (!readable)
        return true;
    std::fclose(readable);
    return CopyFileBytes(target, copy);
}

// Whether the run makes a new file of its own, and in a folder that is there. Pipes and the like are left to the
// working copy.
static bool IsNew(const std::string& target, bool replaces)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(target, error);
    return std::filesystem::exists(status)
               ? replaces && std::filesystem::is_regular_file(status)
               : status.type() == std::filesystem::file_type::not_found &&
                     std::filesystem::is_directory(std::filesystem::path(target).parent_path(), error);
}

// Whether a model is there that the run is going to add to, as far as that is known before anybody is asked.
bool ExportSession::WillAppend() const
{
    std::error_code error;
    if (!m_Options.append || !std::filesystem::is_regular_file(FindTarget(m_Options), error))
        return false;
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    return !m_Options.overwrite || LoadModelFile(FindTarget(m_Options), model);
}

std::vector<ExportJob> ExportSession::ListJobs() const
{
    std::vector<ExportJob> jobs;
    for (size_t source = 0; source < m_Scenes.size(); source++)
    {
        const auto& [scene, options, chosen] = m_Scenes[source];
        const std::string file = m_Scenes.size() > 1 ? " of " + FileNameOf(options.scenePath) : "";
        ExportJob job = {&scene, &options, static_cast<int>(source), -1, options.animName, {}, true};
        const std::vector<std::string> names = NameAnimations(scene);
        for (int i = 0; i < static_cast<int>(names.size()); i++)
        {
            if (!options.allClips && i != chosen)
                continue;
            job.clip = i;
            job.animName = options.animName.value_or(names[static_cast<size_t>(i)]);
            job.title = DescribeClip(scene, i) + file;
            jobs.push_back(job);
        }
        if (names.empty())
        {
            job.title = DescribeClip(scene, -1) + file;
            jobs.push_back(job);
        }
    }
    // A figure that doesn't move is no animation beside those of the other scenes.
    jobs.front().isKept = jobs.size() == 1 || jobs.front().clip >= 0 || WillAppend();
    return jobs;
}

// Puts the pose at rest ahead where the skin is to be taken from it.
void ExportSession::AddRestJob(std::vector<ExportJob>& jobs)
{
    const Scene& scene = m_Scenes.front().scene;
    const bool isAuto = m_Options.rest == RestChoice::Auto;
    if (m_Options.rest == RestChoice::First || (!m_Options.restName && WillAppend()))
        return;
    std::vector<ClipSpan> clips;
    for (const ExportJob& job : jobs)
    {
        const ClipRange range = FindPlayRange(*job.scene, job.clip, *job.options);
        if (job.source == 0)
            clips.push_back({job.clip, job.options->fps, range.start, range.end});
    }
    SkinChoice choice;
    if (isAuto)
        choice = ChooseSkin(scene, clips, m_Scenes.size() > 1, m_RestScene);
    else
        m_RestScene = MakeSceneAtBind(scene);
    m_SkinChoice = choice.reason;
    if (isAuto && !choice.atBind)
        return;
    if (!jobs.front().isKept)
        jobs.erase(jobs.begin());
    m_RestOptions = m_Scenes.front().options;
    m_RestOptions.start.reset();
    m_RestOptions.end.reset();
    jobs.insert(jobs.begin(), {&m_RestScene, &m_RestOptions, 0, -1, m_Options.restName.value_or("rest"),
                               "the scene at rest", m_Options.restName.has_value()});
}

// The name that an animation has got, and why it isn't the one that was wanted.
void ExportSession::NameNewest(PlayedClip& played, const std::string& name, bool canReplace)
{
    if (name != played.animation)
        m_Console.Say("The model has an animation \"" + played.animation + "\" already; the new one is called \"" +
                      name + (canReplace ? "\" (--replace puts it in the place of the old one)." : "\"."));
    played.animation = name;
}

// The row of an animation of that name that was in the model before the run; -1 without one.
static int FindOldRow(const ConvModel& model, const std::vector<const ModelAnim*>& made, const std::string& name)
{
    for (uint32_t i = 0; i < model.CalcNumOwnAnims(); i++)
    {
        const ModelAnim* anim = model.GetOwnAnim(i);
        if (CompareNoCase(anim->GetName(), name.c_str()) == 0 &&
            std::find(made.begin(), made.end(), anim) == made.end())
            return static_cast<int>(i);
    }
    return -1;
}

// Takes note of what a job has put into the model, and puts that where it belongs.
void ExportSession::SettleNewest(const ExportJob& job, ClipAppender& appender)
{
    ConvModel& model = appender.GetModel();
    PlayedClip& played = m_Played.back();
    ModelAnim* anim = appender.GetNewest();
    m_Made.push_back(anim);
    played.isKept = job.isKept;
    if (!job.isKept || anim->GetName() == played.animation)
        return;
    const int old = FindOldRow(model, m_Made, played.animation);
    if (!m_Options.replace || old < 0)
    {
        NameNewest(played, anim->GetName(), old >= 0);
        return;
    }
    model.ReplaceOwnAnim(static_cast<uint32_t>(old), model.CalcNumOwnAnims() - 1);
    anim->SetName(played.animation.c_str());
    m_Console.Say("The animation \"" + played.animation + "\" of the model is replaced.");
}

// Takes the animation out that has only given the figure, and finds out where the others are.
void ExportSession::SettleRows(ConvModel& model)
{
    std::unordered_map<const ModelAnim*, PlayedClip*> played;
    for (size_t i = 0; i < m_Played.size(); i++)
    {
        m_Played[i].toOldModel = m_Appends;
        played[m_Made[i]] = &m_Played[i];
    }
    // From behind: what goes moves no row that is still to be looked at.
    for (uint32_t row = model.CalcNumOwnAnims(); row-- > 0;)
    {
        const auto found = played.find(model.GetOwnAnim(row));
        if (found != played.end() && !found->second->isKept)
            model.RemoveOwnAnim(row);
    }
    const uint32_t nRows = model.CalcNumOwnAnims();
    for (uint32_t row = 0; row < nRows; row++)
    {
        const auto found = played.find(model.GetOwnAnim(row));
        if (found != played.end() && found->second->isKept)
            found->second->row = static_cast<int>(row);
    }
}

// The writing needs the memory.
void ExportSession::LetScenesGo()
{
    m_RestScene = Scene();
    for (OpenedScene& opened : m_Scenes)
        opened.scene = Scene();
}

// Nor does anybody need the keys of a clip that has been exported, if nobody compares. Those of scales say where meshes
// may stand, in the other clips too.
void ExportSession::LetClipGo(const ExportJob& job)
{
    if (WantsComparison() || job.clip < 0)
        return;
    Scene& scene = m_Scenes[static_cast<size_t>(job.source)].scene;
    std::vector<SceneChannel>& channels = scene.clips[static_cast<size_t>(job.clip)].channels;
    std::erase_if(channels, [](const SceneChannel& channel) { return channel.path != ScenePath::Scale; });
    channels.shrink_to_fit();
}

// What comes after the first job, in memory, which is in the staged file. `result` is where the model goes.
bool ExportSession::AddFurtherClips(const std::vector<ExportJob>& jobs, MemoryFile& staged, const std::string& result,
                                    bool debug, CommandLineUser& user)
{
    ClipAppender appender;
    const char* file = user.GetStaged().c_str();
    if (!RunAsUser(user, [&] { return appender.Load(file, user.GetTarget().c_str(), debug); }))
        return false;
    staged.Clear();
    SettleNewest(jobs.front(), appender);
    LetClipGo(jobs.front());
    for (size_t i = 1; i < jobs.size(); i++)
    {
        m_Console.Say("Exporting " + jobs[i].title + ":");
        if (!RunJob(jobs[i], user, &appender, true))
            return false;
        SettleNewest(jobs[i], appender);
        LetClipGo(jobs[i]);
    }
    SettleRows(appender.GetModel());
    if (!WantsComparison())
        LetScenesGo();
    const HeldSignals held; // nothing half done stays beside the target
    return RunAsUser(user, [&] { return appender.Save(result.c_str()); });
}

bool ExportSession::ExportInCopy(const std::vector<ExportJob>& jobs)
{
    WorkingFolder folder;
    MemoryFile inMemory;
    ExportSettings settings;
    SettingsInMemory settingsInMemory;

    // What nobody looks at before it takes its place needn't stand in the copy.
    const bool continues = jobs.size() > 1 || m_Options.replace;
    const bool isPlaced = continues && !WantsComparison();
    const bool replaces = m_Options.overwrite && !m_Options.append;

    // The target is known once the dialog is up.
    CommandLineAnswers answers = MakeAnswers();
    answers.animName = jobs.front().animName;
    answers.stageIsNew = [&] { return !inMemory.GetPath().empty(); };
    answers.stage = [&](const std::string& target)
    {
        if (isPlaced && IsNew(target, replaces) && inMemory.Create("model.abc"))
        {
            RemoveAbandonedFolders(target);
            return inMemory.GetPath();
        }
        if (!folder.Create(target, MAX_DIALOG_TEXT) || (!replaces && !CopyTarget(target, folder.GetFile())))
        {
            m_Console.Error("Unable to open " + target + " for writing.");
            return std::string();
        }
        return folder.GetFile();
    };

    CommandLineUser user(answers, m_Console, m_Surroundings.terminal);
    if (jobs.size() > 1)
        m_Console.Say("Exporting " + jobs.front().title + ":");
    bool written = RunJob(jobs.front(), user, nullptr, jobs.size() > 1);
    if (user.PressedOk())
        settings = ReadExportSettings();
    if (continues)
    {
        const std::string& result = isPlaced ? user.GetTarget() : folder.GetFile();
        const bool debug = std::atoi(settings.debugMode.text.c_str()) != 0; // NOLINT(cert-err34-c): as the plug-in
        written = written && AddFurtherClips(jobs, inMemory, result, debug, user);
    }
    if (!isPlaced)
        written = written && HoldAgainstScene(folder.GetFile(), user.GetTarget());
    if (written && !isPlaced)
    {
        const HeldSignals held; // nothing half done stays beside the target
        std::string error;
        written = PlaceFile(folder.GetFile(), user.GetTarget(), error);
        if (!written)
            m_Console.Error(error);
    }
    settingsInMemory.End();
    if (settings.filename.has)
    {
        settings.filename.text = user.GetTarget();
        settings.forceOverwrite.text = replaces ? "1" : "0";
        WriteExportSettings(settings);
    }
    return Finish(user, written);
}
