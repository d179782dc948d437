// Which node moves which vertices: from the host's envelopes to the weight lists of the model.

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/ctrlvertexlookup.h"
#include "tools/model/kelpexport/hostcount.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"

// A share has to be above this; one of exactly 5 % isn't.
static constexpr float LEAST_SHARE = 0.05f;
// What is above this is no share, and could overflow with an offset.
static constexpr double GREATEST_SHARE = 1e6;
// The count of a vertex has 16 bits.
static constexpr uint32_t MAX_VERT_WEIGHTS = 65535;

QZBOOL ConvModel_Soft::ReadVertexWeights()
{
    if (!Precalc(QZTRUE))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    // A mesh whose envelopes couldn't be read counts as not enveloped.
    ReadNodeEnvelopes(GetSoftRoot());
    return WeightUnenvelopedPieces();
}

// Takes over the vertices of pNode's mesh that pSkel moves, of which there are nVertices. Fails only without memory.
QZBOOL ConvModel_Soft::ReadEnvelope(SoftNode* pNode, SoftNode* pSkel, int nVertices, CtrlVertexLookup& lookup)
{
    const int nRoom = nVertices;
    DynArray<SAA_SubHandle, DefaultCache> verts;
    DynArray<float, DefaultCache> weights;
    if (!CHECK_BOOL(SetHostSize(verts, nVertices), "verts.SetSize(nVertices)") ||
        !CHECK_BOOL(SetHostSize(weights, nVertices), "weights.SetSize(nVertices)") ||
        CHECK_STATUS(
            SAA_envelopeGetCtrlVertices(m_pScene, &pSkel->m_Elem, 1, &pNode->m_Elem, &nVertices, verts.GetArray()),
            "SAA_envelopeGetCtrlVertices(m_pScene, &pSkel->m_Elem, 1, &pNode->m_Elem, &nVertices, "
            "verts.GetArray())") != 0)
        return QZTRUE;
    if (nVertices < 0 || nVertices > nRoom)
        return QZTRUE;
    ZOLT_ASSERT(pNode->m_AnimNodes.GetSize() == pSkel->m_AnimNodes.GetSize(),
                "pNode->m_AnimNodes.GetSize() == pSkel->m_AnimNodes.GetSize()");
    if (SAA_ctrlVertexGetEnvelopeWeights(m_pScene, &pSkel->m_Elem, &pNode->m_Elem, nVertices, verts.GetArray(),
                                         weights.GetArray()) != 0)
        return QZTRUE;

    Envelope* pEnvelope = new Envelope(static_cast<uint32_t>(pNode->m_PieceIndex));
    // Room for all, so that the many appends don't each take new memory.
    if (!pEnvelope || !pEnvelope->m_Weights.SetSizeUnset(static_cast<uint32_t>(nVertices), &g_DefaultAllocator))
    {
        delete pEnvelope;
        ShowOutOfMemory();
        return QZFALSE;
    }
    uint32_t nKept = 0;
    for (uint32_t i = 0; i < static_cast<uint32_t>(nVertices); ++i)
    {
        uint32_t iVert = 0;
        if (!lookup.Find(verts[i], &iVert))
        {
            ShowMessage(MESSAGE_OK, "Unable to match envelope vertex on node %s.", pNode->GetName());
            continue;
        }
        const double share = weights[i] / 100.0;
        if (!(share > LEAST_SHARE) || share > GREATEST_SHARE)
            continue;
        EnvelopeWeight& weight = pEnvelope->m_Weights[nKept++];
        weight = EnvelopeWeight();
        weight.m_iVert = iVert;
        weight.m_Weight = static_cast<float>(share);
    }
    pEnvelope->m_Weights.NiceSetSize(nKept);
    if (nKept == 0)
    {
        delete pEnvelope;
        return QZTRUE;
    }
    // Room that grows with the list: a joint may move thousands of pieces.
    pSkel->m_Envelopes.SetCacheSize(pSkel->m_Envelopes.GetSize() / 2);
    if (!pSkel->m_Envelopes.Append(pEnvelope))
    {
        delete pEnvelope;
        ShowOutOfMemory();
        return QZFALSE;
    }
    LogWrite("Envelope %s bound to %s.\n", pNode->GetName(), pSkel->GetName());
    return QZTRUE;
}

QZBOOL ConvModel_Soft::Skeleton::Collect(SoftNode* pRoot)
{
    if (m_Handles.GetSize() != 0)
        return QZTRUE;
    if (!pRoot->CollectNodes(m_Nodes) || !m_Handles.SetSize(m_Nodes.GetSize()))
        return QZFALSE;
    for (uint32_t i = 0; i < m_Nodes.GetSize(); ++i)
        m_Handles[i] = m_Nodes[i]->m_Elem;
    return QZTRUE;
}

QZBOOL ConvModel_Soft::ReadNodeEnvelopes(SoftNode* pNode)
{
    Skeleton skeleton;
    return ReadEnvelopesBelow(pNode, skeleton);
}

// The first of the handles that moves vertices of the mesh, and how many. A function of its own, which keeps all in
// registers: the host is asked for each pair of a mesh and a node.
[[gnu::noinline]] static const SAA_Elem* FindMover(const SAA_Scene* pScene, const SAA_Elem* pMesh,
                                                   const SAA_Elem* pHandle, const SAA_Elem* pEnd, int* pnVertices)
{
    while (pHandle != pEnd &&
           (SAA_envelopeGetNbCtrlVertices(pScene, pHandle, 1, pMesh, pnVertices) != 0 || *pnVertices <= 0))
        ++pHandle;
    return pHandle;
}

QZBOOL ConvModel_Soft::ReadEnvelopesBelow(SoftNode* pNode, Skeleton& skeleton)
{
    if (pNode->m_PieceIndex >= 0 && pNode->m_EnvelopeType == SAA_ENVELOPE_SKELETON)
    {
        if (!skeleton.Collect(GetSoftRoot()))
        {
            ShowOutOfMemory();
            return QZFALSE;
        }
        CtrlVertexLookup lookup;
        lookup.Build(*pNode);
        const SAA_Elem* const pHandles = skeleton.m_Handles.GetArray();
        const SAA_Elem* const pEnd = pHandles + skeleton.m_Handles.GetSize();
        int nVertices = 0;
        for (const SAA_Elem* pHandle = FindMover(m_pScene, &pNode->m_Elem, pHandles, pEnd, &nVertices); pHandle != pEnd;
             pHandle = FindMover(m_pScene, &pNode->m_Elem, pHandle + 1, pEnd, &nVertices))
        {
            if (!ReadEnvelope(pNode, skeleton.m_Nodes[static_cast<uint32_t>(pHandle - pHandles)], nVertices, lookup))
                return QZFALSE;
        }
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        if (!ReadEnvelopesBelow(pNode->GetSoftChild(i), skeleton))
            return QZFALSE;
    }
    return QZTRUE;
}

bool ConvModel_Soft::IsPieceEnveloped(uint32_t iPiece) const
{
    for (uint32_t iNode = 0; iNode < m_FlatNodeList.GetSize(); ++iNode)
    {
        const SoftNode* pNode = GetSoftNode(iNode);
        for (uint32_t i = 0; i < pNode->m_Envelopes.GetSize(); ++i)
        {
            if (pNode->m_Envelopes[i]->m_iPiece == iPiece)
                return true;
        }
    }
    return false;
}

// Binds all vertices of the piece to the node.
static QZBOOL BindPiece(SoftNode* pNode, uint32_t iPiece, const ModelPiece* pPiece)
{
    Envelope* pEnv = new Envelope(iPiece);
    if (!pEnv)
        return QZFALSE;
    if (!CHECK_BOOL(pNode->m_Envelopes.Append(pEnv), "pNode->m_Envelopes.Append(pEnv)"))
    {
        delete pEnv;
        return QZFALSE;
    }
    if (!CHECK_BOOL(pEnv->m_Weights.SetSize(pPiece->m_Verts.GetSize()),
                    "pEnv->m_Weights.SetSize(pPiece->m_Verts.GetSize())"))
    {
        pNode->m_Envelopes.Remove(pNode->m_Envelopes.GetSize() - 1);
        delete pEnv;
        return QZFALSE;
    }
    for (uint32_t k = 0; k < pEnv->m_Weights.GetSize(); ++k)
    {
        pEnv->m_Weights[k].m_iVert = k;
        pEnv->m_Weights[k].m_Weight = 1.0f;
    }
    return QZTRUE;
}

QZBOOL ConvModel_Soft::WeightUnenvelopedPieces()
{
    // What IsPieceEnveloped and FindPieceNode say of each piece, in one walk; without memory they are asked each time.
    struct PieceUse
    {
        SoftNode* pNode = nullptr;
        bool isEnveloped = false;
    };
    DynArray<PieceUse, DefaultCache> uses;
    const QZBOOL bHasTable = uses.SetSizeInit(NumPieces(), PieceUse());
    for (uint32_t iNode = 0; bHasTable && iNode < m_FlatNodeList.GetSize(); ++iNode)
    {
        SoftNode* pNode = GetSoftNode(iNode);
        const uint32_t iOwnPiece = static_cast<uint32_t>(pNode->m_PieceIndex);
        if (iOwnPiece < NumPieces() && !uses[iOwnPiece].pNode)
            uses[iOwnPiece].pNode = pNode;
        for (uint32_t i = 0; i < pNode->m_Envelopes.GetSize(); ++i)
            uses[pNode->m_Envelopes[i]->m_iPiece].isEnveloped = true;
    }
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        if (bHasTable ? uses[i].isEnveloped : IsPieceEnveloped(i))
            continue;
        const ModelPiece* pPiece = GetPiece(i);
        SoftNode* pNode = bHasTable ? uses[i].pNode : static_cast<SoftNode*>(FindPieceNode(i));
        if (!pNode)
        {
            LogWrite("WARNING: Piece %s not enveloped and has no node.  It won't have animation.\n", pPiece->GetName());
            continue;
        }
        LogWrite("Piece %s not enveloped, weighting 100%% to its node.\n", pPiece->GetName());
        if (!BindPiece(pNode, i, pPiece))
            return QZFALSE;
    }
    return QZTRUE;
}

// Calls `use` with each node and each of its envelopes of pieces that are there, by ascending node index.
template <class Use> static void ForEachEnvelope(const Model* pModel, Use use)
{
    for (uint32_t iNode = 0; iNode < pModel->m_FlatNodeList.GetSize(); ++iNode)
    {
        const SoftNode* pNode = static_cast<const SoftNode*>(pModel->GetNode(iNode));
        for (uint32_t i = 0; i < pNode->m_Envelopes.GetSize(); ++i)
        {
            PrefetchEnvelope(pNode->m_Envelopes, i);
            const Envelope* pEnvelope = pNode->m_Envelopes[i];
            if (pEnvelope->m_iPiece < pModel->NumPieces())
                use(pNode, pEnvelope);
        }
    }
}

void ConvModel_Soft::DeleteEnvelopes()
{
    for (uint32_t i = 0; i < m_FlatNodeList.GetSize(); ++i)
        GetSoftNode(i)->DeleteEnvelopes();
}

// Adds one for each weight of an envelope to the count of its vertex. Their number.
static uint32_t CountWeights(const Envelope* pEnvelope, uint32_t nVerts, uint32_t* pCounts)
{
    uint32_t nWeights = 0;
    const EnvelopeWeight* pEnd = pEnvelope->m_Weights.GetArray() + pEnvelope->m_Weights.GetSize();
    for (const EnvelopeWeight* pWeight = pEnvelope->m_Weights.GetArray(); pWeight != pEnd; ++pWeight)
    {
        if (pWeight->m_iVert >= nVerts)
            continue;
        ++pCounts[pWeight->m_iVert];
        ++nWeights;
    }
    return nWeights;
}

// Writes the weights of an envelope, each to the place of its vertex, which goes one up.
static void WriteWeights(const Envelope* pEnvelope, uint32_t iNode, uint32_t nVerts, uint32_t* pPlaces,
                         ModelVertWeight* pEntries)
{
    const EnvelopeWeight* pEnd = pEnvelope->m_Weights.GetArray() + pEnvelope->m_Weights.GetSize();
    for (const EnvelopeWeight* pWeight = pEnvelope->m_Weights.GetArray(); pWeight != pEnd; ++pWeight)
    {
        if (pWeight->m_iVert >= nVerts)
            continue;
        const Vector3 shared = pWeight->m_vOffset * pWeight->m_Weight;
        ModelVertWeight& entry = pEntries[pPlaces[pWeight->m_iVert]++];
        entry.m_Vec[0] = shared.x;
        entry.m_Vec[1] = shared.y;
        entry.m_Vec[2] = shared.z;
        entry.m_Vec[3] = pWeight->m_Weight;
        entry.m_iNode = iNode;
    }
}

QZBOOL ConvModel_Soft::ConvertVertexWeights()
{
    DynArray<uint32_t, DefaultCache> firstVerts;
    if (!firstVerts.SetSize(NumPieces()))
        return QZFALSE;
    uint32_t nVerts = 0;
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        firstVerts[i] = nVerts;
        nVerts += GetPiece(i)->NumVerts();
    }
    // For each vertex the number of its weights, then the place of its next one.
    DynArray<uint32_t, DefaultCache> places;
    if (!places.SetSizeInit(nVerts, 0))
        return QZFALSE;
    uint64_t nTotal = 0;
    ForEachEnvelope(this,
                    [&](const SoftNode*, const Envelope* pEnvelope)
                    {
                        const uint32_t iPiece = pEnvelope->m_iPiece;
                        nTotal += CountWeights(pEnvelope, GetPiece(iPiece)->NumVerts(),
                                               places.GetArray() + firstVerts[iPiece]);
                    });
    if (nTotal > UINT32_MAX || !m_VertexWeights.SetSizeUnset(static_cast<uint32_t>(nTotal), m_pAllocator))
        return QZFALSE;

    uint32_t place = 0;
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        for (uint32_t iVert = 0; iVert < GetPiece(i)->NumVerts(); ++iVert)
        {
            uint32_t& nWeights = places[firstVerts[i] + iVert];
            if (nWeights > MAX_VERT_WEIGHTS)
                return QZFALSE;
            ModelVert* pVert = GetPiece(i)->GetVert(iVert);
            pVert->m_Weights = nTotal != 0 ? m_VertexWeights.GetArray() + place : nullptr;
            pVert->m_nWeights = static_cast<uint16_t>(nWeights);
            place += nWeights;
            nWeights = place - nWeights;
        }
    }
    ForEachEnvelope(this,
                    [&](const SoftNode* pNode, const Envelope* pEnvelope)
                    {
                        const uint32_t iPiece = pEnvelope->m_iPiece;
                        WriteWeights(pEnvelope, pNode->GetNodeIndex(), GetPiece(iPiece)->NumVerts(),
                                     places.GetArray() + firstVerts[iPiece], m_VertexWeights.GetArray());
                    });
    return QZTRUE;
}
