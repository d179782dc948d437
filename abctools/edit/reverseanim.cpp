#include "abctools/edit/reverseanim.h"

#include "abctools/edit/rebuildkeys.h"
#include "engine/model/src/modelanim.h"

bool ReverseAnim(ModelAnim& anim)
{
    std::vector<RebuiltKey> keys;
    for (uint32_t i = anim.NumKeyFrames(); i-- > 0;)
        keys.push_back({{i, i, 0.0f}, anim.GetAnimTime() - anim.m_KeyFrames[i].m_Time, anim.m_KeyFrames[i].m_pString});
    return RebuildKeys(anim, keys);
}
