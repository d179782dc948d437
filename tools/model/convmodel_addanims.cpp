// Animations of one model joining another.

#include "tools/model/convmodel.h"

void ConvModel::RemoveForeignNodes(Model* pTarget)
{
    const bool bWeights = HasVertexWeights();
    // A removal renumbers the list, so the same place is looked at again.
    for (uint32_t i = 0; i < m_FlatNodeList.GetSize();)
    {
        ModelNode* pNode = m_FlatNodeList[i];
        if (pTarget->FindNode(pNode->GetName(), nullptr) || !RemoveNode(pNode, bWeights))
            ++i;
    }
}

// One animation under a free name.
static uint32_t AddAnimCopy(Model* pDest, ModelAnim* pSource)
{
    char name[ANIM_NAME_BUFFER];
    if (!pDest->MakeUniqueAnimName(pSource->GetName(), name, sizeof(name)))
        return ADDANIMS_INVALID_ANIM;
    Allocator* pAllocator = pDest->GetGrowAllocator();
    ModelAnim* pAnim = AllocNew<ModelAnim>(*pAllocator, pDest);
    if (!pAnim)
        return ADDANIMS_INVALID_ANIM;
    if (pAnim->CopyFrom(pSource))
    {
        pAnim->SetName(name);
        const bool bNamed = !name[0] || pAnim->GetName()[0];
        if (bNamed && pDest->AddAnim(pAnim))
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
        if (!pruned.CopyModelFrom(pSource))
            return ADDANIMS_TREES_DIFFER;
        pruned.RemoveForeignNodes(this);
        if (!CompareNodeTrees(pruned.GetRootNode(), GetRootNode(), nullptr))
            return ADDANIMS_TREES_DIFFER;
        pFrom = &pruned;
    }
    const uint32_t nAnims = pFrom->NumAnims(); // more when a model joins itself
    for (uint32_t i = 0; i < nAnims; ++i)
    {
        const uint32_t result = AddAnimCopy(this, pFrom->GetAnim(i));
        if (result != ADDANIMS_OK)
            return result;
    }
    return ADDANIMS_OK;
}
