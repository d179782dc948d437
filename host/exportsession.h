// One run of the exporter: scenes are opened, the plug-in loaded, and its user played.
#pragma once

#include "host/appendtarget.h"
#include "host/commandlineuser.h"
#include "host/exportlog.h"
#include "host/exportoptions.h"
#include "host/modelreport.h"
#include "host/openscenes.h"
#include "host/playedclip.h"
#include "host/pluginlibrary.h"
#include "saa/recordedscene.h"

#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

class ClipAppender;
class Console;
class ConvModel;
class KeepWishes;
class MemoryFile;

// What the run is surrounded by. Nothing is owned.
struct ExportSurroundings
{
    FILE* out = stdout;                       // for --list and --report
    Console* console = nullptr;               // for all that is said on the way
    DialogUser* terminal = nullptr;           // who answers questions, null if nobody is there
    std::string plugin;                       // path of the plug-in
    std::vector<std::string>* read = nullptr; // if given, gets the files that the scenes have been read from
};

// The whole run. The result is the program's exit status: 0 written (or listed), 1 not written, with the reason on the
// console.
int RunExport(const ExportOptions& options, const ExportSurroundings& surroundings);

// One animation of the model file.
struct ExportJob
{
    const Scene* scene = nullptr;                      // not owned
    const ExportOptions* options = nullptr;            // of that scene; not owned
    int source = 0;                                    // which of the run's scenes
    int clip = -1;                                     // -1 for the scene at rest
    std::optional<std::string> animName;               // none: what the dialog offers
    std::string title;                                 // what it is called in messages
    bool isKept = true;                                // false: it gives the figure alone, and the animation goes again
    std::optional<RecordedSceneOptions> recorded = {}; // where they are known before its turn
    bool spendsMeshes = false; // nobody needs the meshes of the scene once the plug-in has read them for this job
};

class ExportSession
{
public:
    // All but the log's path must outlive this. An empty `logPath` stands for no place to put the log. The scenes are
    // emptied where nobody needs them any longer.
    ExportSession(std::vector<OpenedScene>& scenes, const ExportOptions& options,
                  const ExportSurroundings& surroundings, const std::string& logPath);

    // Why the target must not be written, as a sentence; empty if it may.
    std::string FindClash(const std::string& target) const;
    // Loads the plug-in. False if it can't be loaded.
    bool LoadPlugin();
    // Exports the clips that the options ask for, or a scene at rest that has none; ahead of them the pose at rest,
    // where the skin is to come from it. All or nothing; nothing if the options are strict and the model strays too
    // far. True if the file was written.
    bool Export();

private:
    CommandLineAnswers MakeAnswers() const;
    std::vector<ExportJob> ListJobs() const;
    void AddRestJob(std::vector<ExportJob>& jobs);
    bool WillAppend() const;
    bool HasPlayRanges(const std::vector<ExportJob>& jobs);
    bool ExportDirectly(const ExportJob& job);
    bool ExportInCopy(const std::vector<ExportJob>& jobs);
    bool AddFurtherClips(const std::vector<ExportJob>& jobs, MemoryFile& staged, const std::string& result, bool debug,
                         CommandLineUser& user);
    bool WantsComparison() const;
    void LetScenesGo();
    bool SpendMeshes(std::vector<ExportJob>& jobs);
    ScenePrimitives* FindSpentMeshes(const ExportJob& job);
    void LetClipGo(const ExportJob& job);
    void NameNewest(PlayedClip& played, const std::string& name, bool canReplace);
    void SettleNewest(const ExportJob& job, ClipAppender& appender);
    void SettleRows(ConvModel& model);
    bool RunJob(const ExportJob& job, CommandLineUser& user, ClipAppender* appender, bool isOneOfSeveral);
    bool RunPlugin(CommandLineUser& user, KeepWishes& keep);
    std::shared_ptr<const std::vector<bool>> FlatNodesOf(const Scene& scene);
    const AppendTarget* FindAppendTarget(const ExportJob& job, ClipAppender* appender);
    void ExplainDifference(const CommandLineUser& user, ClipAppender* appender, const RecordedScene& recorded);
    bool FinishKeeping(const KeepWishes& keep, const std::string& file);
    bool HoldAgainstScene(const std::string& file, const std::string& target);
    bool Finish(const CommandLineUser& user, bool written);
    bool PublishReport(const std::string& target, bool written);
    bool RunAsUser(CommandLineUser& user, const std::function<bool()>& run);
    void KeepLog(const std::string& text);
    void WarnOnce(const std::string& sentence);
    void SayOnce(const std::string& line);
    void NameOtherClips() const;

    std::vector<OpenedScene>& m_Scenes;
    const ExportOptions& m_Options;
    const ExportSurroundings& m_Surroundings;
    Console& m_Console;
    PluginLibrary m_Plugin;
    KeptLog m_Log;
    bool m_LogFailed = false;
    std::set<std::string> m_Warned;
    std::set<std::string> m_SaidLines;
    bool m_Appends = false;               // the model was there before
    std::optional<AppendTarget> m_Target; // the model that jobs are added to, once one has asked for it
    std::vector<PlayedClip> m_Played;     // what was exported so far
    std::vector<const ModelAnim*> m_Made; // the animation of each in the model in memory
    std::optional<ModelReport> m_Report;  // what came of it
    std::map<const Scene*, std::shared_ptr<const std::vector<bool>>> m_FlatNodes; // of the scenes that were asked about
    Scene m_RestScene;           // a copy that rests as its skins were bound, where that may be needed
    ExportOptions m_RestOptions; // of its one frame
    std::string m_SkinChoice;    // a sentence on where the skin of a fresh model comes from
};
