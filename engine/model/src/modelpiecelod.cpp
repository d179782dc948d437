#include "engine/model/src/modelpiecelod.h"

#include "engine/model/src/model.h"

ZOLT_BEGIN_NAMESPACE

static Allocator* AllocatorOf(Model* pModel)
{
    return pModel ? pModel->GetGrowAllocator() : &g_DefaultAllocator;
}

ModelPieceLOD::ModelPieceLOD(const ModelPieceLOD& other)
{
    *this = other;
}

ModelPieceLOD& ModelPieceLOD::operator=(const ModelPieceLOD& other)
{
    if (this == &other)
        return *this;
    m_Tris.Term(AllocatorOf(m_pModel));
    m_Verts.Term(AllocatorOf(m_pModel));
    m_pModel = other.m_pModel;
    if (!m_Tris.CopyArray(other.m_Tris, AllocatorOf(m_pModel)) ||
        !m_Verts.CopyArray(other.m_Verts, AllocatorOf(m_pModel)))
    {
        m_Tris.Term(AllocatorOf(m_pModel));
        m_Verts.Term(AllocatorOf(m_pModel));
    }
    return *this;
}

ModelPieceLOD::~ModelPieceLOD()
{
    m_Tris.Term(AllocatorOf(m_pModel));
    m_Verts.Term(AllocatorOf(m_pModel));
}

QZBOOL ModelPieceLOD::CopyUVs(ModelPieceLOD* pOther)
{
    if (NumTris() != pOther->NumTris())
        return QZFALSE;
    for (uint32_t iTri = 0; iTri < NumTris(); ++iTri)
    {
        for (uint32_t iCorner = 0; iCorner < 3; ++iCorner)
            m_Tris[iTri].m_UVs[iCorner] = pOther->m_Tris[iTri].m_UVs[iCorner];
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
