// Takes nodes out of a model without changing the pose of any other node: their motion is handed down to their
// children, which move up to the parent.

#include "engine/model/src/model.h"
#include "tools/model/keystoglobal.h"

typedef void (*KeyConversion)(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent);

static void ConvertOwnKeys(Model* pModel, KeyConversion pConvert)
{
    const Matrix4 identity;
    for (uint32_t i = 0; i < pModel->NumAnims(); ++i)
    {
        ModelAnim* pAnim = pModel->GetOwnAnim(i);
        if (!pAnim)
            continue;
        for (uint32_t iKey = 0; iKey < pAnim->NumKeyFrames(); ++iKey)
            pConvert(pAnim->GetRootNode(), iKey, identity);
    }
}

// The next two serve nodes and tracks alike, so that the two trees stay parallel. The first makes room in the parent's
// list for the children of an element that goes, null until they move; a list that was grown in vain is shortened
// again, which can't fail.
template <class T> static QZBOOL MakeRoom(T* pParent, const T* pOld, Allocator* pAllocator)
{
    const uint32_t nBefore = pParent->m_Children.GetSize();
    const uint32_t nAfter = nBefore + pOld->m_Children.GetSize();
    if (!pParent->m_Children.NiceSetSize(nAfter, QZFALSE, pAllocator))
        return QZFALSE;
    for (uint32_t i = nBefore; i < nAfter; ++i)
        pParent->m_Children[i] = nullptr;
    return QZTRUE;
}

// Takes an element out of its parent's list, in which there is room, puts its children at the end and destroys it.
template <class T> static void Dissolve(T* pParent, T* pOld, Allocator* pAllocator)
{
    const uint32_t nMoved = pOld->m_Children.GetSize();
    const uint32_t nSize = pParent->m_Children.GetSize();
    uint32_t nKept = 0;
    for (uint32_t i = 0; i < nSize - nMoved; ++i)
    {
        if (pParent->m_Children[i] != pOld)
            pParent->m_Children[nKept++] = pParent->m_Children[i];
    }
    for (uint32_t i = 0; i < nMoved; ++i)
        pParent->m_Children[nKept++] = pOld->m_Children[i];
    pParent->m_Children.NiceSetSize(nKept, QZFALSE, pAllocator);
    pOld->m_Children.Term(pAllocator);
    FreeObject(*pAllocator, pOld);
}

static void ListTracks(AnimNode* pTrack, AnimNode** ppList, uint32_t* piNode)
{
    ppList[(*piNode)++] = pTrack;
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        ListTracks(pTrack->GetChild(i), ppList, piNode);
}

// What Precalc(QZTRUE) does after a node has gone, in the memory that is there, so that it can't fail.
static void RebuildTables(Model* pModel)
{
    const uint32_t nNodes = pModel->NumNodes() - 1;
    pModel->m_Transforms.NiceSetSize(nNodes, QZFALSE, pModel->m_pAllocator);
    pModel->m_FlatNodeList.NiceSetSize(nNodes, QZFALSE, pModel->m_pAllocator);
    uint32_t iNode = 0;
    pModel->GetRootNode()->AssignIndices(&iNode);
    pModel->GetRootNode()->SetParentIndices(MNODE_NO_PARENT);
    pModel->m_nDWordNodes = (nNodes + 3) / 4;
    for (uint32_t i = 0; i < pModel->NumAnims(); ++i)
    {
        ModelAnim* pAnim = pModel->GetOwnAnim(i);
        uint32_t iTrack = 0;
        if (pAnim)
            ListTracks(pAnim->GetRootNode(), pAnim->m_AnimNodes, &iTrack);
    }
    pModel->Precalc(QZFALSE);
}

static AnimNode* TrackOf(ModelAnim* pAnim, const ModelNode* pNode)
{
    return pAnim->m_AnimNodes[pNode->GetNodeIndex()];
}

static bool MayRemove(Model* pModel, const ModelNode* pNode, bool bWeights)
{
    return pNode && pNode != pModel->GetRootNode() && (pNode->m_Flags & MNODE_REMOVEABLE) &&
           !(bWeights && pModel->IsNodeWeighted(pNode->GetNodeIndex()));
}

bool Model::HasVertexWeights() const
{
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = GetPiece(iPiece);
        for (uint32_t iVert = 0; iVert < pPiece->NumVerts(); ++iVert)
        {
            if (pPiece->GetVert(iVert)->m_nWeights != 0)
                return true;
        }
    }
    return false;
}

// Takes the node out of all trees and tables. Keys that are global already stay so; others are local afterwards too.
QZBOOL Model::DetachNode(ModelNode* pNode, bool bKeysAreGlobal, bool bWeights)
{
    ModelNode* pParent = FindParent(pNode, GetRootNode(), nullptr);
    if (!pParent)
        return QZFALSE;

    // All memory is taken first: what can't be had leaves the model as it was.
    Allocator* pAllocator = GetGrowAllocator();
    DynArray<uint32_t, DefaultCache> newIndices;
    DynArray<NodeKeyFrame, DefaultCache>& relations = m_SelfChildModel.m_Relations;
    const uint32_t nBefore = pParent->NumChildren();
    const uint32_t nRelations = relations.GetSize();
    QZBOOL bRoom = newIndices.SetSize(NumNodes()) &&
                   (nRelations >= NumNodes() || relations.NiceSetSize(NumNodes(), QZFALSE, pAllocator)) &&
                   MakeRoom(pParent, pNode, pAllocator);
    uint32_t nGrown = 0;
    for (; bRoom && nGrown < NumAnims(); ++nGrown)
    {
        ModelAnim* pAnim = GetOwnAnim(nGrown);
        bRoom = !pAnim || MakeRoom(TrackOf(pAnim, pParent), TrackOf(pAnim, pNode), pAllocator);
    }
    if (!bRoom)
    {
        relations.NiceSetSize(nRelations, QZFALSE, pAllocator);
        pParent->m_Children.NiceSetSize(nBefore, QZFALSE, pAllocator);
        for (uint32_t i = 0; i < nGrown; ++i)
        {
            if (ModelAnim* pAnim = GetOwnAnim(i))
                TrackOf(pAnim, pParent)->m_Children.NiceSetSize(nBefore, QZFALSE, pAllocator);
        }
        return QZFALSE;
    }

    // From here on a key doesn't depend on the tree, so the tree can change.
    if (!bKeysAreGlobal)
        ConvertOwnKeys(this, KeysToGlobal);

    for (uint32_t i = 0; i < NumNodes(); ++i)
    {
        GetNode(i)->m_iRemapIndex = i;
        newIndices[i] = i;
    }
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        ModelAnim* pAnim = GetOwnAnim(i);
        if (!pAnim)
            continue;
        AnimNode* pOld = TrackOf(pAnim, pNode);
        AnimNode* pParentTrack = TrackOf(pAnim, pParent);
        for (uint32_t j = 0; j < pOld->NumChildren(); ++j)
            pOld->GetChild(j)->m_pParent = pParentTrack;
        Dissolve(pParentTrack, pOld, pAllocator);
    }
    Dissolve(pParent, pNode, pAllocator);
    RebuildTables(this);
    if (!bKeysAreGlobal)
        ConvertOwnKeys(this, KeysToLocal);

    for (uint32_t i = 0; i < m_FlatNodeList.GetSize(); ++i)
        newIndices[m_FlatNodeList[i]->m_iRemapIndex] = i;
    for (uint32_t iPiece = 0; bWeights && iPiece < NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = GetPiece(iPiece);
        for (uint32_t iVert = 0; iVert < pPiece->NumVerts(); ++iVert)
        {
            const ModelVert* pVert = pPiece->GetVert(iVert);
            for (uint32_t iWeight = 0; iWeight < pVert->m_nWeights; ++iWeight)
                pVert->m_Weights[iWeight].m_iNode = newIndices[pVert->m_Weights[iWeight].m_iNode];
        }
    }
    relations.NiceSetSize(NumNodes(), QZFALSE, pAllocator);
    return SetupChildModelRelation(&m_SelfChildModel, this, QZFALSE);
}

QZBOOL Model::RemoveNode(ModelNode* pNode)
{
    return RemoveNode(pNode, true);
}

QZBOOL Model::RemoveNode(ModelNode* pNode, bool bWeights)
{
    return MayRemove(this, pNode, bWeights) && DetachNode(pNode, false, bWeights);
}

// One RemoveNode after the other, except that the keys stay global in between: a round trip for each node would cost
// time, and precision with each.
QZBOOL Model::RemoveRemovableNodes()
{
    const bool bWeights = HasVertexWeights();
    QZBOOL bAllRemoved = QZTRUE;
    bool bKeysAreGlobal = false;
    for (uint32_t i = 0; i < NumNodes();)
    {
        ModelNode* pNode = GetNode(i);
        if (!(pNode->m_Flags & MNODE_REMOVEABLE))
        {
            ++i;
            continue;
        }
        const bool bMayRemove = MayRemove(this, pNode, bWeights);
        if (bMayRemove && !bKeysAreGlobal)
        {
            ConvertOwnKeys(this, KeysToGlobal);
            bKeysAreGlobal = true;
        }
        if (bMayRemove && DetachNode(pNode, true, bWeights))
        {
            i = 0; // all indices have changed
        }
        else
        {
            bAllRemoved = QZFALSE;
            ++i;
        }
    }
    if (bKeysAreGlobal)
        ConvertOwnKeys(this, KeysToLocal);
    return bAllRemoved;
}
