// The reader's part for pieces, nodes and weight sets.

#include "engine/model/src/model.h"
#include "engine/model/src/seektosection.h"
#include "zoltshared/stdzolt/modelstream.h"

// The least that a record takes in a file, in bytes, names and lists empty.
constexpr uint64_t DISK_TRI = 30;
constexpr uint64_t DISK_VERT = 28;
constexpr uint64_t DISK_WEIGHT = 20;
constexpr uint64_t DISK_MESH = 8;
constexpr uint64_t DISK_PIECE = 14;
constexpr uint64_t DISK_NODE = 73;
constexpr uint64_t DISK_WEIGHTSET = 6;

QZBOOL Model::LoadPieces(ModelStream* pStream)
{
    uint32_t nWeights = 0;
    uint32_t nPieces = 0;
    if (!SeekToSection(pStream, "Pieces"))
        return QZFALSE;
    pStream->ReadU32(nWeights).ReadU32(nPieces);
    if (!HasRoomFor(pStream, nWeights, DISK_WEIGHT) || !m_VertexWeights.SetSize(nWeights, m_pAllocator))
        return QZFALSE;
    if (!HasRoomFor(pStream, nPieces, DISK_PIECE + DISK_MESH * NumLODs()) ||
        !m_Pieces.SetSizeInit(nPieces, nullptr, m_pAllocator))
        return QZFALSE;
    uint32_t iWeight = 0;
    for (uint32_t i = 0; i < nPieces; ++i)
    {
        m_Pieces[i] = AllocNew<ModelPiece>(*m_pAllocator, this);
        if (!m_Pieces[i] || !m_Pieces[i]->LoadPiece(pStream, iWeight) || pStream->ErrorStatus() != 0)
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL ModelPiece::LoadPiece(ModelStream* pStream, uint32_t& iWeight)
{
    uint16_t iTexture = 0;
    pStream->ReadU16(iTexture).ReadF32(m_PieceParamA).ReadF32(m_PieceParamB);
    m_iTexture = iTexture;
    if (m_pOwnerModel->GetFileVersion() >= 10)
        pStream->ReadF32(m_PieceParamC);
    uint16_t nSkip = 0;
    pStream->ReadU16(nSkip);
    for (uint32_t i = 0; i < nSkip; ++i)
    {
        uint32_t skipped = 0;
        pStream->ReadU32(skipped);
    }
    const uint32_t nFurther = m_pOwnerModel->NumLODs() - 1;
    if (!m_pOwnerModel->HasRoomFor(pStream, nFurther, DISK_MESH) ||
        !m_LODs.SetSize(nFurther, m_pOwnerModel->GetAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < nFurther; ++i)
        m_LODs[i].m_pModel = m_pOwnerModel;
    if (pStream->ReadString(m_Name, sizeof(m_Name)) != 0)
        return QZFALSE;
    if (!ModelPieceLOD::Load(pStream, iWeight))
        return QZFALSE;
    for (uint32_t i = 0; i < nFurther; ++i)
    {
        if (!m_LODs[i].Load(pStream, iWeight))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL ModelPieceLOD::Load(ModelStream* pStream, uint32_t& iWeight)
{
    uint32_t nTris = 0;
    pStream->ReadU32(nTris);
    if (!m_pModel->HasRoomFor(pStream, nTris, DISK_TRI) || !m_Tris.SetSize(nTris, m_pModel->GetAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < nTris; ++i)
    {
        ModelTri& tri = m_Tris[i];
        for (uint32_t iCorner = 0; iCorner < 3; ++iCorner)
            pStream->ReadF32(tri.m_UVs[iCorner].u).ReadF32(tri.m_UVs[iCorner].v).ReadU16(tri.m_Indices[iCorner]);
    }

    uint32_t nVerts = 0;
    pStream->ReadU32(nVerts);
    if (!m_pModel->HasRoomFor(pStream, nVerts, DISK_VERT) || !m_Verts.SetSize(nVerts, m_pModel->GetAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < nVerts; ++i)
    {
        ModelVert& vert = m_Verts[i];
        pStream->ReadU16(vert.m_nWeights).ReadU16(vert.m_VertReserved);
        if (uint64_t{iWeight} + vert.m_nWeights > m_pModel->m_VertexWeights.GetSize())
            return QZFALSE;
        if (vert.m_nWeights != 0)
        {
            vert.m_Weights = &m_pModel->m_VertexWeights[iWeight];
            iWeight += vert.m_nWeights;
        }
        for (uint32_t k = 0; k < vert.m_nWeights; ++k)
        {
            ModelVertWeight& weight = vert.m_Weights[k];
            pStream->ReadU32(weight.m_iNode);
            pStream->ReadF32(weight.m_Vec[0]).ReadF32(weight.m_Vec[1]).ReadF32(weight.m_Vec[2]);
            pStream->ReadF32(weight.m_Vec[3]);
        }
        pStream->ReadVector(vert.m_vPos).ReadVector(vert.m_vNormal);
    }
    return QZTRUE;
}

QZBOOL Model::LoadNodes(ModelStream* pStream)
{
    if (!SeekToSection(pStream, "Nodes"))
        return QZFALSE;
    if (!GetRootNode()->Load(pStream) || pStream->ErrorStatus() != 0)
        return QZFALSE;
    // Ahead of the weight sets, which keep one value for each node.
    return Precalc(QZTRUE) && LoadWeightSets(pStream) && CheckGeometry();
}

QZBOOL ModelNode::Load(ModelStream* pStream)
{
    uint32_t nNodes = 1;
    return LoadLevel(pStream, 1, nNodes);
}

// nNodes counts the children that were announced so far in the whole tree, so that a deep tree can't announce the rest
// of the file anew on each level.
QZBOOL ModelNode::LoadLevel(ModelStream* pStream, uint32_t nLevel, uint32_t& nNodes)
{
    if (nLevel > MODEL_MAX_LEVELS || !m_pModel->LoadStoredString(pStream, &m_Name))
        return QZFALSE;
    pStream->ReadU16(m_NodeIndex).ReadU8(m_Flags);
    Matrix4 global;
    for (float& value : global.m)
        pStream->ReadF32(value);
    SetGlobalTransform(global);

    uint32_t nChildren = 0;
    pStream->ReadU32(nChildren);
    Allocator* pAllocator = m_pModel->GetAllocator();
    if (!m_pModel->HasRoomFor(pStream, nChildren, DISK_NODE) || nChildren > MODEL_MAX_NODES - nNodes)
        return QZFALSE;
    nNodes += nChildren;
    if (!m_Children.SetSizeInit(nChildren, nullptr, pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nChildren; ++i)
    {
        ModelNode* pChild = AllocNew<ModelNode>(*pAllocator, m_pModel);
        if (!pChild || !pChild->LoadLevel(pStream, nLevel + 1, nNodes))
        {
            FreeObject(*pAllocator, pChild);
            DeleteAndClearArray(m_Children, pAllocator);
            return QZFALSE;
        }
        m_Children[i] = pChild;
    }
    return QZTRUE;
}

QZBOOL Model::LoadWeightSets(ModelStream* pStream)
{
    DeleteAndClearArray(m_WeightSets, m_pAllocator);
    uint32_t nSets = 0;
    pStream->ReadU32(nSets);
    if (!HasRoomFor(pStream, nSets, DISK_WEIGHTSET) || !m_WeightSets.SetSizeInit(nSets, nullptr, m_pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nSets; ++i)
    {
        m_WeightSets[i] = AllocNew<WeightSet>(*m_pAllocator, this);
        if (!m_WeightSets[i] || !m_WeightSets[i]->Load(pStream))
        {
            DeleteAndClearArray(m_WeightSets, m_pAllocator);
            return QZFALSE;
        }
    }
    return QZTRUE;
}

QZBOOL WeightSet::Load(ModelStream* pStream)
{
    if (pStream->ReadString(m_Name, sizeof(m_Name)) != 0)
        return QZFALSE;
    uint32_t nValues = 0;
    pStream->ReadU32(nValues);
    // The evaluator reads a value for each node. Values beyond the nodes are dropped.
    const uint32_t nNodes = m_pModel->NumNodes();
    if (!m_pModel->HasRoomFor(pStream, nValues, sizeof(float)) || nValues < nNodes ||
        !m_Weights.SetSize(nNodes, m_pModel->GetAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < nValues; ++i)
    {
        float value = 0.0f;
        pStream->ReadF32(value);
        if (i < nNodes)
            m_Weights[i] = value;
    }
    return QZTRUE;
}

// What the evaluator, the deformation and the tool side index without a further test.
QZBOOL Model::CheckGeometry() const
{
    for (uint32_t iPiece = 0; iPiece < NumPieces(); ++iPiece)
    {
        for (uint32_t iLOD = 0; iLOD < NumLODs(); ++iLOD)
        {
            const ModelPieceLOD* pMesh = GetPiece(iPiece)->GetLOD(iLOD);
            for (uint32_t iTri = 0; iTri < pMesh->NumTris(); ++iTri)
            {
                for (const uint16_t index : pMesh->m_Tris[iTri].m_Indices)
                {
                    if (index >= pMesh->NumVerts())
                        return QZFALSE;
                }
            }
        }
    }
    for (uint32_t i = 0; i < m_VertexWeights.GetSize(); ++i)
    {
        if (m_VertexWeights[i].m_iNode >= NumNodes())
            return QZFALSE;
    }
    return QZTRUE;
}
