// Animations of one model moving to another.

#include "tools/model/convmodel.h"

// The animation under a free name. It isn't in the table of pSource any longer, and is destroyed on failure.
static uint32_t TakeAnim(ConvModel* pDest, ConvModel* pSource, ModelAnim* pAnim)
{
    char name[ANIM_NAME_BUFFER];
    bool bTaken = pDest->MakeUniqueAnimName(pAnim->GetName(), name, sizeof(name)) && pAnim->SetModel(pDest);
    if (bTaken)
    {
        pAnim->SetName(name);
        bTaken = (!name[0] || pAnim->GetName()[0]) && pAnim->PrecalcNodeLists(QZTRUE) && pDest->AddAnim(pAnim);
    }
    if (bTaken)
        return ADDANIMS_OK;
    FreeObject(*pSource->GetAllocator(), pAnim);
    return ADDANIMS_INVALID_ANIM;
}

uint32_t ConvModel::TakeAnims(ConvModel* pSource)
{
    if (!CompareNodeTrees(pSource->GetRootNode(), GetRootNode(), nullptr))
    {
        pSource->RemoveForeignNodes(this);
        if (!CompareNodeTrees(pSource->GetRootNode(), GetRootNode(), nullptr))
            return ADDANIMS_TREES_DIFFER;
    }
    while (pSource->NumAnims() > 0)
    {
        ModelAnim* pAnim = pSource->GetAnim(0);
        pSource->m_Anims.Remove(0, pSource->m_pDefaultAllocator);
        const uint32_t result = TakeAnim(this, pSource, pAnim);
        if (result != ADDANIMS_OK)
            return result;
    }
    return ADDANIMS_OK;
}
