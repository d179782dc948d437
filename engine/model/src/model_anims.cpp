// The animation table of a model.

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

ZOLT_BEGIN_NAMESPACE

AnimInfo* Model::AddAnim(ModelAnim* pAnim)
{
    return AddAnimToChildInfo(pAnim, &m_SelfChildModel);
}

AnimInfo* Model::AddAnimToChildInfo(ModelAnim* pAnim, ChildInfo* pInfo)
{
    AnimInfo row;
    row.m_pAnim = pAnim;
    row.m_pChildInfo = pInfo;
    if (pInfo == &m_SelfChildModel)
        TieSelf();
    uint32_t iRow = pInfo->m_iAnimOffset;
    if (pInfo->m_pModel)
        iRow += pInfo->m_pModel->CalcNumOwnAnims();
    if (!m_Anims.Insert(iRow, row, m_pDefaultAllocator))
        return nullptr;
    // The rows behind have moved up, and with them the beginnings of the links that they belong to.
    for (uint32_t i = 1; i < m_nChildModels; ++i)
    {
        ChildInfo* pOther = m_ChildModels[i];
        if (pOther != pInfo && pOther->m_pModel && pOther->m_iAnimOffset >= iRow)
            ++pOther->m_iAnimOffset;
    }
    AnimInfo* pNewAnim = &m_Anims[iRow];
    ZOLT_ASSERT(pNewAnim->m_pAnim == pAnim, "pNewAnim->m_pAnim == pAnim");
    return pNewAnim;
}

// Gives the track and all below it one identity key; child tracks are made for the child nodes.
static QZBOOL BuildDefaultTrack(AnimNode* pTrack, ModelNode* pNode, AnimNode* pParent, Allocator* pAllocator)
{
    pTrack->m_pNode = pNode;
    pTrack->m_pParent = pParent;
    if (!pTrack->m_KeyFrames.SetSize(1, pAllocator))
        return QZFALSE;
    pTrack->m_KeyFrames[0].SetIdentity();
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        AnimNode* pChild = pTrack->CreateAnimNode(pTrack->GetAnim(), pTrack);
        if (!pChild)
            return QZFALSE;
        if (!pTrack->m_Children.Append(pChild, pAllocator))
        {
            FreeObject(*pAllocator, pChild);
            return QZFALSE;
        }
        if (!BuildDefaultTrack(pChild, pNode->GetChild(i), pTrack, pAllocator))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL Model::AddDefaultAnim(const char* pName)
{
    Allocator* pAllocator = GetGrowAllocator();
    ModelAnim* pAnim = AllocNew<ModelAnim>(*pAllocator, this);
    if (!pAnim)
        return QZFALSE;
    if (!AddAnim(pAnim))
    {
        FreeObject(*pAllocator, pAnim);
        return QZFALSE;
    }
    pAnim->SetName(pName);
    if (!pAnim->m_KeyFrames.Append(AnimKeyFrame(), pAllocator))
        return QZFALSE;
    AnimNode* pRoot = AllocNew<AnimNode>(*pAllocator, pAnim, nullptr);
    if (!pRoot)
        return QZFALSE;
    pAnim->SetRootNode(pRoot);
    if (!BuildDefaultTrack(pRoot, GetRootNode(), nullptr, pAllocator))
        return QZFALSE;
    return pAnim->PrecalcNodeLists(QZTRUE);
}

ZOLT_END_NAMESPACE
