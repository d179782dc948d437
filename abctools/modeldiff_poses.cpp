#include "abctools/modeldiff.h"

#include "abctools/displaytext.h"
#include "abctools/pose.h"
#include "engine/model/src/model.h"

#include <algorithm>
#include <cmath>
#include <set>

using nlohmann::ordered_json;

namespace
{

// Something that both models have and whose place in a pose counts.
struct Point
{
    uint32_t m_iA; // vertex in the order of all pieces, or node
    uint32_t m_iB;
    uint32_t m_iOwner; // piece of the first model; of nodes, the node
    uint32_t m_iInOwner;
};

struct Poses
{
    std::vector<Vector3> m_Verts;
    std::vector<Vector3> m_Nodes;
};

} // namespace

template <typename GetName> static std::vector<std::string> NamesOf(uint32_t n, GetName getName)
{
    std::vector<std::string> names;
    for (uint32_t i = 0; i < n; ++i)
        names.emplace_back(getName(i));
    return names;
}

static std::vector<Point> MatchVerts(const Model& a, const Model& b)
{
    const auto pieceName = [](const Model& model)
    { return [&model](uint32_t i) { return model.GetPiece(i)->GetName(); }; };
    const std::vector<int> matches =
        MatchNames(NamesOf(a.NumPieces(), pieceName(a)), NamesOf(b.NumPieces(), pieceName(b)));
    std::vector<uint32_t> firstB;
    uint32_t nVerts = 0;
    for (uint32_t i = 0; i < b.NumPieces(); ++i)
    {
        firstB.push_back(nVerts);
        nVerts += b.GetPiece(i)->NumVerts();
    }
    std::vector<Point> points;
    uint32_t firstA = 0;
    for (uint32_t i = 0; i < a.NumPieces(); ++i)
    {
        const uint32_t n = a.GetPiece(i)->NumVerts();
        if (matches[i] >= 0 && b.GetPiece(static_cast<uint32_t>(matches[i]))->NumVerts() == n)
        {
            for (uint32_t k = 0; k < n; ++k)
                points.push_back({firstA + k, firstB[static_cast<size_t>(matches[i])] + k, i, k});
        }
        firstA += n;
    }
    return points;
}

static std::vector<Point> MatchNodes(const Model& a, const Model& b)
{
    const auto nodeName = [](const Model& model)
    { return [&model](uint32_t i) { return model.GetNode(i)->GetName(); }; };
    const std::vector<int> matches = MatchNames(NamesOf(a.NumNodes(), nodeName(a)), NamesOf(b.NumNodes(), nodeName(b)));
    std::vector<Point> points;
    for (uint32_t i = 0; i < a.NumNodes(); ++i)
    {
        if (matches[i] >= 0)
            points.push_back({i, static_cast<uint32_t>(matches[i]), i, 0});
    }
    return points;
}

// The keys of both and the moments halfway between.
static std::vector<double> FindTimes(const ModelAnim& a, const ModelAnim& b)
{
    std::set<double> times;
    for (const ModelAnim* pAnim : {&a, &b})
    {
        for (uint32_t i = 0; i < pAnim->NumKeyFrames(); ++i)
        {
            const double time = pAnim->m_KeyFrames[i].m_Time;
            times.insert(time);
            if (i + 1 < pAnim->NumKeyFrames())
                times.insert((time + pAnim->m_KeyFrames[i + 1].m_Time) / 2.0);
        }
    }
    return std::vector<double>(times.begin(), times.end());
}

static bool Evaluate(Model& model, const std::string& anim, double time, Poses& poses)
{
    PoseOptions options;
    options.m_Anim = anim;
    options.m_Time = time;
    std::vector<AnimTracker> positions;
    std::string error;
    if (!MakePosePositions(model, options, positions, error) || !EvaluatePose(positions) ||
        !PoseVertices(model, positions, 0, poses.m_Verts))
        return false;
    poses.m_Nodes.resize(model.NumNodes());
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
        model.GetTransform(i).GetTranslation(poses.m_Nodes[i]);
    return true;
}

namespace
{

// How far the points of two models are apart while an animation plays.
class Parting
{
public:
    Parting(std::vector<Point> points, double tolerance) : m_Points(std::move(points)), m_Tolerance(tolerance) {}

    void Take(const std::vector<Vector3>& a, const std::vector<Vector3>& b, double time)
    {
        for (const Point& point : m_Points)
        {
            const Vector3& placeA = a[point.m_iA];
            const Vector3& placeB = b[point.m_iB];
            double distance =
                std::hypot(double(placeA.x) - placeB.x, double(placeA.y) - placeB.y, double(placeA.z) - placeB.z);
            if (std::isnan(distance))
                distance = INFINITY;
            if (distance > m_Tolerance && !m_bParts)
            {
                m_bParts = true;
                m_From = time;
            }
            if (distance > m_Worst)
            {
                m_Worst = distance;
                m_WorstTime = time;
                m_WorstPoint = point;
            }
        }
    }

    std::vector<Point> m_Points;
    double m_Tolerance;
    bool m_bParts = false;
    double m_From = 0.0;
    double m_Worst = 0.0;
    double m_WorstTime = 0.0;
    Point m_WorstPoint = {};
};

} // namespace

static ordered_json PartingData(const Parting& parting, double radius)
{
    return {{"from", parting.m_From},
            {"time", parting.m_WorstTime},
            {"distance", parting.m_Worst},
            {"part", parting.m_Worst / radius}};
}

void DiffPoses(Model& a, Model& b, const ModelDiffOptions& options, std::vector<ModelDifference>& differences)
{
    const auto animName = [](Model& model) { return [&model](uint32_t i) { return model.GetAnim(i)->GetName(); }; };
    const std::vector<std::string> names = NamesOf(a.NumAnims(), animName(a));
    const std::vector<int> matches = MatchNames(names, NamesOf(b.NumAnims(), animName(b)));
    const std::vector<Point> verts = MatchVerts(a, b);
    const std::vector<Point> nodes = MatchNodes(a, b);
    const double radius = BindRadius(a);
    size_t nAll = 0;
    size_t nDone = 0;
    std::vector<std::vector<double>> times(names.size());
    for (size_t i = 0; i < names.size(); ++i)
    {
        if (matches[i] >= 0)
            times[i] = FindTimes(*a.GetAnim(static_cast<uint32_t>(i)), *b.GetAnim(static_cast<uint32_t>(matches[i])));
        nAll += times[i].size();
    }
    for (size_t i = 0; i < names.size(); ++i)
    {
        Parting ofVerts(verts, options.m_Tolerance);
        Parting ofNodes(nodes, options.m_Tolerance);
        for (const double time : times[i])
        {
            options.m_Progress(nDone++, nAll);
            Poses posesA;
            Poses posesB;
            if (!Evaluate(a, names[i], time, posesA) || !Evaluate(b, names[i], time, posesB))
                continue;
            ofVerts.Take(posesA.m_Verts, posesB.m_Verts, time);
            ofNodes.Take(posesA.m_Nodes, posesB.m_Nodes, time);
        }
        // Where vertices part, nodes needn't be told as well.
        const Parting& parting = ofVerts.m_bParts ? ofVerts : ofNodes;
        if (!parting.m_bParts)
            continue;
        ordered_json data = PartingData(parting, radius);
        const Point& worst = parting.m_WorstPoint;
        if (ofVerts.m_bParts)
        {
            data["piece"] = ToUtf8(a.GetPiece(worst.m_iOwner)->GetName());
            data["vertex"] = worst.m_iInOwner;
        }
        else
            data["node"] = ToUtf8(a.GetNode(worst.m_iOwner)->GetName());
        differences.push_back({"anim", ToUtf8(names[i]), "pose", data});
    }
}
