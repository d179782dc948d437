// A mesh as the exporter gets it: vertices joined, and for each the nodes that move it.
#pragma once

#include "saa/vertexshares.h"
#include "scene/joinvertices.h"

#include <cstdint>
#include <vector>

// How far a node moves a vertex, as a percentage that an exporter keeps. Those of one vertex need not add up to 100.
struct JoinedWeight
{
    std::uint32_t vertex = 0;
    float percent = 0.0F;
};

// A node that moves vertices: its weights go up to `end` of all, from where those of the node before it end.
struct JoinedMover
{
    int node = -1;
    std::uint32_t end = 0;
};

struct JoinedMesh : VertexJoin
{
    std::vector<JoinedMover> movers;   // by node, each once; empty without a skin
    std::vector<JoinedWeight> weights; // of each of them by vertex, each once
    ShareChanges changes;              // what became of the file's weights on the way
};

// Joins the vertices of a mesh that node `node` shows. With a skin each vertex gets the shares that MendShares makes of
// its weights; those of nodes that `isShown` denies don't count. A vertex that has none follows the joint that all
// others are below, or else the node.
JoinedMesh JoinMesh(const Scene& scene, const SceneMeshUse& use, int node, const std::vector<bool>& isShown);
