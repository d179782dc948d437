// A private folder beside a file that is to be written in several steps. It is gone when the object is, and soon after
// the process is, even if that was killed. What has stayed nevertheless, with a machine that went down for one, goes
// with the next Create or RemoveAbandonedFolders for the same target.
#pragma once

#include <string>

#include <csignal>
#include <sys/types.h>

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

private:
    bool CreateIn(const std::string& folder, const std::string& name);
    bool Lock();
    void StartKeeper();

    std::string m_Path; // empty: no folder
    std::string m_File;
    int m_Lock = -1;     // the folder, locked: somebody is at work in it; -1 where nothing can be locked
    int m_Alive = -1;    // a pipe that ends with the process
    pid_t m_Keeper = -1; // the process that waits for that
};

// While it lives, what a user sends to end or stop the process waits.
class HeldSignals
{
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

private:
    sigset_t m_Before = {};
    bool m_Held = false;
};

// Removes what killed processes have left beside the target. Folders in which somebody is at work stay.
void RemoveAbandonedFolders(const std::string& target);
