// All of a scene or nothing of it.
#pragma once

#include "scene/scene.h"

#include <string>

// Fills `scene` by `readParts`. If that returns false, which leaves a sentence in `error`, or if it throws, in which
// case a sentence is made here, the scene is empty afterwards. No exception passes.
bool ReadWholeScene(const std::string& path, Scene& scene, std::string& error,
                    bool (*readParts)(const std::string& path, Scene& scene, std::string& error));
