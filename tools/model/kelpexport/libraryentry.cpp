#include "tools/model/kelpexport/libraryentry.h"

#ifdef _WIN32

HINSTANCE g_ModuleHandle = nullptr;

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD, LPVOID)
{
    g_ModuleHandle = module;
    return TRUE;
}

#else

#include "tools/model/kelpexport/exportdialog.h"
#include "win32/dialogtemplate.h"

// Stands for the library as long as it is loaded. There are no module handles here: any address of its own will do.
class LoadedLibrary
{
public:
    LoadedLibrary() { RegisterDialogTemplate(&g_ExportDialogTemplate); }
    ~LoadedLibrary() { UnregisterDialogTemplate(&g_ExportDialogTemplate); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;
};

static LoadedLibrary s_LoadedLibrary;

HINSTANCE g_ModuleHandle = reinterpret_cast<HINSTANCE>(&s_LoadedLibrary);

#endif
