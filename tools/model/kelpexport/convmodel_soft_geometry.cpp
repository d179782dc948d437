// The mesh of one node. The host describes it twice: triangles refer to the tri-vertices, envelopes to the mesh's own
// vertices. The piece takes the latter, and each triangle corner is tied to the nearest of them.

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/closestvertexfinder.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/hostcount.h"
#include "tools/model/kelpexport/messages.h"

#include <cmath>

// What the host tells of a mesh.
struct HostMesh
{
    int nPolies = 0;
    int nVertices = 0;
    int nActualVertices = 0;
    DynArray<SAA_SubHandle, DefaultCache> polies;
    DynArray<SAA_SubHandle, DefaultCache> verts; // the triangle corners, three for each triangle
    DynArray<int, DefaultCache> vertIndices;     // for each corner, into vertexPositions
    DynArray<float, DefaultCache> uCoords;       // for each corner
    DynArray<float, DefaultCache> vCoords;
    DynArray<SAA_Position, DefaultCache> vertexPositions; // the tri-vertices
    DynArray<SAA_Position, DefaultCache> actualVertexPositions;
};

// From coordinates relative to the crop rectangle to fractions of the whole image.
struct TextureMapping
{
    float uScale = 1.0f, vScale = 1.0f;
    float uOffset = 0.0f, vOffset = 0.0f;
};

uint32_t ConvModel_Soft::FindClosestVertex(const double* pPos, const DynArray<SAA_Position, DefaultCache>& positions)
{
    uint32_t iBest = 0;
    double best = CLOSEST_LIMIT;
    for (uint32_t i = 0; i < positions.GetSize(); ++i)
    {
        const double distance = SquaredDistance(pPos, positions[i].v);
        if (distance < best)
        {
            best = distance;
            iBest = i;
        }
    }
    return iBest;
}

// Positions that no float can hold would spread as infinities and NaNs.
static bool AreFinite(const DynArray<SAA_Position, DefaultCache>& positions)
{
    for (uint32_t i = 0; i < positions.GetSize(); ++i)
    {
        const double* pPos = positions[i].v;
        for (int k = 0; k < 3; ++k)
        {
            if (!std::isfinite(static_cast<float>(pPos[k])))
                return false;
        }
    }
    return true;
}

// The triangles and vertices of the piece are asked for ahead of all that is only needed here, so that no gaps are left
// between what stays. ReadGeometry sees whether there was memory.
static void ReserveTris(ModelPiece* pPiece, int nPolies)
{
    if (nPolies > 0 && nPolies <= HOST_MAX_COUNT)
        pPiece->m_Tris.SetSize(static_cast<uint32_t>(nPolies), pPiece->GetModel()->GetAllocator());
}

static void ReserveVerts(ModelPiece* pPiece, int nVertices)
{
    if (nVertices > 0 && nVertices <= static_cast<int>(MODEL_MAX_VERTS))
        pPiece->m_Verts.SetSize(static_cast<uint32_t>(nVertices), pPiece->GetModel()->GetAllocator());
}

static bool ReadTriangles(const SAA_Scene* pScene, SoftNode* pNode, ModelPiece* pPiece, HostMesh& mesh)
{
    if (CHECK_STATUS(SAA_modelGetNbTriangles(pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, &mesh.nPolies),
                     "SAA_modelGetNbTriangles(m_pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, &nPolies)") != 0)
        return false;
    ReserveTris(pPiece, mesh.nPolies);
    if (!CHECK_BOOL(SetHostSize(mesh.polies, mesh.nPolies), "polies.SetSize(nPolies)"))
        return false;
    if (CHECK_STATUS(
            SAA_modelGetTriangles(pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, mesh.nPolies, mesh.polies.GetArray()),
            "SAA_modelGetTriangles(m_pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, nPolies, "
            "polies.GetArray())") != 0)
        return false;
    // Doesn't overflow; more than HOST_MAX_COUNT corners are refused as well.
    const int nCorners = mesh.nPolies * 3;
    if (!CHECK_BOOL(SetHostSize(mesh.verts, nCorners), "verts.SetSize(nPolies * 3)"))
        return false;
    if (CHECK_STATUS(SAA_triangleGetCtrlVertices(pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, mesh.nPolies,
                                                 mesh.polies.GetArray(), mesh.verts.GetArray()),
                     "SAA_triangleGetCtrlVertices(m_pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, nPolies, "
                     "polies.GetArray(), verts.GetArray())") != 0)
        return false;
    mesh.polies.Term();
    if (!CHECK_BOOL(SetHostSize(mesh.vertIndices, nCorners), "vertIndices.SetSize(nPolies * 3)"))
        return false;
    if (CHECK_STATUS(SAA_ctrlVertexGetIndices(pScene, &pNode->m_Elem, nCorners, mesh.verts.GetArray(),
                                              mesh.vertIndices.GetArray()),
                     "SAA_ctrlVertexGetIndices(m_pScene, &pNode->m_Elem, nPolies * 3, verts.GetArray(), "
                     "vertIndices.GetArray())") != 0)
        return false;
    return CHECK_BOOL(SetHostSize(mesh.uCoords, nCorners), "uCoords.SetSize(nPolies * 3)") &&
           CHECK_BOOL(SetHostSize(mesh.vCoords, nCorners), "vCoords.SetSize(nPolies * 3)");
}

static bool ReadTriVertices(const SAA_Scene* pScene, SoftNode* pNode, HostMesh& mesh)
{
    if (CHECK_STATUS(SAA_modelGetNbTriVertices(pScene, &pNode->m_Elem, &mesh.nVertices),
                     "SAA_modelGetNbTriVertices(m_pScene, &pNode->m_Elem, &nVertices)") != 0)
        return false;
    if (!CHECK_BOOL(SetHostSize(mesh.vertexPositions, mesh.nVertices), "vertexPositions.SetSize(nVertices)"))
        return false;
    return CHECK_STATUS(
               SAA_modelGetTriVertices(pScene, &pNode->m_Elem, mesh.nVertices, mesh.vertexPositions.GetArray()),
               "SAA_modelGetTriVertices(m_pScene, &pNode->m_Elem, nVertices, vertexPositions.GetArray())") == 0;
}

// The number of vertices is known already.
static bool ReadActualVertices(const SAA_Scene* pScene, SoftNode* pNode, HostMesh& mesh)
{
    if (!CHECK_BOOL(SetHostSize(mesh.actualVertexPositions, mesh.nActualVertices),
                    "actualVertexPositions.SetSize(nActualVertices)"))
        return false;
    if (CHECK_STATUS(SAA_modelGetVertices(pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, mesh.nActualVertices,
                                          mesh.actualVertexPositions.GetArray()),
                     "SAA_modelGetVertices(m_pScene, &pNode->m_Elem, SAA_GEOM_DEFORMED, 0, nActualVertices, "
                     "actualVertexPositions.GetArray())") != 0)
        return false;
    if (!CHECK_BOOL(SetHostSize(pNode->m_CtrlVertices, mesh.nActualVertices),
                    "pNode->m_CtrlVertices.SetSize(nActualVertices)"))
        return false;
    if (CHECK_STATUS(SAA_modelGetCtrlVertices(pScene, &pNode->m_Elem, SAA_GEOM_ORIGINAL, 0, mesh.nActualVertices,
                                              pNode->m_CtrlVertices.GetArray()),
                     "SAA_modelGetCtrlVertices(m_pScene, &pNode->m_Elem, SAA_GEOM_ORIGINAL, 0, nActualVertices, "
                     "pNode->m_CtrlVertices.GetArray())") != 0)
        return false;
    pNode->ShortenCtrlVertices();
    return AreFinite(mesh.vertexPositions) && AreFinite(mesh.actualVertexPositions);
}

static QZBOOL ReadHostMesh(const SAA_Scene* pScene, SoftNode* pNode, ModelPiece* pPiece, HostMesh& mesh)
{
    bool bRead = ReadTriangles(pScene, pNode, pPiece, mesh) && ReadTriVertices(pScene, pNode, mesh) &&
                 CHECK_STATUS(SAA_modelGetNbVertices(pScene, &pNode->m_Elem, &mesh.nActualVertices),
                              "SAA_modelGetNbVertices(m_pScene, &pNode->m_Elem, &nActualVertices)") == 0;
    if (bRead && mesh.nActualVertices > static_cast<int>(MODEL_MAX_VERTS))
    {
        ShowMessage(MESSAGE_OK, "Node %s: %d vertices, the limit is %u.", pNode->GetName(), mesh.nActualVertices,
                    MODEL_MAX_VERTS);
        return QZFALSE;
    }
    if (bRead)
        ReserveVerts(pPiece, mesh.nActualVertices);
    bRead = bRead && ReadActualVertices(pScene, pNode, mesh);
    if (!bRead)
        ShowMessage(MESSAGE_OK, "Node %s: unable to get geometry.", pNode->GetName());
    return bRead ? QZTRUE : QZFALSE;
}

// Ties the corners to the vertices. The order of the corners is turned round.
static QZBOOL MatchCorners(SoftNode* pNode, ModelPiece* pPiece, HostMesh& mesh)
{
    ClosestVertexFinder finder;
    finder.Build(mesh.actualVertexPositions);
    // What was found for each tri-vertex, which is the corner of some six triangles. Without memory each is looked for
    // anew.
    DynArray<uint32_t, DefaultCache> found;
    const bool bKeeps = found.SetSizeInit(mesh.vertexPositions.GetSize(), UINT32_MAX) != QZFALSE;
    const int* pIndex = mesh.vertIndices.GetArray(); // three for each triangle, as of all that is read of corners
    const uint32_t nPositions = mesh.vertexPositions.GetSize();
    for (ModelTri *pTri = pPiece->m_Tris.GetArray(), *pEnd = pTri + pPiece->NumTris(); pTri != pEnd; ++pTri)
    {
        for (uint32_t j = 0; j < 3; ++j)
        {
            const uint32_t index = static_cast<uint32_t>(*pIndex++);
            if (index >= nPositions)
            {
                ShowMessage(MESSAGE_OK, "Invalid vertex index (%d) on node %s.", static_cast<int>(index),
                            pNode->GetName());
                return QZFALSE;
            }
            uint32_t iVert = bKeeps ? found[index] : UINT32_MAX;
            if (iVert == UINT32_MAX)
                iVert = finder.Find(mesh.vertexPositions[index].v, index);
            if (bKeeps)
                found[index] = iVert;
            pTri->m_Indices[2 - j] = static_cast<uint16_t>(iVert);
        }
    }
    return QZTRUE;
}

// Reads the coordinates of the corners and the crop rectangle of the texture, which on success is as it was afterwards.
static QZBOOL ReadTexture(const SAA_Scene* pScene, SoftNode* pNode, SAA_Elem& modelTexture, HostMesh& mesh,
                          TextureMapping& mapping)
{
    int uCropMin = 0, vCropMin = 0, uCropMax = 0, vCropMax = 0;
    if (CHECK_STATUS(SAA_triCtrlVertexGetGlobalUVTxtCoords(pScene, &pNode->m_Elem, mesh.nPolies * 3,
                                                           mesh.verts.GetArray(), 1, &modelTexture,
                                                           mesh.uCoords.GetArray(), mesh.vCoords.GetArray()),
                     "SAA_triCtrlVertexGetGlobalUVTxtCoords(m_pScene, &pNode->m_Elem, nPolies * 3, verts.GetArray(), "
                     "1, &modelTexture, uCoords.GetArray(), vCoords.GetArray())") != 0 ||
        CHECK_STATUS(SAA_texture2DGetCropMin(pScene, &modelTexture, &uCropMin, &vCropMin),
                     "SAA_texture2DGetCropMin(m_pScene, &modelTexture, &uCropMin, &vCropMin)") != 0 ||
        CHECK_STATUS(SAA_texture2DGetCropMax(pScene, &modelTexture, &uCropMax, &vCropMax),
                     "SAA_texture2DGetCropMax(m_pScene, &modelTexture, &uCropMax, &vCropMax)") != 0)
    {
        ShowMessage(MESSAGE_OK, "Node %s: unable to get global texture coordinates.", pNode->GetName());
        return QZFALSE;
    }
    // The image's size can only be had by pushing the crop rectangle out: the host clamps it to the image.
    int uLast = 0, vLast = 0;
    const bool bGotSize = CHECK_STATUS(SAA_texture2DSetCropMax(pScene, &modelTexture, 32767, 32767),
                                       "SAA_texture2DSetCropMax(m_pScene, &modelTexture, 32767, 32767)") == 0 &&
                          CHECK_STATUS(SAA_texture2DGetCropMax(pScene, &modelTexture, &uLast, &vLast),
                                       "SAA_texture2DGetCropMax(m_pScene, &modelTexture, &nWidth, &nHeight)") == 0 &&
                          CHECK_STATUS(SAA_texture2DSetCropMax(pScene, &modelTexture, uCropMax, vCropMax),
                                       "SAA_texture2DSetCropMax(m_pScene, &modelTexture, uCropMax, vCropMax)") == 0;
    const double nWidth = double(uLast) + 1.0;
    const double nHeight = double(vLast) + 1.0;
    if (!bGotSize || !ZOLT_ASSERT(nWidth > 0.0 && nHeight > 0.0, "nHeight && nWidth"))
    {
        ShowMessage(MESSAGE_OK, "Node %s: unable to get texture width and height.", pNode->GetName());
        return QZFALSE;
    }
    mapping.uScale = static_cast<float>((double(uCropMax) - uCropMin) / nWidth);
    mapping.vScale = static_cast<float>((double(vCropMax) - vCropMin) / nHeight);
    mapping.uOffset = static_cast<float>(uCropMin / nWidth);
    mapping.vOffset = static_cast<float>(vCropMin / nHeight);
    return QZTRUE;
}

// False if a coordinate isn't a number that the model can hold.
static bool MapCorners(ModelPiece* pPiece, const HostMesh& mesh, const TextureMapping& mapping)
{
    const float* pU = mesh.uCoords.GetArray();
    const float* pV = mesh.vCoords.GetArray();
    for (ModelTri *pTri = pPiece->m_Tris.GetArray(), *pEnd = pTri + pPiece->NumTris(); pTri != pEnd; ++pTri)
    {
        for (uint32_t j = 0; j < 3; ++j)
        {
            ModelTri::UVPair& pair = pTri->m_UVs[2 - j];
            pair.u = static_cast<float>(double(mapping.uScale) * *pU++ + mapping.uOffset);
            pair.v = static_cast<float>(double(mapping.vScale) * *pV++ + mapping.vOffset);
            if (!std::isfinite(pair.u) || !std::isfinite(pair.v))
                return false;
        }
    }
    return true;
}

static QZBOOL ReadTextureCoords(const SAA_Scene* pScene, SoftNode* pNode, ModelPiece* pPiece, HostMesh& mesh)
{
    SAA_Elem modelTexture = {};
    // A mesh without a global texture is nothing unusual: its coordinates stay 0.
    if (SAA_modelRelationGetT2DGlbElements(pScene, &pNode->m_Elem, 1, &modelTexture) != 0)
        return QZTRUE;
    TextureMapping mapping;
    if (!ReadTexture(pScene, pNode, modelTexture, mesh, mapping))
        return QZFALSE;
    if (!MapCorners(pPiece, mesh, mapping))
    {
        ShowMessage(MESSAGE_OK, "Node %s: unable to get global texture coordinates.", pNode->GetName());
        return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL ConvModel_Soft::ReadGeometry(SoftNode* pNode)
{
    HostMesh mesh;
    ModelPiece* pPiece = GetPiece(static_cast<uint32_t>(pNode->m_PieceIndex));
    if (!ReadHostMesh(m_pScene, pNode, pPiece, mesh))
        return QZFALSE;
    if (!pPiece->m_Tris.SetSize(static_cast<uint32_t>(mesh.nPolies), m_pAllocator) ||
        !pPiece->m_Verts.SetSize(static_cast<uint32_t>(mesh.nActualVertices), m_pAllocator))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    if (!MatchCorners(pNode, pPiece, mesh))
        return QZFALSE;
    ZOLT_ASSERT(pPiece->m_Verts.GetSize() == static_cast<uint32_t>(mesh.nActualVertices),
                "pPiece->m_Verts.GetSize() == (DWORD)nActualVertices");
    for (uint32_t i = 0; i < pPiece->NumVerts(); ++i)
    {
        const double* pPos = mesh.actualVertexPositions[i].v;
        pPiece->GetVert(i)->m_vPos.Set(static_cast<float>(pPos[0]), static_cast<float>(pPos[1]),
                                       static_cast<float>(pPos[2]));
    }
    return ReadTextureCoords(m_pScene, pNode, pPiece, mesh);
}
