#include "engine/model/src/modelallocations.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/modelstream.h"

ZOLT_BEGIN_NAMESPACE

void ModelAllocations::Clear()
{
    *this = ModelAllocations();
}

QZBOOL ModelAllocations::Read(ModelStream* pStream)
{
    pStream->ReadU32(m_nKeyFrames).ReadU32(m_nAnims).ReadU32(m_nNodes).ReadU32(m_nPieces).ReadU32(m_nChildModels);
    pStream->ReadU32(m_nTris).ReadU32(m_nVerts).ReadU32(m_nVertexWeights).ReadU32(m_nLODs).ReadU32(m_nSockets);
    pStream->ReadU32(m_nWeightSets).ReadU32(m_nStrings).ReadU32(m_StringLengths);
    return pStream->ErrorStatus() == 0;
}

QZBOOL ModelAllocations::Write(ModelStream* pStream)
{
    pStream->WriteU32(m_nKeyFrames).WriteU32(m_nAnims).WriteU32(m_nNodes).WriteU32(m_nPieces).WriteU32(m_nChildModels);
    pStream->WriteU32(m_nTris).WriteU32(m_nVerts).WriteU32(m_nVertexWeights).WriteU32(m_nLODs).WriteU32(m_nSockets);
    pStream->WriteU32(m_nWeightSets).WriteU32(m_nStrings).WriteU32(m_StringLengths);
    return pStream->ErrorStatus() == 0;
}

// Rounded up as BlockAllocator does.
static uint32_t Rounded(uint64_t size)
{
    return (static_cast<uint32_t>(size) + 3u) & ~3u;
}

QZBOOL ModelAllocations::CalcAllocationSize(uint32_t& size) const
{
    if (m_nLODs == 0)
        return QZFALSE;
    const uint32_t nodes = m_nNodes;
    const uint32_t childNodes = m_nNodes - 1;
    const uint32_t pointer = Rounded(sizeof(void*));

    size = Rounded(MODEL_STRING_FIXED_SIZE) * m_nStrings;
    size += Rounded(m_StringLengths + 3 * m_nStrings);
    size += Rounded(sizeof(NodeKeyFrame)) * m_nKeyFrames * nodes;
    size += pointer * childNodes * m_nAnims; // child tracks
    size += Rounded(sizeof(AnimNode)) * childNodes * m_nAnims;
    size += Rounded(sizeof(AnimKeyFrame)) * m_nKeyFrames;
    size += pointer * nodes * m_nAnims; // tracks by node
    size += pointer * childNodes;       // child nodes
    size += Rounded(sizeof(ModelNode)) * childNodes;
    size += Rounded(sizeof(NodeKeyFrame)) * m_nChildModels * nodes; // relations
    size += Rounded(sizeof(ModelTri)) * m_nTris;
    size += Rounded(sizeof(ModelVert)) * m_nVerts;
    size += Rounded(sizeof(ModelPieceLOD)) * (m_nLODs - 1) * m_nPieces;
    size += pointer * m_nPieces;
    size += Rounded(sizeof(ModelPiece)) * m_nPieces;
    size += Rounded(sizeof(float)) * m_nWeightSets * nodes;
    size += pointer * m_nWeightSets;
    size += Rounded(sizeof(WeightSet)) * m_nWeightSets;
    size += pointer * m_nSockets;
    size += Rounded(sizeof(ModelSocket)) * m_nSockets;
    size += Rounded(sizeof(float)) * (m_nLODs - 1); // m_LODDistances
    size += Rounded(sizeof(ModelVertWeight)) * m_nVertexWeights;
    size += Rounded(sizeof(Matrix4)) * nodes;
    size += pointer * nodes; // m_FlatNodeList
    size += Rounded(sizeof(ChildInfo)) * (m_nChildModels - 1);
    size += Rounded(sizeof(ModelAnim)) * m_nAnims;
    return QZTRUE;
}

ZOLT_END_NAMESPACE
