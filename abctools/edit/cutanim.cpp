#include "abctools/edit/cutanim.h"

#include "abctools/edit/rebuildkeys.h"
#include "engine/model/src/modelanim.h"

bool CutAnim(ModelAnim& anim, uint32_t nFrom, uint32_t nTo)
{
    std::vector<RebuiltKey> keys;
    AnimPlace place;
    if (!FindAnimTime(anim, nFrom, place))
        return false;
    // Of several keys at the beginning the last holds; the place is that one's.
    const AnimKeyFrame& begin = anim.m_KeyFrames[place.m_iPrev];
    keys.push_back({place, 0, begin.m_Time == nFrom ? begin.m_pString : g_EmptyString});
    for (uint32_t i = 0; i < anim.NumKeyFrames(); ++i)
    {
        const AnimKeyFrame& key = anim.m_KeyFrames[i];
        if (key.m_Time > nFrom && key.m_Time <= nTo)
            keys.push_back({{i, i, 0.0f}, key.m_Time - nFrom, key.m_pString});
    }
    if (keys.back().m_Time < nTo - nFrom && FindAnimTime(anim, nTo, place))
        keys.push_back({place, nTo - nFrom, g_EmptyString});
    return RebuildKeys(anim, keys);
}
