// The scenes of a run, as they are to be exported.
#pragma once

#include "host/exportoptions.h"
#include "scene/scene.h"

#include <string>
#include <vector>

class Console;

struct OpenedScene
{
    Scene scene;           // in the unit and axes that the model gets
    ExportOptions options; // those of the run, with the path and the settled frame rate of this scene
    int clip = -1;         // what is exported unless it is all clips; -1: the scene has none
};

// Reads them in the order of the command line and says on the console what has been settled. `files` gets what has been
// read, also of a scene that can't be used. False after an error on the console.
bool OpenScenes(const ExportOptions& options, Console& console, std::vector<OpenedScene>& scenes,
                std::vector<std::string>& files);
