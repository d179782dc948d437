// Opening a file with Assimp.
#pragma once

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

enum class ImportTrial
{
    Read,
    Refused, // with Assimp's reason
    Crashed,
    TooSlow
};

// Imports the file in a process of its own. Damaged files make some of Assimp's importers crash, loop forever or ask
// for all memory, which must not happen here. `seconds` is what that process may compute, `bytes` what memory it may
// take. Where no process can be forked, every file counts as read.
ImportTrial TryImport(const std::string& path, unsigned seconds, std::uintmax_t bytes, std::string& reason);
