#include "abctools/modelfile.h"
#include "abctools/modelinfo.h"
#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/countingallocator.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

using nlohmann::ordered_json;

ordered_json ModelMemory(std::span<const uint8_t> bytes)
{
    QuietAssertions quiet;
    FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
    LoadRequest request;
    request.m_pStream = &stream;
    request.m_bLoadChildModels = QZFALSE;

    CountingAllocator counting(&g_DefaultAllocator);
    Model scratch(&counting, &g_DefaultAllocator);
    ModelAllocations header;
    uint32_t announced = 0;
    if (scratch.Load(&request) != RESULT_OK || !scratch.LoadHeader(&stream, &header) ||
        !header.CalcAllocationSize(announced))
        return {{"error", "the file can't be loaded"}};
    ordered_json memory = {{"load", counting.m_TotalMemoryAllocated},
                           {"allocations", counting.m_nTotalAllocations},
                           {"announced", announced}};

    CountingAllocator behindBlock(&g_DefaultAllocator);
    Model blockModel(&g_DefaultAllocator, &g_DefaultAllocator);
    if (blockModel.PrepareBlock(&stream, &behindBlock) != RESULT_OK)
        memory["error"] = "the block can't be had";
    else if (blockModel.Load(&request) != RESULT_OK)
        memory["error"] = "the file can't be loaded into the block";
    else
        memory.update({{"block", blockModel.m_BlockAllocator.GetBlockSize()},
                       {"blockUsed", blockModel.m_BlockAllocator.GetUsed()},
                       {"blockAllocations", behindBlock.m_nTotalAllocations}});
    return memory;
}
