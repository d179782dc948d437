// Several animations into one file, all or nothing: the plug-in works on a copy beside the target, which takes the
// target's place after the last one, if it passes.
#include "host/exportsession.h"

#include "host/console.h"
#include "host/exportsettings.h"
#include "host/placefile.h"
#include "host/sceneclips.h"
#include "host/workingfolder.h"
#include "scene/bindpose.h"
#include "win32/registrystore.h"

#include <filesystem>
#include <optional>
#include <system_error>

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

std::vector<ExportJob> ExportSession::ListJobs(int clip)
{
    std::vector<ExportJob> jobs;
    if (m_Options.rest)
    {
        m_RestScene = m_Scene;
        PoseAtBind(m_RestScene);
        jobs.push_back({&m_RestScene, -1, m_Options.rest, "the scene at rest"});
    }
    const std::vector<std::string> names = NameAnimations(m_Scene);
    for (int i = 0; i < static_cast<int>(names.size()); i++)
    {
        if (clip < 0 || i == clip)
            jobs.push_back({&m_Scene, i, m_Options.animName.value_or(names[static_cast<size_t>(i)]),
                            "clip " + std::to_string(jobs.size() + (m_Options.rest ? 0 : 1)) + " of " +
                                std::to_string(clip < 0 ? names.size() : 1) + ", " + DescribeClip(m_Scene, i)});
    }
    if (jobs.empty())
        jobs.push_back({&m_Scene, -1, m_Options.animName, DescribeClip(m_Scene, -1)});
    return jobs;
}

bool ExportSession::ExportSeveral(int clip)
{
    const std::vector<ExportJob> jobs = ListJobs(clip);
    if (clip >= 0 && !m_Options.clip)
        NameOtherClips(clip);
    if (!HasPlayRanges(jobs))
        return false;
    WorkingFolder folder;
    ExportSettings settings;
    SettingsInMemory inMemory;

    // The target is known once the dialog is up.
    CommandLineAnswers answers = MakeAnswers();
    answers.stage = [&](const std::string& target)
    {
        if (!folder.Create(target, MAX_DIALOG_TEXT) ||
            (!(m_Options.overwrite && !m_Options.append) && !CopyTarget(target, folder.GetFile())))
        {
            m_Console.Error("Unable to open " + target + " for writing.");
            return std::string();
        }
        return folder.GetFile();
    };

    std::string target;
    m_AppendTo = FindFileToAppendTo();
    bool written = true;
    for (size_t i = 0; written && i < jobs.size(); i++)
    {
        m_Console.Say("Exporting " + jobs[i].title + ":");
        answers.animName = jobs[i].animName;
        CommandLineUser user(answers, m_Console, m_Surroundings.terminal);
        written = RunPlugin(jobs[i], user, true);
        if (i == 0)
        {
            target = user.GetTarget();
            if (user.PressedOk())
                settings = ReadExportSettings();
            // From here on the file is the working copy, which is there and is appended to.
            answers.append = true;
            answers.overwrite = false;
            answers.file = target;
            answers.stage = [&](const std::string&) { return folder.GetFile(); };
            m_AppendTo = folder.GetFile();
        }
    }
    written = written && HoldAgainstScene(folder.GetFile(), target);
    if (written)
    {
        const auto held = folder.HoldEnd();
        std::string error;
        written = PlaceFile(folder.GetFile(), target, error);
        if (!written)
            m_Console.Error(error);
    }
    inMemory.End();
    if (settings.filename.has)
    {
        settings.filename.text = target;
        WriteExportSettings(settings);
    }
    if (written)
        m_Console.Say(target + ": " + std::to_string(jobs.size()) + (jobs.size() == 1 ? " animation" : " animations") +
                      " written.");
    else
        m_Console.Error((target.empty() ? "The model file" : target) + " was not written.");
    return PublishReport(target, written) && written;
}
