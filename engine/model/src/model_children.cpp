// Child links of a model.

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

#include <cstdio>
#include <cstring>

ZOLT_BEGIN_NAMESPACE

ChildInfo* Model::GetChildModel(uint32_t index) const
{
    if (!ZOLT_ASSERT(index < m_nChildModels, "index < m_nChildModels"))
        return nullptr;
    return m_ChildModels[index];
}

ChildInfo* Model::FindChildModel(const Model* pModel) const
{
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        if (m_ChildModels[i]->m_pModel == pModel)
            return m_ChildModels[i];
    }
    return nullptr;
}

ChildInfo* Model::FindChildModelByName(const char* pName, uint32_t* pIndex) const
{
    if (!ZOLT_ASSERT(pName, "pName"))
        return nullptr;
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        if (strcmp(m_ChildModels[i]->m_pName, pName) == 0)
        {
            if (pIndex)
                *pIndex = i;
            return m_ChildModels[i];
        }
    }
    return nullptr;
}

ChildInfo* Model::AddChildModel(Model* pChild, const char* pName, char* pErrStr, QZBOOL bCalcRelation)
{
    TieSelf();
    if (!ZOLT_ASSERT(!FindChildModel(pChild), "!FindChildModel(pChild)"))
    {
        snprintf(pErrStr, MODEL_ERRSTR_SIZE, "Model already exists.");
        return nullptr;
    }
    if (m_nChildModels >= MAX_CHILD_MODELS)
    {
        snprintf(pErrStr, MODEL_ERRSTR_SIZE, "Child model limit reached.");
        return nullptr;
    }
    ModelNode* pFail = nullptr;
    if (pChild && !CompareNodeTrees(GetRootNode(), pChild->GetRootNode(), &pFail))
    {
        snprintf(pErrStr, MODEL_ERRSTR_SIZE, "Node trees differ at node %s.", pFail->GetName());
        return nullptr;
    }
    ChildInfo* pInfo = AllocNew<ChildInfo>(*GetGrowAllocator());
    if (!pInfo)
        return nullptr;
    pInfo->m_pParentModel = this;
    if (!SetupChildModelRelation(pInfo, pChild, bCalcRelation))
    {
        snprintf(pErrStr, MODEL_ERRSTR_SIZE, "SetupChildModelRelation returned QZFALSE.");
        FreeObject(*m_pAllocator, pInfo);
        return nullptr;
    }
    pInfo->m_pName = AddString(pName);
    m_ChildModels[m_nChildModels++] = pInfo;
    pInfo->m_pModel = pChild;
    pInfo->m_iAnimOffset = 0;
    if (!pChild)
        return pInfo;

    pChild->AddRef();
    // A load compares it with the child's own stamp: the bindings fit this state of the child.
    pInfo->m_Stamp = pChild->GetModelStamp();
    pInfo->m_iAnimOffset = NumAnims();
    if (!m_Anims.NiceSetSize(NumAnims() + pChild->NumAnims(), QZFALSE, m_pDefaultAllocator))
    {
        snprintf(pErrStr, MODEL_ERRSTR_SIZE, "Out of memory.");
        return nullptr;
    }
    for (uint32_t i = 0; i < pChild->NumAnims(); ++i)
    {
        m_Anims[pInfo->m_iAnimOffset + i] = pChild->m_Anims[i];
        m_Anims[pInfo->m_iAnimOffset + i].m_pChildInfo = pInfo;
    }
    return pInfo;
}

QZBOOL Model::RemoveChildModel(uint32_t iIndex)
{
    if (iIndex >= m_nChildModels || iIndex == 0)
        return QZFALSE;
    ChildInfo* pInfo = m_ChildModels[iIndex];
    for (uint32_t i = 0; i < NumAnims();)
    {
        if (m_Anims[i].m_pChildInfo != pInfo)
        {
            ++i;
            continue;
        }
        m_Anims.Remove(i, m_pDefaultAllocator);
        for (uint32_t iOther = 1; iOther < m_nChildModels; ++iOther)
        {
            if (m_ChildModels[iOther] != pInfo && m_ChildModels[iOther]->m_iAnimOffset > i)
                --m_ChildModels[iOther]->m_iAnimOffset;
        }
    }
    if (pInfo->m_pModel && pInfo->m_pModel != this)
        pInfo->m_pModel->Release();
    FreeObject(*m_pAllocator, pInfo);
    --m_nChildModels;
    for (uint32_t i = iIndex; i < m_nChildModels; ++i)
        m_ChildModels[i] = m_ChildModels[i + 1];
    m_ChildModels[m_nChildModels] = nullptr;
    return QZTRUE;
}

QZBOOL Model::SetChildModel(uint32_t iIndex, ChildInfo* pInfo, Model* pChild, const char* pName)
{
    if (iIndex >= MAX_CHILD_MODELS)
        return QZFALSE;
    pInfo->m_pName = pName;
    pInfo->m_pParentModel = this;
    pInfo->m_pModel = pChild;
    pInfo->m_iAnimOffset = 0;
    if (pChild && pChild != this)
        pChild->AddRef();
    m_ChildModels[iIndex] = pInfo;
    return QZTRUE;
}

QZBOOL Model::SetupChildModelRelation(ChildInfo* pInfo, Model* pChild, QZBOOL bCalc)
{
    if (bCalc && pChild && NumNodes() != GetRootNode()->CountNodes())
        return QZFALSE;
    if (!pInfo->m_Relations.SetSize(NumNodes(), GetGrowAllocator()))
        return QZFALSE;
    if (bCalc && pChild)
    {
        const Matrix4 identity;
        CalcNodeRelations(pInfo, identity, identity, GetRootNode(), pChild->GetRootNode());
        return QZTRUE;
    }
    NodeKeyFrame relation;
    relation.FromMatrix(Matrix4());
    for (uint32_t i = 0; i < NumNodes(); ++i)
        pInfo->m_Relations[i] = relation;
    return QZTRUE;
}

void Model::CalcNodeRelations(ChildInfo* pInfo, const Matrix4& mParentA, const Matrix4& mParentB, ModelNode* pNodeA,
                              ModelNode* pNodeB)
{
    Matrix4 inverse;
    mParentA.Inverse(inverse);
    const Matrix4 localA = inverse * pNodeA->m_mGlobal;
    mParentB.Inverse(inverse);
    const Matrix4 localB = inverse * pNodeB->m_mGlobal;
    localB.Inverse(inverse);
    pInfo->m_Relations[pNodeA->GetNodeIndex()].FromMatrix(inverse * localA);
    for (uint32_t i = 0; i < pNodeA->NumChildren(); ++i)
        CalcNodeRelations(pInfo, pNodeA->m_mGlobal, pNodeB->m_mGlobal, pNodeA->GetChild(i), pNodeB->GetChild(i));
}

ZOLT_END_NAMESPACE
