// How large a scene is.
#pragma once

#include "scene/scenepose.h"

// Half the diagonal of the box (along the axes) that holds every vertex of the nodes that are shown, at the pose; 0 for
// a scene without vertices. What the exporter's tolerances are parts of.
double FindSceneRadius(const Scene& scene, const ScenePose& pose);
