// Which nodes have a space without extent.
#pragma once

#include "scene/scene.h"

#include <vector>

// For each node whether its space, or one above it, loses an axis at rest or at a key of a clip. What stands in such a
// space can't be placed at will. Looks at the scale channels of all clips.
std::vector<bool> FindFlatNodes(const Scene& scene);
