// A mesh with the vertices joined that a texture seam splits in the file.
#pragma once

#include "scene/scene.h"

#include <cstdint>
#include <vector>

// How far a node moves a vertex, as a percentage of all that moves it.
struct JoinedWeight
{
    int node = -1;
    std::uint32_t vertex = 0;
    double percent = 0.0;
};

// A percentage as the float that is handed out: the nearest one, but a share of more than 5 % never falls to 5, which
// an exporter drops. A weight that a file holds as the float next to 0.05 is such a share.
float PercentAsFloat(double percent);

struct JoinedMesh
{
    std::vector<std::uint32_t> vertexOf;   // for each vertex of the primitive its vertex here
    std::vector<std::uint32_t> fileVertex; // for each vertex here the first one of the primitive
    std::vector<JoinedWeight> weights;     // by node, then by vertex; each pair once; empty without a skin
};

// Vertices are joined that agree in position (also under every morph target) and, with a skin, in joints and weights.
// Their order is that of their first occurrence.
JoinedMesh JoinVertices(const ScenePrimitive& primitive, const SceneSkin* skin);
