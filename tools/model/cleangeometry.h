#pragma once

#include "engine/model/src/model.h"

// A model with a smaller radius has the mag scale 1.
constexpr float SMALL_RADIUS = 0.001f;

// 256 / radius (1 for a radius below 0.001), or what the token "MagScale" in the root node's name says
// with three digits; fewer, or 000, count as no token.
float CalcMagScale(Model* pModel);
// Merges vertices closer than 0.1 / mag scale, drops degenerate triangles and unused vertices.
// False without memory; what was done until then stays.
QZBOOL CleanGeometry(Model* pModel);
// Half the diagonal of the bounding box of all LOD 0 vertices.
float CalcModelRadius(Model* pModel);
// Removes triangles that name a vertex twice. LOD 0.
void RemoveDegenerateTris(Model* pModel);
// Removes vertices in no triangle, with the weights that nodes hold on them. LOD 0. False without memory.
QZBOOL RemoveUnusedVerts(Model* pModel);
// True if a triangle of the mesh has the vertex.
QZBOOL IsVertexUsed(ModelPieceLOD* pMesh, uint32_t iVert);
