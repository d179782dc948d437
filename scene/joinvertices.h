// Vertices that a texture seam splits in the file, as one.
#pragma once

#include "scene/scene.h"

#include <cstdint>
#include <vector>

struct VertexJoin
{
    std::vector<std::uint32_t> vertexOf;   // for each vertex of the primitive its joined one
    std::vector<std::uint32_t> fileVertex; // for each joined vertex the first one of the primitive
};

// Vertices are joined that agree in position (also under every morph target) and, if they are weighted, in joints and
// weights. The order is that of their first occurrence.
VertexJoin JoinVertices(const ScenePrimitive& primitive, bool weighted);

// The influences of one vertex by joint, each joint once, its weights summed. The primitive must have weights.
void SumInfluences(const ScenePrimitive& primitive, std::size_t vertex, std::vector<SceneInfluence>& sums);
