// Where the vertices of a mesh are.
#pragma once

#include "scene/scenepose.h"

#include <vector>

// The positions of the file with the morph targets' deltas added by weight, in the mesh's own space.
std::vector<Double3> MorphedPositions(const ScenePrimitive& primitive, const std::vector<double>& weights);

// The vertices of one mesh of a node in the world. With a skin: linear blend skinning by all weights, divided by their
// sum, in which the node's own transform plays no part. A vertex without weights follows the joint that all others are
// below, or, if there is none, the node.
std::vector<Double3> WorldPositions(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose);

struct SkinWeights
{
    const std::uint32_t* starts = nullptr; // as a primitive has them
    const SceneInfluence* influences = nullptr;
};

// The same for the vertices that are listed: positions[i] is that of vertices[i]. `weights` take the place of those of
// the primitive; null stands for these.
void PlaceVertices(const Scene& scene, int node, const SceneMeshUse& use, const ScenePose& pose,
                   const SkinWeights* weights, const std::vector<std::uint32_t>& vertices, Double3* positions);
