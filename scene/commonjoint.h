// The joint that all others of a skin are below.
#pragma once

#include "scene/scene.h"

// Its index among the skin's joints; -1 if there is none.
int FindCommonJoint(const Scene& scene, const SceneSkin& skin);
