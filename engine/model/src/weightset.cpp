#include "engine/model/src/weightset.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/safestrcopy.h"

ZOLT_BEGIN_NAMESPACE

WeightSet::WeightSet(Model* pModel) : m_pModel(pModel) {}

WeightSet::~WeightSet()
{
    m_Weights.Term(m_pModel->GetAllocator());
}

void WeightSet::SetName(const char* pName)
{
    SafeStrCopy(m_Name, pName, sizeof(m_Name));
}

QZBOOL WeightSet::Init()
{
    return m_Weights.SetSizeInit(m_pModel->NumNodes(), 0.0f, m_pModel->GetGrowAllocator());
}

QZBOOL WeightSet::FitToNodes()
{
    const uint32_t nBefore = m_Weights.GetSize();
    if (!m_Weights.NiceSetSize(m_pModel->NumNodes(), QZFALSE, m_pModel->GetGrowAllocator()))
        return QZFALSE;
    for (uint32_t i = nBefore; i < m_Weights.GetSize(); ++i)
        m_Weights[i] = 0.0f;
    return QZTRUE;
}

ZOLT_END_NAMESPACE
