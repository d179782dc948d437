// The model that a scene's animation is to be added to, as far as a fit goes by it.
#pragma once

#include "host/nodetrees.h"
#include "scene/rigidtransform.h"

#include <string>
#include <vector>

// How far a node is from its parent, over all keys of all animations.
struct LengthRange
{
    double least = 0.0;
    double greatest = 0.0;
};

struct AppendTarget
{
    double radius = 0.0;                // half the diagonal of the box around its vertices, or its nodes without any
    NamedTree tree;                     // its nodes in their order
    std::vector<RigidTransform> locals; // of each node at the first key, as a scene has them
    std::vector<LengthRange> lengths;   // of each node
};

void DescribeAppendTarget(const Model& model, AppendTarget& target);

// The same of a model file. False if it is no valid model.
bool LoadAppendTarget(const std::string& path, AppendTarget& target);

// Half the diagonal of the box around the model's vertices; 0 without any.
double FindModelRadius(const Model& model);
