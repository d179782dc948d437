#include "saa/cropcoords.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

float CropCoordinate(float whole, int cropMin, int cropMax, int size)
{
    const float scale = static_cast<float>(static_cast<double>(cropMax - cropMin) / size);
    const float offset = static_cast<float>(static_cast<double>(cropMin) / size);
    if (scale == 0.0F)
    {
        return 0.0F;
    }
    const auto miss = [&](float coordinate)
    {
        const double product = static_cast<double>(scale) * static_cast<double>(coordinate);
        const float read = static_cast<float>(product + static_cast<double>(offset));
        return std::fabs(static_cast<double>(read) - static_cast<double>(whole));
    };
    const double exact = (static_cast<double>(whole) - static_cast<double>(offset)) / static_cast<double>(scale);
    const float start =
        static_cast<float>(std::clamp(exact, -static_cast<double>(FLT_MAX), static_cast<double>(FLT_MAX)));
    if (miss(start) == 0.0)
    {
        return start; // no neighbour is better
    }
    float best = start;
    float below = start;
    float above = start;
    for (int step = 0; step < 2; ++step)
    {
        below = std::max(std::nextafter(below, -FLT_MAX), -FLT_MAX);
        above = std::min(std::nextafter(above, FLT_MAX), FLT_MAX);
        best = miss(below) < miss(best) ? below : best;
        best = miss(above) < miss(best) ? above : best;
    }
    return best;
}
