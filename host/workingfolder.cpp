#include "host/workingfolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

static const size_t MAX_KEPT_NAME = 100; // bytes of the target's name in that of the folder

// Signals that end the process unless somebody has chosen otherwise.
static sigset_t EndingSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
    {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_DFL)
            sigaddset(&signals, number);
    }
    return signals;
}

// One of the set, 0 if it is empty.
static int AnySignal(const sigset_t& signals)
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
    {
        if (sigismember(&signals, number) == 1)
            return number;
    }
    return 0;
}

// Another thread may still be creating files in it; under another name it is out of that thread's reach, save for what
// is on its way already.
static void RemoveFolder(const std::string& path)
{
    std::error_code error;
    const std::string aside = path + "~";
    fs::rename(path, aside, error);
    const std::string& doomed = error ? path : aside;
    for (int i = 0; i < 100; i++)
    {
        fs::remove_all(doomed, error);
        if (!error && !fs::exists(doomed, error))
            return;
    }
}

static std::string NamePrefix(const std::string& name)
{
    return "." + name.substr(0, MAX_KEPT_NAME) + ".zolt-";
}

// The folder, open and locked; -1 if it can't be, with EWOULDBLOCK if another one has the lock.
static int OpenLocked(const std::string& path)
{
    const int file = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0 || flock(file, LOCK_EX | LOCK_NB) == 0)
        return file;
    const int error = errno;
    close(file);
    errno = error;
    return -1;
}

// Our own folders for a target of that name in which nobody is at work any more.
static void RemoveAbandoned(const std::string& folder, const std::string& name)
{
    const std::string prefix = NamePrefix(name);
    std::vector<std::string> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
    {
        const std::string fileName = entry->path().filename().string();
        const size_t length = fileName.size() - (fileName.back() == '~' ? 1 : 0);
        if (length == prefix.size() + 6 && fileName.compare(0, prefix.size(), prefix) == 0)
            found.push_back(entry->path().string());
    }
    for (const std::string& path : found)
    {
        const int file = OpenLocked(path);
        struct stat status = {};
        if (file >= 0 && fstat(file, &status) == 0 && status.st_uid == geteuid())
            fs::remove_all(path, error);
        if (file >= 0)
            close(file);
    }
}

void RemoveAbandonedFolders(const std::string& target)
{
    const fs::path path(target);
    if (path.has_filename())
        RemoveAbandoned(path.parent_path().string(), path.filename().string());
}

// False if the folder has been taken for an abandoned one in the meantime.
bool WorkingFolder::Lock()
{
    m_Lock = OpenLocked(m_Path);
    struct stat locked = {};
    struct stat there = {};
    if (m_Lock < 0)
        return errno != EWOULDBLOCK && stat(m_Path.c_str(), &there) == 0;
    if (fstat(m_Lock, &locked) == 0 && stat(m_Path.c_str(), &there) == 0 && locked.st_ino == there.st_ino)
        return true;
    close(m_Lock);
    m_Lock = -1;
    return false;
}

bool WorkingFolder::CreateIn(const std::string& folder, const std::string& name)
{
    RemoveAbandoned(folder, name);
    const std::string pattern = (fs::path(folder) / (NamePrefix(name) + "XXXXXX")).string();
    for (int i = 0; i < 100; i++)
    {
        std::vector<char> path(pattern.begin(), pattern.end());
        path.push_back(0);
        if (!mkdtemp(path.data()))
            return false;
        m_Path = path.data();
        if (Lock())
        {
            m_File = (fs::path(m_Path) / name).string();
            return true;
        }
    }
    m_Path.clear();
    errno = EAGAIN;
    return false;
}

bool WorkingFolder::Create(const std::string& target, size_t maxPath)
{
    const fs::path path(target);
    const std::string name = path.filename().string();
    if (name.empty())
        return false;
    m_Signals = EndingSignals();
    m_Masked = pthread_sigmask(SIG_BLOCK, &m_Signals, &m_MaskBefore) == 0;

    std::error_code error;
    const bool exists = fs::exists(path, error);
    const std::string beside = path.parent_path().string();
    const size_t longest = beside.size() + MAX_KEPT_NAME + name.size() + 20;
    if ((!exists || fs::is_regular_file(path, error)) && longest <= maxPath)
    {
        if (!CreateIn(beside, name) && errno != EACCES && errno != EPERM && errno != EROFS && errno != ENAMETOOLONG)
            return false;
    }
    if (m_Path.empty() && (!fs::is_directory(beside, error) ||
                           !CreateIn(fs::temp_directory_path(error).string(), name) || m_File.size() > maxPath))
        return false;
    if (AnySignal(m_Signals) != 0)
        m_Watcher = std::thread([this] { WatchSignals(); });
    return true;
}

void WorkingFolder::WatchSignals()
{
    int number = 0;
    if (sigwait(&m_Signals, &number) != 0)
        return;
    const auto lock = HoldEnd();
    if (m_Stopping)
        return;
    RemoveFolder(m_Path);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, number);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    raise(number);
}

void WorkingFolder::StopWatching()
{
    if (!m_Watcher.joinable())
        return;
    {
        const auto lock = HoldEnd();
        m_Stopping = true;
    }
    pthread_kill(m_Watcher.native_handle(), AnySignal(m_Signals)); // wakes it
    m_Watcher.join();
}

WorkingFolder::~WorkingFolder()
{
    StopWatching();
    if (!m_Path.empty())
        RemoveFolder(m_Path);
    if (m_Lock >= 0)
        close(m_Lock);
    if (m_Masked)
        pthread_sigmask(SIG_SETMASK, &m_MaskBefore, nullptr);
}
