#include "tools/model/kelpexport/skeletoncandidates.h"

#include "saa/SAAX.h"
#include "tools/model/kelpexport/hostcount.h"

#include <algorithm>
#include <cstring>

#ifdef _WIN32
#include "win32/zoltwin32.h"
#else
// Null where the program that loads the plug-in has none.
#pragma weak SAAX_envelopeGetNbSkeletons
#pragma weak SAAX_envelopeGetSkeletons
#endif

// What the host offers; null for what it doesn't.
struct HostOffers
{
    decltype(&SAAX_envelopeGetNbSkeletons) pGetNbSkeletons = nullptr;
    decltype(&SAAX_envelopeGetSkeletons) pGetSkeletons = nullptr;
};

static HostOffers GetHostOffers()
{
#ifdef _WIN32
    const HMODULE library = GetModuleHandleA("SAA.dll");
    const auto find = [library](const char* pName)
    { return library ? reinterpret_cast<void*>(GetProcAddress(library, pName)) : nullptr; };
    return {reinterpret_cast<decltype(&SAAX_envelopeGetNbSkeletons)>(find("SAAX_envelopeGetNbSkeletons")),
            reinterpret_cast<decltype(&SAAX_envelopeGetSkeletons)>(find("SAAX_envelopeGetSkeletons"))};
#else
    return {&SAAX_envelopeGetNbSkeletons, &SAAX_envelopeGetSkeletons};
#endif
}

static SAA_SubHandle Widen(const SAA_Elem& elem)
{
    SAA_SubHandle handle = {};
    std::memcpy(handle.bytes, elem.bytes, sizeof(elem.bytes));
    return handle;
}

QZBOOL SkeletonCandidates::Collect(SoftNode* pRoot)
{
    if (m_Nodes.GetSize() != 0)
        return QZTRUE;
    bool bCollected = pRoot->CollectNodes(m_Nodes) && m_Handles.SetSize(m_Nodes.GetSize());
    for (uint32_t i = 0; bCollected && i < m_Nodes.GetSize(); ++i)
        m_Handles[i] = Widen(m_Nodes[i]->m_Elem);
    bCollected = bCollected && m_Table.Build(m_Handles);
    if (!bCollected)
        m_Nodes.Term();
    return bCollected ? QZTRUE : QZFALSE;
}

const DynArray<SoftNode*, DefaultCache>* SkeletonCandidates::Find(const SAA_Scene* pScene, const SAA_Elem* pMesh)
{
    static const HostOffers host = GetHostOffers();
    int nOffered = 0;
    // Of two nodes with one handle the table knows the first alone.
    if (!m_Table.IsUnique() || !host.pGetNbSkeletons || !host.pGetSkeletons ||
        host.pGetNbSkeletons(pScene, pMesh, &nOffered) != 0 || nOffered < 0 || nOffered > HOST_MAX_COUNT)
        return &m_Nodes;
    if (!m_Offered.SetSizeAtLeast(static_cast<uint32_t>(nOffered)) ||
        !m_Places.SetSizeAtLeast(static_cast<uint32_t>(nOffered)))
        return nullptr;
    if (host.pGetSkeletons(pScene, pMesh, nOffered, m_Offered.GetArray()) != 0)
        return &m_Nodes;
    // Those that aren't in the model have no say.
    uint32_t* const pPlaces = m_Places.GetArray();
    uint32_t* pEnd = pPlaces;
    for (uint32_t i = 0; i < static_cast<uint32_t>(nOffered); ++i)
        pEnd += m_Table.Find(Widen(m_Offered[i]), pEnd) ? 1 : 0;
    std::sort(pPlaces, pEnd);
    pEnd = std::unique(pPlaces, pEnd);
    if (!m_Found.NiceSetSize(static_cast<uint32_t>(pEnd - pPlaces)))
        return nullptr;
    for (uint32_t i = 0; i < m_Found.GetSize(); ++i)
        m_Found[i] = m_Nodes[pPlaces[i]];
    return &m_Found;
}
