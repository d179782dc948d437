// A private folder beside a file that is to be written in several steps. It is gone when the object is, and also when
// the process is told to end (SIGINT, SIGTERM, SIGHUP), which it then does. What a killed process leaves goes with the
// next Create or RemoveAbandonedFolders for the same target.
#pragma once

#include <mutex>
#include <string>
#include <thread>

#include <csignal>

class WorkingFolder
{
public:
    WorkingFolder() = default;
    ~WorkingFolder();
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

    // Makes the folder beside `target`, or in the place for temporary files if the target isn't a regular file, if
    // nothing can be created beside it, or if the paths would have more than `maxPath` characters. False when that
    // fails too, or when the target's folder isn't there.
    bool Create(const std::string& target, size_t maxPath);

    const std::string& GetPath() const { return m_Path; }
    // Has the target's name. The file isn't made.
    const std::string& GetFile() const { return m_File; }

    // While the lock is held the process isn't ended.
    std::unique_lock<std::mutex> HoldEnd() { return std::unique_lock<std::mutex>(m_Ending); }

private:
    bool CreateIn(const std::string& folder, const std::string& name);
    bool Lock();
    void WatchSignals();
    void StopWatching();

    std::string m_Path; // empty: no folder
    std::string m_File;
    int m_Lock = -1; // the folder, locked: somebody is at work in it; -1 where nothing can be locked
    std::mutex m_Ending;
    std::thread m_Watcher;
    sigset_t m_Signals = {};
    sigset_t m_MaskBefore = {};
    bool m_Masked = false;
    bool m_Stopping = false; // read by the watcher under m_Ending
};

// Removes what killed processes have left beside the target. Folders in which somebody is at work stay.
void RemoveAbandonedFolders(const std::string& target);
