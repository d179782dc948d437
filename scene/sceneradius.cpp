#include "scene/sceneradius.h"

#include "scene/meshpositions.h"
#include "scene/shownnodes.h"

#include <algorithm>
#include <cmath>

double FindSceneRadius(const Scene& scene, const ScenePose& pose)
{
    bool any = false;
    Double3 low;
    Double3 high;
    SkinMatrices matrices(scene, pose);
    for (const int node : FindShownNodes(scene))
    {
        for (const SceneMeshUse& use : scene.nodes[node].meshes)
        {
            const VertexPlacer place(matrices, node, use);
            for (std::size_t v = 0; v < scene.primitives[use.primitive].positions.size(); ++v)
            {
                const Double3 p = place(v);
                low = any ? Double3{std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)} : p;
                high = any ? Double3{std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)} : p;
                any = true;
            }
        }
    }
    return 0.5 * std::hypot(high.x - low.x, high.y - low.y, high.z - low.z);
}
