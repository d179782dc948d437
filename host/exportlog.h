// The log that the plug-in writes, as the host reads it and hands it on.
#pragma once

#include <string>
#include <utility>
#include <vector>

// Where the log stays. With the first text the file is opened, and what it held before is gone.
class KeptLog
{
public:
    // An empty path stands for no place at all.
    explicit KeptLog(std::string path) : m_Path(std::move(path)) {}
    ~KeptLog();
    KeptLog(const KeptLog&) = delete;
    KeptLog& operator=(const KeptLog&) = delete;

    const std::string& GetPath() const { return m_Path; }
    // False if the text can't be written; then nothing is from there on.
    bool Add(const std::string& text);

private:
    std::string m_Path;
    int m_File = -1;
    bool m_Failed = false; // in writing
};

// The texts behind "WARNING:" of the lines that begin with it.
std::vector<std::string> FindLogWarnings(const std::string& log);
