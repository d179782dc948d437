// Waiting for files to change.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

class FileWatcher
{
public:
    FileWatcher();
    ~FileWatcher();
    FileWatcher(const FileWatcher&) = delete;
    FileWatcher& operator=(const FileWatcher&) = delete;

    // These from now on, beside those from before; files that aren't there may come. What is written in another way
    // than by replacing a file counts once it is closed. False with a sentence in `error` if the system lends no watch.
    bool Watch(const std::vector<std::string>& files, std::string& error);

    // Comes back when one of them has changed since the last call, or since it is watched, and none of them has for a
    // moment, with the name of one that has; empty if waiting has become impossible.
    std::string Wait();

private:
    bool WatchFile(const std::string& file);
    bool ReadEvents(int timeout, std::string& changed);

    int m_Queue;                          // of inotify
    std::map<std::string, int> m_Folders; // watches of folders
    std::map<int, std::map<std::string, std::string>>
        m_Names; // by watch and name in the folder: the file as it was named
};
