// What is in a scene, for --list.
#pragma once

#include "scene/scene.h"

#include <string>

struct ExportOptions;

// Lines of text: the clips with their frames and numbers of keys, meshes, joints, the play range of `clip` (-1 for
// none) and the frame rate. A clip whose own rate is another one says so.
std::string ListScene(const Scene& scene, int clip, const ExportOptions& options);

// The same as one JSON object: {"clips": [{"name", "start", "end", "keys", "fps"}], "meshes", "joints", "fps"}.
std::string ListSceneAsJson(const Scene& scene, const ExportOptions& options);

// A frame rate with as many digits as it needs.
std::string FormatFps(double fps);
