// The log that the plug-in writes, as the host reads it and hands it on.
#pragma once

#include <fstream>
#include <string>
#include <vector>

// Where the log stays. The file is opened, and emptied, with the first text.
class KeptLog
{
public:
    // An empty path stands for no place at all.
    explicit KeptLog(std::string path) : m_Path(std::move(path)) {}

    const std::string& GetPath() const { return m_Path; }
    // False if the text can't be written.
    bool Add(const std::string& text);

private:
    std::string m_Path;
    std::ofstream m_File;
};

// The texts behind "WARNING:" of the lines that begin with it.
std::vector<std::string> FindLogWarnings(const std::string& log);
