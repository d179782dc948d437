#include "host/filewatcher.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace fs = std::filesystem;

static constexpr int QUIET_MILLISECONDS = 200; // what is saved in several steps is done by then

FileWatcher::FileWatcher() : m_Queue(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

FileWatcher::~FileWatcher()
{
    if (m_Queue >= 0)
        close(m_Queue);
}

// Files are replaced rather than written by many programs, so it is their folders that are watched.
bool FileWatcher::WatchFile(const std::string& file)
{
    std::error_code error;
    const fs::path path = fs::absolute(file, error);
    for (const fs::path& end : {path, fs::weakly_canonical(path, error)}) // also where a link leads
    {
        const std::string folder = end.parent_path().string();
        if (end.empty() || !fs::is_directory(folder, error))
            continue;
        auto known = m_Folders.find(folder);
        if (known == m_Folders.end())
        {
            const int watch = inotify_add_watch(m_Queue, folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR);
            if (watch < 0)
                return false;
            known = m_Folders.emplace(folder, watch).first;
        }
        m_Names[known->second].emplace(end.filename().string(), file);
    }
    return true;
}

bool FileWatcher::Watch(const std::vector<std::string>& files, std::string& error)
{
    for (const std::string& file : files)
    {
        if (m_Queue >= 0 && WatchFile(file))
            continue;
        error = file + " can't be watched: " + std::generic_category().message(errno) + ".";
        return false;
    }
    return true;
}

// Waits for events and reads them, and takes down what they are about. False if there were none.
bool FileWatcher::ReadEvents(int timeout, std::string& changed)
{
    pollfd asked = {m_Queue, POLLIN, 0};
    if (poll(&asked, 1, timeout) <= 0)
        return false;
    alignas(inotify_event) char events[16384];
    const ssize_t size = read(m_Queue, events, sizeof(events));
    for (ssize_t at = 0; at < size;)
    {
        inotify_event event;
        std::memcpy(&event, events + at, sizeof(event));
        const auto& names = m_Names[event.wd];
        const auto name = event.len > 0 ? names.find(events + at + sizeof(event)) : names.end();
        if (name != names.end())
            changed = name->second;
        else if (event.mask & IN_Q_OVERFLOW && !m_Names.empty())
            changed = m_Names.begin()->second.begin()->second; // any may have
        at += static_cast<ssize_t>(sizeof(event) + event.len);
    }
    return size > 0;
}

std::string FileWatcher::Wait()
{
    std::string changed;
    while (changed.empty())
    {
        if (!ReadEvents(-1, changed) && errno != EINTR && errno != EAGAIN)
            return std::string();
    }
    std::string again;
    while (ReadEvents(QUIET_MILLISECONDS, again) && !again.empty())
        again.clear();
    return changed;
}
