// From the host's hierarchy of elements to the node tree.

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/hostcount.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"
#include "zoltshared/stdzolt/findnametoken.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

QZBOOL ConvModel_Soft::BuildNodeTree(const DynArray<SAA_Elem, DefaultCache>& elements)
{
    uint32_t iTop = 0;
    for (; iTop < elements.GetSize(); ++iTop)
    {
        int nLevel = -1;
        const int status = CHECK_STATUS(SAA_elementGetHierarchyLevel(m_pScene, &elements[iTop], &nLevel),
                                        "SAA_elementGetHierarchyLevel (m_pScene, &elements[i], &nLevel)");
        if (status != 0)
        {
            ShowMessage(MESSAGE_OK, "SAA_elementGetHeirarchyLevel returned %d.", status);
            return QZFALSE;
        }
        if (nLevel == 0)
            break;
    }
    if (iTop == elements.GetSize())
    {
        ShowMessage(MESSAGE_OK, "Couldn't find top-level node.");
        return QZFALSE;
    }
    // Many names come in.
    BeginStringIndex();
    m_nPiecesRead = NumPieces();
    const QZBOOL bBuilt = BuildNode(&elements[iTop], GetSoftRoot(), 0);
    EndStringIndex();
    m_Pieces.NiceSetSize(m_nPiecesRead, QZTRUE, m_pAllocator);
    return bBuilt;
}

static const char* ModelTypeText(int32_t type)
{
    switch (type)
    {
    case SAA_MNILL:
        return "SAA_MNILL";
    case SAA_MPTCH:
        return "SAA_MPTCH";
    case SAA_MFACE:
        return "SAA_MFACE";
    case SAA_MSMSH:
        return "SAA_MSMSH";
    case SAA_MJNT:
        return "SAA_MJNT";
    case SAA_MSPLN:
        return "SAA_MSPLN";
    case SAA_MMETA:
        return "SAA_MMETA";
    case SAA_MBALL:
        return "SAA_MBALL";
    case SAA_MNCRV:
        return "SAA_MNCRV";
    case SAA_MNSRF:
        return "SAA_MNSRF";
    default:
        return "UNKNOWN";
    }
}

static void LogNode(const SoftNode* pNode, uint32_t nDepth, const ModelPiece* pPiece)
{
    LogSpaces(2 * nDepth);
    LogWrite("- %s, mode: %s, type: %s, piece: %d\n", pNode->GetName(),
             pNode->m_Flags & MNODE_REMOVEABLE ? "MNODE_REMOVEABLE" : "", ModelTypeText(pNode->m_ModelType),
             pNode->m_PieceIndex);
    if (pPiece)
        LogWrite("- Piece: tris: %u, verts: %u\n", pPiece->NumTris(), pPiece->NumVerts());
}

// The model's array has no spare elements, so that until all are read it has some null ones at its end: with one more
// each time, all would be copied for each.
QZBOOL ConvModel_Soft::MakeRoomForPiece()
{
    const uint32_t nBefore = NumPieces();
    if (m_nPiecesRead < nBefore)
        return QZTRUE;
    if (!m_Pieces.NiceSetSize(nBefore + nBefore / 2 + 1, QZTRUE, m_pAllocator))
        return QZFALSE;
    std::fill(m_Pieces.GetArray() + nBefore, m_Pieces.GetArray() + NumPieces(), nullptr);
    return QZTRUE;
}

// A node without a piece is left as it is; otherwise the piece is made and filled.
QZBOOL ConvModel_Soft::ReadPiece(SoftNode* pNode)
{
    if (!m_bReadMeshes || (pNode->m_ModelType != SAA_MSMSH && pNode->m_ModelType != SAA_MFACE))
        return QZTRUE;
    ModelPiece* pPiece = new ModelPiece(this);
    if (!pPiece || !MakeRoomForPiece())
    {
        delete pPiece;
        ShowOutOfMemory();
        return QZFALSE;
    }
    m_Pieces[m_nPiecesRead] = pPiece;
    pNode->m_PieceIndex = static_cast<int32_t>(m_nPiecesRead++);
    pPiece->SetName(pNode->GetName());
    if (const char* pToken = FindNameToken(pPiece->GetName(), "Tex"))
    {
        const char digit[2] = {pToken[strlen("Tex")], 0};
        pPiece->m_iTexture = atoi(digit) >= 1 ? 1 : 0;
    }
    return ReadGeometry(pNode);
}

static void ReadScale(const SAA_Scene* pScene, SoftNode* pNode)
{
    Vector3& scale = pNode->m_Scale;
    SAA_modelGetScaling(pScene, &pNode->m_Elem, 0, &scale.x, &scale.y, &scale.z);
    if (std::isfinite(scale.x) && std::isfinite(scale.y) && std::isfinite(scale.z))
        return;
    LogWrite("WARNING: Node %s has a scale that is no number, taken as 1.\n", pNode->GetName());
    scale.Set(1.0f, 1.0f, 1.0f);
}

// In a function of its own: the recursion below must not hold a buffer for each level.
[[gnu::noinline]] static QZBOOL ReadName(const SAA_Scene* pScene, const SAA_Elem* pElem, SoftNode* pNode)
{
    char tempName[512] = "";
    if (CHECK_STATUS(SAA_elementGetName(pScene, pElem, sizeof(tempName) - 1, tempName),
                     "SAA_elementGetName(m_pScene, pElem, sizeof(tempName)-1, tempName)") != 0)
        tempName[0] = 0;
    tempName[sizeof(tempName) - 1] = 0;
    pNode->SetName(tempName);
    if (!tempName[0] || pNode->GetName()[0])
        return QZTRUE;
    ShowOutOfMemory();
    return QZFALSE;
}

QZBOOL ConvModel_Soft::BuildNode(const SAA_Elem* pElem, SoftNode* pNode, uint32_t nDepth)
{
    pNode->m_Elem = *pElem;
    SAA_envelopeGetType(m_pScene, &pNode->m_Elem, &pNode->m_EnvelopeType);
    if (CHECK_STATUS(SAA_modelGetType(m_pScene, pElem, &pNode->m_ModelType),
                     "SAA_modelGetType(m_pScene, pElem, &pNode->m_ModelType)") != 0)
    {
        ShowMessage(MESSAGE_OK, "SAA_modelGetType failed.");
        return QZFALSE;
    }
    pNode->m_Flags = 0;
    if (!ReadName(m_pScene, pElem, pNode))
        return QZFALSE;
    if (nDepth >= MODEL_MAX_LEVELS)
    {
        ShowMessage(MESSAGE_OK, "Node %s: deeper than %u levels.", pNode->GetName(), MODEL_MAX_LEVELS);
        return QZFALSE;
    }
    if (!ReadPiece(pNode))
        return QZFALSE;
    ReadScale(m_pScene, pNode);
    LogNode(pNode, nDepth, pNode->m_PieceIndex >= 0 ? GetPiece(static_cast<uint32_t>(pNode->m_PieceIndex)) : nullptr);

    int nChildren = 0;
    if (CHECK_STATUS(SAA_modelGetNbChildren(m_pScene, pElem, &nChildren),
                     "SAA_modelGetNbChildren (m_pScene, pElem, &nChildren)") != 0 ||
        nChildren < 0)
    {
        ShowMessage(MESSAGE_OK, "SAA_modelGetNbChildren failed on node %s.", pNode->GetName());
        return QZFALSE;
    }
    if (nChildren == 0)
        return QZTRUE;
    if (static_cast<uint32_t>(nChildren) > MODEL_MAX_NODES - m_nNodesMade)
    {
        ShowMessage(MESSAGE_OK, "The scene has more than %u nodes.", MODEL_MAX_NODES);
        return QZFALSE;
    }
    DynArray<SAA_Elem, DefaultCache> childElements;
    if (!CreateChildNodes(pNode->m_Children, static_cast<uint32_t>(nChildren)) ||
        !CHECK_BOOL(SetHostSize(childElements, nChildren), "childElements.SetSize(nChildren)") ||
        CHECK_STATUS(SAA_modelGetChildren(m_pScene, pElem, nChildren, childElements.GetArray()),
                     "SAA_modelGetChildren(m_pScene, pElem, nChildren, childElements.GetArray())") != 0)
    {
        ShowMessage(MESSAGE_OK, "Unable to get children for node %s.", pNode->GetName());
        return QZFALSE;
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        if (!BuildNode(&childElements[i], pNode->GetSoftChild(i), nDepth + 1))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL ConvModel_Soft::CreateChildNodes(DynArray<ModelNode*, NoCache>& children, uint32_t nNodes)
{
    if (!children.SetSizeInit(nNodes, nullptr, m_pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        children[i] = new SoftNode(this);
        if (!children[i])
        {
            DeleteAndClearArray(children, m_pAllocator);
            return QZFALSE;
        }
    }
    m_nNodesMade += nNodes;
    return QZTRUE;
}

void ConvModel_Soft::MarkRemovableNodes(SoftNode* pNode)
{
    if (pNode->m_Envelopes.GetSize() == 0)
    {
        if (FindNameToken(pNode->GetName(), "N"))
            LogWrite("Node %s marked with token 'N', not removing.\n", pNode->GetName());
        else
            pNode->m_Flags |= MNODE_REMOVEABLE;
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
        MarkRemovableNodes(pNode->GetSoftChild(i));
}

QZBOOL ConvModel_Soft::GetCustomString(const SAA_CusvalSet* pCusvals, const char* pName, OwnedString& value)
{
    int nStrLen = 0;
    if (CHECK_STATUS(SAA_cusvalGetStringLength(pCusvals, pName, &nStrLen),
                     "SAA_cusvalGetStringLength (cusvals, pName, &nStrLen)") != 0 ||
        nStrLen < 0 || nStrLen >= HOST_MAX_COUNT)
        return QZFALSE;
    nStrLen++;
    DynArray<char, DefaultCache> text;
    if (!text.SetSizeInit(static_cast<uint32_t>(nStrLen), 0))
        return QZFALSE;
    CHECK_STATUS(SAA_cusvalGetStringValue(pCusvals, pName, nStrLen, text.GetArray()),
                 "SAA_cusvalGetStringValue (cusvals, pName, nStrLen, pTempStr)");
    text.Last() = 0;
    value.Set(text.GetArray());
    return !*text.GetArray() || *value.GetString() ? QZTRUE : QZFALSE;
}
