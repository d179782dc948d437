#include "tools/model/buildvertexnormals.h"

QZBOOL CalcTriNormals(ModelPieceLOD* pMesh, DynArray<Vector3, DefaultCache>& normals)
{
    if (!normals.SetSize(pMesh->NumTris()))
        return QZFALSE;
    for (uint32_t i = 0; i < pMesh->NumTris(); ++i)
    {
        const uint16_t* indices = pMesh->GetTri(i)->m_Indices;
        const Vector3& a = pMesh->GetVert(indices[0])->m_vPos;
        const Vector3& b = pMesh->GetVert(indices[1])->m_vPos;
        const Vector3& c = pMesh->GetVert(indices[2])->m_vPos;
        // Cross has its argument on the left: this is (b - a) × (c - a).
        normals[i] = (c - a).Cross(b - a);
        normals[i].Norm(1.0f);
    }
    return QZTRUE;
}

QZBOOL AverageVertexNormals(ModelPieceLOD* pMesh, DynArray<Vector3, DefaultCache>& normals)
{
    if (pMesh->NumVerts() == 0)
        return QZTRUE;
    // Summing up triangle by triangle adds to each vertex in the order of its triangles.
    DynArray<uint32_t, DefaultCache> counts;
    if (!counts.SetSizeInit(pMesh->NumVerts(), 0))
        return QZFALSE;
    for (uint32_t i = 0; i < pMesh->NumVerts(); ++i)
        pMesh->GetVert(i)->m_vNormal.Set(0.0f, 0.0f, 0.0f);
    for (uint32_t i = 0; i < pMesh->NumTris(); ++i)
    {
        for (const uint16_t index : pMesh->GetTri(i)->m_Indices)
        {
            pMesh->GetVert(index)->m_vNormal += normals[i];
            ++counts[index];
        }
    }
    for (uint32_t i = 0; i < pMesh->NumVerts(); ++i)
    {
        if (counts[i] == 0)
            continue;
        Vector3& normal = pMesh->GetVert(i)->m_vNormal;
        normal /= static_cast<float>(counts[i]);
        normal.Norm(1.0f);
    }
    return QZTRUE;
}

QZBOOL BuildVertexNormals(Model* pModel)
{
    DynArray<Vector3, DefaultCache> normals;
    for (uint32_t iPiece = 0; iPiece < pModel->NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = pModel->GetPiece(iPiece);
        for (uint32_t iLOD = 0; iLOD < pPiece->NumLODs(); ++iLOD)
        {
            ModelPieceLOD* pMesh = pPiece->GetLOD(iLOD);
            if (!CalcTriNormals(pMesh, normals) || !AverageVertexNormals(pMesh, normals))
                return QZFALSE;
        }
    }
    return QZTRUE;
}
