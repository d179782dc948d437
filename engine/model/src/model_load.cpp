// The reader of model files, versions 9 to 12.
//
// A file from a stranger is the normal case: every count is held against what is left of the stream before memory is
// asked for, and what loads has every index in range. Reads of plain numbers aren't examined one by one; a stream
// that failed zero-fills, and its error status is tested where a step ends.

#include "engine/model/src/loadfault.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "engine/model/src/modelformat.h"
#include "engine/model/src/seektosection.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/modelstream.h"

#include <cstdarg>
#include <cstdio>

ZOLT_BEGIN_NAMESPACE

// A header may ask for a block of this many bytes, and this many times its file's length on top. No record of a valid
// file takes more than 10 times its bytes, but for tracks of animations without keys, which the base has room for.
constexpr uint64_t BLOCK_BASE_LIMIT = 16u << 20;
constexpr uint64_t BLOCK_LENGTH_FACTOR = 16;

// Animations without keys may have this many tracks in all, and one more for each so many bytes of the file.
constexpr uint64_t EMPTY_TRACKS_BASE = 65536;
constexpr uint64_t EMPTY_TRACKS_BYTES = 16;

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

bool Model::HasRoomFor(ModelStream* pStream, uint32_t nCount, uint64_t bytes, const char* pWhat)
{
    return HasRoomFor(pStream, nCount, bytes) ||
           FailLoad(pStream, "%u %s take %llu bytes or more, which the file doesn't have", nCount, pWhat,
                    static_cast<unsigned long long>(nCount) * bytes);
}

QZBOOL Model::FailLoad(ModelStream* pStream, const char* pFormat, ...)
{
    va_list arguments;
    va_start(arguments, pFormat);
    if (m_pLoadFault && pStream == m_pLoadStream)
        m_pLoadFault->Note(pStream->GetPosition(), pFormat, arguments);
    va_end(arguments);
    return QZFALSE;
}

QZBOOL Model::FailLoadAt(ModelStream* pStream, uint32_t position, const char* pFormat, ...)
{
    va_list arguments;
    va_start(arguments, pFormat);
    if (m_pLoadFault && pStream == m_pLoadStream)
        m_pLoadFault->Note(position, pFormat, arguments);
    va_end(arguments);
    return QZFALSE;
}

QZBOOL Model::EnterSection(ModelStream* pStream, const char* pName)
{
    // Reads of the section before this one that nobody looked at: the load will fail for them.
    if (pStream->ErrorStatus() != 0)
        FailLoad(pStream, "the file ends in it, or can't be read");
    if (m_pLoadFault)
        m_pLoadFault->SetSection(nullptr);
    if (!SeekToSection(pStream, pName))
        return FailLoadAt(pStream, LoadFault::NO_PLACE, "there is no section \"%s\"", pName);
    if (m_pLoadFault)
        m_pLoadFault->SetSection(pName);
    return QZTRUE;
}

bool Model::CountEmptyTracks(ModelStream* pStream)
{
    // A copy through memory isn't a stranger's file.
    if (pStream != m_pLoadStream)
        return true;
    m_nEmptyTracks += NumNodes();
    return m_nEmptyTracks <= EMPTY_TRACKS_BASE + m_LoadLength / EMPTY_TRACKS_BYTES ||
           FailLoad(pStream, "animations without keys have more tracks than any sound file");
}

QZBOOL Model::LoadHeader(ModelStream* pStream, ModelAllocations* pAllocs)
{
    if (!EnterSection(pStream, SECTION_HEADER))
        return QZFALSE;
    pStream->ReadU32(m_FileVersion);
    if (m_FileVersion < MODEL_OLDEST_VERSION || m_FileVersion > MODEL_NEWEST_VERSION)
        return FailLoad(pStream, "version %u, and versions %u to %u can be read", m_FileVersion, MODEL_OLDEST_VERSION,
                        MODEL_NEWEST_VERSION);
    return pAllocs->Read(pStream) || FailLoad(pStream, "the file ends in it");
}

uint32_t Model::PrepareBlock(ModelStream* pStream, Allocator* pAllocator)
{
    ModelAllocations allocs;
    uint32_t size = 0;
    if (!LoadHeader(pStream, &allocs) || !allocs.CalcAllocationSize(size))
        return RESULT_INVALID_MODEL_FILE;
    if (size > INT32_MAX || size > BLOCK_BASE_LIMIT + BLOCK_LENGTH_FACTOR * pStream->GetLength())
        return RESULT_INVALID_MODEL_FILE;

    Term(QZFALSE);
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
        if (pRequest->m_pErrorText && pRequest->m_ErrorTextSize != 0)
            std::snprintf(pRequest->m_pErrorText, pRequest->m_ErrorTextSize, "%s",
                          pRequest->m_pStream ? "there is no callback for child models" : "there is no stream");
        return RESULT_INVALID_PARAMS;
    }
    Term(QZFALSE);
    // Nothing of an earlier load is left in the block.
    if (m_pAllocator == &m_BlockAllocator)
        m_BlockAllocator.Reset();

    m_pLoadStream = pRequest->m_pStream;
    m_LoadLength = m_pLoadStream->GetLength();
    m_nEmptyTracks = 0;
    LoadFault fault(pRequest->m_pErrorText, pRequest->m_ErrorTextSize);
    m_pLoadFault = &fault;
    BeginStringIndex();
    const uint32_t result = LoadAll(pRequest);
    EndStringIndex();
    // What no step had a word for.
    if (result != RESULT_OK && m_pLoadStream->ErrorStatus() != 0)
        FailLoad(m_pLoadStream, "the file ends in it, or can't be read");
    else if (result != RESULT_OK)
        FailLoadAt(m_pLoadStream, LoadFault::NO_PLACE, "out of memory");
    m_pLoadFault = nullptr;
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
    if (pStream->ErrorStatus() != 0 || !PrecalcTables(QZFALSE))
        return RESULT_ERROR;
    m_nEqualWeights = m_nLoadedWeights == NO_MESH_YET ? 0 : m_nLoadedWeights;
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
    uint8_t reserved[HEADER_RESERVED_BYTES];
    pStream->Read(reserved, sizeof(reserved));
    if (!HasRoomFor(pStream, nDistances, sizeof(float), "distances of LODs") ||
        !m_LODDistances.SetSize(nDistances, m_pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nDistances; ++i)
        pStream->ReadF32(m_LODDistances[i]);
    return QZTRUE;
}

uint32_t Model::LoadChildModels(LoadRequest* pRequest)
{
    ModelStream* pStream = pRequest->m_pStream;
    if (!EnterSection(pStream, SECTION_CHILD_MODELS))
        return RESULT_ERROR;
    uint32_t nChildModels = 0;
    pStream->ReadU32(nChildModels);
    if (nChildModels == 0 || nChildModels > MAX_CHILD_MODELS)
    {
        FailLoad(pStream, "%u links, and 1 to %u can be", nChildModels, MAX_CHILD_MODELS);
        return RESULT_ERROR;
    }
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
            {
                FailLoad(pStream, "the callback gave %u for the child model \"%s\"", result, pName);
                return result;
            }
            if (!pChild)
                pRequest->m_bChildrenLoaded = QZFALSE;
            else if (pChild->NumChildModels() > 1)
            {
                FailLoad(pStream, "the child model \"%s\" has child models of its own", pName);
                return RESULT_INVALID_MODEL_FILE;
            }
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
    if (!m_pParentModel->HasRoomFor(pStream, nNodes, DISK_NODEKEY, "relations") ||
        !m_Relations.SetSizeUnset(nNodes, m_pParentModel->GetAllocator()))
        return QZFALSE;
    NodeKeyFrame::LoadKeys(pStream, m_Relations.GetArray(), nNodes);
    return QZTRUE;
}

QZBOOL Model::LoadSockets(ModelStream* pStream)
{
    if (!EnterSection(pStream, SECTION_SOCKETS))
        return QZFALSE;
    uint32_t nSockets = 0;
    pStream->ReadU32(nSockets);
    if (!HasRoomFor(pStream, nSockets, DISK_SOCKET, "sockets") ||
        !m_Sockets.SetSizeInit(nSockets, nullptr, m_pAllocator))
        return QZFALSE;
    for (uint32_t i = 0; i < nSockets; ++i)
    {
        ModelSocket* pSocket = AllocNew<ModelSocket>(*m_pAllocator);
        if (!pSocket)
            return QZFALSE;
        m_Sockets[i] = pSocket;
        pStream->ReadU32(pSocket->m_iNode);
        if (pSocket->m_iNode >= NumNodes())
            return FailLoadAt(pStream, pStream->GetPosition() - 4, "socket %u of %u is on node %u of %u", i + 1,
                              nSockets, pSocket->m_iNode, NumNodes());
        if (pStream->ReadString(pSocket->m_Name, sizeof(pSocket->m_Name)) != 0)
            return QZFALSE;
        pStream->ReadRotation(pSocket->m_qRotation).ReadVector(pSocket->m_vPos);
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
