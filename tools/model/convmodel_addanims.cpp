// Animations of one model joining another.

#include "tools/model/convmodel.h"
#include "tools/model/nodenameindex.h"

void ConvModel::RemoveForeignNodes(Model* pTarget)
{
    NodeNameIndex known;
    known.Build(*pTarget);
    DynArray<uint8_t, DefaultCache> foreign;
    if (!foreign.SetSize(NumNodes()))
        return;
    for (uint32_t i = 0; i < NumNodes(); ++i)
        foreign[i] = known.Find(GetNode(i)->GetName(), nullptr) ? 0 : 1;
    RemoveNodes(foreign.GetArray());
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
