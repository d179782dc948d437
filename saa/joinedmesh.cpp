#include "saa/joinedmesh.h"

#include "scene/commonjoint.h"

#include <algorithm>

JoinedMesh JoinMesh(const Scene& scene, const SceneMeshUse& use, int node, const std::vector<bool>& isShown)
{
    const ScenePrimitive& primitive = scene.primitives[use.primitive];
    JoinedMesh mesh;
    static_cast<VertexJoin&>(mesh) = JoinVertices(primitive, use.skin >= 0);
    if (use.skin < 0)
    {
        return mesh;
    }
    const SceneSkin& skin = scene.skins[use.skin];
    const int common = FindCommonJoint(scene, skin);
    const int fallback = common >= 0 && isShown[skin.joints[common]] ? skin.joints[common] : node;
    mesh.weights.reserve(primitive.influences.size());
    std::vector<SceneInfluence> influences;
    for (std::uint32_t v = 0; v < mesh.fileVertex.size(); ++v)
    {
        SumInfluences(primitive, mesh.fileVertex[v], influences);
        influences.erase(std::remove_if(influences.begin(), influences.end(),
                                        [&](const SceneInfluence& influence)
                                        { return !isShown[skin.joints[influence.joint]]; }),
                         influences.end());
        std::vector<VertexShare> shares =
            FindShares(primitive, skin, influences.data(), influences.data() + influences.size());
        mesh.changes.Add(MendShares(shares, fallback));
        for (const VertexShare& share : shares)
        {
            mesh.weights.push_back({share.node, v, share.percent});
        }
    }
    mesh.weights.shrink_to_fit(); // of vertices that were joined there are fewer
    std::sort(mesh.weights.begin(), mesh.weights.end(),
              [](const JoinedWeight& a, const JoinedWeight& b)
              { return a.node != b.node ? a.node < b.node : a.vertex < b.vertex; });
    return mesh;
}
