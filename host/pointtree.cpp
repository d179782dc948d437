#include "host/pointtree.h"

#include <algorithm>
#include <limits>

// Ranges up to this length aren't parted any further.
static constexpr std::size_t LEAF_SIZE = 8;

static double AxisOf(const Double3& point, int axis)
{
    return axis == 0 ? point.x : axis == 1 ? point.y : point.z;
}

static int NextAxis(int axis)
{
    return axis == 2 ? 0 : axis + 1;
}

double SquaredDistance(const Double3& a, const Double3& b)
{
    const double x = a.x - b.x;
    const double y = a.y - b.y;
    const double z = a.z - b.z;
    return x * x + y * y + z * z;
}

PointTree::PointTree(const std::vector<Double3>& points, std::vector<std::uint32_t> indices)
    : m_Points(points), m_Indices(std::move(indices))
{
    Sort(0, m_Indices.size(), 0);
}

// Halving keeps the depth below the number of bits of a size.
void PointTree::Sort(std::size_t begin, std::size_t end, int axis)
{
    if (end - begin <= LEAF_SIZE)
        return;
    const std::size_t middle = begin + (end - begin) / 2;
    const auto first = m_Indices.begin();
    std::nth_element(first + static_cast<std::ptrdiff_t>(begin), first + static_cast<std::ptrdiff_t>(middle),
                     first + static_cast<std::ptrdiff_t>(end),
                     [&](std::uint32_t a, std::uint32_t b)
                     { return AxisOf(m_Points[a], axis) < AxisOf(m_Points[b], axis); });
    Sort(begin, middle, NextAxis(axis));
    Sort(middle + 1, end, NextAxis(axis));
}

void PointTree::Nearest(std::size_t begin, std::size_t end, int axis, const Double3& place, double& best) const
{
    if (end - begin <= LEAF_SIZE)
    {
        for (std::size_t i = begin; i < end; i++)
            best = std::min(best, SquaredDistance(m_Points[m_Indices[i]], place));
        return;
    }
    const std::size_t middle = begin + (end - begin) / 2;
    const Double3& parting = m_Points[m_Indices[middle]];
    best = std::min(best, SquaredDistance(parting, place));
    const double off = AxisOf(place, axis) - AxisOf(parting, axis);
    const auto search = [&](bool lower)
    {
        lower ? Nearest(begin, middle, NextAxis(axis), place, best)
              : Nearest(middle + 1, end, NextAxis(axis), place, best);
    };
    search(off < 0.0);
    if (off * off < best)
        search(off >= 0.0);
}

double PointTree::NearestSquared(const Double3& place) const
{
    double best = std::numeric_limits<double>::infinity();
    Nearest(0, m_Indices.size(), 0, place, best);
    return best;
}

void PointTree::Within(std::size_t begin, std::size_t end, int axis, const Double3& place, double squared,
                       std::vector<std::uint32_t>& found) const
{
    if (end - begin <= LEAF_SIZE)
    {
        for (std::size_t i = begin; i < end; i++)
        {
            if (SquaredDistance(m_Points[m_Indices[i]], place) <= squared)
                found.push_back(m_Indices[i]);
        }
        return;
    }
    const std::size_t middle = begin + (end - begin) / 2;
    const Double3& parting = m_Points[m_Indices[middle]];
    if (SquaredDistance(parting, place) <= squared)
        found.push_back(m_Indices[middle]);
    const double off = AxisOf(place, axis) - AxisOf(parting, axis);
    if (off <= 0.0 || off * off <= squared)
        Within(begin, middle, NextAxis(axis), place, squared, found);
    if (off >= 0.0 || off * off <= squared)
        Within(middle + 1, end, NextAxis(axis), place, squared, found);
}

void PointTree::FindWithin(const Double3& place, double squared, std::vector<std::uint32_t>& found) const
{
    Within(0, m_Indices.size(), 0, place, squared, found);
}
