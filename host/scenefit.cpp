#include "host/scenefit.h"

#include "scene/cliprange.h"
#include "scene/rigidposes.h"

#include <algorithm>
#include <cmath>

// Lengths that differ by no more than this part are alike.
static constexpr double SAME_LENGTH = 0.01;
// Below this part of the radius a length is no bone.
static constexpr double LEAST_LENGTH = 1e-4;

// So many nodes make a figure whose up axis can be told.
static constexpr size_t LEAST_POINTS = 4;
// The mean squared distance of two figures of size 1 that stand alike, and that don't.
static constexpr double NEAR = 0.2;
static constexpr double FAR = 0.8;

static RecordedSceneOptions PlainOptions(int clip)
{
    RecordedSceneOptions options;
    options.clip = clip;
    return options;
}

// By place in the tree: whether the clip has anything to say about the node.
static std::vector<bool> FindMoved(const RecordedScene& recorded, const SceneTree& tree)
{
    std::vector<bool> byNode(recorded.GetScene().nodes.size(), false);
    if (recorded.Clip() >= 0)
    {
        for (const SceneChannel& channel : recorded.GetScene().clips[static_cast<size_t>(recorded.Clip())].channels)
            byNode[static_cast<size_t>(channel.node)] = true;
    }
    std::vector<bool> moved;
    for (const int element : tree.elements)
    {
        const int node = recorded.Element(element).node;
        moved.push_back(node >= 0 && byNode[static_cast<size_t>(node)]);
    }
    return moved;
}

SceneFit::SceneFit(const AppendTarget& target, const Scene& scene, int clip)
    : m_Target(target), m_Scene(scene), m_Clip(clip), m_Recorded(scene, PlainOptions(clip)),
      m_Tree(MakeSceneTree(m_Recorded)),
      m_Match(MatchNodes(m_Tree.tree, target.tree, NameRule::Bare, FindMoved(m_Recorded, m_Tree))),
      m_Difference(CompareTrees(m_Tree.tree, target.tree, m_Match, m_Tree.fixed))
{
}

static const RecordedElement& ElementOf(const RecordedScene& recorded, const SceneTree& tree, int place)
{
    return recorded.Element(tree.elements[static_cast<size_t>(place)]);
}

std::vector<int> SceneFit::SceneNodes() const
{
    std::vector<int> nodes;
    for (const int place : m_Match.sourceOf)
        nodes.push_back(place < 0 ? -1 : ElementOf(m_Recorded, m_Tree, place).node);
    return nodes;
}

ShapeKeyModel SceneFit::KeyModel() const
{
    ShapeKeyModel model;
    model.radius = m_Target.radius;
    model.keeps.resize(m_Scene.nodes.size(), false);
    for (const int place : m_Match.sourceOf)
    {
        if (place >= 0 && ElementOf(m_Recorded, m_Tree, place).isNode)
            model.keeps[static_cast<size_t>(ElementOf(m_Recorded, m_Tree, place).node)] = true;
    }
    return model;
}

// Where the model's nodes stand in the world.
void SceneFit::PlaceNodes(const RigidPoses& poses, std::vector<RigidTransform>& world) const
{
    world.resize(m_Target.tree.names.size());
    for (size_t i = 0; i < world.size(); i++)
    {
        const int parent = m_Target.tree.parents[i];
        const int place = m_Match.sourceOf[i];
        if (place < 0)
        {
            const RigidTransform& local = m_Target.locals[i];
            world[i] = parent < 0 ? local : Multiply(world[static_cast<size_t>(parent)], local);
            continue;
        }
        const int node = ElementOf(m_Recorded, m_Tree, place).node;
        world[i] = node < 0 ? RigidTransform() : poses[node];
    }
}

// A bone leads from a node to its parent, both of which the scene has, and isn't the way to a root by place.
static bool HasBone(const NodeMatch& match, const NamedTree& tree, size_t node)
{
    const int parent = tree.parents[node];
    return parent >= 0 && match.sourceOf[node] >= 0 && match.sourceOf[static_cast<size_t>(parent)] >= 0 &&
           !(parent == 0 && match.rootsByPlace);
}

// The frames that get a key of their own, rising.
static std::vector<int> FindFrames(const Scene& scene, const RecordedSceneOptions& options)
{
    const int start = options.start.value_or(0);
    const int end = options.end.value_or(start);
    std::vector<int> frames = FindKeyFrames(scene, options.clip, options.fps);
    frames.insert(frames.end(), options.extraKeys.begin(), options.extraKeys.end());
    if (frames.empty())
        frames.push_back(start);
    for (int& frame : frames)
        frame = std::clamp(frame, start, std::max(start, end));
    std::sort(frames.begin(), frames.end());
    frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
    return frames;
}

static void AppendKey(SceneChannel& channel, double seconds, std::initializer_list<double> values)
{
    channel.times.push_back(seconds);
    channel.values.insert(channel.values.end(), values);
}

static bool IsStill(const SceneChannel& channel)
{
    const size_t width = channel.values.size() / channel.times.size();
    for (size_t i = width; i < channel.values.size(); i++)
    {
        if (channel.values[i] != channel.values[i - width])
            return false;
    }
    return true;
}

void SceneFit::Fit(const RecordedSceneOptions& options, Scene& fitted, RecordedSceneOptions& fittedOptions) const
{
    fitted = Scene();
    fitted.name = m_Scene.name;
    fitted.fileStem = m_Scene.fileStem;
    fitted.files = m_Scene.files;
    fitted.warnings = m_Recorded.Warnings();
    fitted.roots.assign(1, 0);
    const size_t nNodes = m_Target.tree.names.size();
    fitted.nodes.resize(nNodes);
    for (size_t i = 0; i < nNodes; i++)
    {
        const int parent = m_Target.tree.parents[i];
        fitted.nodes[i].name = m_Target.tree.names[i];
        fitted.nodes[i].parent = parent;
        fitted.nodes[i].isJoint = true;
        if (parent >= 0)
            fitted.nodes[static_cast<size_t>(parent)].children.push_back(static_cast<int>(i));
    }

    const bool hasClip = m_Clip >= 0;
    fittedOptions = options;
    fittedOptions.clip = hasClip ? 0 : -1;
    fittedOptions.extraKeys.clear();
    std::vector<SceneChannel> channels(2 * nNodes);
    RigidPoses poses(m_Scene, m_Clip, options.start.value_or(0) / options.fps);
    std::vector<RigidTransform> world;
    bool isFirst = true;
    for (const int frame : FindFrames(m_Scene, options))
    {
        poses.Evaluate(frame / options.fps);
        PlaceNodes(poses, world);
        for (size_t i = 0; i < nNodes; i++)
        {
            const int parent = m_Target.tree.parents[i];
            const RigidTransform local =
                parent < 0 ? world[i] : RelativeTo(world[static_cast<size_t>(parent)], world[i]);
            const Double3& t = local.translation;
            const DoubleQuat& q = local.rotation;
            if (isFirst)
                fitted.nodes[i].local = {t, q, {1.0, 1.0, 1.0}};
            AppendKey(channels[2 * i], frame / options.fps, {t.x, t.y, t.z});
            AppendKey(channels[2 * i + 1], frame / options.fps, {q.x, q.y, q.z, q.w});
        }
        isFirst = false;
    }
    if (!hasClip)
        return;
    fitted.clips.emplace_back();
    fitted.clips[0].name = m_Scene.clips[static_cast<size_t>(m_Clip)].name;
    for (size_t i = 0; i < channels.size(); i++)
    {
        channels[i].node = static_cast<int>(i / 2);
        channels[i].path = i % 2 ? ScenePath::Rotation : ScenePath::Translation;
        // The root's first channel holds all times, whatever stands still.
        if (i == 0 || !IsStill(channels[i]))
            fitted.clips[0].channels.push_back(std::move(channels[i]));
    }
}

std::vector<std::string> SceneFit::Describe() const
{
    return DescribeFit(FIT_SCENE, m_Tree.tree, m_Target.tree, m_Match, m_Difference);
}

std::vector<std::string> SceneFit::DescribeDoubts() const
{
    return DescribeChoices(FIT_SCENE, m_Tree.tree, m_Target.tree, m_Match);
}

static bool IsSteady(const LengthRange& range)
{
    return range.greatest - range.least <= SAME_LENGTH * range.greatest;
}

// What moves along its bone in the one or the other has no length to compare.
std::string SceneFit::CompareBones(const RecordedSceneOptions& options, double scale) const
{
    const NamedTree& tree = m_Target.tree;
    std::vector<LengthRange> lengths(tree.names.size());
    RigidPoses poses(m_Scene, m_Clip, options.start.value_or(0) / options.fps);
    std::vector<RigidTransform> world;
    bool isFirst = true;
    for (const int frame : FindFrames(m_Scene, options))
    {
        poses.Evaluate(frame / options.fps);
        PlaceNodes(poses, world);
        for (size_t i = 0; i < world.size(); i++)
        {
            if (!HasBone(m_Match, tree, i))
                continue;
            const Double3& a = world[i].translation;
            const Double3& b = world[static_cast<size_t>(tree.parents[i])].translation;
            const double length = std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
            lengths[i].least = isFirst ? length : std::min(lengths[i].least, length);
            lengths[i].greatest = isFirst ? length : std::max(lengths[i].greatest, length);
        }
        isFirst = false;
    }
    size_t nBones = 0;
    std::vector<BoneDifference> different;
    for (size_t i = 0; i < lengths.size(); i++)
    {
        const LengthRange& own = lengths[i];
        const LengthRange& model = m_Target.lengths[i];
        if (!HasBone(m_Match, tree, i) || !IsSteady(own) || !IsSteady(model) ||
            std::max(own.greatest, model.greatest) <= LEAST_LENGTH * m_Target.radius)
            continue;
        nBones++;
        if (std::fabs(own.least - model.least) > SAME_LENGTH * model.least)
            different.push_back({tree.names[i], own.least, model.least});
    }
    return DescribeBoneLengths(different, nBones, scale);
}

// Moves the points so that their mean is 0, 0, 0, and the mean of their squares 1. False where that can't be.
static bool Normalise(std::vector<Double3>& points)
{
    const auto n = static_cast<double>(points.size());
    Double3 mean;
    for (const Double3& p : points)
        mean = {mean.x + p.x / n, mean.y + p.y / n, mean.z + p.z / n};
    double square = 0.0;
    for (Double3& p : points)
    {
        p = {p.x - mean.x, p.y - mean.y, p.z - mean.z};
        square += (p.x * p.x + p.y * p.y + p.z * p.z) / n;
    }
    for (Double3& p : points)
        p = {p.x / std::sqrt(square), p.y / std::sqrt(square), p.z / std::sqrt(square)};
    return std::isfinite(1.0 / std::sqrt(square));
}

static double MeanSquare(const std::vector<Double3>& a, const std::vector<Double3>& b)
{
    double sum = 0.0;
    for (size_t i = 0; i < a.size(); i++)
    {
        const Double3 d = {a[i].x - b[i].x, a[i].y - b[i].y, a[i].z - b[i].z};
        sum += (d.x * d.x + d.y * d.y + d.z * d.z) / static_cast<double>(a.size());
    }
    return sum;
}

std::string SceneFit::CompareUp(bool isZUp) const
{
    const RigidPoses poses(m_Scene, -1, 0.0);
    std::vector<RigidTransform> world;
    PlaceNodes(poses, world);
    std::vector<RigidTransform> modelWorld(m_Target.locals);
    std::vector<Double3> scene;
    std::vector<Double3> turned;
    std::vector<Double3> model;
    for (size_t i = 0; i < world.size(); i++)
    {
        const int parent = m_Target.tree.parents[i];
        if (parent >= 0)
            modelWorld[i] = Multiply(modelWorld[static_cast<size_t>(parent)], modelWorld[i]);
        if (m_Match.sourceOf[i] < 0 || (i == 0 && m_Match.rootsByPlace))
            continue;
        const Double3& p = world[i].translation;
        scene.push_back(p);
        turned.push_back(isZUp ? Double3{p.x, p.z, -p.y} : Double3{p.x, -p.z, p.y});
        model.push_back(modelWorld[i].translation);
    }
    const bool isSolid = scene.size() >= LEAST_POINTS && Normalise(scene) && Normalise(turned) && Normalise(model);
    if (!isSolid || MeanSquare(scene, model) < FAR || MeanSquare(turned, model) > NEAR)
        return std::string();
    return std::string("The scene's skeleton lies on its side beside the model's; ") +
           (isZUp ? "leaving out --up z" : "--up z") + " may help.";
}
