#pragma once

#include <string>
#include <vector>

class Model;

// Mends what is wrong with a model and can be put right in one way only: rotations and normals that aren't of length 1,
// as a check sees it; key times that fall, which stay at the latest before them, and that don't begin at 0; weights of
// no share and no place; animations of one name, of which the later get the next free number. With bExport also
// triangles that repeat a vertex, and vertices in no triangle. `done` gets a sentence without a full stop for each
// thing.
void FixModel(Model& model, bool bExport, std::vector<std::string>& done);
