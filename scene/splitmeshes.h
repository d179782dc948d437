// Meshes with more vertices than a model's piece can hold.
#pragma once

#include "scene/scene.h"

constexpr std::size_t MAX_MESH_VERTICES = 65536;

// Cuts each mesh of more than MAX_MESH_VERTICES joined vertices into parts that have no more, with a warning. Triangles
// keep their order: a part ends before the first one whose vertices don't fit. A vertex that triangles of several parts
// use is in all of them, with all that belongs to it. The first part takes the place of the mesh; the others come
// behind all meshes of the node, where SceneMeshUse tells whose parts they are.
void SplitLargeMeshes(Scene& scene);
