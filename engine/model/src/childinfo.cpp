#include "engine/model/src/childinfo.h"

#include "engine/model/src/model.h"

ZOLT_BEGIN_NAMESPACE

ChildInfo::~ChildInfo()
{
    Clear();
}

void ChildInfo::Clear()
{
    m_pModel = nullptr;
    m_pName = g_EmptyString;
    m_Relations.Term(m_pParentModel ? m_pParentModel->GetAllocator() : &g_DefaultAllocator);
}

ZOLT_END_NAMESPACE
