#pragma once

#include "engine/model/src/model.h"

// Merges close vertices, drops degenerate triangles and unused vertices. The merge limit is 0.1 / mag scale; the mag
// scale is 256 / radius, or what the token "MagScale" in the root node's name says.
void CleanGeometry(Model* pModel);
// Half the diagonal of the bounding box of all LOD 0 vertices.
float CalcModelRadius(Model* pModel);
// Merges vertices of one piece whose distance times fMagScale is below 0.1: the one with the lower index goes. LOD 0.
void MergeCloseVertices(Model* pModel, float fMagScale);
// Removes triangles that name a vertex twice. LOD 0.
void RemoveDegenerateTris(Model* pModel);
// Removes vertices in no triangle. LOD 0.
void RemoveUnusedVerts(Model* pModel);
QZBOOL IsVertexUsed(ModelPieceLOD* pMesh, uint32_t iVert);
