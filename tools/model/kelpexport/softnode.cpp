#include "tools/model/kelpexport/softnode.h"

#include "engine/model/src/model.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <typeinfo>
#include <utility>

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
    m_pNumberedVertices.reset();
}

void SoftNode::ShortenCtrlVertices()
{
    auto pNumbered = std::unique_ptr<NumberedHandles>(new (std::nothrow) NumberedHandles);
    if (!pNumbered || !pNumbered->Build(m_CtrlVertices))
        return;
    m_CtrlVertices.Term();
    m_pNumberedVertices = std::move(pNumbered);
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

// The index of the piece whose LOD 0 it is, or behind all. The search goes on where the last one ended: as a rule the
// pieces come in turn.
static uint32_t FindPieceOf(const Model* pModel, const ModelPieceLOD* pLOD, uint32_t iFirst)
{
    const uint32_t nPieces = pModel->NumPieces();
    for (uint32_t i = 0; i < nPieces; ++i)
    {
        const uint32_t iPiece = iFirst + i < nPieces ? iFirst + i : iFirst + i - nPieces;
        if (pModel->GetPiece(iPiece) == pLOD)
            return iPiece;
    }
    return nPieces;
}

// Envelopes are made mesh by mesh, in the order of the pieces. Where that holds, those of a mesh are found without a
// look at all others: a joint may move thousands.
uint32_t SoftNode::FindEnvelopes(const ModelPieceLOD* pLOD, uint32_t* pEnd)
{
    const uint32_t nEnvelopes = m_Envelopes.GetSize();
    Envelope* const* ppFirst = m_Envelopes.GetArray();
    Envelope* const* ppEnd = ppFirst + nEnvelopes;
    *pEnd = nEnvelopes;
    if (m_nOrdered > nEnvelopes)
        m_nOrdered = 0;
    while (m_nOrdered < nEnvelopes &&
           (m_nOrdered == 0 || ppFirst[m_nOrdered - 1]->m_iPiece <= ppFirst[m_nOrdered]->m_iPiece))
        ++m_nOrdered;
    if (nEnvelopes == 0 || m_nOrdered < nEnvelopes)
        return 0;
    const uint32_t iPiece = FindPieceOf(m_pModel, pLOD, m_iLastPiece);
    if (iPiece < m_pModel->NumPieces())
        m_iLastPiece = iPiece;
    const auto* ppFound =
        std::lower_bound(ppFirst, ppEnd, iPiece,
                         [](const Envelope* pEnvelope, uint32_t iWanted) { return pEnvelope->m_iPiece < iWanted; });
    const auto* ppBehind = ppFound;
    while (ppBehind != ppEnd && (*ppBehind)->m_iPiece == iPiece)
        ++ppBehind;
    *pEnd = static_cast<uint32_t>(ppBehind - ppFirst);
    return static_cast<uint32_t>(ppFound - ppFirst);
}

void SoftNode::OnVerticesRemapped(ModelPieceLOD* pLOD, const uint32_t* pNewIndices)
{
    uint32_t iEnd = 0;
    for (uint32_t i = FindEnvelopes(pLOD, &iEnd); i < iEnd; ++i)
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
    if (m_pNumberedVertices)
        return m_pNumberedVertices->Find(handle, pIndex);
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
