#include "host/skinchoice.h"

#include "host/sceneclips.h"
#include "scene/bindpose.h"
#include "scene/meshpositions.h"
#include "scene/rigidposes.h"
#include "scene/sceneradius.h"
#include "scene/shownnodes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

// Matrices that differ by less than this part of what they move are the same.
static constexpr double SAME_MATRIX = 1e-5;
// Where both poses fall short, so many frames of a clip tell which one is better.
static constexpr int MAX_JUDGED_FRAMES = 64;

namespace
{

// What is wrong with one vertex, as the joints see it: where a joint would put it, less where the model's joint does.
struct Deviation
{
    struct Part
    {
        int node = -1;
        double share = 0.0;
        Double3 offset;
    };
    std::vector<Part> parts;
    double most = 0.0; // what it comes to at worst
};

struct Stray
{
    double distance = 0.0;
    int clip = -1;
    int frame = 0;
};

} // namespace

static double Length(const Double3& v)
{
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

static Double3 Minus(const Double3& a, const Double3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

static double Seconds(const ClipSpan& span, int frame)
{
    return frame / span.fps;
}

static Double3 PointFrom(const RigidTransform& from, const Double3& point)
{
    return RelativeTo(from, {point, {}}).translation;
}

static double FindExtent(const ScenePrimitive& primitive)
{
    double extent = 0.0;
    for (const Double3& p : primitive.positions)
        extent = std::max(extent, Length(p));
    return extent;
}

// How far apart two matrices may put a point within `extent` of the origin.
static double MatrixDistance(const DoubleMatrix& a, const DoubleMatrix& b, double extent)
{
    double worst = 0.0;
    for (int row = 0; row < 3; row++)
    {
        double sum = std::fabs(a.m[row][3] - b.m[row][3]);
        for (int column = 0; column < 3; column++)
            sum += extent * std::fabs(a.m[row][column] - b.m[row][column]);
        worst = std::max(worst, sum);
    }
    return worst;
}

// Whether all joints move the mesh alike: then it stands as it was bound, wherever that is.
static bool IsBoundPose(const Scene& scene, const SceneMeshUse& use, const ScenePose& pose)
{
    const SceneSkin& skin = scene.skins[static_cast<size_t>(use.skin)];
    const double extent = FindExtent(scene.primitives[static_cast<size_t>(use.primitive)]);
    std::optional<DoubleMatrix> first;
    for (size_t i = 0; i < skin.joints.size(); i++)
    {
        const DoubleMatrix own =
            MultiplyAffine(pose.globals[static_cast<size_t>(skin.joints[i])], skin.inverseBinds[i]);
        const double scale = std::hypot(own.m[0][0], own.m[1][0], own.m[2][0]);
        if (first && MatrixDistance(*first, own, extent) > SAME_MATRIX * extent * scale)
            return false;
        first = first ? first : own;
    }
    return true;
}

static bool IsSkinned(const Scene& scene, const SceneMeshUse& use)
{
    return use.skin >= 0 && !scene.skins[static_cast<size_t>(use.skin)].joints.empty();
}

// Calls `visit` for each mesh that is shown.
template <typename Visit> static void ForEachUse(const Scene& scene, Visit visit)
{
    for (const int node : FindShownNodes(scene))
    {
        for (const SceneMeshUse& use : scene.nodes[static_cast<size_t>(node)].meshes)
            visit(node, use);
    }
}

// Whether a mesh with a skin is shown.
static bool HasBindPose(const Scene& scene)
{
    bool has = false;
    ForEachUse(scene, [&](int, const SceneMeshUse& use) { has = has || IsSkinned(scene, use); });
    return has;
}

// The vertices of a skinned mesh that could stray by more than the limit if the skin is taken from the pose `skin` of
// `skinScene`; `start` is the pose at which the clip starts.
static void FindDeviations(const Scene& scene, int node, const SceneMeshUse& use, const RigidPoses& start,
                           const Scene& skinScene, const RigidPoses& skin, double limit, std::vector<Deviation>& found)
{
    const ScenePrimitive& primitive = scene.primitives[static_cast<size_t>(use.primitive)];
    const SceneSkin& ownSkin = scene.skins[static_cast<size_t>(use.skin)];
    const std::vector<Double3> taken = WorldPositions(skinScene, node, use, skin.Pose());
    const std::vector<Double3> own = MorphedPositions(primitive, start.Pose().morphWeights[static_cast<size_t>(node)]);
    std::vector<DoubleMatrix> joints;
    for (size_t i = 0; i < ownSkin.joints.size(); i++)
    {
        joints.push_back(
            MultiplyAffine(start.Pose().globals[static_cast<size_t>(ownSkin.joints[i])], ownSkin.inverseBinds[i]));
    }
    Deviation deviation;
    for (size_t v = 0; v < own.size(); v++)
    {
        double sum = 0.0;
        deviation.parts.clear();
        deviation.most = 0.0;
        for (uint32_t i = primitive.influenceStarts[v]; i < primitive.influenceStarts[v + 1]; i++)
        {
            const SceneInfluence& influence = primitive.influences[i];
            const int joint = ownSkin.joints[influence.joint];
            const Double3 wanted = PointFrom(start[joint], TransformPoint(joints[influence.joint], own[v]));
            const Double3 offset = Minus(wanted, PointFrom(skin[joint], taken[v]));
            deviation.parts.push_back({joint, influence.weight, offset});
            deviation.most += influence.weight * Length(offset);
            sum += influence.weight;
        }
        if (sum <= 0.0 || deviation.most <= limit * sum)
            continue;
        for (Deviation::Part& part : deviation.parts)
            part.share = part.share / sum;
        deviation.most /= sum;
        found.push_back(deviation);
    }
}

// What scale makes of a mesh without a skin if its vertices are taken from another pose.
static double ScaleDistance(const Scene& scene, int node, const SceneMeshUse& use, const RigidPoses& start,
                            const RigidPoses& skin)
{
    const auto shape = [node](const RigidPoses& poses)
    {
        const DoubleMatrix& global = poses.Pose().globals[static_cast<size_t>(node)];
        DoubleMatrix own;
        for (int column = 0; column < 4; column++)
        {
            const double w = column == 3 ? 1.0 : 0.0;
            const Double3 end = {global.m[0][column] + (1.0 - w) * global.m[0][3],
                                 global.m[1][column] + (1.0 - w) * global.m[1][3],
                                 global.m[2][column] + (1.0 - w) * global.m[2][3]};
            const Double3 seen = PointFrom(poses[node], end);
            own.m[0][column] = seen.x;
            own.m[1][column] = seen.y;
            own.m[2][column] = seen.z;
        }
        return own;
    };
    return MatrixDistance(shape(start), shape(skin), FindExtent(scene.primitives[static_cast<size_t>(use.primitive)]));
}

static double DistanceOf(const Deviation& deviation, const RigidPoses& poses)
{
    Double3 sum;
    for (const Deviation::Part& part : deviation.parts)
    {
        const Double3 turned = TransformPoint(RigidTransform{{}, poses[part.node].rotation}, part.offset);
        sum.x += part.share * turned.x;
        sum.y += part.share * turned.y;
        sum.z += part.share * turned.z;
    }
    return Length(sum);
}

// The frames of a range, spread out first, so that what is far off shows early.
static std::vector<int> SpreadFrames(int start, int end, int most)
{
    const int count = end - start + 1;
    std::vector<int> frames;
    int step = 1;
    while (step < count)
        step *= 2;
    for (int last = 2 * step; step > 0; last = step, step /= 2)
    {
        for (int i = 0; i < count && static_cast<int>(frames.size()) < most; i += step)
        {
            if (i % last != 0 || frames.empty())
                frames.push_back(start + i);
        }
    }
    return frames;
}

// The furthest, or the first one beyond `enough`.
static Stray FindStray(const Scene& scene, const std::vector<ClipSpan>& clips, const std::vector<Deviation>& deviations,
                       double enough, int maxFrames)
{
    Stray worst;
    for (const ClipSpan& span : clips)
    {
        if (deviations.empty())
            break;
        RigidPoses poses(scene, span.clip, Seconds(span, span.start));
        for (const int frame : SpreadFrames(span.start, span.end, maxFrames))
        {
            poses.Evaluate(Seconds(span, frame));
            for (const Deviation& deviation : deviations)
            {
                const double distance = deviation.most > worst.distance ? DistanceOf(deviation, poses) : 0.0;
                if (distance > worst.distance)
                    worst = {distance, span.clip, frame};
            }
            if (worst.distance > enough)
                return worst;
        }
    }
    return worst;
}

Scene MakeSceneAtBind(const Scene& scene)
{
    Scene atBind = scene;
    atBind.clips.clear();
    PoseAtBind(atBind);
    return atBind;
}

SkinChoice ChooseSkin(const Scene& scene, const std::vector<ClipSpan>& clips, bool playsMore, Scene& atBind)
{
    const ClipSpan& first = clips.front();
    if (!HasBindPose(scene) || (clips.size() == 1 && first.start == first.end && !playsMore))
        return {};
    const RigidPoses start(scene, first.clip, Seconds(first, first.start));
    bool isBound = true;
    ForEachUse(scene, [&](int, const SceneMeshUse& use)
               { isBound = isBound && (!IsSkinned(scene, use) || IsBoundPose(scene, use, start.Pose())); });
    if (isBound)
        return {false, "The skin is that of the first frame, which is the bind pose."};

    const double limit = SKIN_LIMIT * FindSceneRadius(scene, start.Pose());
    std::vector<Deviation> deviations;
    ForEachUse(scene,
               [&](int node, const SceneMeshUse& use)
               {
                   if (IsSkinned(scene, use) && !IsBoundPose(scene, use, start.Pose()))
                       FindDeviations(scene, node, use, start, scene, start, limit, deviations);
               });
    std::sort(deviations.begin(), deviations.end(),
              [](const Deviation& a, const Deviation& b) { return a.most > b.most; });
    Stray ofFirst = FindStray(scene, clips, deviations, limit, INT32_MAX);
    if (ofFirst.distance <= limit && !playsMore)
        return {false, "The skin is that of the first frame, with which no vertex strays by more than 0.1 % of the "
                       "radius; the bind pose isn't needed."};

    atBind = MakeSceneAtBind(scene);
    if (ofFirst.distance <= limit)
        return {true, "The skin is that of the bind pose, which isn't the first frame, since animations of other "
                      "scenes follow. --rest first takes the first frame all the same."};
    const RigidPoses bind(atBind, -1, 0.0);
    std::vector<Deviation> bindDeviations;
    double ofScale = 0.0;
    ForEachUse(scene,
               [&](int node, const SceneMeshUse& use)
               {
                   if (IsSkinned(scene, use))
                       FindDeviations(scene, node, use, start, atBind, bind, limit, bindDeviations);
                   else
                       ofScale = std::max(ofScale, ScaleDistance(scene, node, use, start, bind));
               });
    bool better = bindDeviations.empty() && ofScale <= limit;
    if (!better)
    {
        const double far = std::numeric_limits<double>::infinity();
        ofFirst = FindStray(scene, clips, deviations, far, MAX_JUDGED_FRAMES);
        const Stray ofBind = FindStray(scene, clips, bindDeviations, far, MAX_JUDGED_FRAMES);
        better = std::max(ofBind.distance, ofScale) < ofFirst.distance;
    }
    const std::string where = DescribeClip(scene, ofFirst.clip) + ", frame " + std::to_string(ofFirst.frame);
    if (!better)
        return {false, "The skin is that of the first frame: vertices stray by more than 0.1 % of the radius (" +
                           where + "), but no less with the bind pose."};
    return {true, "The skin is that of the bind pose: with that of the first frame, vertices would stray by more than "
                  "0.1 % of the radius (" +
                      where + "). --rest first takes the first frame all the same."};
}
