#include "tools/model/kelpexport/vanishedmeshes.h"

#include "tools/model/cleangeometry.h"
#include "tools/model/kelpexport/log.h"

VanishedMeshes::VanishedMeshes(Model* pModel)
    : m_pModel(pModel), m_bSmall(pModel->CalcNumVerts() != 0 && CalcModelRadius(pModel) < SMALL_RADIUS)
{
    if (!m_HadTriangles.SetSize(pModel->NumPieces()))
        return;
    for (uint32_t i = 0; i < pModel->NumPieces(); ++i)
        m_HadTriangles[i] = pModel->GetPiece(i)->NumTris() != 0;
}

void VanishedMeshes::Warn() const
{
    if (m_bSmall)
        LogWrite("WARNING: The scene's radius is below 0.001, where vertices that are 0.1 apart are merged.\n");
    for (uint32_t i = 0; i < m_HadTriangles.GetSize(); ++i)
    {
        const ModelPiece* pPiece = m_pModel->GetPiece(i);
        if (m_HadTriangles[i] && pPiece->NumTris() == 0)
            LogWrite("WARNING: Mesh %s has lost all its triangles, it is too small.\n", pPiece->GetName());
    }
}
