#include "scene/trianglelist.h"

#include <algorithm>

bool AppendTriangles(TriangleMode mode, const std::vector<std::uint32_t>& indices,
                     std::vector<SceneTriangle>& triangles)
{
    const std::size_t n = indices.size();
    if (mode == TriangleMode::List)
    {
        if (triangles.empty())
        {
            triangles.reserve(n / 3);
        }
        for (std::size_t i = 0; i + 2 < n; i += 3)
        {
            triangles.push_back({{indices[i], indices[i + 1], indices[i + 2]}});
        }
        return n % 3 == 0;
    }
    for (std::size_t i = 0; i + 2 < n; ++i)
    {
        if (mode == TriangleMode::Fan)
        {
            triangles.push_back({{indices[i + 1], indices[i + 2], indices[0]}});
            continue;
        }
        const std::size_t odd = i % 2;
        const SceneTriangle triangle = {{indices[i], indices[i + 1 + odd], indices[i + 2 - odd]}};
        const std::uint32_t* c = triangle.corners;
        if (c[0] != c[1] && c[1] != c[2] && c[2] != c[0])
        {
            triangles.push_back(triangle);
        }
    }
    return true;
}

// Appends vertices of one primitive to another.
static void CopyVertices(const ScenePrimitive& from, const std::vector<std::uint32_t>& vertices, ScenePrimitive& to)
{
    to.morphDeltas.resize(from.morphDeltas.size());
    to.influenceStarts.assign(from.influenceStarts.empty() ? 0 : 1, 0);
    for (const std::uint32_t v : vertices)
    {
        to.positions.push_back(from.positions[v]);
        if (!from.texCoords.empty())
        {
            to.texCoords.push_back(from.texCoords[v]);
        }
        for (std::size_t target = 0; target < from.morphDeltas.size(); ++target)
        {
            to.morphDeltas[target].push_back(from.morphDeltas[target][v]);
        }
        if (!from.influenceStarts.empty())
        {
            to.influences.insert(to.influences.end(), from.influences.begin() + from.influenceStarts[v],
                                 from.influences.begin() + from.influenceStarts[v + 1]);
            to.influenceStarts.push_back(static_cast<std::uint32_t>(to.influences.size()));
        }
    }
}

ScenePrimitive CopyTriangles(const ScenePrimitive& primitive, std::size_t begin, std::size_t end)
{
    std::vector<std::uint32_t> used;
    used.reserve(3 * (end - begin));
    for (std::size_t i = begin; i < end; ++i)
    {
        const std::uint32_t* corners = primitive.triangles[i].corners;
        used.insert(used.end(), corners, corners + 3);
    }
    std::sort(used.begin(), used.end());
    used.erase(std::unique(used.begin(), used.end()), used.end());
    ScenePrimitive copy;
    copy.name = primitive.name;
    copy.image = primitive.image;
    copy.hasModelWeights = primitive.hasModelWeights;
    copy.extras = primitive.extras;
    CopyVertices(primitive, used, copy);
    for (std::size_t i = begin; i < end; ++i)
    {
        SceneTriangle& triangle = copy.triangles.emplace_back(primitive.triangles[i]);
        for (std::uint32_t& corner : triangle.corners)
        {
            const auto place = std::lower_bound(used.begin(), used.end(), corner);
            corner = static_cast<std::uint32_t>(place - used.begin());
        }
    }
    return copy;
}

void RemoveUnusedVertices(ScenePrimitive& primitive)
{
    std::vector<bool> isUsed(primitive.positions.size(), false);
    for (const SceneTriangle& triangle : primitive.triangles)
    {
        for (const std::uint32_t corner : triangle.corners)
        {
            isUsed[corner] = true;
        }
    }
    if (std::find(isUsed.begin(), isUsed.end(), false) != isUsed.end())
    {
        primitive = CopyTriangles(primitive, 0, primitive.triangles.size());
    }
}
