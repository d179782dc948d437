#include "scene/trianglelist.h"

bool AppendTriangles(TriangleMode mode, const std::vector<std::uint32_t>& indices,
                     std::vector<SceneTriangle>& triangles)
{
    const std::size_t n = indices.size();
    if (mode == TriangleMode::List)
    {
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

void RemoveUnusedVertices(ScenePrimitive& primitive)
{
    const std::size_t n = primitive.positions.size();
    std::vector<char> used(n, 0);
    for (const SceneTriangle& triangle : primitive.triangles)
    {
        for (const std::uint32_t corner : triangle.corners)
        {
            used[corner] = 1;
        }
    }
    std::vector<std::uint32_t> place(n, 0);
    const bool weighted = !primitive.influenceStarts.empty();
    std::vector<std::uint32_t> starts(weighted ? 1 : 0, 0);
    std::vector<SceneInfluence> influences;
    std::uint32_t kept = 0;
    for (std::size_t v = 0; v < n; ++v)
    {
        if (used[v] == 0)
        {
            continue;
        }
        place[v] = kept;
        primitive.positions[kept] = primitive.positions[v];
        if (!primitive.texCoords.empty())
        {
            primitive.texCoords[kept] = primitive.texCoords[v];
        }
        for (std::vector<Double3>& deltas : primitive.morphDeltas)
        {
            deltas[kept] = deltas[v];
        }
        if (weighted)
        {
            influences.insert(influences.end(), primitive.influences.begin() + primitive.influenceStarts[v],
                              primitive.influences.begin() + primitive.influenceStarts[v + 1]);
            starts.push_back(static_cast<std::uint32_t>(influences.size()));
        }
        ++kept;
    }
    primitive.positions.resize(kept);
    primitive.texCoords.resize(primitive.texCoords.empty() ? 0 : kept);
    for (std::vector<Double3>& deltas : primitive.morphDeltas)
    {
        deltas.resize(kept);
    }
    primitive.influenceStarts.swap(starts);
    primitive.influences.swap(influences);
    for (SceneTriangle& triangle : primitive.triangles)
    {
        for (std::uint32_t& corner : triangle.corners)
        {
            corner = place[corner];
        }
    }
}
