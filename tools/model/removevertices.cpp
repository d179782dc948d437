#include "tools/model/removevertices.h"

#include "engine/model/src/model.h"
#include "tools/model/convnode.h"

// The removals one by one, as a node without a remap is told of them.
static void TellOneByOne(ModelNode* pNode, ModelPiece* pPiece, const uint32_t* pTargets)
{
    uint32_t nKept = 0;
    for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
    {
        // Everything from i on is still there when i goes, so a later vertex stands as far behind it as before.
        if (pTargets[i] == i)
            ++nKept;
        else if (pTargets[i] == NO_VERTEX)
            pNode->OnVertexRemoved(pPiece, nKept, 0);
        else
            pNode->OnVertexRemoved(pPiece, nKept, nKept + (pTargets[i] - i));
    }
}

QZBOOL RemoveVertices(ModelPiece* pPiece, const uint32_t* pTargets)
{
    Model* pModel = pPiece->GetModel();
    const uint32_t nVerts = pPiece->NumVerts();
    uint32_t nStaying = 0;
    while (nStaying < nVerts && pTargets[nStaying] == nStaying)
        ++nStaying;
    if (nStaying == nVerts) // as a rule
        return QZTRUE;
    DynArray<uint32_t, DefaultCache> newIndices;
    if (!newIndices.SetSize(nVerts))
        return QZFALSE;
    uint32_t nKept = 0;
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        if (pTargets[i] == i)
            newIndices[i] = nKept++;
    }
    // A replacement stands behind its vertex: from the end, its own place is known already.
    for (uint32_t i = nVerts; i-- > 0;)
    {
        if (pTargets[i] != i)
            newIndices[i] = pTargets[i] == NO_VERTEX ? NO_VERTEX : newIndices[pTargets[i]];
    }

    for (uint32_t iTri = 0; iTri < pPiece->NumTris(); ++iTri)
    {
        for (uint16_t& index : pPiece->GetTri(iTri)->m_Indices)
            index = static_cast<uint16_t>(newIndices[index]);
    }
    for (uint32_t i = 0; i < pModel->NumNodes(); ++i)
    {
        ConvNode* pNode = dynamic_cast<ConvNode*>(pModel->GetNode(i));
        const bool bTold =
            pNode && pNode->m_pOnVerticesRemapped && pNode->m_pOnVerticesRemapped(pNode, pPiece, newIndices.GetArray());
        if (!bTold)
            TellOneByOne(pModel->GetNode(i), pPiece, pTargets);
    }
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        if (pTargets[i] == i)
            pPiece->m_Verts[newIndices[i]] = pPiece->m_Verts[i];
    }
    return pPiece->m_Verts.NiceSetSize(nKept, QZTRUE, pModel->GetGrowAllocator());
}
