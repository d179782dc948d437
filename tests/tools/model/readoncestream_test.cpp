#include "tools/model/readoncestream.h"

#include "engine/model/src/seektosection.h"
#include "tools/model/beginsection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

constexpr uint32_t BLOCK = ReadOnceStream::BLOCK_SIZE;

static std::vector<uint8_t> Pattern(uint32_t size)
{
    std::vector<uint8_t> bytes(size);
    for (uint32_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
    return bytes;
}

static bool Holds(ReadOnceStream& stream, const std::vector<uint8_t>& bytes, uint32_t step)
{
    std::vector<uint8_t> read(bytes.size());
    for (uint32_t done = 0; done < read.size(); done += step)
        stream.Read(read.data() + done, std::min(step, static_cast<uint32_t>(read.size()) - done));
    return stream.ErrorStatus() == 0 && read == bytes;
}

// Sections of which each is read once, though their chain is walked for each; the headers may lie across two blocks.
TEST(ReadOnceStream, GivesBackWhatWasReadButTheChainOfSections)
{
    for (const uint32_t shift : {0u, 1u, 5u, 9u, 30u})
    {
        const std::vector<uint8_t> bodies[] = {Pattern(40), Pattern(5 * BLOCK + 77 - shift - 27), Pattern(3 * BLOCK),
                                               Pattern(2 * BLOCK), Pattern(60)};
        const char* const names[] = {"One", "Second", "Third", "Fourth", "Last"};
        ReadOnceStream stream;
        uint32_t iLink = NO_PREVIOUS_SECTION;
        for (int i = 0; i < 5; ++i)
        {
            iLink = BeginSection(&stream, names[i], iLink);
            ASSERT_EQ(stream.Write(bodies[i].data(), static_cast<uint32_t>(bodies[i].size())), 0);
        }
        const uint32_t nBlocks = stream.NumBlocks();
        EXPECT_EQ(nBlocks, 11u);
        // The last two in the other order, as a model's are.
        for (const int i : {0, 1, 2, 4, 3})
        {
            ASSERT_TRUE(SeekToSection(&stream, names[i])) << i;
            EXPECT_TRUE(Holds(stream, bodies[i], i == 1 ? 10 : 70000)) << shift << ": " << i;
        }
        EXPECT_LE(stream.NumBlocks(), 6u) << shift;
        ASSERT_TRUE(SeekToSection(&stream, names[2])); // the headers are there still, the body isn't
        EXPECT_FALSE(Holds(stream, bodies[2], 1000));
    }
}

TEST(ReadOnceStream, EndsAndOverwritesAsMemoryDoes)
{
    ReadOnceStream stream;
    EXPECT_EQ(stream.SeekTo(1), 1);
    std::vector<uint8_t> bytes = Pattern(3 * BLOCK);
    EXPECT_EQ(stream.Write(bytes.data(), 3 * BLOCK), 0);
    stream.Hold(true);
    EXPECT_TRUE(stream.SeekTo(0) == 0 && Holds(stream, bytes, BLOCK));
    stream.Hold(false);
    EXPECT_EQ(stream.SeekTo(2 * BLOCK - 2), 0);
    EXPECT_EQ(stream.Write("abcd", 4), 0);
    std::copy_n("abcd", 4, bytes.begin() + (std::ptrdiff_t{2} * BLOCK - 2));
    EXPECT_EQ(stream.GetPosition(), 2 * BLOCK + 2);
    EXPECT_EQ(stream.GetLength(), 3 * BLOCK);
    for (int i = 0; i < 2; ++i) // all three blocks stay
    {
        stream.SeekTo(0);
        EXPECT_TRUE(Holds(stream, bytes, 1 << 20));
    }
    uint32_t word = 1;
    EXPECT_EQ(stream.SeekTo(3 * BLOCK - 3), 0);
    EXPECT_EQ(stream.Read(&word, 4), 1);
    EXPECT_EQ(word, 0u);
    EXPECT_EQ(stream.ErrorStatus(), 1);
    EXPECT_EQ(stream.GetPosition(), 3 * BLOCK);
}
