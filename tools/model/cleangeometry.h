#pragma once

#include "engine/model/src/model.h"

// 256 / radius (1 for a radius below 0.001), or what the token "MagScale" in the root node's name says.
float CalcMagScale(Model* pModel);
// Merges vertices closer than 0.1 / mag scale, drops degenerate triangles and unused vertices.
// False without memory, as the functions below; what was done until then stays.
QZBOOL CleanGeometry(Model* pModel);
// Half the diagonal of the bounding box of all LOD 0 vertices.
float CalcModelRadius(Model* pModel);
// Removes triangles that name a vertex twice. LOD 0.
void RemoveDegenerateTris(Model* pModel);
// Removes vertices in no triangle, with the weights that nodes hold on them. LOD 0.
QZBOOL RemoveUnusedVerts(Model* pModel);
QZBOOL IsVertexUsed(ModelPieceLOD* pMesh, uint32_t iVert);
