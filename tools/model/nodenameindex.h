#pragma once

#include "engine/model/src/model.h"

// Model::FindNode for many look-ups in one model, whose nodes and names must not change meanwhile: by a hash of the
// names without case.
class NodeNameIndex
{
public:
    // False without memory; then Find searches the model's list from the front. The model must outlive this.
    QZBOOL Build(const Model& model);
    // The first node of that name in index order, or null. piNode may be null and is set on a hit only.
    ModelNode* Find(const char* pName, uint32_t* piNode) const;

private:
    uint32_t FindPlace(const char* pName) const;

    const Model* m_pModel = nullptr;
    DynArray<uint32_t, DefaultCache> m_Slots; // open addressing, a power of two; index + 1, 0 for a free slot
};
