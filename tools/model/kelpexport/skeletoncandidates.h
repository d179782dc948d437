#pragma once

#include "tools/model/kelpexport/handletable.h"
#include "tools/model/kelpexport/softnode.h"

// The nodes that may move vertices of a mesh. Every node of the model is one, so that a host has to be asked for each
// pair of a mesh and a node; one that offers to say itself what moves a mesh (SAAX.h) is asked that in its place.
class SkeletonCandidates
{
public:
    // Takes in pRoot and what is below it, once. False without memory.
    QZBOOL Collect(SoftNode* pRoot);

    // In pre-order. The list is there until the next call; null without memory.
    const DynArray<SoftNode*, DefaultCache>* Find(const SAA_Scene* pScene, const SAA_Elem* pMesh);

private:
    DynArray<SoftNode*, DefaultCache> m_Nodes{256};
    DynArray<SAA_SubHandle, DefaultCache> m_Handles; // of the nodes, with 0 behind the bytes of an element
    HandleTable m_Table;                             // of these
    DynArray<SAA_Elem, DefaultCache> m_Offered;      // for the mesh asked for last, at the front
    DynArray<uint32_t, DefaultCache> m_Places;       // of them in m_Nodes, at the front
    DynArray<SoftNode*, DefaultCache> m_Found{64};   // with spare room, so that most meshes take no memory
};
