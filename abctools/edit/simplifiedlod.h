#pragma once

#include "engine/model/src/model.h"

#include <vector>

// What has become of one piece.
struct SimplifiedPiece
{
    uint32_t m_nTrisBefore = 0;
    uint32_t m_nTrisAfter = 0;
    double m_Error = 0.0; // about how far the surface strays where joints bend, in model units
};

// Adds a coarsest LOD to every piece: a copy of LOD 0 that keeps about `ratio` of its triangles, with the vertices,
// normals, coordinates and weights of those that stay; the more stays where joints bend. Borders of coordinates hold,
// and where there are several pieces the borders of their meshes as well, so that no gap opens between them. `pieces`
// tells of each. False without memory, with the model to be discarded.
bool AddSimplifiedLod(Model& model, double ratio, float distance, std::vector<SimplifiedPiece>& pieces);
