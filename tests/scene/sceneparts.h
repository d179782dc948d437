// Short ways to make parts of scenes and to look at them.
#pragma once

#include "scene/scene.h"

#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <vector>

constexpr double SQRT_HALF = std::numbers::sqrt2 / 2.0;

inline SceneChannel MakeChannel(int node, ScenePath path, SceneInterpolation interpolation,
                                const std::vector<double>& times, const std::vector<double>& values)
{
    return {node, path, interpolation, times, values};
}

inline void ExpectPoint(const Double3& point, double x, double y, double z, double near = 1e-12)
{
    EXPECT_NEAR(point.x, x, near);
    EXPECT_NEAR(point.y, y, near);
    EXPECT_NEAR(point.z, z, near);
}

inline std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}
