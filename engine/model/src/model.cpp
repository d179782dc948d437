#include "engine/model/src/model.h"

#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

ZOLT_BEGIN_NAMESPACE

uint32_t g_ModelMemory = 0;

// m_Filename is a char*, as a heap copy needs it; the shared empty string is never written through it.
static char* EmptyFilename()
{
    return const_cast<char*>(static_cast<const char*>(g_EmptyString));
}

Model::Model(Allocator* pAlloc, Allocator* pDefaultAlloc)
    : m_Filename(EmptyFilename()), m_CommandString(g_EmptyString), m_Strings(pAlloc), m_pAllocator(pAlloc),
      m_pDefaultAllocator(pDefaultAlloc), m_pRootNode(&m_DefaultRootNode), m_GrowAllocator(&m_BlockAllocator)
{
    m_Link.m_pData = this;
    m_pRootNode->SetModel(this);
    m_ChildModels[0] = &m_SelfChildModel;
    m_SelfChildModel.m_pParentModel = this;
    m_SelfChildModel.m_pModel = this;
    // 0 to 32767, whatever the range of rand is here.
    SetModelStamp(static_cast<uint32_t>(rand()) & 0x7FFFu);
    g_ModelMemory += static_cast<uint32_t>(sizeof(Model));
}

Model::~Model()
{
    ZOLT_ASSERT(m_RefCount == 0, "m_RefCount == 0");
    Term(QZTRUE);
    g_ModelMemory -= static_cast<uint32_t>(sizeof(Model)) + m_BlockAllocator.GetBlockSize();
}

Model* Model::CreateModel()
{
    return new Model(&g_DefaultAllocator, &g_DefaultAllocator);
}

void Model::DeleteModel(Model* pModel)
{
    delete pModel;
}

int32_t Model::AddRef()
{
    return ++m_RefCount;
}

int32_t Model::Release()
{
    ZOLT_ASSERT(m_RefCount > 0, "m_RefCount>0");
    return --m_RefCount;
}

Allocator* Model::GetGrowAllocator()
{
    // What a load asks for has to fit into the block.
    return m_pAllocator == &m_BlockAllocator && !m_pLoadStream ? &m_GrowAllocator : m_pAllocator;
}

void Model::Term(QZBOOL bDeleteChildren)
{
    m_Attachments.NotifyTerm();

    if (m_pRootNode != &m_DefaultRootNode)
        FreeObject(*m_pAllocator, m_pRootNode);
    m_DefaultRootNode.Clear();
    m_pRootNode = &m_DefaultRootNode;

    DeleteAndClearArray(m_Pieces, m_pAllocator);

    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        if (IsOwn(m_Anims[i]))
            FreeObject(*m_pAllocator, m_Anims[i].m_pAnim);
    }
    m_Anims.Term(m_pDefaultAllocator);

    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        ChildInfo* pInfo = m_ChildModels[i];
        if (i != 0 && pInfo->m_pModel && pInfo->m_pModel != this)
        {
            pInfo->m_pModel->Release();
            if (bDeleteChildren && pInfo->m_pModel->IsUnreferenced())
                DeleteModel(pInfo->m_pModel);
        }
        pInfo->Clear();
        if (i != 0 && pInfo != &m_SelfChildModel)
            FreeObject(*m_pAllocator, pInfo);
        m_ChildModels[i] = nullptr;
    }
    m_nChildModels = 1;
    m_ChildModels[0] = &m_SelfChildModel;
    m_SelfChildModel.m_iAnimOffset = 0;

    DeleteAndClearArray(m_Sockets, m_pAllocator);
    DeleteAndClearArray(m_WeightSets, m_pAllocator);
    m_Transforms.Term(m_pAllocator);
    m_VertexWeights.Term(m_pAllocator);
    m_FlatNodeList.Term(m_pAllocator);

    m_CommandString = g_EmptyString;
    m_Strings.Term();
    m_StringIndex.Clear();
    FreeFilename();
    m_LODDistances.Term(m_pAllocator);
    m_nTotalVerts = 0;
    m_nEqualWeights = 0;
    m_nTotalTris = 0;
    m_nDWordNodes = 0;
    // Indices into tables that are gone.
    m_iNormalRefNode = -1;
    m_iNormalRefAnim = -1;
    m_bNormalRef = QZFALSE;
}

const char* Model::AddString(const char* pText)
{
    const char* pStored = m_Strings.AddString(pText, nullptr, &m_StringIndex);
    // A block that is full: what comes in after the load lives on the heap.
    if (!*pStored && pText && *pText && GetGrowAllocator() != m_pAllocator)
        pStored = m_Strings.AddString(pText, GetGrowAllocator(), &m_StringIndex);
    return pStored;
}

QZBOOL Model::SetFilename(const char* pName)
{
    char* pCopy = EmptyFilename();
    if (pName && *pName)
    {
        const size_t size = strlen(pName) + 1;
        pCopy = static_cast<char*>(malloc(size));
        if (pCopy)
            memcpy(pCopy, pName, size);
    }
    // Only now: pName may be the old name.
    FreeFilename();
    if (!pCopy)
        return QZFALSE;
    m_Filename = pCopy;
    return QZTRUE;
}

void Model::FreeFilename()
{
    if (m_Filename != EmptyFilename())
        free(m_Filename);
    m_Filename = EmptyFilename();
}

void Model::SetFadeRange(float fMin, float fMax)
{
    m_FadeRangeMin = fMin;
    m_FadeRangeMinSqr = fMin * fMin;
    m_FadeRangeMax = fMax;
    m_FadeRangeMaxSqr = fMax * fMax;
}

ModelAnim* Model::GetOwnAnim(uint32_t i) const
{
    const AnimInfo row = m_Anims.GetOrNone(i);
    return IsOwn(row) ? row.m_pAnim : nullptr;
}

bool Model::IsOwn(const AnimInfo& row) const
{
    return row.m_pChildInfo == &m_SelfChildModel && row.m_pAnim;
}

Matrix4& Model::GetTransform(uint32_t i)
{
    if (Matrix4* pTransform = m_Transforms.At(i))
        return *pTransform;
    g_TempMat.Identity();
    return g_TempMat;
}

// The first named element of an array of pointers.
template <class T>
static T* FindByName(const DynArray<T*, NoCache>& elements, uint32_t nElements, const char* pName, uint32_t* pIndex)
{
    if (!ZOLT_ASSERT(pName, "pName"))
        return nullptr;
    for (uint32_t i = 0; i < nElements; ++i)
    {
        T* pElement = elements.Get(i);
        if (pElement && CompareNoCase(pElement->GetName(), pName) == 0)
        {
            if (pIndex)
                *pIndex = i;
            return pElement;
        }
    }
    return nullptr;
}

ModelPiece* Model::FindPiece(const char* pName, uint32_t* piPiece) const
{
    return FindByName(m_Pieces, m_Pieces.GetSize(), pName, piPiece);
}

WeightSet* Model::FindWeightSet(const char* pName, uint32_t* piSet) const
{
    return FindByName(m_WeightSets, m_WeightSets.GetSize(), pName, piSet);
}

ModelNode* Model::FindNode(const char* pName, uint32_t* piNode) const
{
    return FindByName(m_FlatNodeList, NumNodes(), pName, piNode);
}

ModelSocket* Model::FindSocket(const char* pName, uint32_t* piSocket) const
{
    return FindByName(m_Sockets, m_Sockets.GetSize(), pName, piSocket);
}

ModelAnim* Model::FindAnim(const char* pName, uint32_t* piAnim, AnimInfo** ppInfo)
{
    if (!ZOLT_ASSERT(pName, "pName"))
        return nullptr;
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        AnimInfo* pInfo = &m_Anims[i];
        if (pInfo->m_pAnim && CompareNoCase(pInfo->m_pAnim->GetName(), pName) == 0)
        {
            if (piAnim)
                *piAnim = i;
            if (ppInfo)
                *ppInfo = pInfo;
            return pInfo->m_pAnim;
        }
    }
    return nullptr;
}

AnimInfo* Model::FindAnimInfo(const char* pName, Model* pOwner, uint32_t* piAnim)
{
    if (!ZOLT_ASSERT(pName, "pName"))
        return nullptr;
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        AnimInfo* pInfo = &m_Anims[i];
        if (pInfo->m_pAnim && pInfo->m_pAnim->GetModel() == pOwner &&
            CompareNoCase(pInfo->m_pAnim->GetName(), pName) == 0)
        {
            if (piAnim)
                *piAnim = i;
            return pInfo;
        }
    }
    return nullptr;
}

QZBOOL Model::GetAnimInfoIndex(const AnimInfo* pInfo, uint32_t* piAnim) const
{
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        if (&m_Anims.Get(i) == pInfo)
        {
            if (piAnim)
                *piAnim = i;
            return QZTRUE;
        }
    }
    return QZFALSE;
}

ModelNode* Model::FindParent(ModelNode* pNode, ModelNode* pRoot, uint32_t* piChild)
{
    for (uint32_t i = 0; i < pRoot->NumChildren(); ++i)
    {
        if (pRoot->GetChild(i) == pNode)
        {
            if (piChild)
                *piChild = i;
            return pRoot;
        }
        if (ModelNode* pParent = FindParent(pNode, pRoot->GetChild(i), piChild))
            return pParent;
    }
    return nullptr;
}

void Model::SetRootNode(ModelNode* pRoot)
{
    if (m_pRootNode != &m_DefaultRootNode && m_pRootNode != pRoot)
        FreeObject(*m_pAllocator, m_pRootNode);
    m_pRootNode = pRoot;
}

QZBOOL Model::SwapPieces(uint32_t iA, uint32_t iB)
{
    if (iA >= NumPieces() || iB >= NumPieces())
        return QZFALSE;
    ModelPiece* pA = m_Pieces[iA];
    m_Pieces[iA] = m_Pieces[iB];
    m_Pieces[iB] = pA;
    return QZTRUE;
}

QZBOOL Model::AddWeightSet(WeightSet* pSet)
{
    if (!ZOLT_ASSERT(pSet, "pSet") || (NumNodes() != 0 && !pSet->FitToNodes()))
        return QZFALSE;
    return m_WeightSets.Append(pSet, GetGrowAllocator());
}

void Model::RemoveWeightSet(uint32_t iSet)
{
    if (!ZOLT_ASSERT(iSet < NumWeightSets(), "iSet < NumWeightSets()"))
        return;
    FreeObject(*m_pAllocator, m_WeightSets[iSet]);
    m_WeightSets.Remove(iSet, GetGrowAllocator());
}

QZBOOL Model::CopyUVs(Model* pOther)
{
    if (!ZOLT_ASSERT(pOther, "pOther") || NumPieces() != pOther->NumPieces())
        return QZFALSE;
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        if (!GetPiece(i)->CopyUVs(pOther->GetPiece(i)))
            return QZFALSE;
    }
    return QZTRUE;
}

bool Model::IsFreeAnimName(const char* pName)
{
    // The names of own animations are among the model's texts.
    if (*pName && NumChildModels() == 1 && m_StringIndex.IsInUse() && !m_StringIndex.MayHaveNoCase(pName))
        return true;
    return !FindAnim(pName, nullptr, nullptr);
}

QZBOOL Model::MakeUniqueAnimName(const char* pBase, char* pOut, uint32_t outSize)
{
    const size_t length = strlen(pBase);
    if (length >= outSize)
        return QZFALSE;
    memcpy(pOut, pBase, length + 1);
    if (IsFreeAnimName(pOut))
        return QZTRUE;
    for (int n = 0; n <= 32767; ++n)
    {
        const int needed = snprintf(pOut, outSize, "%s%d", pBase, n);
        if (needed < 0 || static_cast<uint32_t>(needed) >= outSize)
            return QZFALSE;
        if (IsFreeAnimName(pOut))
            return QZTRUE;
    }
    return QZFALSE;
}

QZBOOL Model::Precalc(QZBOOL bForce)
{
    if (!PrecalcTables(bForce))
        return QZFALSE;
    m_nEqualWeights = CalcEqualWeights();
    return QZTRUE;
}

QZBOOL Model::PrecalcTables(QZBOOL bForce)
{
    if (!PrecalcTransforms(bForce))
        return QZFALSE;
    if (!PrecalcFlatNodeList(bForce))
    {
        // Without the list there are no nodes to count.
        m_Transforms.Term(m_pAllocator);
        m_FlatNodeList.Term(m_pAllocator);
        return QZFALSE;
    }

    uint32_t iFirstVert = 0;
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        m_Pieces[i]->m_iFirstVert = iFirstVert;
        iFirstVert += m_Pieces[i]->NumVerts();
    }

    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        if (IsOwn(m_Anims[i]) && !m_Anims[i].m_pAnim->PrecalcNodeLists(bForce))
            return QZFALSE;
    }

    m_nTotalVerts = CalcNumVerts();
    m_nTotalTris = CalcNumTris(0);
    return QZTRUE;
}

QZBOOL Model::PrecalcTransforms(QZBOOL bForce)
{
    const uint32_t nNodes = m_pRootNode->CountNodes();
    if (!bForce && m_Transforms.GetSize() == nNodes)
        return QZTRUE;
    m_Transforms.Term(m_pAllocator);
    return nNodes <= MODEL_MAX_NODES && m_Transforms.SetSize(nNodes, GetGrowAllocator());
}

QZBOOL Model::PrecalcFlatNodeList(QZBOOL bForce)
{
    const uint32_t nNodes = NumNodes();
    if (!bForce && m_FlatNodeList.GetSize() == nNodes)
        return QZTRUE;
    m_FlatNodeList.Term(m_pAllocator);
    if (!m_FlatNodeList.SetSizeInit(nNodes, nullptr, GetGrowAllocator()))
        return QZFALSE;
    uint32_t iNode = 0;
    if (!m_pRootNode->AssignIndices(&iNode))
        return QZFALSE;
    m_nDWordNodes = nNodes / 4 + (nNodes % 4 ? 1 : 0);
    m_pRootNode->SetParentIndices(MNODE_NO_PARENT);
    return QZTRUE;
}

void Model::PrecalcNodeOffsets()
{
    for (uint32_t i = 0; i < NumNodes(); ++i)
    {
        ModelNode* pNode = m_FlatNodeList[i];
        if (pNode->GetParentIndex() < NumNodes())
        {
            Matrix4 local;
            Multiply(local, m_FlatNodeList[pNode->GetParentIndex()]->m_mGlobalInverse, pNode->m_mGlobal);
            local.GetTranslation(pNode->m_vOffsetFromParent);
        }
        else
        {
            pNode->m_vOffsetFromParent.Set(0.0f, 0.0f, 0.0f);
        }
    }
}

uint32_t Model::CalcNumVerts() const
{
    uint32_t nVerts = 0;
    for (uint32_t i = 0; i < NumPieces(); ++i)
        nVerts += GetPiece(i)->NumVerts();
    return nVerts;
}

uint32_t Model::CalcNumTris(uint32_t iLOD) const
{
    uint32_t nTris = 0;
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        if (ModelPieceLOD* pMesh = GetPiece(i)->GetLOD(iLOD))
            nTris += pMesh->NumTris();
    }
    return nTris;
}

uint32_t Model::CalcNumWeights() const
{
    uint32_t nWeights = 0;
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        for (uint32_t iLOD = 0; iLOD < GetPiece(i)->NumLODs(); ++iLOD)
        {
            ModelPieceLOD* pMesh = GetPiece(i)->GetLOD(iLOD);
            for (uint32_t iVert = 0; iVert < pMesh->NumVerts(); ++iVert)
                nWeights += pMesh->GetVert(iVert)->m_nWeights;
        }
    }
    return nWeights;
}

uint32_t Model::CalcNumChildAnims(QZBOOL bIncludeSelf) const
{
    uint32_t nAnims = 0;
    for (uint32_t i = bIncludeSelf ? 0 : 1; i < m_nChildModels; ++i)
    {
        if (m_ChildModels[i]->m_pModel)
            nAnims += m_ChildModels[i]->m_pModel->NumAnims();
    }
    return nAnims;
}

uint32_t Model::CalcNumOwnAnims() const
{
    uint32_t nAnims = 0;
    for (uint32_t i = 0; i < NumAnims(); ++i)
    {
        if (IsOwn(m_Anims[i]))
            ++nAnims;
    }
    return nAnims;
}

QZBOOL Model::IsNodeWeighted(uint32_t iNode) const
{
    for (uint32_t i = 0; i < NumPieces(); ++i)
    {
        ModelPiece* pPiece = GetPiece(i);
        for (uint32_t iVert = 0; iVert < pPiece->NumVerts(); ++iVert)
        {
            const ModelVert* pVert = pPiece->GetVert(iVert);
            for (uint32_t iWeight = 0; iWeight < pVert->m_nWeights; ++iWeight)
            {
                if (pVert->m_Weights[iWeight].m_iNode == iNode)
                    return QZTRUE;
            }
        }
    }
    return QZFALSE;
}

ZOLT_END_NAMESPACE
