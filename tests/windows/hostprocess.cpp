#include "tests/windows/hostprocess.h"

#include "tests/windows/user.h"

static std::string HostPath()
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string folder = path;
    folder.resize(folder.find_last_of("\\/"));
    return folder + "\\..\\bin\\scenehost.exe";
}

HostProcess::HostProcess(const std::string& scene, const std::string& clip)
{
    std::string command = "\"" + HostPath() + "\" \"" + scene + "\"";
    if (!clip.empty())
        command += " \"" + clip + "\"";
    STARTUPINFOA start = {};
    start.cb = sizeof(start);
    CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &m_Process);
}

HostProcess::~HostProcess()
{
    if (WaitForSingleObject(m_Process.hProcess, 0) != WAIT_OBJECT_0)
        TerminateProcess(m_Process.hProcess, 99);
    CloseHandle(m_Process.hThread);
    CloseHandle(m_Process.hProcess);
}

HWND HostProcess::WaitForWindow(const char* pTitle) const
{
    HWND found = nullptr;
    WaitUntil(
        [&]
        {
            found = FindWindowA("#32770", pTitle); // the class of dialogs and message boxes
            DWORD process = 0;
            GUITHREADINFO thread = {};
            thread.cbSize = sizeof(thread);
            if (!found || !GetGUIThreadInfo(GetWindowThreadProcessId(found, &process), &thread))
                thread.hwndFocus = nullptr;
            // Keys go to the window in front, and are lost while none of its controls has the focus.
            if (process != m_Process.dwProcessId || !IsWindowVisible(found) || GetForegroundWindow() != found ||
                !IsChild(found, thread.hwndFocus))
                found = nullptr;
            return found || WaitForSingleObject(m_Process.hProcess, 0) == WAIT_OBJECT_0;
        });
    return found;
}

int HostProcess::WaitForEnd() const
{
    DWORD code = 0;
    if (WaitForSingleObject(m_Process.hProcess, PATIENCE) != WAIT_OBJECT_0 ||
        !GetExitCodeProcess(m_Process.hProcess, &code))
        return -1;
    return static_cast<int>(code);
}
