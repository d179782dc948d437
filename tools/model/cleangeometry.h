#pragma once

#include "engine/model/src/model.h"

// Merges close vertices, drops degenerate triangles and unused vertices. The merge limit is 0.1 / mag scale; the mag
// scale is 256 / radius, or what the token "MagScale" in the root node's name says.
// False without memory, as the functions below; what was done until then stays.
QZBOOL CleanGeometry(Model* pModel);
// Half the diagonal of the bounding box of all LOD 0 vertices.
float CalcModelRadius(Model* pModel);
// Removes triangles that name a vertex twice. LOD 0.
void RemoveDegenerateTris(Model* pModel);
// Removes vertices in no triangle, with the weights that nodes hold on them. LOD 0.
QZBOOL RemoveUnusedVerts(Model* pModel);
QZBOOL IsVertexUsed(ModelPieceLOD* pMesh, uint32_t iVert);
