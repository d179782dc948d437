#include "engine/model/src/animnode.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

ZOLT_BEGIN_NAMESPACE

AnimNode::AnimNode() : AnimNode(nullptr, nullptr) {}

AnimNode::AnimNode(ModelAnim* pAnim, AnimNode* pParent) : m_pNode(nullptr), m_pParent(pParent), m_pAnim(pAnim) {}

AnimNode::~AnimNode()
{
    Term();
}

ModelAnim* AnimNode::GetAnim()
{
    return m_pAnim;
}

void AnimNode::SetAnim(ModelAnim* pAnim)
{
    m_pAnim = pAnim;
}

AnimNode* AnimNode::CreateAnimNode(ModelAnim* pAnim, AnimNode* pParent)
{
    return AllocNew<AnimNode>(*pAnim->GetModel()->GetGrowAllocator(), pAnim, pParent);
}

uint32_t AnimNode::NumKeyFrames() const
{
    return m_pAnim->NumKeyFrames();
}

Model* AnimNode::GetModel() const
{
    return m_pAnim->GetModel();
}

QZBOOL AnimNode::SetNode(ModelNode* pNode)
{
    m_pNode = pNode;
    if (!ZOLT_ASSERT(NumChildren() == pNode->NumChildren(), "m_Children.GetSize() == pNode->NumChildren()"))
        return QZFALSE;
    QZBOOL bResult = QZTRUE;
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        if (!m_Children[i]->SetNode(pNode->GetChild(i)))
            bResult = QZFALSE;
    }
    return bResult;
}

void AnimNode::Term()
{
    Allocator* pAllocator = m_pAnim ? GetModel()->GetAllocator() : &g_DefaultAllocator;
    m_KeyFrames.Term(pAllocator);
    DeleteAndClearArray(m_Children, pAllocator);
}

QZBOOL AnimNode::RemoveKeyFrame(uint32_t iKeyFrame)
{
    if (!ZOLT_ASSERT(iKeyFrame < NumKeyFrames(), "iKeyFrame < NumKeyFrames()"))
        return QZFALSE;
    m_KeyFrames.Remove(iKeyFrame, GetModel()->GetGrowAllocator());
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        if (!m_Children[i]->RemoveKeyFrame(iKeyFrame))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL AnimNode::CopyKeyFrame(uint32_t iKeyFrame, AnimNode* pDest)
{
    if (!ZOLT_ASSERT(iKeyFrame < NumKeyFrames(), "iKeyFrame < NumKeyFrames()"))
        return QZFALSE;
    if (!ZOLT_ASSERT(pDest->m_KeyFrames.GetSize() == 0, "!pDest->m_KeyFrames"))
        return QZFALSE;
    Allocator* pAllocator = pDest->GetModel()->GetGrowAllocator();
    if (!pDest->m_KeyFrames.SetSize(1, pAllocator))
        return QZFALSE;
    pDest->m_KeyFrames[0] = m_KeyFrames[iKeyFrame];
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        AnimNode* pChild = CreateAnimNode(pDest->GetAnim(), pDest);
        if (!pChild)
            return QZFALSE;
        if (!m_Children[i]->CopyKeyFrame(iKeyFrame, pChild) || !pDest->m_Children.Append(pChild, pAllocator))
        {
            FreeObject(*pAllocator, pChild);
            return QZFALSE;
        }
    }
    return QZTRUE;
}

QZBOOL AnimNode::PasteKeyFrame(AnimNode* pSource, uint32_t iKeyFrame)
{
    if (pSource->m_KeyFrames.GetSize() == 0 || NumChildren() != pSource->NumChildren())
        return QZFALSE;
    if (!m_KeyFrames.Insert(iKeyFrame, pSource->m_KeyFrames[0], GetModel()->GetGrowAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        if (!m_Children[i]->PasteKeyFrame(pSource->GetChild(i), iKeyFrame))
            return QZFALSE;
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
