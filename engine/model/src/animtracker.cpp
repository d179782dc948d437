#include "engine/model/src/animtracker.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

ZOLT_BEGIN_NAMESPACE

void AnimTracker::Init(Model* pModel, uint32_t iPrevAnim, uint32_t iPrevFrame, uint32_t iCurAnim, uint32_t iCurFrame,
                       float percent)
{
    m_pModel = pModel;
    m_Prev.m_iAnim = static_cast<uint16_t>(iPrevAnim);
    m_Prev.m_iFrame = static_cast<uint16_t>(iPrevFrame);
    m_Prev.m_Time = 0;
    m_Cur.m_iAnim = static_cast<uint16_t>(iCurAnim);
    m_Cur.m_iFrame = static_cast<uint16_t>(iCurFrame);
    m_Cur.m_Time = 0;
    m_Percent = percent;
}

QZBOOL AnimTracker::IsValid() const
{
    if (!m_pModel)
        return QZFALSE;
    if (m_Prev.m_iAnim >= m_pModel->NumAnims() || m_Cur.m_iAnim >= m_pModel->NumAnims())
        return QZFALSE;
    const ModelAnim* pPrev = m_pModel->GetAnim(m_Prev.m_iAnim);
    const ModelAnim* pCur = m_pModel->GetAnim(m_Cur.m_iAnim);
    if (m_Prev.m_iFrame >= pPrev->NumKeyFrames() || m_Cur.m_iFrame >= pCur->NumKeyFrames())
        return QZFALSE;
    return m_Percent >= 0.0f && m_Percent <= 1.0f;
}

ModelAnim* AnimTracker::GetPrevAnim() const
{
    return ZOLT_ASSERT(m_pModel && m_Prev.m_iAnim < m_pModel->NumAnims(), "m_Prev.m_iAnim < m_pModel->m_Anims")
               ? m_pModel->GetAnim(m_Prev.m_iAnim)
               : nullptr;
}

ModelAnim* AnimTracker::GetCurAnim() const
{
    return ZOLT_ASSERT(m_pModel && m_Cur.m_iAnim < m_pModel->NumAnims(), "m_Cur.m_iAnim < m_pModel->m_Anims")
               ? m_pModel->GetAnim(m_Cur.m_iAnim)
               : nullptr;
}

ZOLT_END_NAMESPACE
