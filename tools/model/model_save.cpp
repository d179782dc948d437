// The writer of model files, version 12, with its proof: what was written is loaded through a counting allocator, and
// the size that a reader computes from the header must cover what that load took.

#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "engine/model/src/modelformat.h"
#include "tools/model/beginsection.h"
#include "tools/model/checkedwritestream.h"
#include "tools/model/convmodel.h"
#include "tools/model/readoncestream.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/blockwriter.h"
#include "zoltshared/stdzolt/chunkallocator.h"
#include "zoltshared/stdzolt/countingallocator.h"
#include "zoltshared/stdzolt/littleendian.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/replacefilestream.h"

#include <algorithm>
#include <new>

constexpr uint32_t COPY_CACHE_SIZE = 65535;
constexpr uint32_t MAX_WRITTEN_LODS = 65536; // the first has no distance, and the count of distances 16 bits

// About what a file of the model takes: its long tables, and a margin for names and texts.
static uint64_t EstimateFileSize(Model& model)
{
    uint64_t size = uint64_t{20} * model.m_VertexWeights.GetSize();
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        for (uint32_t iLOD = 0; iLOD < model.GetPiece(i)->NumLODs(); ++iLOD)
        {
            ModelPieceLOD* pMesh = model.GetPiece(i)->GetLOD(iLOD);
            size += uint64_t{30} * pMesh->NumTris() + uint64_t{28} * pMesh->NumVerts();
        }
    }
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
    {
        const ModelAnim* pAnim = model.GetAnim(i);
        if (pAnim && pAnim->GetModel() == &model)
            size += uint64_t{pAnim->NumKeyFrames()} * (6 + sizeof(NodeKeyFrame) * model.NumNodes());
    }
    return size + size / 16 + uint64_t{128} * (model.NumNodes() + model.NumPieces() + model.NumAnims());
}

// The proof's load, from the start of the stream.
static bool LoadWritten(Model& loaded, ModelStream* pWritten, bool bLoadChildModels)
{
    LoadRequest request;
    request.m_pStream = pWritten;
    request.m_bLoadChildModels = bLoadChildModels ? QZTRUE : QZFALSE;
    return pWritten->SeekTo(0) == 0 && loaded.Load(&request) == RESULT_OK;
}

// The proof: loads what was written of the model. Its counts are taken at the start.
class Proof
{
public:
    explicit Proof(Model& model) : m_bCounted(m_Counts.InitFromModel(&model)) {}

    bool Holds(ModelStream* pWritten)
    {
        ChunkAllocator memory(&g_DefaultAllocator); // all of it goes at once
        CountingAllocator allocCount(&memory);
        Model scratch(&allocCount, &g_DefaultAllocator);
        return LoadWritten(scratch, pWritten, false) && Covers(allocCount);
    }

    // Whether what a load took is within what the header tells a reader.
    bool Covers(const CountingAllocator& allocCount)
    {
        uint32_t testAllocationSize = 0;
        return ZOLT_ASSERT(m_bCounted, "allocs.InitFromModel(this)") &&
               ZOLT_ASSERT(m_Counts.CalcAllocationSize(testAllocationSize),
                           "allocs.CalcAllocationSize(testAllocationSize)") &&
               ZOLT_ASSERT(allocCount.m_TotalMemoryAllocated <= testAllocationSize,
                           "allocCount.m_TotalMemoryAllocated <= testAllocationSize");
    }

private:
    ModelAllocations m_Counts;
    bool m_bCounted;
};

// What is left of a model that is proven.
enum class ProvenModel
{
    Stays,
    Goes // its memory is free by the time of the proof's load
};

static bool ProveWritten(Model& model, ModelStream* pWritten, ProvenModel proven)
{
    Proof proof(model);
    if (proven == ProvenModel::Goes)
        model.Term(QZFALSE);
    return proof.Holds(pWritten);
}

// Writes the model once more, into memory, and loads that.
static bool ProveByAnotherWriting(Model& model, ProvenModel proven)
{
    ReadOnceStream* pMemory = new (std::nothrow) ReadOnceStream;
    if (!pMemory)
        return false;
    const bool bProven = model.WriteSections(pMemory) && ProveWritten(model, pMemory, proven);
    pMemory->Release();
    return bProven;
}

// Loads a copy from what was written. It is the proof as well, where its memory can be counted; a block can't.
static bool LoadCopy(Model& copy, ReadOnceStream* pWritten, Proof& proof)
{
    Allocator* pAllocator = copy.GetAllocator();
    if (pAllocator == &copy.m_BlockAllocator)
    {
        pWritten->Hold(true);
        const bool bHolds = proof.Holds(pWritten);
        pWritten->Hold(false);
        return bHolds && LoadWritten(copy, pWritten, true);
    }
    copy.Term(QZFALSE);
    CountingAllocator allocCount(pAllocator);
    copy.m_pAllocator = copy.m_Strings.m_pAllocator = &allocCount;
    const bool bLoaded = LoadWritten(copy, pWritten, true) && proof.Covers(allocCount);
    copy.m_pAllocator = copy.m_Strings.m_pAllocator = pAllocator;
    if (!bLoaded)
        copy.Term(QZFALSE);
    return bLoaded;
}

// Save and Load through memory.
static bool CopyThroughMemory(Model& source, Model& copy)
{
    ReadOnceStream* pMemory = new (std::nothrow) ReadOnceStream;
    if (!pMemory)
        return false;
    source.OrderAnimsForSave();
    bool bCopied = source.WriteSections(pMemory);
    if (bCopied)
    {
        source.SetModelStamp(source.GetModelStamp() + 1); // as each save does
        Proof proof(source);
        bCopied = LoadCopy(copy, pMemory, proof);
    }
    pMemory->Release();
    return bCopied;
}

// Whether all that is written to the stream can be read from it.
static bool CanReadBack(ModelStream* pStream)
{
    const ReplaceFileStream* pFile = dynamic_cast<ReplaceFileStream*>(pStream);
    return (pFile && pFile->CanReadBack()) || dynamic_cast<MemoryStream*>(pStream);
}

static bool SaveProven(Model& model, ModelStream* pStream, ProvenModel proven)
{
    model.OrderAnimsForSave();
    if (MemoryStream* pMemory = dynamic_cast<MemoryStream*>(pStream))
        pMemory->Reserve(static_cast<uint32_t>(std::min<uint64_t>(EstimateFileSize(model), UINT32_MAX)));
    // Where it can be read back, and nothing else is there, it needn't be written a second time.
    const bool bIsProof = CanReadBack(pStream) && pStream->GetLength() == 0;
    if (!model.WriteSections(pStream))
        return false;
    if (!bIsProof)
        return ProveByAnotherWriting(model, proven);

    const uint32_t end = pStream->GetPosition();
    model.SetModelStamp(model.GetModelStamp() + 1); // as each writing does
    return ProveWritten(model, pStream, proven) && pStream->SeekTo(end) == 0;
}

QZBOOL Model::Save(ModelStream* pStream)
{
    return SaveProven(*this, pStream, ProvenModel::Stays);
}

QZBOOL ConvModel::SaveAndTerm(ModelStream* pStream)
{
    return SaveProven(*this, pStream, ProvenModel::Goes);
}

QZBOOL Model::OrderAnimsForSave()
{
    DynArray<AnimInfo, NoCache> ordered;
    if (!ordered.SetSize(NumAnims()))
        return QZFALSE;
    uint32_t iRow = 0;
    for (const bool bOwn : {true, false})
    {
        for (uint32_t i = 0; i < NumAnims(); ++i)
        {
            if (IsOwn(m_Anims[i]) == bOwn)
                ordered[iRow++] = m_Anims[i];
        }
    }
    for (uint32_t i = 0; i < NumAnims(); ++i)
        m_Anims[i] = ordered[i];
    // The rows of a link have kept their order, but may stand elsewhere. A link without rows begins behind all.
    for (uint32_t i = 1; i < m_nChildModels; ++i)
    {
        if (m_ChildModels[i]->m_pModel)
            m_ChildModels[i]->m_iAnimOffset = NumAnims();
    }
    for (uint32_t i = NumAnims(); i-- > 0;)
        m_Anims[i].m_pChildInfo->m_iAnimOffset = i;
    return QZTRUE;
}

QZBOOL Model::WriteSections(ModelStream* pTarget)
{
    SetModelStamp(GetModelStamp() + 1);
    if (!ZOLT_ASSERT(m_CommandString, "m_CommandString"))
        return QZFALSE;
    // What the format can't hold; and the number of relations goes by a tree that is precalculated.
    if (NumLODs() > MAX_WRITTEN_LODS || (NumNodes() != GetRootNode()->CountNodes() && !Precalc(QZTRUE)))
        return QZFALSE;
    CheckedWriteStream checked(pTarget);
    ModelStream* pStream = &checked;

    uint32_t iLink = BeginSection(pStream, SECTION_HEADER, NO_PREVIOUS_SECTION);
    pStream->WriteU32(MODEL_NEWEST_VERSION);
    ModelAllocations allocs;
    if (!allocs.InitFromModel(this) || !allocs.Write(pStream))
        return QZFALSE;
    pStream->WriteString(m_CommandString);
    pStream->WriteF32(m_HeaderFloat).WriteU16(static_cast<uint16_t>(m_LODDistances.GetSize()));
    const uint8_t reserved[HEADER_RESERVED_BYTES] = {};
    pStream->Write(reserved, sizeof(reserved));
    for (uint32_t i = 0; i < m_LODDistances.GetSize(); ++i)
        pStream->WriteF32(m_LODDistances[i]);

    iLink = BeginSection(pStream, SECTION_PIECES, iLink);
    pStream->WriteU32(allocs.m_nVertexWeights).WriteU32(NumPieces());
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        if (!SavePiece(pStream, m_Pieces[i]))
            return QZFALSE;
    }

    iLink = BeginSection(pStream, SECTION_NODES, iLink);
    if (!GetRootNode()->Save(pStream) || !SaveWeightSets(pStream))
        return QZFALSE;

    iLink = BeginSection(pStream, SECTION_CHILD_MODELS, iLink);
    pStream->WriteU32(m_nChildModels);
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        if (i > 0)
            pStream->WriteString(m_ChildModels[i]->m_pName);
        if (!m_ChildModels[i]->Save(pStream))
            return QZFALSE;
    }

    iLink = BeginSection(pStream, SECTION_ANIMATION, iLink);
    pStream->WriteU32(CalcNumOwnAnims());
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        // A row of link 0 that isn't an own one can't be written.
        if (m_Anims[i].m_pChildInfo == &m_SelfChildModel && !(IsOwn(m_Anims[i]) && m_Anims[i].SaveAnimInfo(pStream)))
            return QZFALSE;
    }

    iLink = BeginSection(pStream, SECTION_SOCKETS, iLink);
    if (!SaveSockets(pStream) || !SaveAnimBindings(pStream, iLink))
        return QZFALSE;
    return pStream->ErrorStatus() == 0;
}

QZBOOL Model::SavePiece(ModelStream* pStream, ModelPiece* pPiece)
{
    if (pPiece->NumLODs() != NumLODs())
        return QZFALSE;
    pStream->WriteU16(static_cast<uint16_t>(pPiece->m_iTexture));
    pStream->WriteF32(pPiece->m_PieceParamA).WriteF32(pPiece->m_PieceParamB).WriteF32(pPiece->m_PieceParamC);
    pStream->WriteU16(0); // skipped words
    pStream->WriteString(pPiece->GetName());
    for (uint32_t i = 0; i < pPiece->NumLODs(); ++i)
    {
        if (!pPiece->GetLOD(i)->Save(pStream))
            return QZFALSE;
    }
    return QZTRUE;
}

static uint8_t* PutTriangle(uint8_t* pRecord, const ModelTri& tri)
{
    for (uint32_t i = 0; i < 3; ++i, pRecord += DISK_TRI / 3)
    {
        PutFloats(pRecord, &tri.m_UVs[i], 2);
        PutU16(pRecord + 8, tri.m_Indices[i]);
    }
    return pRecord;
}

static uint8_t* PutCounts(uint8_t* pRecord, const ModelVert& vert)
{
    PutU16(pRecord, vert.m_nWeights);
    PutU16(pRecord + 2, vert.m_VertReserved);
    return pRecord + 4;
}

static uint8_t* PutWeight(uint8_t* pRecord, const ModelVertWeight& weight)
{
    PutU32(pRecord, weight.m_iNode);
    PutFloats(pRecord + 4, weight.m_Vec, 4);
    return pRecord + DISK_WEIGHT;
}

static uint8_t* PutPlace(uint8_t* pRecord, const ModelVert& vert)
{
    PutFloats(pRecord, &vert.m_vPos, 3);
    PutFloats(pRecord + 12, &vert.m_vNormal, 3);
    return pRecord + DISK_VERT - 4;
}

QZBOOL ModelPieceLOD::Save(ModelStream* pStream)
{
    BlockWriter writer(pStream);
    uint8_t* pRoomEnd = nullptr;
    PutU32(writer.Put(4), NumTris());
    for (const ModelTri *pTri = m_Tris.GetArray(), *pEnd = pTri + NumTris(); pTri != pEnd;)
    {
        uint8_t* pRoom = writer.Room(DISK_TRI, &pRoomEnd);
        for (; pTri != pEnd && pRoomEnd - pRoom >= ptrdiff_t{DISK_TRI}; ++pTri)
            pRoom = PutTriangle(pRoom, *pTri);
        writer.PutUpTo(pRoom);
    }
    PutU32(writer.Put(4), NumVerts());
    // So many weights of a vertex go in one piece.
    constexpr uint32_t MOST = (BlockWriter::MAX_PUT - DISK_VERT) / DISK_WEIGHT;
    for (const ModelVert *pVert = m_Verts.GetArray(), *pEnd = pVert + NumVerts(); pVert != pEnd;)
    {
        uint8_t* pRoom = writer.Room(BlockWriter::MAX_PUT, &pRoomEnd);
        for (; pVert != pEnd && pVert->m_nWeights <= MOST && pRoomEnd - pRoom >= ptrdiff_t{BlockWriter::MAX_PUT};
             ++pVert)
        {
            pRoom = PutCounts(pRoom, *pVert);
            for (uint32_t k = 0; k < pVert->m_nWeights; ++k)
                pRoom = PutWeight(pRoom, pVert->m_Weights[k]);
            pRoom = PutPlace(pRoom, *pVert);
        }
        writer.PutUpTo(pRoom);
        for (; pVert != pEnd && pVert->m_nWeights > MOST; ++pVert)
        {
            PutCounts(writer.Put(4), *pVert);
            for (uint32_t k = 0; k < pVert->m_nWeights; ++k)
                PutWeight(writer.Put(DISK_WEIGHT), pVert->m_Weights[k]);
            PutPlace(writer.Put(DISK_VERT - 4), *pVert);
        }
    }
    return QZTRUE;
}

QZBOOL ModelNode::Save(ModelStream* pStream)
{
    pStream->WriteString(m_Name);
    uint8_t record[2 + 1 + 64 + 4];
    PutU16(record, m_NodeIndex);
    record[2] = m_Flags;
    PutFloats(record + 3, m_mGlobal.m, 16);
    PutU32(record + 67, NumChildren());
    pStream->Write(record, sizeof(record));
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        if (!m_Children[i]->Save(pStream))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL Model::SaveWeightSets(ModelStream* pStream)
{
    pStream->WriteU32(NumWeightSets());
    for (uint32_t i = 0; i < NumWeightSets(); ++i)
    {
        if (!m_WeightSets[i]->Save(pStream))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL WeightSet::Save(ModelStream* pStream)
{
    pStream->WriteString(m_Name);
    // What the header counts, and a load keeps, whatever has become of the tree since the set was made.
    const uint32_t nNodes = m_pModel->NumNodes();
    BlockWriter writer(pStream);
    PutU32(writer.Put(4), nNodes);
    for (uint32_t i = 0; i < nNodes; ++i)
        PutF32(writer.Put(4), i < m_Weights.GetSize() ? m_Weights[i] : 0.0f);
    return QZTRUE;
}

QZBOOL ChildInfo::Save(ModelStream* pStream)
{
    if (!m_pParentModel)
        return QZFALSE;
    pStream->WriteU32(m_Stamp);
    const uint32_t nNodes = m_pParentModel->NumNodes();
    const uint32_t nRelations = std::min(nNodes, m_Relations.GetSize());
    NodeKeyFrame::SaveKeys(pStream, m_Relations.GetArray(), nRelations);
    NodeKeyFrame identity;
    identity.SetIdentity();
    for (uint32_t i = nRelations; i < nNodes; ++i)
        NodeKeyFrame::SaveKeys(pStream, &identity, 1);
    return QZTRUE;
}

QZBOOL AnimInfo::SaveAnimInfo(ModelStream* pStream)
{
    if (!m_pAnim)
        return QZFALSE;
    pStream->WriteVector(m_vDims);
    return m_pAnim->Save(pStream);
}

QZBOOL ModelAnim::Save(ModelStream* pStream)
{
    pStream->WriteString(m_Name);
    pStream->WriteI32(m_AnimParamA).WriteI32(m_AnimParamB).WriteU32(NumKeyFrames());
    {
        BlockWriter writer(pStream);
        for (uint32_t i = 0; i < NumKeyFrames(); ++i)
        {
            PutU32(writer.Put(4), m_KeyFrames[i].m_Time);
            writer.PutString(m_KeyFrames[i].m_pString);
        }
    }
    return m_pRootNode->Save(pStream);
}

QZBOOL AnimNode::Save(ModelStream* pStream)
{
    if (!m_pNode || NumChildren() != m_pNode->NumChildren())
        return QZFALSE;
    // The array reports a track that has fewer keys than its animation; there is nothing to write for it.
    if (!ZOLT_ASSERT(NumKeyFrames() <= m_KeyFrames.GetSize(), "index < m_nElements"))
        return QZFALSE;
    NodeKeyFrame::SaveKeys(pStream, m_KeyFrames.GetArray(), NumKeyFrames());
    for (uint32_t i = 0; i < NumChildren(); ++i)
    {
        if (!m_Children[i]->Save(pStream))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL Model::SaveSockets(ModelStream* pStream)
{
    pStream->WriteU32(NumSockets());
    for (uint32_t i = 0; i < NumSockets(); ++i)
    {
        const ModelSocket* pSocket = m_Sockets[i];
        pStream->WriteU32(pSocket->m_iNode);
        pStream->WriteString(pSocket->GetName());
        pStream->WriteRotation(pSocket->m_qRotation).WriteVector(pSocket->m_vPos);
    }
    return QZTRUE;
}

QZBOOL Model::SaveAnimBindings(ModelStream* pStream, uint32_t iPrevLink)
{
    BeginSection(pStream, SECTION_ANIM_BINDINGS, iPrevLink);
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        const ChildInfo* pInfo = m_ChildModels[i];
        if (!pInfo->m_pModel)
        {
            pStream->WriteU32(0);
            continue;
        }
        const uint32_t nBindings = pInfo->m_pModel->CalcNumOwnAnims();
        pStream->WriteU32(nBindings);
        for (uint32_t j = 0; j < nBindings; ++j)
        {
            // A link that lacks rows, since they couldn't be made or its model has grown, can't be written.
            const uint32_t iRow = pInfo->m_iAnimOffset + j;
            if (iRow >= NumAnims() || m_Anims[iRow].m_pChildInfo != pInfo || !m_Anims[iRow].m_pAnim)
                return QZFALSE;
            pStream->WriteString(m_Anims[iRow].m_pAnim->GetName());
            pStream->WriteVector(m_Anims[iRow].m_vDims).WriteVector(m_Anims[iRow].m_vTranslation);
        }
    }
    return QZTRUE;
}

QZBOOL Model::CopyModelFrom(Model* pSource)
{
    return CopyThroughMemory(*pSource, *this);
}

// Exchanges what TakeModelFrom doesn't copy.
static void SwapMeshes(Model& model, DynArray<ModelPiece*, NoCache>& pieces,
                       DynArray<ModelVertWeight, NoCache>& weights)
{
    model.m_Pieces.Swap(pieces);
    model.m_VertexWeights.Swap(weights);
}

static void SetOwner(ModelPiece* pPiece, Model* pModel)
{
    pPiece->m_pOwnerModel = pModel;
    for (uint32_t i = 0; i < pPiece->NumLODs(); ++i)
        pPiece->GetLOD(i)->m_pModel = pModel;
}

QZBOOL ConvModel::TakeModelFrom(ConvModel* pSource)
{
    DynArray<ModelPiece*, NoCache> pieces;
    DynArray<ModelVertWeight, NoCache> weights;
    DynArray<AnimInfo, NoCache> anims;
    SwapMeshes(*pSource, pieces, weights);
    pSource->m_Anims.Swap(anims);
    const bool bCopied = CopyThroughMemory(*pSource, *this);
    pSource->m_Anims.Swap(anims);
    SwapMeshes(bCopied ? *this : *pSource, pieces, weights);
    if (!bCopied)
        return QZFALSE;
    for (uint32_t i = 0; i < NumPieces(); ++i)
        SetOwner(m_Pieces[i], this);
    return Precalc(QZFALSE);
}

QZBOOL ModelAnim::CopyFrom(ModelAnim* pSource)
{
    MemoryStream* pStream = CreateMemoryStream(COPY_CACHE_SIZE);
    if (!pStream)
        return QZFALSE;
    const uint64_t size = uint64_t(pSource->NumKeyFrames()) * pSource->GetModel()->NumNodes() * sizeof(NodeKeyFrame);
    if (size <= UINT32_MAX)
        pStream->Reserve(static_cast<uint32_t>(size));
    CheckedWriteStream checked(pStream);
    QZBOOL bCopied = QZFALSE;
    if (pSource->Save(&checked) && checked.ErrorStatus() == 0)
    {
        pStream->SeekTo(0);
        // Read back in the layout that was just written, whatever files the two models come from.
        bCopied = Load(pStream, MODEL_NEWEST_VERSION) && pStream->ErrorStatus() == 0 &&
                  pStream->GetPosition() == pStream->GetLength();
    }
    pStream->Release();
    return bCopied;
}
