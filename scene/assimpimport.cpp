#include "scene/assimpimport.h"

#include <assimp/config.h>
#include <assimp/postprocess.h>

#ifndef _WIN32
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

const aiScene* ImportWithAssimp(Assimp::Importer& importer, const std::string& path, bool useNames)
{
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_OPTIMIZE_EMPTY_ANIMATION_CURVES, false);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
    importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_USE_COLLADA_NAMES, useNames);
    return importer.ReadFile(path, aiProcess_Triangulate);
}

#ifdef _WIN32

ImportTrial TryImport(const std::string&, unsigned, std::uintmax_t, std::string&)
{
    return ImportTrial::Read;
}

#else

static const int EXIT_REFUSED = 99;                // unlike what a sanitizer ends with
static const std::size_t MAX_REASON_LENGTH = 1000; // fits into a pipe that nobody reads from yet

static void LimitProcess(unsigned seconds, std::uintmax_t bytes)
{
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const rlimit time = {seconds, seconds + 1};
    setrlimit(RLIMIT_CPU, &time);
    std::uintmax_t pages = 0; // the first number: the size of the address space so far
    if (std::ifstream("/proc/self/statm") >> pages)
    {
        const rlim_t all = pages * static_cast<std::uintmax_t>(sysconf(_SC_PAGESIZE)) + bytes;
        const rlimit memory = {all, all};
        setrlimit(RLIMIT_AS, &memory);
    }
}

// What a crash has to say stays in here.
static void SilenceOutput()
{
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0)
    {
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        close(null);
    }
}

// The other process. Its reason for refusing the file goes to `reasonPipe`.
[[noreturn]] static void RunTrial(const std::string& path, unsigned seconds, std::uintmax_t bytes, int reasonPipe)
{
    SilenceOutput();
    for (const int sign : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGXCPU})
    {
        std::signal(sign, SIG_DFL);
    }
    LimitProcess(seconds, bytes);
    std::string reason;
    try
    {
        Assimp::Importer importer;
        if (ImportWithAssimp(importer, path, true) != nullptr)
        {
            importer.FreeScene();
            _exit(0);
        }
        reason = importer.GetErrorString();
    }
    catch (const std::exception& exception)
    {
        reason = exception.what();
    }
    const std::size_t length = std::min(reason.size(), MAX_REASON_LENGTH);
    _exit(write(reasonPipe, reason.data(), length) < 0 ? EXIT_REFUSED + 1 : EXIT_REFUSED);
}

static std::string ReadPipe(int pipe)
{
    std::string text(MAX_REASON_LENGTH, '\0');
    const ssize_t length = read(pipe, text.data(), text.size());
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return text;
}

ImportTrial TryImport(const std::string& path, unsigned seconds, std::uintmax_t bytes, std::string& reason)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
    {
        return ImportTrial::Read;
    }
    const pid_t child = fork();
    if (child == 0)
    {
        RunTrial(path, seconds, bytes, ends[1]);
    }
    close(ends[1]);
    int status = 0;
    pid_t ended = 0;
    do
    {
        ended = child < 0 ? -1 : waitpid(child, &status, 0);
    } while (child > 0 && ended < 0 && errno == EINTR);
    ImportTrial result = ImportTrial::Read; // also where children are collected by somebody else
    if (ended == child && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_REFUSED)
    {
        reason = ReadPipe(ends[0]);
        result = ImportTrial::Refused;
    }
    else if (ended == child && !(WIFEXITED(status) && WEXITSTATUS(status) == 0))
    {
        result = WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU ? ImportTrial::TooSlow : ImportTrial::Crashed;
    }
    close(ends[0]);
    return result;
}

#endif
