// The reader's part for pieces, nodes and weight sets.

#include "engine/model/src/loadfault.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelformat.h"
#include "zoltshared/stdzolt/blockreader.h"
#include "zoltshared/stdzolt/littleendian.h"
#include "zoltshared/stdzolt/modelstream.h"

#include <algorithm>

ZOLT_BEGIN_NAMESPACE

QZBOOL Model::LoadPieces(ModelStream* pStream)
{
    uint32_t nWeights = 0;
    uint32_t nPieces = 0;
    if (!EnterSection(pStream, SECTION_PIECES))
        return QZFALSE;
    pStream->ReadU32(nWeights).ReadU32(nPieces);
    if (!HasRoomFor(pStream, nWeights, DISK_WEIGHT, "weights") || !m_VertexWeights.SetSizeUnset(nWeights, m_pAllocator))
        return QZFALSE;
    if (!HasRoomFor(pStream, nPieces, DISK_PIECE + uint64_t{DISK_MESH} * NumLODs(), "pieces") ||
        !m_Pieces.SetSizeInit(nPieces, nullptr, m_pAllocator))
        return QZFALSE;
    uint32_t iWeight = 0;
    m_MaxWeightNode = 0;
    m_nLoadedWeights = NO_MESH_YET;
    for (uint32_t i = 0; i < nPieces; ++i)
    {
        m_Pieces[i] = AllocNew<ModelPiece>(*m_pAllocator, this);
        if (!m_Pieces[i] || !m_Pieces[i]->LoadPiece(pStream, iWeight) || pStream->ErrorStatus() != 0)
            return QZFALSE;
    }
    // Weights that no vertex has.
    std::fill(m_VertexWeights.GetArray() + iWeight, m_VertexWeights.GetArray() + nWeights, ModelVertWeight());
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
    if (!m_pOwnerModel->HasRoomFor(pStream, nFurther, DISK_MESH, "LODs") ||
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
    uint32_t maxIndex = 0;
    const uint32_t position = pStream->GetPosition();
    if (LoadTris(pStream, maxIndex) && LoadVerts(pStream, iWeight))
    {
        if (NumTris() == 0 || maxIndex < NumVerts())
            return QZTRUE;
        ReportCorner(pStream, position + sizeof(uint32_t));
    }
    // Without elements that were never filled.
    m_Tris.Term(m_pModel->GetAllocator());
    m_Verts.Term(m_pModel->GetAllocator());
    return QZFALSE;
}

// The first corner without a vertex; the triangles begin at `position`.
void ModelPieceLOD::ReportCorner(ModelStream* pStream, uint32_t position) const
{
    for (uint32_t i = 0; i < 3 * NumTris(); ++i)
    {
        const uint32_t iVert = m_Tris.Get(i / 3).m_Indices[i % 3];
        if (iVert < NumVerts())
            continue;
        m_pModel->FailLoadAt(pStream, position + DISK_TRI / 3 * i + 8,
                             "triangle corner %u of %u points at vertex %u of %u", i + 1, 3 * NumTris(), iVert,
                             NumVerts());
        return;
    }
}

// Records of a file. The largest index in them.
static uint32_t GetTriangles(const uint8_t* pRecord, ModelTri* pTri, size_t nTris)
{
    uint32_t maxIndex = 0;
    for (const ModelTri* pEnd = pTri + nTris; pTri != pEnd; ++pTri, pRecord += DISK_TRI)
    {
        uint32_t maxCorner = 0; // so that the triangles needn't wait for each other
        for (uint32_t i = 0; i < 3; ++i)
        {
            const uint8_t* pCorner = pRecord + size_t{DISK_TRI / 3} * i;
            GetFloats(pCorner, &pTri->m_UVs[i], 2);
            const uint16_t index = GetU16(pCorner + 8);
            pTri->m_Indices[i] = index;
            maxCorner = std::max<uint32_t>(maxCorner, index);
        }
        maxIndex = std::max(maxIndex, maxCorner);
    }
    return maxIndex;
}

QZBOOL ModelPieceLOD::LoadTris(ModelStream* pStream, uint32_t& maxIndex)
{
    uint32_t nTris = 0;
    pStream->ReadU32(nTris);
    if (!m_pModel->HasRoomFor(pStream, nTris, DISK_TRI, "triangles") ||
        !m_Tris.SetSizeUnset(nTris, m_pModel->GetAllocator()))
        return QZFALSE;
    BlockReader reader(pStream, uint64_t{DISK_TRI} * nTris);
    for (ModelTri *pTri = m_Tris.GetArray(), *pEnd = pTri + nTris; pTri != pEnd;)
    {
        const uint8_t* pRecordsEnd = nullptr;
        const uint8_t* pRecords = reader.Peek(DISK_TRI, &pRecordsEnd);
        const size_t nThere = static_cast<size_t>(pRecordsEnd - pRecords) / DISK_TRI;
        const size_t n = std::min(nThere, static_cast<size_t>(pEnd - pTri));
        maxIndex = std::max(maxIndex, GetTriangles(pRecords, pTri, n));
        reader.TakeUpTo(pRecords + DISK_TRI * n);
        pTri += n;
    }
    return QZTRUE;
}

namespace
{
// Where the records of a mesh's vertices go.
struct VertexTarget
{
    ModelVert* m_pVert;
    ModelVert* m_pVertEnd;
    ModelVertWeight* m_pWeight;
    uint32_t m_nWeightsLeft;
    uint32_t m_MaxNode = 0; // of all weights
    // The numbers of weights, joined bit by bit: the same as long as all vertices have as many.
    uint32_t m_AllCounts = 0xFFFFu;
    uint32_t m_AnyCount = 0;

    // The parts of a record. The number of weights is returned.
    uint32_t GetCounts(const uint8_t* pCounts)
    {
        const uint16_t nWeights = GetU16(pCounts);
        m_pVert->m_nWeights = nWeights;
        m_pVert->m_VertReserved = GetU16(pCounts + 2);
        m_pVert->m_Weights = nWeights != 0 ? m_pWeight : nullptr;
        m_AllCounts &= nWeights;
        m_AnyCount |= nWeights;
        return nWeights;
    }

    void GetWeight(const uint8_t* pRecord)
    {
        const uint32_t iNode = GetU32(pRecord);
        m_pWeight->m_iNode = iNode;
        GetFloats(pRecord + 4, m_pWeight->m_Vec, 4);
        m_MaxNode = std::max(m_MaxNode, iNode);
        ++m_pWeight;
    }

    void GetPlace(const uint8_t* pPlace)
    {
        static_assert(offsetof(ModelVert, m_vNormal) == offsetof(ModelVert, m_vPos) + sizeof(Vector3));
        GetFloats(pPlace, reinterpret_cast<uint8_t*>(m_pVert) + offsetof(ModelVert, m_vPos), 6);
        ++m_pVert;
    }

    // Records of N weights each, from one that GetWhole has looked at to the first of another number. With N known, no
    // record waits for the number of the one before it to know where it lies.
    template <uint32_t N> const uint8_t* GetRun(const uint8_t* pRecord, const uint8_t* pEnd)
    {
        constexpr size_t SIZE = DISK_VERT + DISK_WEIGHT * N;
        VertexTarget local(*this); // so that the members can be in registers
        size_t nMost = std::min<size_t>(m_pVertEnd - m_pVert, static_cast<size_t>(pEnd - pRecord) / SIZE);
        nMost = std::min<size_t>(nMost, m_nWeightsLeft / N);
        const ModelVertWeight* pFirst = m_pWeight;
        for (const uint8_t* pMost = pRecord + SIZE * nMost; pRecord != pMost && GetU16(pRecord) == N; pRecord += SIZE)
        {
            local.GetCounts(pRecord);
            for (uint32_t i = 0; i < N; ++i)
                local.GetWeight(pRecord + 4 + size_t{DISK_WEIGHT} * i);
            local.GetPlace(pRecord + 4 + size_t{DISK_WEIGHT} * N);
        }
        local.m_nWeightsLeft -= static_cast<uint32_t>(local.m_pWeight - pFirst);
        *this = local;
        return pRecord;
    }

    const uint8_t* GetOne(const uint8_t* pRecord)
    {
        const uint32_t nEach = GetCounts(pRecord);
        pRecord += 4;
        for (uint32_t i = 0; i < nEach; ++i, pRecord += DISK_WEIGHT)
            GetWeight(pRecord);
        m_nWeightsLeft -= nEach;
        GetPlace(pRecord);
        return pRecord + DISK_VERT - 4;
    }

    // Records that lie there as a whole and have room for their weights. Returns what is behind them.
    const uint8_t* GetWhole(const uint8_t* pRecord, const uint8_t* pEnd)
    {
        while (m_pVert != m_pVertEnd && pEnd - pRecord >= ptrdiff_t{DISK_VERT})
        {
            const uint32_t nEach = GetU16(pRecord);
            if (nEach > m_nWeightsLeft || pEnd - pRecord < ptrdiff_t{DISK_VERT + DISK_WEIGHT * nEach})
                break;
            switch (nEach)
            {
            case 1:
                pRecord = GetRun<1>(pRecord, pEnd);
                break;
            case 2:
                pRecord = GetRun<2>(pRecord, pEnd);
                break;
            case 3:
                pRecord = GetRun<3>(pRecord, pEnd);
                break;
            case 4:
                pRecord = GetRun<4>(pRecord, pEnd);
                break;
            default:
                pRecord = GetOne(pRecord);
            }
        }
        return pRecord;
    }
};
} // namespace

QZBOOL ModelPieceLOD::LoadVerts(ModelStream* pStream, uint32_t& iWeight)
{
    uint32_t nVerts = 0;
    pStream->ReadU32(nVerts);
    if (!m_pModel->HasRoomFor(pStream, nVerts, DISK_VERT, "vertices") ||
        !m_Verts.SetSizeUnset(nVerts, m_pModel->GetAllocator()))
        return QZFALSE;
    const uint32_t nWeights = m_pModel->m_VertexWeights.GetSize();
    const uint32_t position = pStream->GetPosition(), iFirst = iWeight;
    ModelVertWeight* pWeights = m_pModel->m_VertexWeights.GetArray();
    BlockReader reader(pStream, uint64_t{DISK_VERT} * nVerts);
    VertexTarget target{m_Verts.GetArray(), m_Verts.GetArray() + nVerts, pWeights + iWeight, nWeights - iWeight};
    while (target.m_pVert != target.m_pVertEnd)
    {
        const uint8_t* pRecordsEnd = nullptr;
        const uint8_t* pRecords = reader.Peek(DISK_VERT, &pRecordsEnd);
        reader.TakeUpTo(target.GetWhole(pRecords, pRecordsEnd));
        const uint32_t iNext = nWeights - target.m_nWeightsLeft;
        reader.Announce(uint64_t{DISK_WEIGHT} * (iNext - iWeight));
        iWeight = iNext;
        if (target.m_pVert == target.m_pVertEnd)
            break;

        // One that doesn't lie there as a whole.
        const uint32_t nEach = target.GetCounts(reader.Take(4));
        if (nEach > target.m_nWeightsLeft)
        {
            const uint32_t iVert = nVerts - static_cast<uint32_t>(target.m_pVertEnd - target.m_pVert);
            return m_pModel->FailLoadAt(pStream, position + DISK_VERT * iVert + DISK_WEIGHT * (iWeight - iFirst),
                                        "vertex %u of %u has %u weights, and %u of %u are left", iVert + 1, nVerts,
                                        nEach, target.m_nWeightsLeft, nWeights);
        }
        target.m_nWeightsLeft -= nEach;
        reader.Announce(uint64_t{DISK_WEIGHT} * nEach);
        iWeight += nEach;
        for (uint32_t i = 0; i < nEach; ++i)
            target.GetWeight(reader.Take(DISK_WEIGHT));
        target.GetPlace(reader.Take(DISK_VERT - 4));
    }
    if (nVerts != 0)
        m_pModel->NoteWeights(target.m_MaxNode, target.m_AllCounts == target.m_AnyCount ? target.m_AnyCount : 0);
    return QZTRUE;
}

QZBOOL Model::LoadNodes(ModelStream* pStream)
{
    if (!EnterSection(pStream, SECTION_NODES))
        return QZFALSE;
    if (!GetRootNode()->Load(pStream) || pStream->ErrorStatus() != 0)
        return QZFALSE;
    // Ahead of the weight sets, which keep one value for each node.
    return PrecalcTables(QZTRUE) && LoadWeightSets(pStream) && CheckWeights(pStream);
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
    if (nLevel > MODEL_MAX_LEVELS)
        return m_pModel->FailLoad(pStream, "the tree has more than %u levels", MODEL_MAX_LEVELS);
    if (!m_pModel->LoadStoredString(pStream, &m_Name))
        return QZFALSE;
    uint8_t record[DISK_NODE - 2] = {};
    pStream->Read(record, sizeof(record));
    m_NodeIndex = GetU16(record);
    m_Flags = record[2];
    Matrix4 global;
    GetFloats(record + 3, global.m, 16);
    SetGlobalTransform(global);

    const uint32_t nChildren = GetU32(record + 67);
    Allocator* pAllocator = m_pModel->GetAllocator();
    if (!m_pModel->HasRoomFor(pStream, nChildren, DISK_NODE, "children"))
        return QZFALSE;
    if (nChildren > MODEL_MAX_NODES - nNodes)
        return m_pModel->FailLoad(pStream, "there are more than %u nodes", MODEL_MAX_NODES);
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
    if (!HasRoomFor(pStream, nSets, DISK_WEIGHTSET, "weight sets") ||
        !m_WeightSets.SetSizeInit(nSets, nullptr, m_pAllocator))
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
    if (nValues < nNodes)
        return m_pModel->FailLoadAt(pStream, pStream->GetPosition() - 4,
                                    "the weight set \"%s\" has %u values for %u nodes", m_Name, nValues, nNodes);
    if (!m_pModel->HasRoomFor(pStream, nValues, sizeof(float), "values of a weight set") ||
        !m_Weights.SetSize(nNodes, m_pModel->GetAllocator()))
        return QZFALSE;
    BlockReader reader(pStream, sizeof(float) * uint64_t{nValues});
    for (uint32_t i = 0; i < nNodes; ++i)
        m_Weights[i] = GetF32(reader.Take(sizeof(float)));
    for (uint32_t i = nNodes; i < nValues; ++i)
        reader.Take(sizeof(float));
    return QZTRUE;
}

void Model::NoteWeights(uint32_t maxNode, uint32_t nEach)
{
    m_MaxWeightNode = std::max(m_MaxWeightNode, maxNode);
    if (m_nLoadedWeights == NO_MESH_YET)
        m_nLoadedWeights = nEach;
    else if (m_nLoadedWeights != nEach)
        m_nLoadedWeights = 0;
}

// With the indices of the triangles, which a mesh holds against its vertices: what the evaluator, the deformation and
// the tool side index without a further test.
QZBOOL Model::CheckWeights(ModelStream* pStream)
{
    if (m_MaxWeightNode < NumNodes())
        return QZTRUE;
    if (m_pLoadFault)
        m_pLoadFault->SetSection(SECTION_PIECES);
    for (uint32_t iPiece = 0; m_pLoadFault && iPiece < NumPieces(); ++iPiece)
    {
        ModelPiece* pPiece = m_Pieces[iPiece];
        for (uint32_t iLOD = 0; iLOD < pPiece->NumLODs(); ++iLOD)
            ReportWeight(pStream, *pPiece->GetLOD(iLOD), pPiece->GetName());
    }
    return QZFALSE;
}

void Model::ReportWeight(ModelStream* pStream, const ModelPieceLOD& mesh, const char* pPiece)
{
    for (uint32_t iVert = 0; iVert < mesh.NumVerts(); ++iVert)
    {
        const ModelVert& vert = mesh.m_Verts.Get(iVert);
        for (uint32_t i = 0; i < vert.m_nWeights; ++i)
        {
            if (vert.m_Weights[i].m_iNode >= NumNodes())
                FailLoadAt(pStream, LoadFault::NO_PLACE, "vertex %u of %u of the piece \"%s\" is on node %u of %u",
                           iVert + 1, mesh.NumVerts(), pPiece, vert.m_Weights[i].m_iNode, NumNodes());
        }
    }
}

ZOLT_END_NAMESPACE
