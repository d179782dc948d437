#pragma once

#include "engine/model/src/model.h"

// Smooth normals of all meshes: each the mean of the unit normals of the triangles at the vertex, whatever their area.
// False without memory; meshes not yet reached keep their normals.
QZBOOL BuildVertexNormals(Model* pModel);
// One unit normal for each triangle, (B - A) × (C - A); 0, 0, 0 for a triangle without an area.
QZBOOL CalcTriNormals(ModelPieceLOD* pMesh, DynArray<Vector3, DefaultCache>& normals);
QZBOOL AverageVertexNormals(ModelPieceLOD* pMesh, DynArray<Vector3, DefaultCache>& normals);
