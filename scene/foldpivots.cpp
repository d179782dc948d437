#include "scene/foldpivots.h"

#include "scene/decompose.h"
#include "scene/samplechannel.h"

#include <algorithm>
#include <cmath>

static const double SAME_TIME = 1e-7;
static const double SAME_SCALE = 1e-5;

using ChannelsOfNode = std::vector<std::vector<const SceneChannel*>>;

bool IsPivotNode(const SceneNode& node)
{
    return node.name.find("_$AssimpFbx$_") != std::string::npos;
}

// The pivot nodes right above the node and the node itself, from the top.
static std::vector<int> FindChain(const Scene& scene, int node)
{
    std::vector<int> chain = {node};
    for (int above = scene.nodes[node].parent; above >= 0 && IsPivotNode(scene.nodes[above]);
         above = scene.nodes[above].parent)
    {
        chain.push_back(above);
    }
    std::reverse(chain.begin(), chain.end());
    return chain;
}

static DoubleTransform LocalAt(const SceneNode& node, const std::vector<const SceneChannel*>& channels, double seconds)
{
    DoubleTransform local = node.local;
    for (const SceneChannel* channel : channels)
    {
        double v[4];
        switch (channel->path)
        {
        case ScenePath::Translation:
            SampleChannel(*channel, 3, seconds, v);
            local.translation = {v[0], v[1], v[2]};
            break;
        case ScenePath::Rotation:
            SampleChannel(*channel, 4, seconds, v);
            local.rotation = {v[0], v[1], v[2], v[3]};
            break;
        case ScenePath::Scale:
            SampleChannel(*channel, 3, seconds, v);
            local.scale = {v[0], v[1], v[2]};
            break;
        case ScenePath::Weights:
            break;
        }
    }
    return local;
}

static std::vector<double> KeyTimes(const std::vector<int>& chain, const ChannelsOfNode& channels)
{
    std::vector<double> times;
    for (const int node : chain)
    {
        for (const SceneChannel* channel : channels[node])
        {
            times.insert(times.end(), channel->times.begin(), channel->times.end());
        }
    }
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end(), [](double a, double b) { return b - a < SAME_TIME; }),
                times.end());
    return times;
}

static bool IsSameScale(const Double3& a, const Double3& b)
{
    return std::fabs(a.x - b.x) <= SAME_SCALE * std::fabs(b.x) && std::fabs(a.y - b.y) <= SAME_SCALE * std::fabs(b.y) &&
           std::fabs(a.z - b.z) <= SAME_SCALE * std::fabs(b.z);
}

// Appends the channels by which the last node of the chain moves as the whole chain does. `rest` is the folded rest.
static void FoldChannels(const Scene& scene, const std::vector<int>& chain, const ChannelsOfNode& channels,
                         const DoubleTransform& rest, std::vector<SceneChannel>& folded)
{
    SceneChannel translation;
    SceneChannel rotation;
    SceneChannel scale;
    bool scales = false;
    translation.times = KeyTimes(chain, channels);
    for (const double time : translation.times)
    {
        DoubleMatrix matrix;
        for (const int node : chain)
        {
            const DoubleTransform local = LocalAt(scene.nodes[node], channels[node], time);
            matrix = MultiplyAffine(matrix, MatrixFromTransform(local));
        }
        DoubleTransform t;
        DecomposeMatrix(matrix, t);
        translation.values.insert(translation.values.end(), {t.translation.x, t.translation.y, t.translation.z});
        rotation.values.insert(rotation.values.end(), {t.rotation.x, t.rotation.y, t.rotation.z, t.rotation.w});
        scale.values.insert(scale.values.end(), {t.scale.x, t.scale.y, t.scale.z});
        scales = scales || !IsSameScale(t.scale, rest.scale);
    }
    rotation.times = translation.times;
    scale.times = translation.times;
    rotation.path = ScenePath::Rotation;
    scale.path = ScenePath::Scale;
    for (SceneChannel* channel : {&translation, &rotation, &scale})
    {
        channel->node = chain.back();
        if (scales || channel != &scale)
        {
            folded.push_back(std::move(*channel));
        }
    }
}

static void FoldClip(const Scene& scene, const std::vector<std::vector<int>>& chains,
                     const std::vector<DoubleTransform>& rests, SceneClip& clip)
{
    ChannelsOfNode channels(scene.nodes.size());
    for (const SceneChannel& channel : clip.channels)
    {
        channels[channel.node].push_back(&channel);
    }
    std::vector<SceneChannel> folded;
    for (std::size_t node = 0; node < chains.size(); ++node)
    {
        const std::vector<int>& chain = chains[node];
        if (chain.empty())
        {
            continue;
        }
        if (std::any_of(chain.begin(), chain.end() - 1, [&channels](int above) { return !channels[above].empty(); }))
        {
            FoldChannels(scene, chain, channels, rests[node], folded);
            continue;
        }
        for (const SceneChannel* channel : channels[node])
        {
            folded.push_back(*channel);
        }
    }
    clip.channels.swap(folded);
}

// Takes out the pivot nodes and brings every node index into the shorter list.
static void RemovePivotNodes(Scene& scene)
{
    std::vector<int> place(scene.nodes.size(), -1);
    std::vector<SceneNode> kept;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        int parent = scene.nodes[i].parent;
        while (parent >= 0 && IsPivotNode(scene.nodes[parent]))
        {
            parent = scene.nodes[parent].parent;
        }
        if (IsPivotNode(scene.nodes[i]))
        {
            continue;
        }
        place[i] = static_cast<int>(kept.size());
        kept.push_back(scene.nodes[i]);
        kept.back().children.clear();
        kept.back().parent = parent < 0 ? -1 : place[parent]; // a parent stands before its children
        if (kept.back().parent >= 0)
        {
            kept[kept.back().parent].children.push_back(place[i]);
        }
    }
    scene.nodes.swap(kept);
    for (int& root : scene.roots)
    {
        root = place[root];
    }
    for (SceneSkin& skin : scene.skins)
    {
        for (int& joint : skin.joints)
        {
            joint = place[joint];
        }
    }
    for (SceneClip& clip : scene.clips)
    {
        for (SceneChannel& channel : clip.channels)
        {
            channel.node = place[channel.node];
        }
    }
}

void FoldPivotNodes(Scene& scene)
{
    if (std::none_of(scene.nodes.begin(), scene.nodes.end(), IsPivotNode))
    {
        return;
    }
    std::vector<std::vector<int>> chains(scene.nodes.size());
    std::vector<DoubleTransform> rests(scene.nodes.size());
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        if (IsPivotNode(scene.nodes[i]))
        {
            continue;
        }
        chains[i] = FindChain(scene, static_cast<int>(i));
        rests[i] = scene.nodes[i].local;
        if (chains[i].size() == 1)
        {
            continue;
        }
        DoubleMatrix matrix;
        for (const int node : chains[i])
        {
            matrix = MultiplyAffine(matrix, MatrixFromTransform(scene.nodes[node].local));
        }
        if (!DecomposeMatrix(matrix, rests[i]))
        {
            scene.warnings.push_back("node " + scene.nodes[i].name + ": its pivots shear it; the shear is left out.");
        }
    }
    for (SceneClip& clip : scene.clips)
    {
        FoldClip(scene, chains, rests, clip);
    }
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        scene.nodes[i].local = chains[i].empty() ? scene.nodes[i].local : rests[i];
    }
    RemovePivotNodes(scene);
}
