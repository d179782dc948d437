// Takes nodes out of a model without changing the pose of any other node: their motion is handed down to their
// children, which move up to the parent. Many nodes go in one walk, with the result of one removal after the other from
// the front.

#include "engine/model/src/model.h"
#include "tools/model/keystoglobal.h"

typedef void (*KeyConversion)(AnimNode* pRoot, uint32_t nKeys);

static void ConvertOwnKeys(Model* pModel, KeyConversion pConvert)
{
    for (uint32_t i = 0; i < pModel->NumAnims(); ++i)
    {
        if (ModelAnim* pAnim = pModel->GetOwnAnim(i))
            pConvert(pAnim->GetRootNode(), pAnim->NumKeyFrames());
    }
}

// Which nodes stay under which parents, by their old indices: those of place 0, the root, begin at place 1, and those
// of a later place behind those of the place before it, up to its end.
struct RemainingTree
{
    DynArray<uint32_t, DefaultCache> nodes; // NumNodes() places, of which nNodes are in use
    DynArray<uint32_t, DefaultCache> ends;
    uint32_t nNodes = 1;

    uint32_t FirstChild(uint32_t place) const { return place == 0 ? 1 : ends[place - 1]; }
};

// A parent's children are taken in turn: one that stays keeps its place, one that goes has its own children put at the
// end, where their turn comes.
static QZBOOL PlanTree(const Model* pModel, const uint8_t* pGoes, RemainingTree& tree)
{
    DynArray<uint32_t, DefaultCache> turns;
    if (!tree.nodes.SetSizeInit(pModel->NumNodes(), 0) || !tree.ends.SetSizeInit(pModel->NumNodes(), 0) ||
        !turns.SetSize(pModel->NumNodes()))
        return QZFALSE;
    for (uint32_t place = 0; place < tree.nNodes; ++place)
    {
        uint32_t nTurns = 0;
        const auto addChildren = [&](const ModelNode* pNode)
        {
            for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
                turns[nTurns++] = pNode->GetChild(i)->GetNodeIndex();
        };
        addChildren(pModel->GetNode(tree.nodes[place]));
        for (uint32_t i = 0; i < nTurns; ++i)
        {
            if (pGoes[turns[i]])
                addChildren(pModel->GetNode(turns[i]));
            else
                tree.nodes[tree.nNodes++] = turns[i];
        }
        tree.ends[place] = tree.nNodes;
    }
    return QZTRUE;
}

// The next ones serve nodes and tracks alike, so that the two trees stay parallel; ppOld lists them by old index. The
// first makes room in each list for the children that it will have; the new places are null until they move in. A list
// that was grown in vain is shortened again, which can't fail.
template <class T> static void GiveRoomBack(const RemainingTree& tree, T* const* ppOld, Allocator* pAllocator)
{
    for (uint32_t place = 0; place < tree.nNodes; ++place)
    {
        auto& children = ppOld[tree.nodes[place]]->m_Children;
        uint32_t nChildren = children.GetSize();
        while (nChildren != 0 && !children[nChildren - 1])
            --nChildren;
        children.NiceSetSize(nChildren, QZFALSE, pAllocator);
    }
}

template <class T> static QZBOOL MakeRoom(const RemainingTree& tree, T* const* ppOld, Allocator* pAllocator)
{
    for (uint32_t place = 0; place < tree.nNodes; ++place)
    {
        auto& children = ppOld[tree.nodes[place]]->m_Children;
        const uint32_t nBefore = children.GetSize();
        const uint32_t nAfter = tree.ends[place] - tree.FirstChild(place);
        if (nAfter > nBefore && !children.NiceSetSize(nAfter, QZFALSE, pAllocator))
            return QZFALSE;
        for (uint32_t i = nBefore; i < nAfter; ++i)
            children[i] = nullptr;
    }
    return QZTRUE;
}

// Puts the children where they will be and destroys what goes. There is room by now.
template <class T>
static void Rebuild(const RemainingTree& tree, const uint8_t* pGoes, uint32_t nOld, T* const* ppOld,
                    Allocator* pAllocator)
{
    for (uint32_t place = 0; place < tree.nNodes; ++place)
    {
        auto& children = ppOld[tree.nodes[place]]->m_Children;
        const uint32_t first = tree.FirstChild(place);
        children.NiceSetSize(tree.ends[place] - first, QZFALSE, pAllocator);
        for (uint32_t i = 0; i < children.GetSize(); ++i)
            children[i] = ppOld[tree.nodes[first + i]];
    }
    for (uint32_t i = 0; i < nOld; ++i)
    {
        if (!pGoes[i])
            continue;
        ppOld[i]->m_Children.Term(pAllocator);
        FreeObject(*pAllocator, ppOld[i]);
    }
}

static void ListTracks(AnimNode* pTrack, AnimNode** ppList, uint32_t* piNode)
{
    ppList[(*piNode)++] = pTrack;
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
    {
        pTrack->GetChild(i)->m_pParent = pTrack;
        ListTracks(pTrack->GetChild(i), ppList, piNode);
    }
}

// What Precalc(QZTRUE) does after nodes have gone, in the memory that is there, so that it can't fail.
static void RebuildTables(Model* pModel, uint32_t nNodes)
{
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

// Calls `use` with each weight of the vertices of LOD 0.
template <class Use> static void ForEachWeight(const Model* pModel, Use use)
{
    for (uint32_t iPiece = 0; iPiece < pModel->NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = pModel->GetPiece(iPiece);
        for (uint32_t iVert = 0; iVert < pPiece->NumVerts(); ++iVert)
        {
            const ModelVert* pVert = pPiece->GetVert(iVert);
            for (uint32_t iWeight = 0; iWeight < pVert->m_nWeights; ++iWeight)
                use(pVert->m_Weights[iWeight]);
        }
    }
}

// Takes nodes out of all trees and tables. The root isn't among them, and nothing has a weight on them.
QZBOOL Model::DetachNodes(const uint8_t* pGoes)
{
    // All memory is taken first: what can't be had leaves the model as it was.
    Allocator* pAllocator = GetGrowAllocator();
    const uint32_t nOld = NumNodes();
    RemainingTree tree;
    DynArray<uint32_t, DefaultCache> newIndices;
    DynArray<NodeKeyFrame, DefaultCache>& relations = m_SelfChildModel.m_Relations;
    const uint32_t nRelations = relations.GetSize();
    if (!newIndices.SetSizeInit(nOld, 0) || !PlanTree(this, pGoes, tree) ||
        (nRelations < nOld && !relations.NiceSetSize(nOld, QZFALSE, pAllocator)))
        return QZFALSE;
    QZBOOL bRoom = MakeRoom(tree, m_FlatNodeList.GetArray(), pAllocator);
    for (uint32_t i = 0; bRoom && i < NumAnims(); ++i)
    {
        ModelAnim* pAnim = GetOwnAnim(i);
        bRoom = !pAnim || MakeRoom(tree, pAnim->m_AnimNodes, pAllocator);
    }
    if (!bRoom)
    {
        GiveRoomBack(tree, m_FlatNodeList.GetArray(), pAllocator);
        for (uint32_t i = 0; i < NumAnims(); ++i)
        {
            if (ModelAnim* pAnim = GetOwnAnim(i))
                GiveRoomBack(tree, pAnim->m_AnimNodes, pAllocator);
        }
        relations.NiceSetSize(nRelations, QZFALSE, pAllocator);
        return QZFALSE;
    }

    // Once the keys are global they don't depend on the tree, so the tree can change: one round trip for all nodes,
    // since each costs precision.
    ConvertOwnKeys(this, AllKeysToGlobal);
    for (uint32_t i = 0; i < nOld; ++i)
        GetNode(i)->m_iRemapIndex = i;
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        if (ModelAnim* pAnim = GetOwnAnim(i))
            Rebuild(tree, pGoes, nOld, pAnim->m_AnimNodes, pAllocator);
    }
    Rebuild(tree, pGoes, nOld, m_FlatNodeList.GetArray(), pAllocator);
    RebuildTables(this, tree.nNodes);
    ConvertOwnKeys(this, AllKeysToLocal);

    for (uint32_t i = 0; i < m_FlatNodeList.GetSize(); ++i)
        newIndices[m_FlatNodeList[i]->m_iRemapIndex] = i;
    ForEachWeight(this, [&](ModelVertWeight& weight) { weight.m_iNode = newIndices[weight.m_iNode]; });
    relations.NiceSetSize(NumNodes(), QZFALSE, pAllocator);
    return SetupChildModelRelation(&m_SelfChildModel, this, QZFALSE);
}

QZBOOL Model::RemoveNode(ModelNode* pNode)
{
    DynArray<uint8_t, DefaultCache> wanted;
    if (!pNode || !FindParent(pNode, GetRootNode(), nullptr) || !wanted.SetSizeInit(NumNodes(), 0))
        return QZFALSE;
    wanted[pNode->GetNodeIndex()] = 1;
    return RemoveNodes(wanted.GetArray());
}

QZBOOL Model::RemoveNodes(uint8_t* pWanted)
{
    DynArray<uint8_t, DefaultCache> weighted;
    if (!weighted.SetSizeInit(NumNodes(), 0))
        return QZFALSE;
    ForEachWeight(this, [&](const ModelVertWeight& weight) { weighted[weight.m_iNode] = 1; });
    bool bAllMayGo = true;
    bool bAnyMayGo = false;
    for (uint32_t i = 0; i < NumNodes(); ++i)
    {
        const bool bMayGo = i != 0 && (GetNode(i)->m_Flags & MNODE_REMOVEABLE) && !weighted[i];
        bAllMayGo = bAllMayGo && (bMayGo || !pWanted[i]);
        pWanted[i] = bMayGo && pWanted[i] ? 1 : 0;
        bAnyMayGo = bAnyMayGo || pWanted[i];
    }
    return (!bAnyMayGo || DetachNodes(pWanted)) && bAllMayGo;
}

QZBOOL Model::RemoveRemovableNodes()
{
    DynArray<uint8_t, DefaultCache> wanted;
    if (!wanted.SetSizeInit(NumNodes(), 0))
        return QZFALSE;
    for (uint32_t i = 0; i < NumNodes(); ++i)
        wanted[i] = (GetNode(i)->m_Flags & MNODE_REMOVEABLE) ? 1 : 0;
    return RemoveNodes(wanted.GetArray());
}
