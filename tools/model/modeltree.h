#pragma once

#include "engine/model/src/model.h"
#include "tools/model/matchnodes.h"

// The node tree of a model, which must be precalculated: node i of the tree is node i of the model.
NamedTree MakeModelTree(const Model& model);
