// glTF 2.0 files, text and binary, through tinygltf.
#pragma once

#include "scene/scene.h"

#include <string>

// Fills `scene` from a .gltf or .glb file. False with one sentence in `error`, which names the file and the place in
// it, if the file can't be read, is damaged or needs what isn't supported; `scene` is then empty. Points and lines are
// left out with a warning. A missing image is no error. Throws nothing.
bool ReadGltfScene(const char* path, Scene& scene, std::string& error);
