// Opening a file with Assimp.
#pragma once

#include "scene/trial.h"

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cstdint>
#include <string>

// Imports with the settings that all reading goes by: polygons are triangulated, and else nothing is changed; no mesh
// is made up for a bare skeleton. FBX pivots come as nodes of their own (FoldPivotNodes takes them out): switched off
// in Assimp, the motion of a node with pivots is lost, and a geometric transform moves the children. `useNames` tells
// whether a Collada node is called by its name, which may repeat, or by its identifier. Null on failure; the importer
// owns the result.
const aiScene* ImportWithAssimp(Assimp::Importer& importer, const std::string& path, bool useNames);

// Imports the file in a process of its own (see TryInOtherProcess). Damaged files make some of Assimp's importers
// crash, loop forever or ask for all memory, which must not happen here.
TrialResult TryImport(const std::string& path, unsigned seconds, std::uintmax_t bytes, std::string& reason);
