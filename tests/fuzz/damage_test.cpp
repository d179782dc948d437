#include "fuzz/modelfields.h"
#include "fuzz/require.h"
#include "fuzz/walkmodel.h"
#include "tests/engine/model/src/abcbytes.h"
#include "tests/fuzz/memorymeter.h"
#include "zoltshared/stdzolt/fixedmemorystream.h"

#include <ctime>
#include <gtest/gtest.h>
#include <pthread.h>

namespace
{
// The least stack that a host's thread has. Frames with the sanitizers' red zones are several times as large.
#ifdef __SANITIZE_ADDRESS__
constexpr size_t STACK_SIZE = 8u << 20;
#else
constexpr size_t STACK_SIZE = 1u << 20;
#endif
constexpr double MAX_SECONDS = 2.0;
constexpr size_t BASE_MEMORY = 64u << 20;
constexpr size_t MEMORY_FACTOR = 16;

std::span<const uint8_t> Span(const std::string& bytes)
{
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

double ThreadSeconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void OnSmallStack(const std::function<void()>& body)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, STACK_SIZE), 0);
    pthread_t thread;
    const auto run = [](void* pBody) -> void*
    {
        const StrictAssertions strict;
        (*static_cast<const std::function<void()>*>(pBody))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

// A valid model or none, within the bounds. The result of Load, or of PrepareBlock.
uint32_t Load(const std::string& bytes, bool bBlock)
{
    MeteredAllocator allocator;
    const size_t before = g_Meter.m_Live;
    g_Meter.Reset();
    const double start = ThreadSeconds();
    uint32_t result = RESULT_OK;
    {
        Model model(&allocator, &allocator);
        if (bBlock)
        {
            FixedMemoryStream stream(const_cast<char*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
            result = model.PrepareBlock(&stream, &allocator);
            EXPECT_TRUE(result == RESULT_OK || result == RESULT_INVALID_MODEL_FILE);
        }
        if (result == RESULT_OK)
        {
            result = LoadModel(model, Span(bytes));
            EXPECT_TRUE(result == RESULT_OK || result == RESULT_ERROR);
        }
        EXPECT_LT(ThreadSeconds() - start, MAX_SECONDS);
        EXPECT_LE(g_Meter.m_Peak - before, BASE_MEMORY + MEMORY_FACTOR * bytes.size());
        if (result == RESULT_OK)
            WalkModel(model);
        else
            EXPECT_TRUE(IsEmptyModel(model));
        if (result == RESULT_OK && !bBlock)
            CheckRoundTrip(model);
    }
    EXPECT_EQ(g_Meter.m_Live, before);
    return result;
}

uint32_t Load(const std::string& bytes)
{
    const uint32_t onHeap = Load(bytes, false);
    // A block is no way around a refusal; it has bounds of its own.
    EXPECT_TRUE(onHeap == RESULT_OK || Load(bytes, true) != RESULT_OK);
    return onHeap;
}

std::string With(std::string bytes, const ModelField& field, uint32_t value)
{
    for (uint32_t i = 0; i < field.m_Size; ++i)
        bytes[field.m_Offset + i] = static_cast<char>(value >> (8 * i));
    return bytes;
}

uint32_t ValueOf(const std::string& bytes, const ModelField& field)
{
    uint32_t value = 0;
    for (uint32_t i = 0; i < field.m_Size; ++i)
        value |= uint32_t{static_cast<uint8_t>(bytes[field.m_Offset + i])} << (8 * i);
    return value;
}

std::vector<std::string> Samples()
{
    std::vector<std::string> samples;
    for (const uint32_t version : {9u, 12u})
    {
        abc::Random random(version);
        abc::File rich;
        rich.version = version;
        rich.command = "NormalRef node1 walk; VisRadius 75";
        rich.nodes = random.Tree(5);
        rich.lodDistances = {100};
        rich.pieces = {{"body", 1, 2, {1, 2, 3}, {random.RandomMesh(6, 4, 5), random.RandomMesh(3, 2, 5)}},
                       {"head", 0, 0, {1, 2, 3}, {random.RandomMesh(4, 3, 5), {}}}};
        rich.sets = {{"arm", {0, 2, 0.5f, 2, 1}}, {"leg", std::vector<float>(5, 1)}};
        rich.anims = {random.Animation("walk", 5, 3), random.Animation("stop", 5, 0), random.Animation("run", 5, 1)};
        rich.sockets = {{4, "hand", random.Place()}, {0, "hip", random.Place()}};
        rich.links = {{}, {"child.abc", 7, {random.Place()}}, {"other.abc", 8, {}}};
        rich.linkBindings = {{{"sit", {1, 2, 3}}}};
        samples.push_back(rich.Write());
    }
    abc::Random random(5);
    abc::File lods;
    lods.lodDistances.resize(24, 10);
    lods.pieces = {{"many", 0, 0, {1, 1, 1}, {}}};
    for (uint32_t i = 0; i < 25; ++i)
        lods.pieces[0].lods.push_back(random.RandomMesh(1 + i % 3, i % 2, 1));
    lods.links.resize(16);
    samples.push_back(lods.Write());
    abc::File deep;
    deep.nodes.resize(20);
    for (int i = 1; i < 20; ++i)
        deep.nodes[i].parent = i - 1;
    deep.anims = {random.Animation("deep", 20, 1)};
    deep.links.resize(2);
    samples.push_back(deep.Write());
    return samples;
}
} // namespace

TEST(Damage, CutAnywhere)
{
    OnSmallStack(
        []
        {
            for (const std::string& sample : Samples())
            {
                EXPECT_EQ(Load(sample), RESULT_OK);
                EXPECT_EQ(Load(sample, true), RESULT_OK);
                const size_t step = sample.size() > 8192 ? 7 : 1;
                for (size_t length = 0; length < sample.size(); length += step)
                    EXPECT_EQ(Load(sample.substr(0, length), false), RESULT_ERROR) << length;
            }
        });
}

TEST(Damage, EveryField)
{
    OnSmallStack(
        []
        {
            for (const std::string& sample : Samples())
            {
                for (const ModelField& field : ListModelFields(Span(sample)))
                {
                    SCOPED_TRACE(field.m_Offset);
                    const uint32_t value = ValueOf(sample, field);
                    switch (field.m_Kind)
                    {
                    case ModelFieldKind::Count:
                        for (const uint32_t count : {0u, 1u, value + 1, 0xFFFFu, 0xFFFFFFFFu})
                        {
                            Load(With(sample, field, count), false);
                            Load(With(sample, field, count), true);
                        }
                        break;
                    case ModelFieldKind::Link:
                        for (const ModelField& target : ListModelFields(Span(sample)))
                        {
                            if (target.m_Kind == ModelFieldKind::Text)
                                Load(With(sample, field, target.m_Offset), false);
                        }
                        for (const uint32_t link : {1u, field.m_Offset, value + 1, 0x7FFFFFFFu, 0xFFFFFFFEu})
                            Load(With(sample, field, link), false);
                        break;
                    case ModelFieldKind::Text:
                        EXPECT_EQ(Load(With(sample, field, 0xFFFF), false), RESULT_ERROR);
                        break;
                    case ModelFieldKind::Index:
                        EXPECT_EQ(Load(With(sample, field, 200), false), RESULT_ERROR);
                        EXPECT_EQ(Load(With(sample, field, 0xFFFFFFFF), false), RESULT_ERROR);
                        break;
                    case ModelFieldKind::Float:
                        // NaN and infinity: numbers are no business of the reader.
                        for (const uint32_t bits : {0x7FC00000u, 0xFF800000u})
                            EXPECT_EQ(Load(With(sample, field, bits), true), RESULT_OK);
                        break;
                    case ModelFieldKind::Other:
                        break;
                    }
                }
            }
        });
}

TEST(Damage, LongTextsAndManySections)
{
    OnSmallStack(
        []
        {
            const std::string text(65535, 'x');
            abc::Random random(1);
            abc::File file;
            file.command = file.nodes[0].name = text;
            file.pieces = {{text, 0, 0, {1, 1, 1}, {1, random.RandomMesh(2, 1, 1)}}};
            file.sets = {{text, {1}}};
            file.anims = {random.Animation(text, 1, 2)};
            file.anims[0].keys[1].second = text;
            file.sockets = {{0, text, {}}};
            file.links.push_back({text, 1, {}});
            file.linkBindings = {{{text, {}}}};
            EXPECT_EQ(Load(file.Write()), RESULT_OK);

            // The one that is found counts among the 512 that are looked through.
            for (const size_t nOthers : {505, 506, 600})
            {
                abc::File sections;
                for (size_t i = 0; i < nOthers; ++i)
                    sections.order.insert(sections.order.end() - 1, "other" + std::to_string(i));
                EXPECT_EQ(Load(sections.Write()), nOthers == 505 ? RESULT_OK : RESULT_ERROR) << nOthers;
            }
        });
}

TEST(Damage, TreesAndTracks)
{
    OnSmallStack(
        []
        {
            abc::Random random(2);
            for (const size_t nNodes : {size_t(1024), size_t(3000)})
            {
                const bool bDeep = nNodes == 1024;
                abc::File file;
                file.nodes.resize(nNodes);
                for (size_t i = 1; i < nNodes; ++i)
                    file.nodes[i].parent = bDeep ? static_cast<int>(i) - 1 : 0;
                file.anims = {random.Animation("a", static_cast<uint32_t>(nNodes), 2)};
                file.sets = {{"s", std::vector<float>(nNodes, 2)}};
                file.sockets = {{static_cast<uint32_t>(nNodes - 1), "tip", {}}};
                EXPECT_EQ(Load(file.Write()), RESULT_OK);

                // Tracks for one node more or less than there are.
                const std::vector<std::vector<abc::Key>> tracks = file.anims[0].tracks;
                file.anims[0].tracks.pop_back();
                Load(file.Write());
                file.anims[0].tracks = tracks;
                file.anims[0].tracks.push_back(tracks[0]);
                Load(file.Write());
                // A level or a node less, and the sets and sockets that were made for it.
                file.anims[0].tracks = tracks;
                file.nodes.pop_back();
                EXPECT_EQ(Load(file.Write()), RESULT_ERROR);
            }
        });
}
