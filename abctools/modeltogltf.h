// A loaded model as a glTF scene.
//
// The scene is the model mirrored back in z: a point x, y, z of the model is x, y, -z there. A node's frame is turned
// over as well, so that it stays a rotation: what is x, y, z in the space of a node or a socket is -x, -y, -z in that
// of the glTF node. Thereby all rotations below the root are those of the model to the last bit.
//
//   nodes        node i of the model is node i of the file, at rest in its bind pose
//   pieces       a mesh each; if it moves with one node, it hangs there, else it has a skin of all nodes. Corners of
//                one vertex with other texture coordinates are vertices of their own. A material for each texture
//                index. Shares make 1; where the model's weights don't, _WEIGHT_SUM tells their sum, for a way back
//   LODs         the coarser meshes as nodes outside the scene, by MSFT_lod
//   sockets      nodes below their node, with {"socket": true}
//   animations   every row of the animation table, those of child models that are at hand included, with keys at the
//                same times; of keys that share a time, the last stands there and the first just before
//   extras       of the scene: command string, weight sets, LOD distances and the like; of nodes: flags; of pieces:
//                texture index and parameters; of animations: dimensions, offset and commands of keys
#pragma once

#include "abctools/gltffile.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

#include <functional>
#include <string>
#include <vector>

ZOLT_BEGIN_NAMESPACE
class Model;
ZOLT_END_NAMESPACE

// Told how many of the animations are done.
typedef std::function<void(size_t nDone, size_t nAll)> GltfProgress;

// False, with the end of a sentence about the model, if it holds numbers that aren't finite or nothing that could be
// shown. `warnings` gets what glTF can't hold, likewise. The model is evaluated in place.
bool ModelToGltf(Model& model, GltfFile& file, const GltfProgress& progress, std::vector<std::string>& warnings,
                 std::string& error);

// The steps. Nodes come first; meshes and animations refer to them.
bool AddGltfMeshes(Model& model, GltfFile& file, std::vector<std::string>& warnings, std::string& error);
bool AddGltfAnims(Model& model, GltfFile& file, const GltfProgress& progress, std::vector<std::string>& warnings,
                  std::string& error);
