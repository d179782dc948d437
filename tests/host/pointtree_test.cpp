// The tree against a look at every point.
#include "host/pointtree.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <random>

TEST(PointTreeTest, AgreesWithPlainSearch)
{
    std::mt19937 random(7);
    for (const std::size_t count : {0U, 1U, 8U, 9U, 40U, 700U})
    {
        // A coarse raster makes ties and points that coincide.
        std::uniform_int_distribution<int> coordinate(0, 12);
        const auto place = [&] { return Double3{double(coordinate(random)), double(coordinate(random)), 0.5}; };
        std::vector<Double3> points(count + 3);
        std::vector<std::uint32_t> indices;
        for (Double3& point : points)
            point = place();
        for (std::size_t i = 0; i < count; i++)
            indices.push_back(static_cast<std::uint32_t>(i + 3)); // the first three don't count
        const PointTree tree(points, indices);
        for (int question = 0; question < 50; question++)
        {
            const Double3 asked = place();
            double nearest = std::numeric_limits<double>::infinity();
            std::vector<std::uint32_t> within;
            for (const std::uint32_t i : indices)
            {
                nearest = std::min(nearest, SquaredDistance(points[i], asked));
                if (SquaredDistance(points[i], asked) <= 4.0)
                    within.push_back(i);
            }
            std::vector<std::uint32_t> found;
            tree.FindWithin(asked, 4.0, found);
            std::sort(found.begin(), found.end());
            EXPECT_EQ(tree.NearestSquared(asked), nearest);
            EXPECT_EQ(found, within);
        }
    }
}
