#pragma once

#include "scene/scene.h"

// Requires what scene/scene.h promises of a scene that a reader returned as good.
void CheckScene(const Scene& scene);
