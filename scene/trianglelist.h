// Triangles from the ways in which a graphics library draws them.
#pragma once

#include "scene/scene.h"

#include <cstdint>
#include <vector>

enum class TriangleMode
{
    List,  // a multiple of 3 indices
    Strip, // odd triangles are turned, so that all face the same way; those with a repeated index are left out
    Fan
};

// Appends the triangles. False if a list's length isn't a multiple of 3.
bool AppendTriangles(TriangleMode mode, const std::vector<std::uint32_t>& indices,
                     std::vector<SceneTriangle>& triangles);

// The triangles from `begin` up to `end` with their vertices, which keep their order, and all that belongs to these.
ScenePrimitive CopyTriangles(const ScenePrimitive& primitive, std::size_t begin, std::size_t end);

// Takes the vertices that no triangle uses out of all arrays of the primitive; the others keep their order.
void RemoveUnusedVertices(ScenePrimitive& primitive);
