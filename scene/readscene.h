// Scene files of every kind.
#pragma once

#include "scene/scene.h"

#include <string>

// Fills `scene` from a file: .gltf and .glb by ReadGltfScene, every other one by ReadAssimpScene, whose contracts hold.
bool ReadScene(const char* path, Scene& scene, std::string& error);
