// A run of scenehost.exe, seen from outside.
#pragma once

#include <string>

#include <windows.h>

class HostProcess
{
public:
    HostProcess(const std::string& scene, const std::string& clip);
    // A run that hasn't ended by then is ended.
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    // Waits until a window of that title is in front and takes keys. Null when none comes, or the run ends first.
    HWND WaitForWindow(const char* pTitle) const;
    // What the program ends with; -1 when it doesn't end.
    int WaitForEnd() const;

private:
    PROCESS_INFORMATION m_Process = {};
};
