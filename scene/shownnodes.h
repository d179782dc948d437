// The nodes that a scene shows.
#pragma once

#include "scene/scene.h"

#include <vector>

// The nodes at and below the scene's roots, each before its children.
std::vector<int> FindShownNodes(const Scene& scene);
