// The fast look-ups against their plain definitions.

#include "tools/model/kelpexport/closestvertexfinder.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/ctrlvertexlookup.h"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

typedef DynArray<SAA_Position, DefaultCache> Positions;

static void Append(Positions& positions, double x, double y, double z)
{
    ASSERT_TRUE(positions.Append(SAA_Position{{x, y, z, 1.0}}));
}

static void ExpectSame(const Positions& positions, const std::vector<SAA_Position>& questions)
{
    ClosestVertexFinder finder;
    ASSERT_TRUE(finder.Build(positions));
    for (const SAA_Position& question : questions)
    {
        const uint32_t plain = ConvModel_Soft::FindClosestVertex(question.v, positions);
        for (uint32_t iGuess = 0; iGuess <= positions.GetSize(); ++iGuess)
        {
            ASSERT_EQ(finder.Find(question.v, iGuess), plain)
                << question.v[0] << " " << question.v[1] << " " << question.v[2] << " at " << iGuess;
        }
    }
}

TEST(ClosestVertex, PlainDefinition)
{
    Positions positions;
    const double at[3] = {0, 0, 0};
    EXPECT_EQ(ConvModel_Soft::FindClosestVertex(at, positions), 0u);
    Append(positions, 1000.5, 0, 0);
    Append(positions, 1000, 0, 0);
    EXPECT_EQ(ConvModel_Soft::FindClosestVertex(at, positions), 0u) << "a squared distance of 1000000 is too far";
    Append(positions, 0, -999.5, 0);
    Append(positions, 0, 0, 3);
    Append(positions, 3, 0, 0);
    Append(positions, 0, 0, 3);
    EXPECT_EQ(ConvModel_Soft::FindClosestVertex(at, positions), 3u) << "the first of three";
    ExpectSame(positions, {{{0, 0, 0, 1}}, {{1000, 0, 0, 1}}, {{2000.5, 0, 0, 1}}, {{5, 5, 5, 1}}});
}

TEST(ClosestVertex, FastWayGivesTheSame)
{
    std::mt19937 random(20240501); // NOLINT(cert-msc51-cpp): the same numbers in every run
    for (int round = 0; round < 60; ++round)
    {
        // Coordinates from a small lattice make ties and duplicates; wide ones reach beyond the limit.
        const int lattice = round % 3 == 0 ? 3 : round % 3 == 1 ? 12 : 1000000;
        const double size = round % 4 == 3 ? 1500.0 : 1.0;
        const bool bFlat = round % 5 == 4;
        const auto coordinate = [&]
        { return size * static_cast<double>(random() % static_cast<unsigned>(lattice)) / lattice; };
        Positions positions;
        std::vector<SAA_Position> questions;
        for (unsigned n = random() % 400 + 1; n > 0; --n)
        {
            Append(positions, coordinate(), coordinate(), bFlat ? 0.0 : coordinate());
            questions.push_back(positions.Last());
            questions.push_back({{coordinate(), coordinate(), coordinate(), 1.0}});
            questions.push_back({{2 * coordinate() - 0.5 * size, -coordinate(), 2 * coordinate(), 1.0}});
        }
        ExpectSame(positions, questions);
    }
}

TEST(CtrlVertexLookup, FindsTheFirstOfEqualHandles)
{
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp): the same numbers in every run
    const auto handle = [&]
    {
        SAA_SubHandle result = {};
        result.bytes[0] = static_cast<unsigned char>(random() % 16);
        result.bytes[35] = static_cast<unsigned char>(random() % 16);
        return result;
    };
    for (unsigned n = 0; n < 200; n += 7)
    {
        SoftNode node(nullptr);
        for (unsigned i = 0; i < n; ++i)
            ASSERT_TRUE(node.m_CtrlVertices.Append(handle()));
        CtrlVertexLookup lookup;
        ASSERT_TRUE(lookup.Build(node));
        for (int i = 0; i < 300; ++i)
        {
            const SAA_SubHandle question = handle();
            uint32_t plain = 99999;
            uint32_t fast = 99999;
            ASSERT_EQ(node.FindCtrlVertex(question, &plain), lookup.Find(question, &fast));
            ASSERT_EQ(plain, fast);
        }
    }
}

// Handles that count up, and lists in which one handle doesn't, at first, in the middle or at last.
TEST(CtrlVertexLookup, FindsNumberedHandles)
{
    for (const uint32_t place : {0u, 16u, 32u})
    {
        for (const uint32_t first : {0u, 0xFFFFFFFEu}) // the second goes beyond the largest number
        {
            for (const uint32_t iOdd : {0u, 1u, 30u, 59u, 60u})
            {
                SoftNode plain(nullptr), shortened(nullptr);
                std::vector<SAA_SubHandle> questions;
                for (uint32_t i = 0; i < 70; ++i)
                {
                    SAA_SubHandle handle = {};
                    std::memset(handle.bytes, 0x5A, sizeof handle.bytes);
                    const uint32_t number = first + i;
                    std::memcpy(handle.bytes + place, &number, sizeof number);
                    if (i == iOdd)
                        handle.bytes[20] = 1;
                    questions.push_back(handle);
                    if (i >= 60)
                        continue;
                    ASSERT_TRUE(plain.m_CtrlVertices.Append(handle) && shortened.m_CtrlVertices.Append(handle));
                }
                SAA_SubHandle below = questions[2];
                const uint32_t number = first - 1;
                std::memcpy(below.bytes + place, &number, sizeof number);
                questions.push_back(below);
                shortened.ShortenCtrlVertices();
                EXPECT_EQ(shortened.m_CtrlVertices.GetSize(), iOdd == 60 ? 0u : 60u);
                CtrlVertexLookup lookup;
                ASSERT_TRUE(lookup.Build(shortened));
                for (const SAA_SubHandle& question : questions)
                {
                    uint32_t expected = 99999, found = 99999, looked = 99999;
                    ASSERT_EQ(plain.FindCtrlVertex(question, &expected), lookup.Find(question, &looked));
                    ASSERT_EQ(looked, expected);
                    shortened.FindCtrlVertex(question, &found);
                    ASSERT_EQ(found, expected);
                }
            }
        }
    }
}
