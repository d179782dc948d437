// The reader's part for animations and their bindings.

#include "engine/model/src/model.h"
#include "engine/model/src/modelformat.h"
#include "zoltshared/stdzolt/assertion.h"
#include "zoltshared/stdzolt/blockreader.h"
#include "zoltshared/stdzolt/littleendian.h"
#include "zoltshared/stdzolt/modelstream.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <numeric>

ZOLT_BEGIN_NAMESPACE

QZBOOL Model::LoadAnims(ModelStream* pStream)
{
    if (!EnterSection(pStream, SECTION_ANIMATION))
        return QZFALSE;
    uint32_t nAnims = 0;
    pStream->ReadU32(nAnims);
    if (!HasRoomFor(pStream, nAnims, DISK_ANIM, "animations") ||
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
    if (!m_pModel->HasRoomFor(pStream, nKeys, DISK_KEY + uint64_t{DISK_NODEKEY} * m_pModel->NumNodes(), "keys"))
        return QZFALSE;
    if (nKeys == 0 && !m_pModel->CountEmptyTracks(pStream))
        return QZFALSE;
    if (!m_KeyFrames.SetSize(nKeys, m_pModel->GetGrowAllocator()))
        return QZFALSE;
    if (!LoadKeyTimes(pStream))
        return QZFALSE;
    m_pRootNode->m_pNode = m_pModel->GetRootNode();
    if (!m_pRootNode->Load(pStream))
        return QZFALSE;
    return PrecalcNodeLists(QZTRUE);
}

QZBOOL ModelAnim::LoadKeyTimes(ModelStream* pStream)
{
    BlockReader reader(pStream, uint64_t{DISK_KEY} * NumKeyFrames());
    for (uint32_t i = 0; i < NumKeyFrames(); ++i)
    {
        const uint8_t* pKey = reader.Take(DISK_KEY);
        m_KeyFrames[i].m_Time = GetU32(pKey);
        const uint16_t length = GetU16(pKey + 4);
        reader.Announce(length);
        if (length != 0 && !m_pModel->LoadStoredText(reader, length, &m_KeyFrames[i].m_pString))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL AnimNode::Load(ModelStream* pStream)
{
    ZOLT_ASSERT(m_KeyFrames.GetSize() == 0, "!m_KeyFrames");
    Allocator* pAllocator = GetModel()->GetGrowAllocator();
    if (!m_KeyFrames.SetSizeUnset(NumKeyFrames(), pAllocator))
        return QZFALSE;
    NodeKeyFrame::LoadKeys(pStream, m_KeyFrames.GetArray(), m_KeyFrames.GetSize());
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

namespace
{
// Model::FindAnimInfo for many names: the rows sorted by owner, name and index. Without memory for it, every search
// goes through the table.
class RowsByName
{
public:
    explicit RowsByName(Model& model)
        : m_Model(model), m_nRows(model.NumAnims()), m_Rows(new (std::nothrow) uint32_t[m_nRows])
    {
        if (!m_Rows)
            return;
        std::iota(m_Rows.get(), m_Rows.get() + m_nRows, 0u);
        std::sort(m_Rows.get(), m_Rows.get() + m_nRows,
                  [this](uint32_t iA, uint32_t iB)
                  {
                      const ModelAnim* pB = m_Model.GetAnim(iB);
                      const int order = Compare(iA, pB->GetName(), pB->GetModel());
                      return order != 0 ? order < 0 : iA < iB;
                  });
    }

    AnimInfo* Find(const char* pName, Model* pOwner, uint32_t* piRow) const
    {
        if (!m_Rows)
            return m_Model.FindAnimInfo(pName, pOwner, piRow);
        uint32_t* pEnd = m_Rows.get() + m_nRows;
        const uint32_t* pFound =
            std::partition_point(m_Rows.get(), pEnd, [&](uint32_t iRow) { return Compare(iRow, pName, pOwner) < 0; });
        if (pFound == pEnd || Compare(*pFound, pName, pOwner) != 0)
            return nullptr;
        *piRow = *pFound;
        return m_Model.GetAnimInfo(*pFound);
    }

private:
    int Compare(uint32_t iRow, const char* pName, const Model* pOwner) const
    {
        const ModelAnim* pAnim = m_Model.GetAnim(iRow);
        if (pAnim->GetModel() != pOwner)
            return std::less<const Model*>()(pAnim->GetModel(), pOwner) ? -1 : 1;
        return CompareNoCase(pAnim->GetName(), pName);
    }

    Model& m_Model;
    uint32_t m_nRows;
    std::unique_ptr<uint32_t[]> m_Rows;
};
} // namespace

QZBOOL Model::LoadAnimBindings(LoadRequest* pRequest, ModelStream* pStream)
{
    if (!EnterSection(pStream, SECTION_ANIM_BINDINGS))
        return QZFALSE;
    const RowsByName rows(*this);
    for (uint32_t i = 0; i < m_nChildModels; ++i)
    {
        ChildInfo* pInfo = m_ChildModels[i];
        uint32_t nBindings = 0;
        pStream->ReadU32(nBindings);
        if (!HasRoomFor(pStream, nBindings, DISK_BINDING, "bindings"))
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
            AnimInfo* pRow = rows.Find(name, pInfo->m_pModel, &iRow);
            if (!pRow || iRow != pInfo->m_iAnimOffset + j)
                ZOLT_ASSERT(pInfo->m_pModel != this, "pInfo->m_pModel != this");
            if (pRow)
                pRow->m_vTranslation = translation;
        }
    }
    return QZTRUE;
}

ZOLT_END_NAMESPACE
