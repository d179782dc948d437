#include "scene/trial.h"

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

#ifdef _WIN32

TrialResult TryInOtherProcess(const std::function<bool(std::string& reason)>&, unsigned, std::uintmax_t, std::string&)
{
    return TrialResult::Good;
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

// The other process. Its reason for refusing goes to `reasonPipe`.
[[noreturn]] static void RunTrial(const std::function<bool(std::string& reason)>& work, unsigned seconds,
                                  std::uintmax_t bytes, int reasonPipe)
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
        if (work(reason))
        {
            _exit(0);
        }
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

TrialResult TryInOtherProcess(const std::function<bool(std::string& reason)>& work, unsigned seconds,
                              std::uintmax_t bytes, std::string& reason)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
    {
        return TrialResult::Good;
    }
    const pid_t child = fork();
    if (child == 0)
    {
        RunTrial(work, seconds, bytes, ends[1]);
    }
    close(ends[1]);
    int status = 0;
    pid_t ended = 0;
    do
    {
        ended = child < 0 ? -1 : waitpid(child, &status, 0);
    } while (child > 0 && ended < 0 && errno == EINTR);
    TrialResult result = TrialResult::Good; // also where children are collected by somebody else
    if (ended == child && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_REFUSED)
    {
        reason = ReadPipe(ends[0]);
        result = TrialResult::Refused;
    }
    else if (ended == child && !(WIFEXITED(status) && WEXITSTATUS(status) == 0))
    {
        result = WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU ? TrialResult::TooSlow : TrialResult::Crashed;
    }
    close(ends[0]);
    return result;
}

#endif
