#include "tools/model/cleangeometry.h"

#include "tools/model/convnode.h"
#include "tools/model/mergeclosevertices.h"
#include "tools/model/removevertices.h"
#include "zoltshared/stdzolt/findnametoken.h"

#include <cstring>

constexpr float BOX_START = 1e37f;
constexpr float MAG_SCALE_OF_RADIUS = 256.0f;

static float LowerOf(float a, float b)
{
    return b < a ? b : a;
}

static float HigherOf(float a, float b)
{
    return b > a ? b : a;
}

float CalcModelRadius(Model* pModel)
{
    Vector3 low(BOX_START, BOX_START, BOX_START);
    Vector3 high(-BOX_START, -BOX_START, -BOX_START);
    for (uint32_t iPiece = 0; iPiece < pModel->NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = pModel->GetPiece(iPiece);
        for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
        {
            const Vector3& position = pPiece->GetVert(i)->m_vPos;
            low.Set(LowerOf(low.x, position.x), LowerOf(low.y, position.y), LowerOf(low.z, position.z));
            high.Set(HigherOf(high.x, position.x), HigherOf(high.y, position.y), HigherOf(high.z, position.z));
        }
    }
    return 0.5f * (high - low).Mag();
}

// The three digits behind the token in the root node's name; without them, or with 000, fDefault stays.
static float MagScaleOfName(const char* pName, float fDefault)
{
    constexpr const char* TOKEN = "MagScale";
    const char* pToken = FindNameToken(pName, TOKEN);
    if (!pToken)
        return fDefault;
    const char* pDigits = pToken + strlen(TOKEN);
    int value = 0;
    for (int i = 0; i < 3; ++i)
    {
        if (pDigits[i] < '0' || pDigits[i] > '9')
            return fDefault;
        value = value * 10 + (pDigits[i] - '0');
    }
    return value != 0 ? static_cast<float>(value) : fDefault;
}

float CalcMagScale(Model* pModel)
{
    const float radius = CalcModelRadius(pModel);
    const float magScale = radius < SMALL_RADIUS ? 1.0f : MAG_SCALE_OF_RADIUS / radius;
    return MagScaleOfName(pModel->GetRootNode()->GetName(), magScale);
}

QZBOOL CleanGeometry(Model* pModel)
{
    if (!MergeCloseVertices(pModel, CalcMagScale(pModel)))
        return QZFALSE;
    RemoveDegenerateTris(pModel);
    return RemoveUnusedVerts(pModel);
}

void RemoveDegenerateTris(Model* pModel)
{
    for (uint32_t iPiece = 0; iPiece < pModel->NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = pModel->GetPiece(iPiece);
        uint32_t nKept = 0;
        for (uint32_t i = 0; i < pPiece->NumTris(); ++i)
        {
            const uint16_t* indices = pPiece->GetTri(i)->m_Indices;
            if (indices[0] == indices[1] || indices[0] == indices[2] || indices[1] == indices[2])
                continue;
            if (nKept != i)
                pPiece->m_Tris[nKept] = pPiece->m_Tris[i];
            ++nKept;
        }
        pPiece->m_Tris.NiceSetSize(nKept, QZTRUE, pModel->GetGrowAllocator());
    }
}

QZBOOL IsVertexUsed(ModelPieceLOD* pMesh, uint32_t iVert)
{
    for (uint32_t i = 0; i < pMesh->NumTris(); ++i)
    {
        for (const uint16_t index : pMesh->GetTri(i)->m_Indices)
        {
            if (index == iVert)
                return QZTRUE;
        }
    }
    return QZFALSE;
}

QZBOOL RemoveUnusedVerts(Model* pModel)
{
    for (uint32_t iPiece = 0; iPiece < pModel->NumPieces(); ++iPiece)
    {
        // One pass over the triangles in place of one IsVertexUsed for each vertex.
        ModelPiece* pPiece = pModel->GetPiece(iPiece);
        if (pPiece->NumVerts() == 0)
            continue;
        DynArray<uint32_t, DefaultCache> targets;
        if (!targets.SetSizeInit(pPiece->NumVerts(), NO_VERTEX))
            return QZFALSE;
        for (uint32_t i = 0; i < pPiece->NumTris(); ++i)
        {
            for (const uint16_t index : pPiece->GetTri(i)->m_Indices)
                targets[index] = index;
        }
        if (!RemoveVertices(pPiece, targets.GetArray()))
            return QZFALSE;
    }
    return QZTRUE;
}
