#pragma once

#include "engine/model/src/model.h"

// Merges the vertices of each piece whose distance times fMagScale is below 0.1 (in floats, strictly): of a pair the
// lower index goes and its triangles move to the other; of several close ones the lowest index takes over. Nothing
// averages positions. LOD 0. False without memory; pieces not yet reached stay as they were.
QZBOOL MergeCloseVertices(Model* pModel, float fMagScale);
