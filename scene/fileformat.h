// What a scene file is by its first bytes, whatever it is called.
#pragma once

#include <string>

// The usual extension of its format: "glb", "gltf", "fbx" or "dae"; empty for any other format, and if the file can't
// be read.
std::string FindFormatByBytes(const std::string& path);
