#include "scene/flatnodes.h"

#include "scene/shownnodes.h"

#include <algorithm>
#include <cmath>

// Whether a scale takes an axis away.
static bool IsFlat(const Double3& scale)
{
    constexpr double LEAST = 1e-6; // of the greatest one
    const double x = std::fabs(scale.x);
    const double y = std::fabs(scale.y);
    const double z = std::fabs(scale.z);
    return std::min({x, y, z}) <= LEAST * std::max({x, y, z});
}

std::vector<bool> FindFlatNodes(const Scene& scene)
{
    std::vector<bool> isFlat;
    for (const SceneNode& node : scene.nodes)
    {
        isFlat.push_back(IsFlat(node.local.scale));
    }
    for (const SceneClip& clip : scene.clips)
    {
        for (const SceneChannel& channel : clip.channels)
        {
            const bool isCubic = channel.interpolation == SceneInterpolation::Cubic;
            for (std::size_t i = isCubic ? 3 : 0; channel.path == ScenePath::Scale && i < channel.values.size();
                 i += isCubic ? 9 : 3)
            {
                const double* v = &channel.values[i];
                isFlat[channel.node] = isFlat[channel.node] || IsFlat({v[0], v[1], v[2]});
            }
        }
    }
    for (const int node : FindShownNodes(scene))
    {
        const int parent = scene.nodes[node].parent;
        isFlat[node] = isFlat[node] || (parent >= 0 && isFlat[parent]);
    }
    return isFlat;
}
