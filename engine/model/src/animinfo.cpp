#include "engine/model/src/animinfo.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

ZOLT_BEGIN_NAMESPACE

Model* AnimInfo::GetAnimOwner() const
{
    if (!ZOLT_ASSERT(m_pAnim && m_pChildInfo && m_pChildInfo->m_pModel == m_pAnim->GetModel(),
                     "m_pChildInfo->m_pModel == m_pAnim->GetModel()"))
        return nullptr;
    return m_pChildInfo->m_pModel;
}

ZOLT_END_NAMESPACE
