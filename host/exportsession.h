// One run of the exporter: a scene is opened, the plug-in loaded, and its user played.
#pragma once

#include "host/commandlineuser.h"
#include "host/exportlog.h"
#include "host/exportoptions.h"
#include "host/modelreport.h"
#include "host/playedclip.h"
#include "host/pluginlibrary.h"
#include "scene/scene.h"

#include <cstdio>
#include <optional>
#include <set>
#include <string>
#include <vector>

class Console;
class KeepWishes;

// What the run is surrounded by. Nothing is owned.
struct ExportSurroundings
{
    FILE* out = stdout;             // for --list and --report
    Console* console = nullptr;     // for all that is said on the way
    DialogUser* terminal = nullptr; // who answers questions, null if nobody is there
    std::string plugin;             // path of the plug-in
};

// The whole run. The result is the program's exit status: 0 written (or listed), 1 not written, with the reason on the
// console.
int RunExport(const ExportOptions& options, const ExportSurroundings& surroundings);

// One animation of the model file.
struct ExportJob
{
    const Scene* scene = nullptr;        // not owned
    int clip = -1;                       // -1 for the scene at rest
    std::optional<std::string> animName; // none: what the dialog offers
    std::string title;                   // what it is called in messages
};

class ExportSession
{
public:
    // The scene is as it is to be exported, the frame rate of the options is settled; both must outlive this. An empty
    // `logPath` stands for no place to put the log.
    ExportSession(const Scene& scene, const ExportOptions& options, const ExportSurroundings& surroundings,
                  const std::string& logPath);

    // Loads the plug-in. False if it can't be loaded.
    bool LoadPlugin();

    // Exports one clip (-1 for the scene at rest). True if the file was written.
    bool ExportOne(int clip);

    // Exports the clips (each if `clip` is -1) and before them the rest pose if the options ask for it, all or nothing,
    // and nothing if the options are strict and the model strays too far.
    bool ExportSeveral(int clip);

private:
    CommandLineAnswers MakeAnswers() const;
    void KeepLog(const std::string& text);
    std::vector<ExportJob> ListJobs(int clip);
    bool HasPlayRanges(const std::vector<ExportJob>& jobs);
    bool RunPlugin(const ExportJob& job, CommandLineUser& user, bool isOneOfSeveral);
    bool HoldAgainstScene(const std::string& file, const std::string& target);
    bool PublishReport(const std::string& target, bool written);
    void ExplainDifference(const CommandLineUser& user, const RecordedScene& recorded);
    bool FinishKeeping(const KeepWishes& keep, bool appends, const std::string& file);
    std::string FindFileToAppendTo() const;
    void WarnOnce(const std::string& sentence);
    void SayOnce(const std::string& line);
    void NameOtherClips(int clip);

    const Scene& m_Scene;
    const ExportOptions& m_Options;
    const ExportSurroundings& m_Surroundings;
    Console& m_Console;
    PluginLibrary m_Plugin;
    KeptLog m_Log;
    bool m_LogFailed = false;
    std::set<std::string> m_Warned;
    std::set<std::string> m_SaidLines;
    std::string m_AppendTo;              // the model that the next job may be added to; empty, or no file, for none
    std::vector<PlayedClip> m_Played;    // what was exported so far
    std::optional<ModelReport> m_Report; // what came of it
    Scene m_RestScene;                   // a copy that rests as its skins were bound, if the options ask for it
};
