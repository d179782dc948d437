// The settings that the plug-in keeps from one run to the next, as the host sees them.
#pragma once

#include <string>

struct ExportSettings
{
    // Texts as they are stored; `has` tells whether there is one.
    struct Text
    {
        bool has = false;
        std::string text;
    };
    Text filename;
    Text debugMode;
    Text forceOverwrite;
};

// What can't be read counts as not there.
ExportSettings ReadExportSettings();

// Stores the texts that there are, and leaves the others alone.
void WriteExportSettings(const ExportSettings& settings);
