#include "host/exportsettings.h"

#include "win32/zoltwin32.h"

#include <vector>

static const char SETTINGS_KEY[] = "Software\\Varnish Hill Studios\\ZoltExport\\1.0";

static const struct
{
    const char* name;
    ExportSettings::Text ExportSettings::*text;
} VALUES[] = {{"Filename", &ExportSettings::filename},
              {"DebugMode", &ExportSettings::debugMode},
              {"ForceOverwrite", &ExportSettings::forceOverwrite}};

static bool OpenKey(HKEY& key)
{
    return RegCreateKeyExA(HKEY_LOCAL_MACHINE, SETTINGS_KEY, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE,
                           nullptr, &key, nullptr) == ERROR_SUCCESS;
}

ExportSettings ReadExportSettings()
{
    ExportSettings settings;
    HKEY key = nullptr;
    if (!OpenKey(key))
        return settings;
    for (const auto& value : VALUES)
    {
        std::vector<char> buffer(1024);
        DWORD size = static_cast<DWORD>(buffer.size());
        DWORD type = REG_NONE;
        if (RegQueryValueExA(key, value.name, nullptr, &type, reinterpret_cast<LPBYTE>(buffer.data()), &size) !=
                ERROR_SUCCESS ||
            type != REG_SZ)
            continue;
        buffer.back() = 0;
        settings.*value.text = {true, buffer.data()};
    }
    RegCloseKey(key);
    return settings;
}

void WriteExportSettings(const ExportSettings& settings)
{
    HKEY key = nullptr;
    if (!OpenKey(key))
        return;
    for (const auto& value : VALUES)
    {
        const ExportSettings::Text& text = settings.*value.text;
        if (text.has)
            RegSetValueExA(key, value.name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.text.c_str()),
                           static_cast<DWORD>(text.text.size() + 1));
    }
    RegCloseKey(key);
}
