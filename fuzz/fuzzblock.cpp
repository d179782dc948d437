#include "fuzz/require.h"
#include "fuzz/targets.h"
#include "fuzz/walkmodel.h"
#include "zoltshared/stdzolt/countingallocator.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

// What was loaded into a block must be what a load onto the heap gives, and must be able to grow.
static void CheckBlockModel(Model& model, std::span<const uint8_t> bytes)
{
    WalkModel(model);
    Model onHeap(&g_DefaultAllocator, &g_DefaultAllocator);
    FUZZ_REQUIRE(LoadModel(onHeap, bytes) == RESULT_OK);
    const uint32_t stamp = model.GetModelStamp();
    FUZZ_REQUIRE(SaveModel(model) == SaveModel(onHeap));
    model.SetModelStamp(stamp);
    FUZZ_REQUIRE(model.AddDefaultAnim("added"));
    WalkModel(model);
}

void FuzzBlock(std::span<const uint8_t> bytes)
{
    const StrictAssertions strict;
    CountingAllocator counter(&g_DefaultAllocator);
    {
        Model model(&g_DefaultAllocator, &g_DefaultAllocator);
        FixedMemoryStream stream(const_cast<uint8_t*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
        if (model.PrepareBlock(&stream, &counter) != RESULT_OK)
        {
            FUZZ_REQUIRE(IsEmptyModel(model) && counter.m_nTotalAllocations == 0);
            return;
        }
        const uint32_t first = LoadModel(model, bytes);
        if (first == RESULT_OK)
            CheckBlockModel(model, bytes);
        else
            FUZZ_REQUIRE(IsEmptyModel(model));
        FUZZ_REQUIRE(LoadModel(model, bytes) == first);
        if (first == RESULT_OK)
            WalkModel(model);
        FUZZ_REQUIRE(counter.m_nTotalAllocations == 1);
    }
    FUZZ_REQUIRE(counter.m_nCurrentAllocations == 0);
}
