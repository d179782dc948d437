// The node tree of a scene, as names and parents; tools/model/modeltree.h has that of a model.
#pragma once

#include "saa/recordedscene.h"
#include "tools/model/fitsentences.h"
#include "tools/model/modeltree.h"

#include <vector>

struct SceneTree
{
    NamedTree tree;
    std::vector<int> elements; // the recorded element of each node
    std::vector<bool> fixed;   // whether its name asks to keep it, which an append can't overrule
};

SceneTree MakeSceneTree(const RecordedScene& recorded);

// What sentences on a fit call a scene.
inline const FitSource FIT_SCENE = {"scene", "with _zN in the name, which keeps them"};
