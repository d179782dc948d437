#include "tools/model/buildvertexnormals.h"

QZBOOL CalcTriNormals(ModelPieceLOD* pMesh, DynArray<Vector3, DefaultCache>& normals)
{
    if (!normals.SetSize(pMesh->NumTris()))
        return QZFALSE;
    // The checked accesses stay: of a plain loop GCC 12 makes vectors, and results that differ in their last bits.
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
    const uint32_t nVerts = pMesh->NumVerts();
    ModelVert* pVerts = pMesh->m_Verts.GetArray();
    uint32_t* pCounts = counts.GetArray();
    for (uint32_t i = 0; i < nVerts; ++i)
        pVerts[i].m_vNormal.Set(0.0f, 0.0f, 0.0f);
    const Vector3* pNormal = normals.GetArray();
    const ModelTri* pEnd = pMesh->m_Tris.GetArray() + pMesh->NumTris();
    for (const ModelTri* pTri = pMesh->m_Tris.GetArray(); pTri != pEnd; ++pTri, ++pNormal)
    {
        const Vector3 normal = *pNormal;
        for (const uint16_t index : pTri->m_Indices)
        {
            pVerts[index].m_vNormal += normal;
            ++pCounts[index];
        }
    }
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        if (pCounts[i] == 0)
            continue;
        Vector3& normal = pVerts[i].m_vNormal;
        normal /= static_cast<float>(pCounts[i]);
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
