#include "abctools/findanimtime.h"

#include "engine/model/src/modelanim.h"

#include <algorithm>

bool FindAnimTime(const ModelAnim& anim, double time, AnimPlace& place)
{
    const uint32_t nKeys = anim.NumKeyFrames();
    if (nKeys == 0)
        return false;
    const AnimKeyFrame* pKeys = anim.m_KeyFrames.GetArray();
    time = std::max(time, static_cast<double>(pKeys[0].m_Time));
    const AnimKeyFrame* pLater =
        std::upper_bound(pKeys, pKeys + nKeys, time, [](double t, const AnimKeyFrame& key) { return t < key.m_Time; });
    const uint32_t iLater = static_cast<uint32_t>(pLater - pKeys);
    place.m_iPrev = iLater == 0 ? 0 : iLater - 1;
    place.m_iCur = std::min(place.m_iPrev + 1, nKeys - 1);
    place.m_Percent = 0.0f;
    const double prevTime = pKeys[place.m_iPrev].m_Time;
    const double curTime = pKeys[place.m_iCur].m_Time;
    if (time > prevTime && curTime > prevTime)
        place.m_Percent = static_cast<float>(std::min((time - prevTime) / (curTime - prevTime), 1.0));
    return true;
}
