#include "scene/joinvertices.h"

#include "scene/sortfew.h"

#include <algorithm>
#include <cstring>
#include <functional>

void SumInfluences(const ScenePrimitive& primitive, std::size_t vertex, std::vector<SceneInfluence>& sums)
{
    sums.assign(primitive.influences.begin() + primitive.influenceStarts[vertex],
                primitive.influences.begin() + primitive.influenceStarts[vertex + 1]);
    // As a rule a file lists each joint once, and often in their order.
    const auto isAhead = [](const SceneInfluence& a, const SceneInfluence& b) { return a.joint < b.joint; };
    if (std::adjacent_find(sums.begin(), sums.end(), std::not_fn(isAhead)) == sums.end())
    {
        return;
    }
    SortFew(sums, isAhead);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < sums.size(); ++i)
    {
        if (kept > 0 && sums[kept - 1].joint == sums[i].joint)
        {
            sums[kept - 1].weight += sums[i].weight;
        }
        else
        {
            sums[kept++] = sums[i];
        }
    }
    sums.resize(kept);
}

static void AppendNumber(double number, std::vector<std::uint64_t>& key)
{
    const double unsignedZero = number + 0.0; // minus 0 becomes 0
    std::uint64_t bits = 0;
    std::memcpy(&bits, &unsignedZero, sizeof bits);
    key.push_back(bits);
}

static void AppendPoint(const Double3& point, std::vector<std::uint64_t>& key)
{
    AppendNumber(point.x, key);
    AppendNumber(point.y, key);
    AppendNumber(point.z, key);
}

// All that two vertices must agree in.
static void MakeKey(const ScenePrimitive& primitive, std::size_t vertex, const std::vector<SceneInfluence>& influences,
                    std::vector<std::uint64_t>& key)
{
    key.clear();
    AppendPoint(primitive.positions[vertex], key);
    for (const std::vector<Double3>& deltas : primitive.morphDeltas)
    {
        AppendPoint(deltas[vertex], key);
    }
    for (const SceneInfluence& influence : influences)
    {
        key.push_back(influence.joint);
        AppendNumber(influence.weight, key);
    }
}

static std::uint64_t HashOf(const std::vector<std::uint64_t>& key)
{
    std::uint64_t hash = 0x9E3779B97F4A7C15U;
    for (const std::uint64_t part : key)
    {
        hash = (hash ^ part) * 0xFF51AFD7ED558CCDU;
        hash ^= hash >> 32U;
    }
    return hash;
}

VertexJoin JoinVertices(const ScenePrimitive& primitive, bool weighted)
{
    const std::size_t n = primitive.positions.size();
    std::size_t nBuckets = 1;
    while (nBuckets < n)
    {
        nBuckets *= 2;
    }
    VertexJoin join;
    join.vertexOf.resize(n);
    struct Joined
    {
        std::uint32_t older; // the one before it in its bucket
        std::uint32_t hash;  // those of a bucket that differ needn't be looked at
    };
    std::vector<std::uint32_t> buckets(nBuckets, UINT32_MAX); // the newest vertex of each bucket
    std::vector<Joined> joined;
    joined.reserve(n);
    join.fileVertex.reserve(n);
    std::vector<SceneInfluence> influences;
    std::vector<std::uint64_t> key;
    std::vector<std::uint64_t> otherKey;
    const auto makeKey = [&](std::size_t vertex, std::vector<std::uint64_t>& made)
    {
        if (weighted)
        {
            SumInfluences(primitive, vertex, influences);
        }
        MakeKey(primitive, vertex, influences, made);
    };
    for (std::size_t v = 0; v < n; ++v)
    {
        makeKey(v, key);
        const std::uint64_t hash = HashOf(key);
        const auto highHash = static_cast<std::uint32_t>(hash >> 32U);
        std::uint32_t& bucket = buckets[hash & (nBuckets - 1)];
        std::uint32_t found = bucket;
        for (; found != UINT32_MAX; found = joined[found].older)
        {
            if (joined[found].hash != highHash)
            {
                continue;
            }
            makeKey(join.fileVertex[found], otherKey);
            if (otherKey == key)
            {
                break;
            }
        }
        if (found == UINT32_MAX)
        {
            found = static_cast<std::uint32_t>(join.fileVertex.size());
            join.fileVertex.push_back(static_cast<std::uint32_t>(v));
            joined.push_back({bucket, highHash});
            bucket = found;
        }
        join.vertexOf[v] = found;
    }
    return join;
}
