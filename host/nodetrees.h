// The node trees of a scene and of a model, as names and parents.
#pragma once

#include "engine/model/src/model.h"
#include "saa/recordedscene.h"
#include "tools/model/matchnodes.h"

#include <vector>

struct SceneTree
{
    NamedTree tree;
    std::vector<int> elements; // the recorded element of each node
    std::vector<bool> fixed;   // whether its name asks to keep it, which an append can't overrule
};

SceneTree MakeSceneTree(const RecordedScene& recorded);

// Node i of the tree is node i of the model.
NamedTree MakeModelTree(const Model& model);
