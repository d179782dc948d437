// Animations of one model joining another.

#include "tools/model/convmodel.h"

// Room for a free animation name.
constexpr uint32_t ANIM_NAME_BUFFER = 2048;

enum : uint32_t
{
    ADDANIMS_OK = 0,
    ADDANIMS_TREES_DIFFER = 1,
    ADDANIMS_INVALID_ANIM = 2,
};

void ConvModel::RemoveForeignNodes(Model* pTarget)
{
    // A removal renumbers the list, so the same place is looked at again.
    for (uint32_t i = 0; i < m_FlatNodeList.GetSize();)
    {
        ModelNode* pNode = m_FlatNodeList[i];
        if (pTarget->FindNode(pNode->GetName(), nullptr) || !RemoveNode(pNode))
            ++i;
    }
}

// One animation under a free name.
static uint32_t AddAnimCopy(Model* pDest, ModelAnim* pSource)
{
    char name[ANIM_NAME_BUFFER];
    if (!pDest->MakeUniqueAnimName(pSource->GetName(), name, sizeof(name)))
        return ADDANIMS_INVALID_ANIM;
    Allocator* pAllocator = pDest->GetAllocator();
    ModelAnim* pAnim = AllocNew<ModelAnim>(*pAllocator, pDest);
    if (!pAnim)
        return ADDANIMS_INVALID_ANIM;
    if (pAnim->CopyFrom(pSource))
    {
        pAnim->SetName(name);
        if (pDest->AddAnim(pAnim))
            return ADDANIMS_OK;
    }
    FreeObject(*pAllocator, pAnim);
    return ADDANIMS_INVALID_ANIM;
}

uint32_t ConvModel::AddAnims(Model* pSource)
{
    ConvModel pruned;
    Model* pFrom = pSource;
    if (!CompareNodeTrees(pSource->GetRootNode(), GetRootNode(), nullptr))
    {
        // A copy that failed is empty, and the comparison tells.
        pruned.CopyModelFrom(pSource);
        pruned.RemoveForeignNodes(this);
        if (!CompareNodeTrees(pruned.GetRootNode(), GetRootNode(), nullptr))
            return ADDANIMS_TREES_DIFFER;
        pFrom = &pruned;
    }
    for (uint32_t i = 0; i < pFrom->NumAnims(); ++i)
    {
        const uint32_t result = AddAnimCopy(this, pFrom->GetAnim(i));
        if (result != ADDANIMS_OK)
            return result;
    }
    return ADDANIMS_OK;
}
