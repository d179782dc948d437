// A folder that is gone, with all that is in it, when the test ends.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "win32_test_XXXXXX").string();
        m_Path = mkdtemp(name.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_Path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::string& name) const { return (m_Path / name).string(); }
    std::string Path() const { return m_Path.string(); }

private:
    std::filesystem::path m_Path;
};

// An environment variable for the time of a test.
class ScopedVariable
{
public:
    // Null takes the variable away.
    ScopedVariable(const char* name, const char* value) : m_Name(name)
    {
        const char* old = std::getenv(name);
        m_WasSet = old != nullptr;
        m_Old = old ? old : "";
        Set(value);
    }
    ~ScopedVariable() { Set(m_WasSet ? m_Old.c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void Set(const char* value) const { value ? setenv(m_Name.c_str(), value, 1) : unsetenv(m_Name.c_str()); }

    std::string m_Name;
    std::string m_Old;
    bool m_WasSet;
};
