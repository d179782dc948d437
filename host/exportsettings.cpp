#include "host/exportsettings.h"

#include "tools/model/kelpexport/settings.h"

static const struct
{
    const char* name;
    ExportSettings::Text ExportSettings::*text;
} VALUES[] = {{"Filename", &ExportSettings::filename},
              {"DebugMode", &ExportSettings::debugMode},
              {"ForceOverwrite", &ExportSettings::forceOverwrite}};

ExportSettings ReadExportSettings()
{
    SetSettingsPath("ZoltExport", "1.0");
    ExportSettings settings;
    for (const auto& value : VALUES)
    {
        OwnedString text;
        if (ReadSetting(value.name, text))
            settings.*value.text = {true, text.GetString()};
    }
    return settings;
}

void WriteExportSettings(const ExportSettings& settings)
{
    SetSettingsPath("ZoltExport", "1.0");
    for (const auto& value : VALUES)
    {
        const ExportSettings::Text& text = settings.*value.text;
        if (text.has)
            WriteSetting(value.name, text.text.c_str());
    }
}
