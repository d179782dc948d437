#include "scene/scenepose.h"

#include "scene/fourslerps.h"
#include "scene/samplechannel.h"

static void ApplyChannel(const SceneChannel& channel, double seconds, ScenePose& pose)
{
    double v[4];
    DoubleTransform& local = pose.locals[channel.node];
    std::vector<double>& weights = pose.morphWeights[channel.node];
    switch (channel.path)
    {
    case ScenePath::Translation:
        SampleChannel(channel, 3, seconds, v);
        local.translation = {v[0], v[1], v[2]};
        break;
    case ScenePath::Rotation:
        SampleChannel(channel, 4, seconds, v);
        local.rotation = {v[0], v[1], v[2], v[3]};
        break;
    case ScenePath::Scale:
        SampleChannel(channel, 3, seconds, v);
        local.scale = {v[0], v[1], v[2]};
        break;
    case ScenePath::Weights:
        if (!weights.empty())
        {
            SampleChannel(channel, weights.size(), seconds, weights.data());
        }
        break;
    }
}

// Parents before their children, without recursion: a hostile scene may be as deep as it has nodes.
void ComputeGlobals(const Scene& scene, ScenePose& pose)
{
    pose.globals.resize(scene.nodes.size());
    std::vector<int> order;
    order.reserve(scene.nodes.size());
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        if (scene.nodes[i].parent < 0)
        {
            order.push_back(static_cast<int>(i));
        }
    }
    for (std::size_t next = 0; next < order.size(); ++next)
    {
        const int node = order[next];
        const int parent = scene.nodes[node].parent;
        const DoubleMatrix local = MatrixFromTransform(pose.locals[node]);
        pose.globals[node] = parent < 0 ? local : MultiplyAffine(pose.globals[parent], local);
        order.insert(order.end(), scene.nodes[node].children.begin(), scene.nodes[node].children.end());
    }
}

void MoveLocals(const SceneClip& clip, double seconds, ScenePose& pose)
{
    FourSlerps slerps;
    KeyStretch stretch;
    for (const SceneChannel& channel : clip.channels)
    {
        const bool isRotation = channel.path == ScenePath::Rotation;
        if (isRotation && channel.interpolation == SceneInterpolation::Linear &&
            FindKeyStretch(channel, seconds, stretch))
        {
            slerps.Add(&channel.values[4 * stretch.key], stretch.part, pose.locals[channel.node].rotation);
            continue;
        }
        if (isRotation)
        {
            slerps.Flush(); // of two channels of a node the later one counts
        }
        ApplyChannel(channel, seconds, pose);
    }
    slerps.Flush();
}

void EvaluateLocals(const Scene& scene, int clip, double seconds, ScenePose& pose)
{
    pose.locals.resize(scene.nodes.size());
    pose.morphWeights.resize(scene.nodes.size());
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        pose.locals[i] = scene.nodes[i].local;
        pose.morphWeights[i] = scene.nodes[i].morphWeights;
    }
    if (clip >= 0)
    {
        MoveLocals(scene.clips[clip], seconds, pose);
    }
}

void EvaluatePose(const Scene& scene, int clip, double seconds, ScenePose& pose)
{
    EvaluateLocals(scene, clip, seconds, pose);
    ComputeGlobals(scene, pose);
}
