#include "engine/model/src/modelnode.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/emptystring.h"

ZOLT_BEGIN_NAMESPACE

ModelNode::ModelNode() : ModelNode(nullptr) {}

ModelNode::ModelNode(Model* pModel)
    : m_vOffsetFromParent(0.0f, 0.0f, 0.0f), m_NodeIndex(0), m_Flags(0), m_iRemapIndex(0), m_iParent(MNODE_NO_PARENT),
      m_pModel(pModel), m_Name(g_EmptyString)
{
}

ModelNode::~ModelNode()
{
    Clear();
}

void ModelNode::OnVertexRemoved(ModelPieceLOD* /*pLOD*/, uint32_t /*iVert*/, uint32_t /*iReplacement*/) {}

ModelNode* ModelNode::CreateNode(Model* pModel)
{
    return AllocNew<ModelNode>(*pModel->GetGrowAllocator(), pModel);
}

void ModelNode::SetModel(Model* pModel)
{
    m_pModel = pModel;
    m_Name = pModel->AddString(m_Name);
    for (uint32_t i = 0; i < NumChildren(); ++i)
        m_Children[i]->SetModel(pModel);
}

void ModelNode::SetName(const char* pName)
{
    m_Name = m_pModel->AddString(pName);
}

void ModelNode::SetGlobalTransform(const Matrix4& m)
{
    const Matrix4 copy = m;
    m_mGlobal = copy;
    copy.Inverse(m_mGlobalInverse);
}

void ModelNode::Clear()
{
    Allocator* pAllocator = m_pModel ? m_pModel->GetAllocator() : &g_DefaultAllocator;
    DeleteAndClearArray(m_Children, pAllocator);
    m_Name = g_EmptyString;
    m_NodeIndex = 0;
    m_Flags = 0;
    m_vOffsetFromParent.Set(0.0f, 0.0f, 0.0f);
    m_mGlobal.Identity();
    m_mGlobalInverse.Identity();
}

uint32_t ModelNode::CountNodes() const
{
    uint32_t nNodes = 1;
    for (uint32_t i = 0; i < NumChildren(); ++i)
        nNodes += GetChild(i)->CountNodes();
    return nNodes;
}

QZBOOL ModelNode::AssignIndices(uint32_t* pIndex)
{
    if (*pIndex >= m_pModel->m_FlatNodeList.GetSize())
        return QZFALSE;
    m_NodeIndex = static_cast<uint16_t>(*pIndex);
    m_pModel->m_FlatNodeList[*pIndex] = this;
    ++*pIndex;
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        if (!m_Children[i]->AssignIndices(pIndex))
            return QZFALSE;
    }
    return QZTRUE;
}

void ModelNode::SetParentIndices(uint32_t iParent)
{
    m_iParent = iParent;
    for (uint32_t i = 0; i < NumChildren(); ++i)
        m_Children[i]->SetParentIndices(m_NodeIndex);
}

QZBOOL CompareNodeTrees(ModelNode* pA, ModelNode* pB, ModelNode** pFail)
{
    if (pA->NumChildren() != pB->NumChildren())
    {
        if (pFail)
            *pFail = pA;
        return QZFALSE;
    }
    for (uint32_t i = 0; i < pA->NumChildren(); ++i)
    {
        if (!CompareNodeTrees(pA->GetChild(i), pB->GetChild(i), pFail))
            return QZFALSE;
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
