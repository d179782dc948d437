#include "tools/model/nodenameindex.h"

#include "zoltshared/stdzolt/strcasecompare.h"

// FNV-1a over the letters that CompareNoCase compares.
static uint32_t HashNoCase(const char* pName)
{
    uint64_t hash = 14695981039346656037u;
    for (; *pName; ++pName)
        hash = (hash ^ static_cast<unsigned char>(FoldCase(*pName))) * 1099511628211u;
    return static_cast<uint32_t>(hash ^ (hash >> 32));
}

// The slot of the name: that of its node, or the free one where it would go.
uint32_t NodeNameIndex::FindPlace(const char* pName) const
{
    const uint32_t mask = m_Slots.GetSize() - 1;
    uint32_t place = HashNoCase(pName) & mask;
    while (m_Slots[place] != 0 && CompareNoCase(m_pModel->GetNode(m_Slots[place] - 1)->GetName(), pName) != 0)
        place = (place + 1) & mask;
    return place;
}

QZBOOL NodeNameIndex::Build(const Model& model)
{
    m_pModel = &model;
    uint32_t nSlots = 16;
    while (nSlots < model.NumNodes() * uint64_t(2))
        nSlots *= 2;
    m_Slots.Term();
    if (!m_Slots.SetSizeInit(nSlots, 0))
        return QZFALSE;
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        uint32_t& slot = m_Slots[FindPlace(model.GetNode(i)->GetName())];
        if (slot == 0)
            slot = i + 1;
    }
    return QZTRUE;
}

ModelNode* NodeNameIndex::Find(const char* pName, uint32_t* piNode) const
{
    if (m_Slots.GetSize() == 0)
        return m_pModel->FindNode(pName, piNode);
    const uint32_t slot = m_Slots[FindPlace(pName)];
    if (slot == 0)
        return nullptr;
    if (piNode)
        *piNode = slot - 1;
    return m_pModel->GetNode(slot - 1);
}
