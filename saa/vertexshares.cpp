#include "saa/vertexshares.h"

#include "scene/sortfew.h"

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

void FindShares(const ScenePrimitive& primitive, const SceneSkin& skin, const SceneInfluence* begin,
                const SceneInfluence* end, std::vector<VertexShare>& shares)
{
    shares.clear();
    double sum = 0.0;
    for (const SceneInfluence* influence = begin; influence != end; ++influence)
    {
        sum += influence->weight;
        shares.push_back({skin.joints[influence->joint], influence->weight});
    }
    if (primitive.hasModelWeights)
    {
        sum = 1.0;
    }
    SortFew(shares, [](const VertexShare& a, const VertexShare& b) { return a.node < b.node; });
    std::size_t nNodes = 0;
    for (const VertexShare& share : shares)
    {
        const double percent = 100.0 * share.percent / sum;
        if (nNodes != 0 && shares[nNodes - 1].node == share.node)
        {
            shares[nNodes - 1].percent += percent;
        }
        else
        {
            shares[nNodes++] = {share.node, percent};
        }
    }
    shares.resize(nNodes);
    for (std::size_t i = 0; primitive.hasModelWeights && i < nNodes; ++i)
    {
        double& percent = shares[i].percent;
        percent = std::abs(percent / LEAST_PERCENT - 1.0) < ROUNDING ? static_cast<double>(LEAST_PERCENT)
                                                                     : std::min(percent, 100.0);
    }
}

ShareChanges MendShares(std::vector<VertexShare>& shares, int fallback)
{
    ShareChanges changes;
    std::size_t nKept = 0;
    for (const VertexShare& share : shares)
    {
        if (IsKeptPercent(share.percent))
        {
            shares[nKept++] = share;
        }
        else if (share.percent >= RAISED_FROM)
        {
            shares[nKept++] = {share.node, static_cast<double>(LEAST_PERCENT)};
            ++changes.raised;
        }
        else
        {
            ++changes.dropped;
        }
    }
    if (nKept != 0)
    {
        shares.resize(nKept);
    }
    else
    {
        const auto greatest =
            std::max_element(shares.begin(), shares.end(),
                             [](const VertexShare& a, const VertexShare& b) { return a.percent < b.percent; });
        const int node = greatest == shares.end() ? fallback : greatest->node;
        shares.assign(1, {node, 100.0});
        changes.mended = 1;
    }
    changes.touched = changes.raised + changes.dropped != 0 ? 1 : 0;
    return changes;
}
