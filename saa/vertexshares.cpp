#include "saa/vertexshares.h"

#include <algorithm>
#include <cmath>

static const float LIMIT_PERCENT = 5.0F;
static const double RAISED_FROM = 2.5;
static const float LEAST_PERCENT = std::nextafter(LIMIT_PERCENT, 2.0F * LIMIT_PERCENT);
static const double ROUNDING = 1e-6; // a model's least share, scaled to and fro, differs from it by less than this part

void ShareChanges::Add(const ShareChanges& other)
{
    raised += other.raised;
    dropped += other.dropped;
    touched += other.touched;
    mended += other.mended;
}

float PercentAsFloat(double percent)
{
    const auto nearest = static_cast<float>(percent);
    return percent > static_cast<double>(LIMIT_PERCENT) && nearest <= LIMIT_PERCENT ? LEAST_PERCENT : nearest;
}

bool IsKeptPercent(double percent)
{
    return static_cast<double>(PercentAsFloat(percent)) / 100.0 > static_cast<double>(0.05F);
}

std::vector<VertexShare> FindShares(const ScenePrimitive& primitive, const SceneSkin& skin, const SceneInfluence* begin,
                                    const SceneInfluence* end)
{
    double sum = 0.0;
    std::vector<VertexShare> all;
    for (const SceneInfluence* influence = begin; influence != end; ++influence)
    {
        sum += influence->weight;
        all.push_back({skin.joints[influence->joint], influence->weight});
    }
    if (primitive.hasModelWeights)
    {
        sum = 1.0;
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const VertexShare& a, const VertexShare& b) { return a.node < b.node; });
    std::vector<VertexShare> shares;
    for (const VertexShare& share : all)
    {
        if (shares.empty() || shares.back().node != share.node)
        {
            shares.push_back({share.node, 0.0});
        }
        shares.back().percent += 100.0 * share.percent / sum;
    }
    for (VertexShare& share : shares)
    {
        if (primitive.hasModelWeights && std::abs(share.percent / LEAST_PERCENT - 1.0) < ROUNDING)
        {
            share.percent = LEAST_PERCENT;
        }
        else if (primitive.hasModelWeights)
        {
            share.percent = std::min(share.percent, 100.0);
        }
    }
    return shares;
}

ShareChanges MendShares(std::vector<VertexShare>& shares, int fallback)
{
    ShareChanges changes;
    std::vector<VertexShare> kept;
    for (const VertexShare& share : shares)
    {
        if (IsKeptPercent(share.percent))
        {
            kept.push_back(share);
        }
        else if (share.percent >= RAISED_FROM)
        {
            kept.push_back({share.node, static_cast<double>(LEAST_PERCENT)});
            ++changes.raised;
        }
        else
        {
            ++changes.dropped;
        }
    }
    if (kept.empty())
    {
        const auto greatest =
            std::max_element(shares.begin(), shares.end(),
                             [](const VertexShare& a, const VertexShare& b) { return a.percent < b.percent; });
        kept.push_back({greatest == shares.end() ? fallback : greatest->node, 100.0});
        changes.mended = 1;
    }
    changes.touched = changes.raised + changes.dropped != 0 ? 1 : 0;
    shares.swap(kept);
    return changes;
}
