// scenehost SCENE [CLIP]: opens a glTF scene, loads ZoltExport.dll and lets it export. Ends with what the plug-in
// answers: 0 for a written file, 124 for none; 1 without a scene or a plug-in, 2 for wrong usage.

#include "saa/standin.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <windows.h>

static int Export()
{
    HMODULE plugin = LoadLibraryA("ZoltExport.dll");
    if (!plugin)
    {
        std::fprintf(stderr, "ZoltExport.dll can't be loaded (error %lu).\n", GetLastError());
        return 1;
    }
    int result = 1;
    using Entry = int32_t (*)();
    const auto init = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(plugin, "init")));
    const auto cleanup = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(plugin, "cleanup")));
    if (init && cleanup)
    {
        result = init();
        cleanup();
    }
    else
        std::fprintf(stderr, "ZoltExport.dll lacks init or cleanup.\n");
    FreeLibrary(plugin);
    return result;
}

int main(int argc, char** argv)
{
    if (argc != 2 && argc != 3)
    {
        std::fprintf(stderr, "usage: scenehost SCENE [CLIP]\n");
        return 2;
    }
    // Models take their stamps from rand.
    std::srand(static_cast<unsigned>(std::chrono::system_clock::now().time_since_epoch().count()));
    char message[1024];
    if (OpenStandInScene(argv[1], argc == 3 ? argv[2] : nullptr, message, sizeof(message)) != 0)
    {
        std::fprintf(stderr, "%s\n", message);
        return 1;
    }
    const int result = Export();
    CloseStandInScene();
    return result;
}
