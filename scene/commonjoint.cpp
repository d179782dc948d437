#include "scene/commonjoint.h"

int FindCommonJoint(const Scene& scene, const SceneSkin& skin)
{
    std::vector<bool> isJoint(scene.nodes.size(), false);
    for (const int joint : skin.joints)
    {
        isJoint[joint] = true;
    }
    int top = -1;
    for (std::size_t i = 0; i < skin.joints.size(); ++i)
    {
        int above = scene.nodes[skin.joints[i]].parent;
        while (above >= 0 && !isJoint[above])
        {
            above = scene.nodes[above].parent;
        }
        if (above >= 0 || (top >= 0 && skin.joints[top] == skin.joints[i]))
        {
            continue;
        }
        if (top >= 0)
        {
            return -1;
        }
        top = static_cast<int>(i);
    }
    return top;
}
