#include "abctools/edit/rebuildkeys.h"

#include "engine/model/src/model.h"

static NodeKeyFrame KeyAt(const AnimNode& track, const AnimPlace& place)
{
    NodeKeyFrame key = track.m_KeyFrames[place.m_iPrev];
    if (place.m_Percent == 0.0f)
        return key; // bit by bit
    const NodeKeyFrame& later = track.m_KeyFrames[place.m_iCur];
    QuatSlerp(key.m_qRotation, key.m_qRotation, later.m_qRotation, place.m_Percent);
    key.m_vTranslation += (later.m_vTranslation - key.m_vTranslation) * place.m_Percent;
    return key;
}

static bool RebuildTrack(AnimNode& track, const std::vector<RebuiltKey>& keys, Allocator* pAllocator)
{
    std::vector<NodeKeyFrame> rebuilt;
    rebuilt.reserve(keys.size());
    for (const RebuiltKey& key : keys)
        rebuilt.push_back(KeyAt(track, key.m_Place));
    if (!track.m_KeyFrames.SetSize(static_cast<uint32_t>(keys.size()), pAllocator))
        return false;
    for (uint32_t i = 0; i < rebuilt.size(); ++i)
        track.m_KeyFrames[i] = rebuilt[i];
    for (uint32_t i = 0; i < track.NumChildren(); ++i)
    {
        if (!RebuildTrack(*track.GetChild(i), keys, pAllocator))
            return false;
    }
    return true;
}

bool RebuildKeys(ModelAnim& anim, const std::vector<RebuiltKey>& keys)
{
    Allocator* pAllocator = anim.GetModel()->GetGrowAllocator();
    if (!RebuildTrack(*anim.GetRootNode(), keys, pAllocator) ||
        !anim.m_KeyFrames.SetSize(static_cast<uint32_t>(keys.size()), pAllocator))
        return false;
    for (uint32_t i = 0; i < keys.size(); ++i)
    {
        anim.m_KeyFrames[i].m_Time = keys[i].m_Time;
        anim.m_KeyFrames[i].m_pString = keys[i].m_pString;
    }
    return true;
}
