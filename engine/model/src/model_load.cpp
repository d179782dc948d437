// The reader of model files, versions 9 to 12.
//
// A file from a stranger is the normal case: every count is held against what is left of the stream before memory is
// asked for, and what loads has every index in range. Reads of plain numbers aren't examined one by one; a stream
// that failed zero-fills, and its error status is tested where a step ends.

#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "engine/model/src/seektosection.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/modelstream.h"

// The least that a record takes in a file, in bytes, names and lists empty.
constexpr uint64_t DISK_TRI = 30;
constexpr uint64_t DISK_VERT = 28;
constexpr uint64_t DISK_WEIGHT = 20;
constexpr uint64_t DISK_MESH = 8;
constexpr uint64_t DISK_PIECE = 14;
constexpr uint64_t DISK_NODE = 73;
constexpr uint64_t DISK_WEIGHTSET = 6;
constexpr uint64_t DISK_NODEKEY = 28;
constexpr uint64_t DISK_ANIM = 18;
constexpr uint64_t DISK_KEY = 6;
constexpr uint64_t DISK_SOCKET = 34;
constexpr uint64_t DISK_BINDING = 26;

// A header may ask for a block of this many bytes, and this many times its file's length on top.
constexpr uint64_t BLOCK_BASE_LIMIT = 16u << 20;
constexpr uint64_t BLOCK_LENGTH_FACTOR = 32;

// Animations without keys may have this many tracks in all, and one more for each so many bytes of the file.
constexpr uint64_t EMPTY_TRACKS_BASE = 65536;
constexpr uint64_t EMPTY_TRACKS_BYTES = 16;

constexpr uint32_t OLDEST_VERSION = 9;
constexpr uint32_t NEWEST_VERSION = 12;
constexpr uint32_t HEADER_RESERVED_BYTES = 62;

uint32_t DefaultLoadCallback(LoadRequest* /*pChildRequest*/, Model** /*ppModel*/)
{
    return RESULT_NOT_LOADED;
}

bool Model::HasRoomFor(ModelStream* pStream, uint32_t nCount, uint64_t bytes) const
{
    const uint64_t length = pStream == m_pLoadStream ? m_LoadLength : pStream->GetLength();
    const uint64_t position = pStream->GetPosition();
    return position <= length && nCount * bytes <= length - position;
}

bool Model::CountEmptyTracks(ModelStream* pStream)
{
    // A copy through memory isn't a stranger's file.
    if (pStream != m_pLoadStream)
        return true;
    m_nEmptyTracks += NumNodes();
    return m_nEmptyTracks <= EMPTY_TRACKS_BASE + m_LoadLength / EMPTY_TRACKS_BYTES;
}

QZBOOL Model::LoadHeader(ModelStream* pStream, ModelAllocations* pAllocs)
{
    if (!SeekToSection(pStream, "Header"))
        return QZFALSE;
    pStream->ReadU32(m_FileVersion);
    if (m_FileVersion < OLDEST_VERSION || m_FileVersion > NEWEST_VERSION)
        return QZFALSE;
    return pAllocs->Read(pStream);
}

uint32_t Model::PrepareBlock(ModelStream* pStream, Allocator* pAllocator)
{
    ModelAllocations allocs;
    uint32_t size = 0;
    if (!LoadHeader(pStream, &allocs) || !allocs.CalcAllocationSize(size))
        return RESULT_INVALID_MODEL_FILE;
    if (size > INT32_MAX || size > BLOCK_BASE_LIMIT + BLOCK_LENGTH_FACTOR * pStream->GetLength())
        return RESULT_INVALID_MODEL_FILE;

    const uint32_t version = m_FileVersion;
    Term(QZFALSE);
    m_FileVersion = version;
    g_ModelMemory -= m_BlockAllocator.GetBlockSize();
    if (!m_BlockAllocator.Init(pAllocator, static_cast<int>(size)))
    {
        // An earlier block is gone as well.
        if (m_pAllocator == &m_BlockAllocator)
        {
            m_pAllocator = &g_DefaultAllocator;
            m_Strings.SetAllocator(m_pAllocator);
        }
        return RESULT_OUT_OF_MEMORY;
    }
    m_pAllocator = &m_BlockAllocator;
    m_Strings.SetAllocator(m_pAllocator);
    g_ModelMemory += m_BlockAllocator.GetBlockSize();
    return RESULT_OK;
}

uint32_t Model::Load(LoadRequest* pRequest)
{
    if (!pRequest->m_pStream || (pRequest->m_bLoadChildModels && !pRequest->m_pLoadCallback))
    {
        ZOLT_ASSERT(QZFALSE, "QZFALSE");
        return RESULT_INVALID_PARAMS;
    }
    Term(QZFALSE);
    // Nothing of an earlier load is left in the block.
    if (m_pAllocator == &m_BlockAllocator)
        m_BlockAllocator.Reset();

    m_pLoadStream = pRequest->m_pStream;
    m_LoadLength = m_pLoadStream->GetLength();
    m_nEmptyTracks = 0;
    m_Strings.BeginIndex();
    const uint32_t result = LoadAll(pRequest);
    m_Strings.EndIndex();
    m_pLoadStream = nullptr;
    if (result != RESULT_OK)
        Term(QZFALSE);
    return result;
}

uint32_t Model::LoadAll(LoadRequest* pRequest)
{
    ModelStream* pStream = pRequest->m_pStream;
    if (!LoadHeaderSection(pStream) || !LoadPieces(pStream) || !LoadNodes(pStream))
        return RESULT_ERROR;
    const uint32_t result = LoadChildModels(pRequest);
    if (result != RESULT_OK)
        return result;
    if (!LoadAnims(pStream) || !LoadAnimBindings(pRequest, pStream) || !LoadSockets(pStream))
        return RESULT_ERROR;
    // Here all reads are caught that nobody looked at.
    if (pStream->ErrorStatus() != 0 || !Precalc(QZFALSE))
        return RESULT_ERROR;
    ParseCommandString();
    PrecalcNodeOffsets();
    return RESULT_OK;
}

QZBOOL Model::LoadHeaderSection(ModelStream* pStream)
{
    ModelAllocations allocs;
    if (!LoadHeader(pStream, &allocs) || !LoadStoredString(pStream, &m_CommandString))
        return QZFALSE;
    uint16_t nDistances = 0;
    pStream->ReadF32(m_HeaderFloat).ReadU16(nDistances);
    for (uint32_t i = 0; i < HEADER_RESERVED_BYTES; ++i)
    {
        uint8_t reserved = 0;
        pStream->ReadU8(reserved);
    }
    if (!HasRoomFor(pStream, nDistances, sizeof(float)) || !m_LODDistances.SetSize(nDistances, m_pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nDistances; ++i)
        pStream->ReadF32(m_LODDistances[i]);
    return QZTRUE;
}

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
    if (!GetRootNode()->Load(pStream) || pStream->ErrorStatus() != 0 || GetRootNode()->CountNodes() > MODEL_MAX_NODES)
        return QZFALSE;
    if (!LoadWeightSets(pStream))
        return QZFALSE;
    return Precalc(QZTRUE) && CheckGeometry();
}

QZBOOL ModelNode::Load(ModelStream* pStream)
{
    return LoadLevel(pStream, 1);
}

QZBOOL ModelNode::LoadLevel(ModelStream* pStream, uint32_t nLevel)
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
    if (!m_pModel->HasRoomFor(pStream, nChildren, DISK_NODE) || !m_Children.SetSizeInit(nChildren, nullptr, pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nChildren; ++i)
    {
        ModelNode* pChild = AllocNew<ModelNode>(*pAllocator, m_pModel);
        if (!pChild || !pChild->LoadLevel(pStream, nLevel + 1))
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
    if (!m_pModel->HasRoomFor(pStream, nValues, sizeof(float)) || !m_Weights.SetSize(nValues, m_pModel->GetAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < nValues; ++i)
        pStream->ReadF32(m_Weights[i]);
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
    for (uint32_t i = 0; i < NumWeightSets(); ++i)
    {
        // A set with values beyond the nodes loses them.
        if (GetWeightSet(i)->m_Weights.GetSize() < NumNodes() ||
            !GetWeightSet(i)->m_Weights.NiceSetSize(NumNodes(), QZFALSE, m_pAllocator))
            return QZFALSE;
    }
    return QZTRUE;
}

uint32_t Model::LoadChildModels(LoadRequest* pRequest)
{
    ModelStream* pStream = pRequest->m_pStream;
    if (!SeekToSection(pStream, "ChildModels"))
        return RESULT_ERROR;
    uint32_t nChildModels = 0;
    pStream->ReadU32(nChildModels);
    if (nChildModels == 0 || nChildModels > MAX_CHILD_MODELS)
        return RESULT_ERROR;
    for (uint32_t i = 0; i < nChildModels; ++i)
    {
        ChildInfo* pInfo = &m_SelfChildModel;
        if (i == 0)
        {
            SetChildModel(0, pInfo, this, "SELF");
        }
        else
        {
            const char* pName = nullptr;
            if (!LoadStoredString(pStream, &pName))
                return RESULT_ERROR;
            LoadRequest childRequest;
            childRequest.m_pLoadCallback = pRequest->m_pLoadCallback;
            childRequest.m_pUser = pRequest->m_pUser;
            childRequest.m_pFilename = pName;
            childRequest.m_bLoadChildModels = QZFALSE;
            Model* pChild = nullptr;
            const uint32_t result = pRequest->m_bLoadChildModels ? pRequest->m_pLoadCallback(&childRequest, &pChild)
                                                                 : static_cast<uint32_t>(RESULT_NOT_LOADED);
            if (result != RESULT_OK && result != RESULT_NOT_LOADED)
                return result;
            if (!pChild)
                pRequest->m_bChildrenLoaded = QZFALSE;
            else if (pChild->NumChildModels() > 1)
                return RESULT_INVALID_MODEL_FILE;
            pInfo = AllocNew<ChildInfo>(*m_pAllocator);
            if (!pInfo)
                return RESULT_ERROR;
            ZOLT_ASSERT(i == m_nChildModels, "i == m_nChildModels");
            m_ChildModels[i] = pInfo;
            ++m_nChildModels;
            SetChildModel(i, pInfo, pChild, pName);
        }
        if (!pInfo->Load(pStream))
            return RESULT_ERROR;
        pInfo->m_bTreeMatches =
            pInfo->m_pModel && CompareNodeTrees(GetRootNode(), pInfo->m_pModel->GetRootNode(), nullptr);
    }
    return RESULT_OK;
}

QZBOOL ChildInfo::Load(ModelStream* pStream)
{
    if (!m_pParentModel)
        return QZFALSE;
    pStream->ReadU32(m_Stamp);
    const uint32_t nNodes = m_pParentModel->NumNodes();
    if (!m_pParentModel->HasRoomFor(pStream, nNodes, DISK_NODEKEY) ||
        !m_Relations.SetSize(nNodes, m_pParentModel->GetAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < nNodes; ++i)
        pStream->ReadVector(m_Relations[i].m_vTranslation).ReadRotation(m_Relations[i].m_qRotation);
    return QZTRUE;
}

QZBOOL Model::LoadAnims(ModelStream* pStream)
{
    if (!SeekToSection(pStream, "Animation"))
        return QZFALSE;
    uint32_t nAnims = 0;
    pStream->ReadU32(nAnims);
    if (!HasRoomFor(pStream, nAnims, DISK_ANIM) ||
        !m_Anims.SetSize(nAnims + CalcNumChildAnims(QZFALSE), m_pDefaultAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nAnims; ++i)
    {
        ModelAnim* pAnim = AllocNew<ModelAnim>(*m_pAllocator, this);
        if (!pAnim)
            return QZFALSE;
        m_Anims[i].m_pAnim = pAnim;
        m_Anims[i].m_pChildInfo = &m_SelfChildModel;
        if (!m_Anims[i].LoadAnimInfo(pStream) || pStream->ErrorStatus() != 0)
        {
            m_Anims[i].m_pAnim = nullptr;
            FreeObject(*m_pAllocator, pAnim);
            return QZFALSE;
        }
    }
    return CopyChildAnimRows(nAnims);
}

QZBOOL Model::CopyChildAnimRows(uint32_t nOwnAnims)
{
    uint32_t iRow = nOwnAnims;
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        ChildInfo* pInfo = m_ChildModels[i];
        if (!pInfo->m_pModel || pInfo->m_pModel == this)
            continue;
        pInfo->m_iAnimOffset = iRow;
        for (uint32_t iChildRow = 0; iChildRow < pInfo->m_pModel->NumAnims(); ++iChildRow)
        {
            m_Anims[iRow] = pInfo->m_pModel->m_Anims[iChildRow];
            m_Anims[iRow].m_pChildInfo = pInfo;
            ++iRow;
        }
    }
    return QZTRUE;
}

QZBOOL AnimInfo::LoadAnimInfo(ModelStream* pStream)
{
    pStream->ReadVector(m_vDims);
    if (!m_pAnim)
        return QZFALSE;
    return m_pAnim->Load(pStream, m_pAnim->GetModel()->GetFileVersion());
}

QZBOOL ModelAnim::Load(ModelStream* pStream, uint32_t nVersion)
{
    Term();
    if (!m_pModel->LoadStoredString(pStream, &m_Name))
        return QZFALSE;
    if (nVersion >= 11)
        pStream->ReadI32(m_AnimParamA);
    if (nVersion >= 12)
        pStream->ReadI32(m_AnimParamB);
    uint32_t nKeys = 0;
    pStream->ReadU32(nKeys);
    // Each key has its place in every track.
    if (!m_pModel->HasRoomFor(pStream, nKeys, DISK_KEY + DISK_NODEKEY * m_pModel->NumNodes()))
        return QZFALSE;
    if (nKeys == 0 && !m_pModel->CountEmptyTracks(pStream))
        return QZFALSE;
    if (!m_KeyFrames.SetSize(nKeys, m_pModel->GetAllocator()))
        return QZFALSE;
    for (uint32_t i = 0; i < nKeys; ++i)
    {
        pStream->ReadU32(m_KeyFrames[i].m_Time);
        if (!m_pModel->LoadStoredString(pStream, &m_KeyFrames[i].m_pString))
            return QZFALSE;
    }
    m_pRootNode->m_pNode = m_pModel->GetRootNode();
    if (!m_pRootNode->Load(pStream))
        return QZFALSE;
    return PrecalcNodeLists(QZTRUE);
}

QZBOOL AnimNode::Load(ModelStream* pStream)
{
    ZOLT_ASSERT(m_KeyFrames.GetSize() == 0, "!m_KeyFrames");
    Allocator* pAllocator = GetModel()->GetAllocator();
    if (!m_KeyFrames.SetSize(NumKeyFrames(), pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < m_KeyFrames.GetSize(); ++i)
        pStream->ReadVector(m_KeyFrames[i].m_vTranslation).ReadRotation(m_KeyFrames[i].m_qRotation);
    const uint32_t nChildren = m_pNode->NumChildren();
    if (!m_Children.SetSizeInit(nChildren, nullptr, pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nChildren; ++i)
    {
        AnimNode* pChild = AllocNew<AnimNode>(*pAllocator, m_pAnim, this);
        if (pChild)
            pChild->m_pNode = m_pNode->GetChild(i);
        if (!pChild || !pChild->Load(pStream))
        {
            FreeObject(*pAllocator, pChild);
            DeleteAndClearArray(m_Children, pAllocator);
            return QZFALSE;
        }
        m_Children[i] = pChild;
    }
    return QZTRUE;
}

QZBOOL Model::LoadAnimBindings(LoadRequest* pRequest, ModelStream* pStream)
{
    if (!SeekToSection(pStream, "AnimBindings"))
        return QZFALSE;
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        ChildInfo* pInfo = m_ChildModels[i];
        uint32_t nBindings = 0;
        pStream->ReadU32(nBindings);
        if (!HasRoomFor(pStream, nBindings, DISK_BINDING))
            return QZFALSE;
        if (pInfo->m_pModel &&
            (nBindings != pInfo->m_pModel->CalcNumOwnAnims() || pInfo->m_Stamp != pInfo->m_pModel->GetModelStamp()))
        {
            pRequest->m_bBindingsValid = QZFALSE;
            ZOLT_ASSERT(pInfo->m_pModel != this, "pInfo->m_pModel != this");
        }
        for (uint32_t j = 0; j < nBindings; ++j)
        {
            char name[256];
            Vector3 dims;
            Vector3 translation;
            if (pStream->ReadString(name, sizeof(name)) != 0)
                return QZFALSE;
            pStream->ReadVector(dims).ReadVector(translation);
            if (!pInfo->m_pModel)
                continue;
            uint32_t iRow = 0;
            AnimInfo* pRow = FindAnimInfo(name, pInfo->m_pModel, &iRow);
            if (!pRow || iRow != pInfo->m_iAnimOffset + j)
                ZOLT_ASSERT(pInfo->m_pModel != this, "pInfo->m_pModel != this");
            if (pRow)
                pRow->m_vTranslation = translation;
        }
    }
    return QZTRUE;
}

QZBOOL Model::LoadSockets(ModelStream* pStream)
{
    if (!SeekToSection(pStream, "Sockets"))
        return QZFALSE;
    uint32_t nSockets = 0;
    pStream->ReadU32(nSockets);
    if (!HasRoomFor(pStream, nSockets, DISK_SOCKET) || !m_Sockets.SetSizeInit(nSockets, nullptr, m_pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nSockets; ++i)
    {
        ModelSocket* pSocket = AllocNew<ModelSocket>(*m_pAllocator);
        if (!pSocket)
            return QZFALSE;
        m_Sockets[i] = pSocket;
        pStream->ReadU32(pSocket->m_iNode);
        if (pSocket->m_iNode >= NumNodes() || pStream->ReadString(pSocket->m_Name, sizeof(pSocket->m_Name)) != 0)
            return QZFALSE;
        pStream->ReadRotation(pSocket->m_qRotation).ReadVector(pSocket->m_vPos);
    }
    return QZTRUE;
}
