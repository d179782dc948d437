#include "engine/play/keypair.h"

#include "engine/model/src/modelanim.h"

#include <algorithm>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
bool FindKeyPair(const ModelAnim& anim, double time, uint32_t iHint, KeyPair& out)
{
    const uint32_t nKeys = anim.NumKeyFrames();
    if (nKeys == 0)
        return false;
    const AnimKeyFrame* pKeys = anim.m_KeyFrames.GetArray();
    const auto Holds = [&](uint32_t i)
    { return i < nKeys && pKeys[i].m_Time <= time && (i + 1 == nKeys || time < pKeys[i + 1].m_Time); };
    if (!(time > pKeys[0].m_Time)) // NaN too
        time = pKeys[0].m_Time;

    uint32_t iPrev = iHint;
    if (!Holds(iPrev) && !Holds(++iPrev) && !Holds(iPrev = iHint - 1))
    {
        const AnimKeyFrame* pNext = std::upper_bound(pKeys + 1, pKeys + nKeys, time,
                                                     [](double t, const AnimKeyFrame& key) { return t < key.m_Time; });
        iPrev = static_cast<uint32_t>(pNext - pKeys) - 1;
    }
    out = {iPrev, iPrev, 0.0f};
    if (iPrev + 1 < nKeys && time > pKeys[iPrev].m_Time)
    {
        const double span = static_cast<double>(pKeys[iPrev + 1].m_Time) - pKeys[iPrev].m_Time;
        out.m_iCur = iPrev + 1;
        out.m_Percent = std::min(static_cast<float>((time - pKeys[iPrev].m_Time) / span), 1.0f);
    }
    return true;
}
ZOLT_END_NAMESPACE
} // namespace zolt
