#include "engine/model/src/modelpiece.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/safestrcopy.h"

ZOLT_BEGIN_NAMESPACE

ModelPiece::ModelPiece(Model* pModel) : m_pOwnerModel(pModel)
{
    m_pModel = pModel;
}

ModelPiece::~ModelPiece()
{
    // The LODs free their own meshes, each through its model.
    m_LODs.Term(m_pOwnerModel->GetAllocator());
}

ModelPieceLOD* ModelPiece::GetLOD(uint32_t iLOD)
{
    if (iLOD == 0)
        return this;
    if (!ZOLT_ASSERT(iLOD - 1 < m_LODs.GetSize(), "FALSE"))
        return nullptr;
    return &m_LODs[iLOD - 1];
}

void ModelPiece::SetName(const char* pName)
{
    SafeStrCopy(m_Name, pName, sizeof(m_Name));
}

QZBOOL ModelPiece::RemoveVertex(uint32_t iVert, uint32_t iReplacement)
{
    if (iVert >= NumVerts() || iReplacement >= NumVerts())
        return QZFALSE;
    for (uint32_t iTri = 0; iTri < NumTris(); ++iTri)
    {
        for (uint16_t& index : m_Tris[iTri].m_Indices)
        {
            if (index == iVert)
                index = static_cast<uint16_t>(iReplacement);
            // On the new value: a replacement behind the vertex moves up with the rest.
            if (index > iVert)
                --index;
        }
    }
    for (uint32_t i = 0; i < m_pOwnerModel->NumNodes(); ++i)
        m_pOwnerModel->GetNode(i)->OnVertexRemoved(this, iVert, iReplacement);
    m_Verts.Remove(iVert, m_pOwnerModel->GetGrowAllocator());
    return QZTRUE;
}

ZOLT_END_NAMESPACE
