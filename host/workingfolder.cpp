#include "host/workingfolder.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

static const size_t MAX_KEPT_NAME = 100; // bytes of the target's name in that of the folder

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
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    while (const dirent* entry = entries ? readdir(entries.get()) : nullptr)
    {
        const std::string_view fileName = entry->d_name;
        const size_t length = fileName.size() - (fileName.back() == '~' ? 1 : 0);
        if (length == prefix.size() + 6 && fileName.substr(0, prefix.size()) == prefix)
            found.push_back((fs::path(folder) / fileName).string());
    }
    std::error_code error;
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
    StartKeeper();
    return true;
}

// A process that does nothing but wait for the end of this one, however that comes, and then removes the folder. It is
// deaf to what a terminal sends to all of its processes. A copy of this process would do, but would have each page
// copied that is written from now on. Without it, for want of processes, the folder stays with a process that is
// killed.
void WorkingFolder::StartKeeper()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setsigmask(&attributes, &all);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    std::string words[] = {"sh", "-c", "read -r end; exec rm -rf -- \"$0\"", m_Path};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
    char* const environment[] = {nullptr};
    if (posix_spawn(&m_Keeper, "/bin/sh", &files, &attributes, arguments, environment) != 0)
        m_Keeper = -1;
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    close(ends[0]);
    m_Alive = ends[1];
}

WorkingFolder::~WorkingFolder()
{
    std::error_code error;
    if (!m_Path.empty())
        fs::remove_all(m_Path, error);
    if (m_Keeper > 0 && kill(m_Keeper, SIGKILL) == 0) // there is nothing left for it to do
        waitpid(m_Keeper, nullptr, 0);
    if (m_Alive >= 0)
        close(m_Alive);
    if (m_Lock >= 0)
        close(m_Lock);
}

HeldSignals::HeldSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP})
        sigaddset(&signals, number);
    m_Held = pthread_sigmask(SIG_BLOCK, &signals, &m_Before) == 0;
}

HeldSignals::~HeldSignals()
{
    if (m_Held)
        pthread_sigmask(SIG_SETMASK, &m_Before, nullptr);
}
