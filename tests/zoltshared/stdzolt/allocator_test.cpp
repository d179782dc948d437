#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zoltshared/stdzolt/testallocator.h"
#include "zoltshared/stdzolt/allocatednew.h"
#include "zoltshared/stdzolt/blockallocator.h"
#include "zoltshared/stdzolt/chunkallocator.h"
#include "zoltshared/stdzolt/countingallocator.h"

// A global's constructor may use the heap, whatever the order of the files.
static void* const g_pEarly = g_DefaultAllocator.Alloc(3);

TEST(Allocators, NothingForZeroBytes)
{
    TestAllocator heap;
    CountingAllocator counting(&heap);
    BlockAllocator block;
    ASSERT_TRUE(block.Init(&heap, 64));
    EXPECT_EQ(g_DefaultAllocator.Alloc(0), nullptr);
    EXPECT_EQ(counting.Alloc(0), nullptr);
    EXPECT_EQ(block.Alloc(0), nullptr);
    EXPECT_EQ(counting.m_nTotalAllocations + counting.m_nAllocationFailures + block.GetUsed(), 0U);
    ASSERT_NE(g_pEarly, nullptr);
    g_DefaultAllocator.Free(g_pEarly);
    g_DefaultAllocator.Free(nullptr);
}

TEST(Allocators, CountingCounts)
{
    TestAllocator heap;
    CountingAllocator counting(&heap);
    void* pA = counting.Alloc(5);
    void* pB = counting.Alloc(7);
    heap.m_nLeft = 0;
    EXPECT_EQ(counting.Alloc(100), nullptr);
    counting.Free(pA);
    counting.Free(nullptr);
    EXPECT_EQ(counting.m_nTotalAllocations, 2U);
    EXPECT_EQ(counting.m_nTotalFrees, 1U);
    EXPECT_EQ(counting.m_TotalMemoryAllocated, 12U);
    EXPECT_EQ(counting.m_nCurrentAllocations, 1U);
    EXPECT_EQ(counting.m_nAllocationFailures, 1U);
    counting.Free(pB);
    EXPECT_EQ(heap.m_nLive, 0);
}

TEST(BlockAllocator, SmallBlocks)
{
    TestAllocator heap;
    BlockAllocator block;
    EXPECT_EQ(block.Alloc(1), nullptr);
    ASSERT_TRUE(block.Init(&heap, 7));
    EXPECT_EQ(block.GetBlockSize(), 8U);
    EXPECT_NE(block.Alloc(1), nullptr);
    EXPECT_EQ(block.Alloc(0xFFFFFFFF), nullptr);
    EXPECT_EQ(block.Alloc(0xFFFFFFFD), nullptr);
    EXPECT_NE(block.Alloc(4), nullptr);
    EXPECT_EQ(block.Alloc(1), nullptr);
    ASSERT_TRUE(block.Init(&heap, 0));
    EXPECT_EQ(heap.m_nLive, 0); // the second Init gave the block back
    EXPECT_EQ(block.Alloc(1), nullptr);
    EXPECT_FALSE(block.Init(&heap, -1));
    heap.m_nLeft = 0;
    EXPECT_FALSE(block.Init(&heap, 16));
    EXPECT_EQ(block.GetBlockSize(), 0U);
}

TEST(BlockAllocator, AnyOrderOfRequestsFitsExactlyAndIsAligned)
{
    std::mt19937 random(1);
    for (int round = 0; round < 200; round++)
    {
        std::vector<uint32_t> sizes(1 + random() % 20);
        uint32_t sum = 0;
        for (uint32_t& size : sizes)
        {
            size = 1 + random() % 40;
            sum += (size + 3) / 4 * 4;
        }
        TestAllocator heap;
        BlockAllocator block;
        ASSERT_TRUE(block.Init(&heap, static_cast<int>(sum)));
        std::vector<std::pair<char*, uint32_t>> pieces;
        for (uint32_t size : sizes)
        {
            char* pPiece = static_cast<char*>(block.Alloc(size));
            ASSERT_NE(pPiece, nullptr);
            const bool bWide = sizeof(void*) > 4;
            ASSERT_EQ(reinterpret_cast<uintptr_t>(pPiece) % (bWide && (size + 3) / 4 % 2 == 0 ? 8 : 4), 0U);
            ASSERT_TRUE(bWide || pieces.empty() || pPiece == pieces.back().first + (pieces.back().second + 3) / 4 * 4);
            ASSERT_TRUE(block.Contains(pPiece) && block.Contains(pPiece + size - 1));
            std::fill_n(pPiece, size, static_cast<char>(size)); // the sanitizer sees what lies outside
            block.Free(pPiece);
            pieces.emplace_back(pPiece, size);
        }
        EXPECT_EQ(block.GetUsed(), sum);
        EXPECT_EQ(block.Alloc(1), nullptr);
        std::sort(pieces.begin(), pieces.end());
        for (size_t i = 1; i < pieces.size(); i++)
            ASSERT_LE(pieces[i - 1].first + pieces[i - 1].second, pieces[i].first);
    }
}

TEST(BlockAllocator, MemoryFromOutsideGoesToTheHeap)
{
    BlockAllocator block;
    ASSERT_TRUE(block.Init(&g_DefaultAllocator, 64));
    block.Free(g_DefaultAllocator.Alloc(10)); // the sanitizer sees a leak
    block.Free(nullptr);
    int local = 0;
    EXPECT_FALSE(block.Contains(&local));
}

TEST(ChunkAllocator, PiecesDontOverlapAndAllGoAtOnce)
{
    TestAllocator heap;
    {
        ChunkAllocator chunks(&heap);
        EXPECT_EQ(chunks.Alloc(0), nullptr);
        EXPECT_EQ(chunks.Alloc(0xFFFFFFFF), nullptr);
        std::mt19937 random(2);
        std::vector<std::pair<char*, uint32_t>> pieces;
        for (int i = 0; i < 3000; i++)
        {
            const uint32_t size = 1 + random() % (i % 50 == 0 ? 200000 : 300);
            char* pPiece = static_cast<char*>(chunks.Alloc(size));
            ASSERT_NE(pPiece, nullptr);
            ASSERT_EQ(reinterpret_cast<uintptr_t>(pPiece) % 8, 0U);
            std::fill_n(pPiece, size, static_cast<char>(size)); // the sanitizer sees what lies outside
            chunks.Free(pPiece);
            pieces.emplace_back(pPiece, size);
        }
        EXPECT_LT(heap.m_Requests.size(), 100U);
        std::sort(pieces.begin(), pieces.end());
        for (size_t i = 1; i < pieces.size(); i++)
            ASSERT_LE(pieces[i - 1].first + pieces[i - 1].second, pieces[i].first);
        heap.m_nLeft = 0;
        EXPECT_EQ(chunks.Alloc(100000), nullptr);
        for (int i = 0; i < 20; i++) // at most the rest of a chunk
            chunks.Alloc(8000);
        EXPECT_EQ(chunks.Alloc(8000), nullptr);
    }
    EXPECT_EQ(heap.m_nLive, 0);
}

struct Plain
{
    ZOLT_ALLOCATED_NEW
    int m_Value = 3;
};

struct Huge
{
    ZOLT_ALLOCATED_NEW
    char m_Bytes[0x7FFFFFFF];
    char m_MoreBytes[0x7FFFFFFF];
    char m_LastBytes[0x10];
};

TEST(AllocatedNew, GivesNullAndKeepsPlacement)
{
    static_assert(sizeof(Plain) == sizeof(int));
    EXPECT_EQ(new Huge, nullptr); // more than 32 bits
    alignas(Plain) char place[sizeof(Plain)];
    Plain* pPlaced = new (place) Plain;
    EXPECT_EQ(static_cast<void*>(pPlaced), place);
    std::unique_ptr<Plain> pPlain(new Plain);
    EXPECT_EQ(pPlain->m_Value, 3);
    std::unique_ptr<Plain[]> pPlains(new (std::nothrow) Plain[3]);
    EXPECT_EQ(pPlains[2].m_Value, 3);
}
