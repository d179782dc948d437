// One run of the exporter: a scene is opened, the plug-in loaded, and its user played.
#pragma once

#include "host/commandlineuser.h"
#include "host/exportoptions.h"
#include "host/pluginlibrary.h"
#include "scene/scene.h"

#include <cstdio>
#include <set>
#include <string>

class Console;

// What the run is surrounded by. Nothing is owned.
struct ExportSurroundings
{
    FILE* out = stdout;             // for --list
    Console* console = nullptr;     // for all that is said on the way
    DialogUser* terminal = nullptr; // who answers questions, null if nobody is there
    std::string plugin;             // path of the plug-in
};

// The whole run. The result is the program's exit status: 0 written (or listed), 1 not written, with the reason on the
// console.
int RunExport(const ExportOptions& options, const ExportSurroundings& surroundings);

class ExportSession
{
public:
    // The scene is as a reader gives it; both must outlive this.
    ExportSession(const Scene& scene, const ExportOptions& options, const ExportSurroundings& surroundings);

    // Loads the plug-in. False if it can't be loaded.
    bool LoadPlugin();

    // Export one clip (-1 for the scene at rest), or all of them, all or nothing. True if the file was written.
    bool ExportOne(int clip);
    bool ExportAll();

private:
    CommandLineAnswers MakeAnswers() const;
    bool RunPlugin(int clip, CommandLineUser& user, const std::string& logPath);
    void WarnOnce(const std::string& sentence);
    void NameOtherClips(int clip);

    const Scene& m_Scene;
    const ExportOptions& m_Options;
    const ExportSurroundings& m_Surroundings;
    Console& m_Console;
    PluginLibrary m_Plugin;
    std::set<std::string> m_Warned;
};
