// Which node moves which vertices: from the host's envelopes to the weight lists of the model.

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/ctrlvertexlookup.h"
#include "tools/model/kelpexport/hostcount.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"
#include "tools/model/kelpexport/pointtransform.h"
#include "tools/model/kelpexport/skeletoncandidates.h"

// A share has to be above this; one of exactly 5 % isn't.
static constexpr float LEAST_SHARE = 0.05f;
// What is above this is no share, and could overflow with an offset.
static constexpr double GREATEST_SHARE = 1e6;
// The count of a vertex has 16 bits.
static constexpr uint32_t MAX_VERT_WEIGHTS = 65535;

// What is used from one mesh to the next.
struct ConvModel_Soft::EnvelopeReading
{
    SkeletonCandidates candidates;
    CtrlVertexLookup lookup; // of the mesh
    DynArray<SAA_SubHandle, DefaultCache> verts;
    DynArray<float, DefaultCache> weights;
};

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

// Gives the node an envelope. The lists get room that grows with them: a joint may move thousands of pieces.
QZBOOL ConvModel_Soft::AddEnvelope(SoftNode* pNode, Envelope* pEnvelope)
{
    constexpr uint32_t LEAST_ROOM = 256;
    m_EnvelopesAsMade.SetCacheSize(m_EnvelopesAsMade.GetSize() / 2 + LEAST_ROOM);
    if (!m_EnvelopesAsMade.Append({pNode, pEnvelope}))
        return QZFALSE;
    pNode->m_Envelopes.SetCacheSize(pNode->m_Envelopes.GetSize() / 2);
    if (pNode->m_Envelopes.Append(pEnvelope))
        return QZTRUE;
    m_EnvelopesAsMade.NiceSetSize(m_EnvelopesAsMade.GetSize() - 1);
    return QZFALSE;
}

// Whether m_EnvelopesAsMade has the envelopes of the nodes and no others. Those of a conversion all go through
// AddEnvelope, and a node that goes takes its own along: the list then has more than the nodes, and isn't used.
bool ConvModel_Soft::KnowsAllEnvelopes() const
{
    uint64_t nEnvelopes = 0;
    for (uint32_t i = 0; i < m_FlatNodeList.GetSize(); ++i)
        nEnvelopes += GetSoftNode(i)->m_Envelopes.GetSize();
    return nEnvelopes == m_EnvelopesAsMade.GetSize();
}

// Calls `use` with each envelope of a piece that is there, and its node: by ascending node index or as they were made.
template <class Use> void ConvModel_Soft::ForEachEnvelope(bool bAsMade, Use use) const
{
    if (bAsMade)
    {
        for (uint32_t i = 0; i < m_EnvelopesAsMade.GetSize(); ++i)
        {
            const PlacedEnvelope& placed = m_EnvelopesAsMade[i];
            if (placed.pEnvelope->m_iPiece < NumPieces())
                use(placed.pNode, placed.pEnvelope);
        }
        return;
    }
    for (uint32_t iNode = 0; iNode < m_FlatNodeList.GetSize(); ++iNode)
    {
        const SoftNode* pNode = GetSoftNode(iNode);
        for (uint32_t i = 0; i < pNode->m_Envelopes.GetSize(); ++i)
        {
            if (pNode->m_Envelopes[i]->m_iPiece < NumPieces())
                use(pNode, pNode->m_Envelopes[i]);
        }
    }
}

// Takes over the vertices of pNode's mesh that pSkel moves, of which there are nVertices. Fails only without memory.
QZBOOL ConvModel_Soft::ReadEnvelope(SoftNode* pNode, SoftNode* pSkel, int nVertices, EnvelopeReading& reading)
{
    const int nRoom = nVertices;
    DynArray<SAA_SubHandle, DefaultCache>& verts = reading.verts;
    DynArray<float, DefaultCache>& weights = reading.weights;
    if (!CHECK_BOOL(SetHostSizeAtLeast(verts, nVertices), "verts.SetSize(nVertices)") ||
        !CHECK_BOOL(SetHostSizeAtLeast(weights, nVertices), "weights.SetSize(nVertices)") ||
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
        if (!reading.lookup.Find(verts[i], &iVert))
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
    if (!AddEnvelope(pSkel, pEnvelope))
    {
        delete pEnvelope;
        ShowOutOfMemory();
        return QZFALSE;
    }
    LogWrite("Envelope %s bound to %s.\n", pNode->GetName(), pSkel->GetName());
    return QZTRUE;
}

QZBOOL ConvModel_Soft::ReadNodeEnvelopes(SoftNode* pNode)
{
    EnvelopeReading reading;
    return ReadEnvelopesBelow(pNode, reading);
}

QZBOOL ConvModel_Soft::ReadEnvelopesBelow(SoftNode* pNode, EnvelopeReading& reading)
{
    if (pNode->m_PieceIndex >= 0 && pNode->m_EnvelopeType == SAA_ENVELOPE_SKELETON)
    {
        if (!reading.candidates.Collect(GetSoftRoot()))
        {
            ShowOutOfMemory();
            return QZFALSE;
        }
        reading.lookup.Build(*pNode);
        const DynArray<SoftNode*, DefaultCache>* pSkeleton = reading.candidates.Find(m_pScene, &pNode->m_Elem);
        if (!pSkeleton)
        {
            ShowOutOfMemory();
            return QZFALSE;
        }
        for (uint32_t i = 0; i < pSkeleton->GetSize(); ++i)
        {
            SoftNode* const pSkel = pSkeleton->Get(i);
            int nVertices = 0;
            if (SAA_envelopeGetNbCtrlVertices(m_pScene, &pSkel->m_Elem, 1, &pNode->m_Elem, &nVertices) != 0 ||
                nVertices <= 0)
                continue;
            if (!ReadEnvelope(pNode, pSkel, nVertices, reading))
                return QZFALSE;
        }
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        if (!ReadEnvelopesBelow(pNode->GetSoftChild(i), reading))
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
QZBOOL ConvModel_Soft::BindPiece(SoftNode* pNode, uint32_t iPiece)
{
    const ModelPiece* pPiece = GetPiece(iPiece);
    Envelope* pEnv = new Envelope(iPiece);
    if (!pEnv)
        return QZFALSE;
    if (!CHECK_BOOL(AddEnvelope(pNode, pEnv), "pNode->m_Envelopes.Append(pEnv)"))
    {
        delete pEnv;
        return QZFALSE;
    }
    if (!CHECK_BOOL(pEnv->m_Weights.SetSize(pPiece->m_Verts.GetSize()),
                    "pEnv->m_Weights.SetSize(pPiece->m_Verts.GetSize())"))
    {
        pNode->m_Envelopes.Remove(pNode->m_Envelopes.GetSize() - 1);
        m_EnvelopesAsMade.NiceSetSize(m_EnvelopesAsMade.GetSize() - 1);
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
    }
    if (bHasTable)
    {
        ForEachEnvelope(KnowsAllEnvelopes(), [&](const SoftNode*, const Envelope* pEnvelope)
                        { uses[pEnvelope->m_iPiece].isEnveloped = true; });
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
        if (!BindPiece(pNode, i))
            return QZFALSE;
    }
    return QZTRUE;
}

void ConvModel_Soft::SetWeightOffsets()
{
    ForEachEnvelope(KnowsAllEnvelopes(),
                    [&](const SoftNode* pNode, Envelope* pEnvelope)
                    {
                        const PointTransform toNode(pNode->m_mGlobalInverse);
                        const ModelVert* pVerts = GetPiece(pEnvelope->m_iPiece)->m_Verts.GetArray();
                        EnvelopeWeight* pWeights = pEnvelope->m_Weights.GetArray();
                        for (uint32_t i = 0; i < pEnvelope->m_Weights.GetSize(); ++i)
                        {
                            pWeights[i].m_vModelPos = pVerts[pWeights[i].m_iVert].m_vPos;
                            pWeights[i].m_vOffset = toNode(pWeights[i].m_vModelPos);
                        }
                    });
}

void ConvModel_Soft::DeleteEnvelopes()
{
    // In the order that they lie in is faster.
    const bool bAsMade = KnowsAllEnvelopes();
    for (uint32_t i = 0; bAsMade && i < m_EnvelopesAsMade.GetSize(); ++i)
        delete m_EnvelopesAsMade[i].pEnvelope;
    m_EnvelopesAsMade.Term();
    for (uint32_t i = 0; i < m_FlatNodeList.GetSize(); ++i)
    {
        if (bAsMade)
            GetSoftNode(i)->m_Envelopes.Term();
        GetSoftNode(i)->DeleteEnvelopes();
    }
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
    // As a rule the envelopes of each piece were made in the order of their nodes, which is that of a vertex's weights.
    DynArray<uint32_t, DefaultCache> lastNodes;
    bool bAsMade = KnowsAllEnvelopes() && lastNodes.SetSizeInit(NumPieces(), 0);
    bool bInOrder = true;
    uint64_t nTotal = 0;
    ForEachEnvelope(bAsMade,
                    [&](const SoftNode* pNode, const Envelope* pEnvelope)
                    {
                        const uint32_t iPiece = pEnvelope->m_iPiece;
                        if (bAsMade)
                        {
                            bInOrder = bInOrder && pNode->GetNodeIndex() >= lastNodes[iPiece];
                            lastNodes[iPiece] = pNode->GetNodeIndex();
                        }
                        nTotal += CountWeights(pEnvelope, GetPiece(iPiece)->NumVerts(),
                                               places.GetArray() + firstVerts[iPiece]);
                    });
    bAsMade = bAsMade && bInOrder;
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
    ForEachEnvelope(bAsMade,
                    [&](const SoftNode* pNode, const Envelope* pEnvelope)
                    {
                        const uint32_t iPiece = pEnvelope->m_iPiece;
                        WriteWeights(pEnvelope, pNode->GetNodeIndex(), GetPiece(iPiece)->NumVerts(),
                                     places.GetArray() + firstVerts[iPiece], m_VertexWeights.GetArray());
                    });
    return QZTRUE;
}
