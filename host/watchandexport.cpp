#include "host/watchandexport.h"

#include "host/console.h"
#include "host/exportsession.h"
#include "host/filewatcher.h"
#include "host/preparejob.h"

#include <filesystem>
#include <system_error>

int WatchAndExport(const ExportOptions& asked, ExportSurroundings surroundings)
{
    Console& console = *surroundings.console;
    ExportOptions options = asked;
    FileWatcher watcher;
    std::string error;
    std::vector<std::string> files(options.moreScenes);
    files.insert(files.begin(), options.scenePath);
    surroundings.read = &files;
    while (watcher.Watch(files, error))
    {
        const int status = RunExport(options, surroundings);
        std::error_code none;
        const bool mayWrite = options.append || options.overwrite || status == 0;
        if (!mayWrite && std::filesystem::exists(FindTarget(options), none))
            return status;
        // From here on it is our own file that is written again.
        options.overwrite = options.overwrite || (status == 0 && !options.append);
        if (!watcher.Watch(files, error))
            break;
        console.Say("Waiting for a change of the scene.");
        const std::string changed = watcher.Wait();
        if (changed.empty())
            error = "Files can't be watched any longer.";
        if (changed.empty())
            break;
        console.Say(changed + " has changed.");
    }
    console.Error(error);
    return 1;
}
