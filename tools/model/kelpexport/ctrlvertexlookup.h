#pragma once

#include "tools/model/kelpexport/handletable.h"
#include "tools/model/kelpexport/softnode.h"
#include "zoltshared/stdzolt/qzbool.h"

// SoftNode::FindCtrlVertex for many look-ups in one mesh: the first handle with the same bytes, by their numbers or
// else by a table. The node's list must not change meanwhile.
class CtrlVertexLookup
{
public:
    // False without memory; then Find searches the list from the front.
    QZBOOL Build(const SoftNode& node)
    {
        m_pNumbered = node.m_pNumberedVertices.get();
        return m_pNumbered ? QZTRUE : m_Table.Build(node.m_CtrlVertices);
    }
    // The vertices of an envelope are asked for in their order, and many lie side by side.
    bool Find(const SAA_SubHandle& handle, uint32_t* pIndex)
    {
        return m_pNumbered ? m_pNumbered->Find(handle, pIndex) : m_Table.Find(handle, pIndex);
    }

private:
    const NumberedHandles* m_pNumbered = nullptr; // null for a list
    HandleTable m_Table;
};
