#pragma once

#include "engine/model/src/modelpiece.h"

// Takes many vertices out of the LOD 0 mesh of a piece, with the result of one RemoveVertex after the other in
// ascending order. pTargets holds for each vertex its own index if it stays, the index of a later vertex that takes
// its place (which may go itself), or NO_VERTEX (convnode.h) for one that no triangle uses. False without memory, with
// nothing changed.
//
// Weights that a node holds on a vertex without replacement are dropped by nodes that take a remap; a node that only
// knows OnVertexRemoved is told the replacement 0.
QZBOOL RemoveVertices(ModelPiece* pPiece, const uint32_t* pTargets);
