#include "tools/model/convmodel.h"

#include "tools/model/buildvertexnormals.h"
#include "tools/model/cleangeometry.h"

ConvModel::ConvModel() : Model(&g_DefaultAllocator, &g_DefaultAllocator) {}

ConvModel::~ConvModel() = default;

QZBOOL ConvModel::Finish(QZBOOL bRemoveNodes, QZBOOL bMagScale)
{
    if (!Precalc(QZTRUE))
        return QZFALSE;
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        if (!FinishAnim(i))
            return QZFALSE;
    }
    // The root usually has the flag and is always refused, so the result says nothing.
    if (bRemoveNodes)
        RemoveRemovableNodes();
    // Without memory for the tables or the cleaning no half-cleaned model goes on.
    if (!Precalc(QZTRUE) || (bMagScale && !CleanGeometry(this)))
        return QZFALSE;
    BuildVertexNormals(this);
    return QZTRUE;
}

QZBOOL ConvModel::CreateChildNodes(DynArray<ModelNode*, NoCache>& children, uint32_t nNodes)
{
    Allocator* pAllocator = GetGrowAllocator();
    if (!children.SetSizeInit(nNodes, nullptr, pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        children[i] = AllocNew<ConvNode>(*pAllocator, this);
        if (!children[i])
        {
            DeleteAndClearArray(children, pAllocator);
            return QZFALSE;
        }
    }
    return QZTRUE;
}

QZBOOL ConvModel::CreateChildAnimNodes(DynArray<AnimNode*, NoCache>& children, uint32_t nNodes, ModelAnim* pAnim,
                                       AnimNode* pParent)
{
    Allocator* pAllocator = GetGrowAllocator();
    if (!children.SetSizeInit(nNodes, nullptr, pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        children[i] = AllocNew<ConvAnimNode>(*pAllocator, pAnim, pParent);
        if (!children[i])
        {
            DeleteAndClearArray(children, pAllocator);
            return QZFALSE;
        }
    }
    return QZTRUE;
}

QZBOOL ConvModel::FinishAnim(uint32_t iAnim)
{
    ModelAnim* pAnim = GetAnim(iAnim);
    if (pAnim->NumKeyFrames() != 0)
    {
        const uint32_t start = pAnim->m_KeyFrames[0].m_Time;
        for (uint32_t i = 0; i < pAnim->NumKeyFrames(); ++i)
            pAnim->m_KeyFrames[i].m_Time -= start;
    }
    return SetupChildModelRelation(&m_SelfChildModel, this, QZFALSE) && pAnim->PrecalcNodeLists(QZTRUE);
}

uint32_t ConvModel::FindPieceNodeIndex(uint32_t iPiece)
{
    for (uint32_t i = 0; i < m_FlatNodeList.GetSize(); ++i)
    {
        // A model that was loaded has plain nodes.
        const ConvNode* pNode = dynamic_cast<ConvNode*>(m_FlatNodeList[i]);
        if (pNode && pNode->m_PieceIndex == static_cast<int32_t>(iPiece))
            return i;
    }
    return static_cast<uint32_t>(-1);
}

ConvNode* ConvModel::FindPieceNode(uint32_t iPiece)
{
    const uint32_t iNode = FindPieceNodeIndex(iPiece);
    return iNode == static_cast<uint32_t>(-1) ? nullptr : static_cast<ConvNode*>(m_FlatNodeList[iNode]);
}

void ConvModel::RemoveOwnAnim(uint32_t iAnim)
{
    if (ModelAnim* pAnim = GetOwnAnim(iAnim))
    {
        FreeObject(*m_pAllocator, pAnim);
        RemoveAnimRow(iAnim);
    }
}

void ConvModel::ReplaceOwnAnim(uint32_t iAnim, uint32_t iFrom)
{
    ModelAnim* pAnim = GetOwnAnim(iAnim);
    ModelAnim* pFrom = GetOwnAnim(iFrom);
    if (!pAnim || !pFrom || iAnim == iFrom)
        return;
    FreeObject(*m_pAllocator, pAnim);
    m_Anims[iAnim].m_pAnim = pFrom;
    RemoveAnimRow(iFrom);
}

// The rows of further links stand behind the own ones.
void ConvModel::RemoveAnimRow(uint32_t iAnim)
{
    m_Anims.Remove(iAnim, m_pDefaultAllocator);
    for (uint32_t i = 1; i < NumChildModels(); ++i)
    {
        if (GetChildModel(i)->m_iAnimOffset > iAnim)
            --GetChildModel(i)->m_iAnimOffset;
    }
}

void ConvModel::RemoveAllAnims()
{
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        if (ModelAnim* pAnim = GetOwnAnim(i))
            FreeObject(*m_pAllocator, pAnim);
    }
    m_Anims.Term(m_pDefaultAllocator);
}
