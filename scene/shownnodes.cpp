#include "scene/shownnodes.h"

std::vector<int> FindShownNodes(const Scene& scene)
{
    std::vector<int> shown = scene.roots;
    for (std::size_t i = 0; i < shown.size(); ++i)
    {
        const std::vector<int>& children = scene.nodes[shown[i]].children;
        shown.insert(shown.end(), children.begin(), children.end());
    }
    return shown;
}
