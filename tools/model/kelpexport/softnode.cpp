#include "tools/model/kelpexport/softnode.h"

#include "engine/model/src/model.h"

#include <cstring>
#include <typeinfo>

static bool RemapVertices(ConvNode* pNode, ModelPieceLOD* pLOD, const uint32_t* pNewIndices)
{
    // A class of its own may have its own OnVertexRemoved.
    if (typeid(*pNode) != typeid(SoftNode))
        return false;
    static_cast<SoftNode*>(pNode)->OnVerticesRemapped(pLOD, pNewIndices);
    return true;
}

SoftNode::SoftNode(Model* pModel) : ConvNode(pModel)
{
    m_pOnVerticesRemapped = RemapVertices;
}

SoftNode::~SoftNode()
{
    DeleteEnvelopes();
}

void SoftNode::DeleteEnvelopes()
{
    for (uint32_t i = 0; i < m_Envelopes.GetSize(); ++i)
        delete m_Envelopes[i];
    m_Envelopes.Term();
    m_CtrlVertices.Term();
}

static bool IsOfMesh(const Model* pModel, const Envelope* pEnvelope, const ModelPieceLOD* pLOD)
{
    return pEnvelope->m_iPiece < pModel->NumPieces() && pModel->GetPiece(pEnvelope->m_iPiece) == pLOD;
}

void SoftNode::OnVertexRemoved(ModelPieceLOD* pLOD, uint32_t iVert, uint32_t iReplacement)
{
    for (uint32_t i = 0; i < m_Envelopes.GetSize(); ++i)
    {
        Envelope* pEnvelope = m_Envelopes[i];
        if (!IsOfMesh(m_pModel, pEnvelope, pLOD))
            continue;
        EnvelopeWeight* pWeights = pEnvelope->m_Weights.GetArray();
        for (uint32_t iWeight = 0; iWeight < pEnvelope->m_Weights.GetSize(); ++iWeight)
        {
            uint32_t& index = pWeights[iWeight].m_iVert;
            if (index == iVert)
                index = iReplacement;
            // On the new value: a replacement behind the vertex moves up with the rest.
            if (index > iVert)
                --index;
        }
    }
}

void SoftNode::OnVerticesRemapped(ModelPieceLOD* pLOD, const uint32_t* pNewIndices)
{
    for (uint32_t i = 0; i < m_Envelopes.GetSize(); ++i)
    {
        Envelope* pEnvelope = m_Envelopes[i];
        if (!IsOfMesh(m_pModel, pEnvelope, pLOD))
            continue;
        EnvelopeWeight* pWeights = pEnvelope->m_Weights.GetArray();
        uint32_t nKept = 0;
        for (uint32_t iWeight = 0; iWeight < pEnvelope->m_Weights.GetSize(); ++iWeight)
        {
            const uint32_t iNewVert = pNewIndices[pWeights[iWeight].m_iVert];
            if (iNewVert == NO_VERTEX)
                continue;
            pWeights[nKept] = pWeights[iWeight];
            pWeights[nKept].m_iVert = iNewVert;
            ++nKept;
        }
        pEnvelope->m_Weights.NiceSetSize(nKept);
    }
}

bool SoftNode::FindCtrlVertex(const SAA_SubHandle& handle, uint32_t* pIndex) const
{
    const int index = FindBlock(&handle, m_CtrlVertices.GetArray(), m_CtrlVertices.GetSize(), sizeof(SAA_SubHandle));
    if (index < 0)
        return false;
    *pIndex = static_cast<uint32_t>(index);
    return true;
}

QZBOOL SoftNode::CollectNodes(DynArray<SoftNode*, DefaultCache>& list)
{
    if (!list.Append(this))
        return QZFALSE;
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        if (!GetSoftChild(i)->CollectNodes(list))
            return QZFALSE;
    }
    return QZTRUE;
}
