// The shares of a vertex in a form that an exporter keeps, which drops those of 5 % and below.
#pragma once

#include "scene/scene.h"

#include <vector>

// How far a node moves a vertex, as a percentage of all that moves it.
struct VertexShare
{
    int node = -1;
    double percent = 0.0;
};

// What became of the shares of one vertex, or of many.
struct ShareChanges
{
    std::size_t raised = 0;  // shares from 2.5 % up to 5 %, which became a little more than 5 %
    std::size_t dropped = 0; // smaller ones
    std::size_t touched = 0; // vertices that either happened to
    std::size_t mended = 0;  // vertices of which nothing was left, or that no joint moved

    void Add(const ShareChanges& other);
};

// A percentage as the float that is handed out: the nearest one, but a share of more than 5 % never falls to 5. A
// weight that a file holds as the float next to 0.05 is such a share.
float PercentAsFloat(double percent);

// Whether an exporter keeps a percentage: as a fraction it has to be above the float 0.05.
bool IsKeptPercent(double percent);

// The shares of the nodes that the influences from `begin` to `end` stand for, by node, each once; they add up to 100,
// or there are none. Of a primitive with a model's weights they add up to what they did in the model. What `shares`
// held before is dropped; its memory serves the next vertex.
void FindShares(const ScenePrimitive& primitive, const SceneSkin& skin, const SceneInfluence* begin,
                const SceneInfluence* end, std::vector<VertexShare>& shares);

// Brings the shares of one vertex (by node) to those that are kept and come nearest: one from 2.5 % up to 5 % becomes
// the next float above 5 %, smaller ones go. If nothing is left, the greatest share stands alone with 100 %; without
// any it is `fallback` that moves the vertex. The others stay as they are: a raised share weighs less among them than
// it would if they made room for it.
ShareChanges MendShares(std::vector<VertexShare>& shares, int fallback);
