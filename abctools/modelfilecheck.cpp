#include "abctools/modelfilecheck.h"

#include "abctools/format.h"
#include "abctools/modelfile.h"
#include "abctools/modelfilewalk.h"
#include "engine/model/src/model.h"
#include "engine/model/src/modelallocations.h"
#include "zoltshared/stdzolt/countingallocator.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

// What evaluation and deformation index without a test.
static const char* BrokenPromise(Model& model)
{
    const uint32_t nNodes = model.NumNodes();
    for (uint32_t i = 0; i < model.NumChildModels(); ++i)
    {
        if (model.GetChildModel(i)->m_Relations.GetSize() != nNodes)
            return "a child model hasn't one relation for each node";
    }
    for (uint32_t i = 0; i < model.NumWeightSets(); ++i)
    {
        if (model.GetWeightSet(i)->m_Weights.GetSize() != nNodes)
            return "a weight set hasn't one value for each node";
    }
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
    {
        const ModelAnim* pAnim = model.GetAnim(i);
        for (uint32_t iNode = 0; iNode < nNodes; ++iNode)
        {
            const AnimNode* pTrack = pAnim->m_AnimNodes[iNode];
            if (pTrack->m_pNode != model.GetNode(iNode) || pTrack->m_KeyFrames.GetSize() != pAnim->NumKeyFrames())
                return "a track hasn't the shape of the node tree";
        }
    }
    return nullptr;
}

// Loads the file as an engine does, and holds the memory that it took against what the header announces.
static void CheckLoad(std::span<const uint8_t> bytes, std::vector<Finding>& findings)
{
    QuietAssertions quiet;
    FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    CountingAllocator counting(&g_DefaultAllocator);
    Model model(&counting, &g_DefaultAllocator);
    LoadRequest request;
    request.m_pStream = &stream;
    request.m_bLoadChildModels = QZFALSE;
    if (model.Load(&request) != RESULT_OK)
    {
        findings.push_back({FindingKind::Fault, "the reader refuses it", false});
        return;
    }
    if (const char* pBroken = BrokenPromise(model))
        findings.push_back({FindingKind::Fault, pBroken, false});
    ModelAllocations allocs;
    uint32_t announced = 0;
    if (!model.LoadHeader(&stream, &allocs) || !allocs.CalcAllocationSize(announced) ||
        counting.m_TotalMemoryAllocated > announced)
        findings.push_back(
            {FindingKind::Fault,
             Format("a load takes %u bytes, the header's counts allow %u", counting.m_TotalMemoryAllocated, announced),
             false});
}

std::vector<Finding> CheckModelFile(std::span<const uint8_t> bytes, ModelFileTotals* pTotals)
{
    ModelFileWalk walk(bytes);
    const bool bWhole = walk.Run();
    if (pTotals)
        *pTotals = walk.m_Totals;
    bool bFault = false;
    for (const Finding& finding : walk.m_Findings)
        bFault = bFault || finding.m_Kind == FindingKind::Fault;
    // A fault that the walk has named isn't named again by the reader.
    if (bWhole && !bFault)
        CheckLoad(bytes, walk.m_Findings);
    return std::move(walk.m_Findings);
}
