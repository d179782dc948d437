#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "fuzz/walkmodel.h"

namespace
{
// Models for the links of a parent.
struct Children
{
    Model m_Same{&g_DefaultAllocator, &g_DefaultAllocator};  // from the parent's own bytes
    Model m_Small{&g_DefaultAllocator, &g_DefaultAllocator}; // one node, one key
    uint32_t m_nAsked = 0;
};
} // namespace

static uint32_t SupplyChild(LoadRequest* pRequest, Model** ppModel)
{
    Children& children = *static_cast<Children*>(pRequest->m_pUser);
    switch (children.m_nAsked++ % 4)
    {
    case 0:
        *ppModel = &children.m_Same;
        return RESULT_OK;
    case 1:
        *ppModel = &children.m_Small;
        return RESULT_OK;
    case 2:
        return RESULT_OK;
    default:
        return RESULT_NOT_LOADED;
    }
}

// A file with links, once more with a child that has its own tree and animations, and one that hasn't.
static void LoadWithChildren(std::span<const uint8_t> bytes)
{
    Children children;
    FUZZ_REQUIRE(LoadModel(children.m_Same, bytes) == RESULT_OK);
    while (children.m_Same.NumChildModels() > 1)
        FUZZ_REQUIRE(children.m_Same.RemoveChildModel(1));
    WalkModel(children.m_Same);
    FUZZ_REQUIRE(children.m_Small.Precalc(QZTRUE) && children.m_Small.AddDefaultAnim("small"));

    Model parent(&g_DefaultAllocator, &g_DefaultAllocator);
    LoadRequest request;
    request.m_pLoadCallback = SupplyChild;
    request.m_pUser = &children;
    FUZZ_REQUIRE(LoadModel(parent, bytes, request) == RESULT_OK);
    WalkModel(parent);
    CheckRoundTrip(parent);
    FUZZ_REQUIRE(parent.RemoveChildModel(1));
    WalkModel(parent);
    parent.Term(QZFALSE);
    FUZZ_REQUIRE(children.m_Same.IsUnreferenced() && children.m_Small.IsUnreferenced());
}

void FuzzModel(std::span<const uint8_t> bytes)
{
    const StrictAssertions strict;
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (LoadModel(model, bytes) != RESULT_OK)
    {
        FUZZ_REQUIRE(IsEmptyModel(model));
        return;
    }
    WalkModel(model);
    CheckRoundTrip(model);
    if (model.NumChildModels() > 1)
        LoadWithChildren(bytes);
}
