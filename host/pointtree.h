// Points sorted in space, for questions about what is near.
#pragma once

#include "scene/doublemath.h"

#include <cstdint>
#include <vector>

class PointTree
{
public:
    // The points that `indices` names; `points` must outlive this and stay as they are.
    PointTree(const std::vector<Double3>& points, std::vector<std::uint32_t> indices);

    // The squared distance to the nearest point, infinite without points.
    double NearestSquared(const Double3& place) const;

    // Appends the indices of all points whose squared distance is at most `squared`.
    void FindWithin(const Double3& place, double squared, std::vector<std::uint32_t>& found) const;

private:
    void Sort(std::size_t begin, std::size_t end, int axis);
    void Nearest(std::size_t begin, std::size_t end, int axis, const Double3& place, double& best) const;
    void Within(std::size_t begin, std::size_t end, int axis, const Double3& place, double squared,
                std::vector<std::uint32_t>& found) const;

    const std::vector<Double3>& m_Points;
    std::vector<std::uint32_t> m_Indices; // the middle one of a range parts it along the range's axis
};

double SquaredDistance(const Double3& a, const Double3& b);
