#include "engine/model/src/modelanim.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

ZOLT_BEGIN_NAMESPACE

ModelAnim::ModelAnim(Model* pModel)
    : m_AnimNodes(nullptr), m_AnimParamA(-1), m_AnimParamB(200), m_pModel(pModel), m_Name(g_EmptyString),
      m_DefaultRootNode(this, nullptr), m_pRootNode(&m_DefaultRootNode)
{
    m_DefaultRootNode.SetAnim(this);
}

ModelAnim::~ModelAnim()
{
    Term();
}

QZBOOL ModelAnim::SetModel(Model* pModel)
{
    m_Name = pModel->AddString(m_Name);
    for (uint32_t i = 0; i < NumKeyFrames(); ++i)
        m_KeyFrames[i].m_pString = pModel->AddString(m_KeyFrames[i].m_pString);
    m_pModel = pModel;
    return m_pRootNode->SetNode(pModel->GetRootNode());
}

ModelAnim* ModelAnim::CreateAnim(Model* pModel)
{
    return AllocNew<ModelAnim>(*pModel->GetGrowAllocator(), pModel);
}

void ModelAnim::SetName(const char* pName)
{
    m_Name = m_pModel->AddString(pName);
}

uint32_t ModelAnim::GetAnimTime() const
{
    const uint32_t nKeys = NumKeyFrames();
    return nKeys ? m_KeyFrames.Get(nKeys - 1).m_Time : 0;
}

void ModelAnim::SetRootNode(AnimNode* pRoot)
{
    if (m_pRootNode != &m_DefaultRootNode && m_pRootNode != pRoot)
        FreeObject(*m_pModel->GetAllocator(), m_pRootNode);
    m_pRootNode = pRoot;
}

// Enters the subtree in pre-order from *piNode on.
static QZBOOL ListTracks(AnimNode* pTrack, AnimNode** ppList, uint32_t nNodes, uint32_t* piNode)
{
    if (!ZOLT_ASSERT(ppList && *piNode < nNodes, "m_AnimNodes && iNode < m_pModel->NumNodes()"))
        return QZFALSE;
    ppList[*piNode] = pTrack;
    ++*piNode;
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
    {
        if (!ListTracks(pTrack->GetChild(i), ppList, nNodes, piNode))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL ModelAnim::PrecalcNodeLists(QZBOOL bForce)
{
    if (!bForce && m_AnimNodes)
        return QZTRUE;
    Allocator* pAllocator = m_pModel->GetGrowAllocator();
    const uint32_t nNodes = m_pModel->NumNodes();
    pAllocator->Free(m_AnimNodes);
    constexpr uint32_t pointerSize = sizeof(void*);
    m_AnimNodes = static_cast<AnimNode**>(pAllocator->Alloc(nNodes * pointerSize));
    if (!m_AnimNodes)
        return QZFALSE;
    for (uint32_t i = 0; i < nNodes; ++i)
        m_AnimNodes[i] = nullptr;
    uint32_t iNode = 0;
    return ListTracks(m_pRootNode, m_AnimNodes, nNodes, &iNode);
}

void ModelAnim::Term()
{
    Allocator* pAllocator = m_pModel->GetAllocator();
    pAllocator->Free(m_AnimNodes);
    m_AnimNodes = nullptr;
    m_KeyFrames.Term(pAllocator);
    m_DefaultRootNode.Term();
    SetRootNode(&m_DefaultRootNode);
}

QZBOOL ModelAnim::RemoveKeyFrame(uint32_t iKeyFrame)
{
    // Two keys always remain.
    if (NumKeyFrames() < 3)
        return QZFALSE;
    if (!ZOLT_ASSERT(iKeyFrame < NumKeyFrames(), "iKeyFrame < NumKeyFrames()"))
        return QZFALSE;
    if (iKeyFrame == 0)
    {
        const uint32_t start = m_KeyFrames[1].m_Time;
        for (uint32_t i = 1; i < NumKeyFrames(); ++i)
            m_KeyFrames[i].m_Time -= start;
    }
    if (!m_pRootNode->RemoveKeyFrame(iKeyFrame))
        return QZFALSE;
    m_KeyFrames.Remove(iKeyFrame, m_pModel->GetGrowAllocator());
    return QZTRUE;
}

ModelAnim* ModelAnim::CopyKeyFrame(uint32_t iKeyFrame)
{
    if (!ZOLT_ASSERT(iKeyFrame < NumKeyFrames(), "iKeyFrame < NumKeyFrames()"))
        return nullptr;
    Allocator* pAllocator = m_pModel->GetGrowAllocator();
    ModelAnim* pCopy = CreateAnim(m_pModel);
    if (!pCopy)
        return nullptr;
    AnimNode* pRoot = nullptr;
    if (pCopy->m_KeyFrames.Append(m_KeyFrames[iKeyFrame], pAllocator))
        pRoot = m_pRootNode->CreateAnimNode(pCopy, nullptr);
    if (pRoot)
    {
        pCopy->SetRootNode(pRoot);
        if (m_pRootNode->CopyKeyFrame(iKeyFrame, pRoot))
            return pCopy;
    }
    FreeObject(*pAllocator, pCopy);
    return nullptr;
}

ModelAnim* ModelAnim::CutKeyFrame(uint32_t iKeyFrame)
{
    ModelAnim* pCopy = CopyKeyFrame(iKeyFrame);
    if (pCopy && !RemoveKeyFrame(iKeyFrame))
    {
        FreeObject(*m_pModel->GetGrowAllocator(), pCopy);
        return nullptr;
    }
    return pCopy;
}

QZBOOL ModelAnim::PasteKeyFrame(ModelAnim* pSource, uint32_t iKeyFrame)
{
    if (!pSource || pSource->NumKeyFrames() == 0)
        return QZFALSE;
    if (!m_pRootNode->PasteKeyFrame(pSource->GetRootNode(), iKeyFrame))
        return QZFALSE;
    AnimKeyFrame key = pSource->m_KeyFrames[0];
    key.m_pString = m_pModel->AddString(key.m_pString);
    return m_KeyFrames.Insert(iKeyFrame, key, m_pModel->GetGrowAllocator());
}

ZOLT_END_NAMESPACE
