// FBX, Collada, OBJ, 3DS and the other formats that Assimp reads.
#pragma once

#include "scene/scene.h"

#include <string>

// Fills `scene` from a file. False with one sentence in `error`, which names the file, if it can't be read, is damaged
// or is of no known format; `scene` is then empty. Points and lines, bones and animation tracks of nodes that aren't
// there, and the motion of morph targets are left out with a warning. A missing image is no error. Throws nothing.
//
// The coordinates are those of the file: its unit and its up axis (FBX, Collada) are stated in the scene, and applied
// to nothing. The top node that Assimp gives every file ("RootNode" for FBX, the visual scene for Collada) stays the
// only root, so that a skeleton keeps its place in the tree whatever else a file holds. A bone makes its node a joint.
// Assimp keeps key times and values, but no curve shapes: every channel is linear. An FBX clip starts at 0.
//
// The first call loads the library zoltassimp (loadlibrary.h); without it every file is refused.
bool ReadAssimpScene(const char* path, Scene& scene, std::string& error);

// What that library has for it.
extern "C" bool ZoltReadAssimpScene(const char* path, Scene& scene, std::string& error);
