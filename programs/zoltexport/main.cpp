// The headless host: opens a scene file, loads the export plug-in and plays its user.
#include "host/console.h"
#include "host/exportoptions.h"
#include "host/exportsession.h"
#include "host/reserveheap.h"
#include "host/seedrandom.h"
#include "host/watchandexport.h"
#include "win32/terminaluser.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include <unistd.h>

static int Run(int argc, char** argv)
{
    ExportOptions options;
    const CommandLine line = ParseExportOptions(argc, argv, options);
    if (!line.run)
    {
        if (std::fputs(line.output.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        {
            std::fputs("error: The output can't be written.\n", stderr);
            return 1;
        }
        if (!line.problem.empty())
            std::fprintf(stderr, "error: %s\n", PrintableText(line.problem).c_str());
        return line.status;
    }
    SeedRandom();
    const bool errorsShow = isatty(STDERR_FILENO) != 0;
    Console console(stderr, options.quiet, errorsShow);
    TerminalUser terminal(stdin, stderr);
    ExportSurroundings surroundings;
    surroundings.console = &console;
    surroundings.terminal = errorsShow && isatty(STDIN_FILENO) != 0 ? &terminal : nullptr;
    surroundings.plugin = FindPluginLibrary();
    return options.watch ? WatchAndExport(options, surroundings) : RunExport(options, surroundings);
}

int main(int argc, char** argv)
{
    ReserveHeap();
    std::signal(SIGXFSZ, SIG_IGN); // a file that grows too large is a write that fails
    try
    {
        return Run(argc, argv);
    }
    catch (const std::bad_alloc&)
    {
        std::fputs("error: Out of memory.\n", stderr);
    }
    catch (const std::exception& problem)
    {
        std::fprintf(stderr, "error: %s\n", problem.what());
    }
    return 1;
}
