#include "engine/play/evaluatemany.h"

#include "engine/play/jobpool.h"
#include "engine/play/modelinstance.h"

#include <algorithm>
#include <atomic>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// So many instances make a part: enough to hide what handing a part out costs, few enough to share a small crowd.
static constexpr uint32_t PART = 8;

struct Crowd
{
    ModelInstance* const* m_pInstances;
    uint32_t m_nInstances;
    std::atomic<bool> m_bAll{true};
};

static void EvaluatePart(void* pUser, uint32_t iPart)
{
    Crowd& crowd = *static_cast<Crowd*>(pUser);
    const uint32_t iFirst = iPart * PART;
    const uint32_t n = std::min(PART, crowd.m_nInstances - iFirst);
    for (uint32_t i = iFirst; i < iFirst + n; ++i)
    {
        if (crowd.m_pInstances[i] && !crowd.m_pInstances[i]->Evaluate())
            crowd.m_bAll = false;
    }
}

bool EvaluateMany(ModelInstance* const* pInstances, uint32_t nInstances, JobPool* pPool)
{
    Crowd crowd{pInstances, nInstances};
    const uint32_t nParts = nInstances / PART + (nInstances % PART != 0 ? 1 : 0);
    if (pPool)
        pPool->Run(nParts, EvaluatePart, &crowd);
    else
    {
        for (uint32_t i = 0; i < nParts; ++i)
            EvaluatePart(&crowd, i);
    }
    return crowd.m_bAll;
}
ZOLT_END_NAMESPACE
} // namespace zolt
