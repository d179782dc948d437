#include "host/skinchoice.h"

#include "host/deviationbound.h"
#include "host/sceneclips.h"
#include "scene/bindpose.h"
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
// So many vertices, spread over the meshes, are looked at before all of them are.
static constexpr size_t NUM_SAMPLES = 64;

namespace
{

struct Stray
{
    double distance = 0.0;
    int clip = -1;
    int frame = 0;
};

} // namespace

static double Seconds(const ClipSpan& span, int frame)
{
    return frame / span.fps;
}

// Whether so few joints move each vertex that rounding hardly adds up.
static bool HasFewInfluences(const ScenePrimitive& primitive)
{
    const std::vector<uint32_t>& starts = primitive.influenceStarts;
    return std::adjacent_find(starts.begin(), starts.end(),
                              [](uint32_t a, uint32_t b) { return b - a > MAX_BOUNDED_INFLUENCES; }) == starts.end();
}

static double FindExtent(const ScenePrimitive& primitive)
{
    double square = 0.0;
    for (const Double3& p : primitive.positions)
        square = std::max(square, p.x * p.x + p.y * p.y + p.z * p.z);
    return std::sqrt(square);
}

// Whether all joints move the mesh alike: then it stands as it was bound, wherever that is.
static bool IsBoundPose(const SkinnedMesh& mesh, SkinPose& pose)
{
    std::optional<DoubleMatrix> first;
    for (const DoubleMatrix& own : pose.matrices.Joints(mesh.use->skin))
    {
        const double scale = std::hypot(own.m[0][0], own.m[1][0], own.m[2][0]);
        if (first && MatrixDistance(*first, own, mesh.extent) > SAME_MATRIX * mesh.extent * scale)
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
            const Double3 seen = PointSeenFrom(poses[node], end);
            own.m[0][column] = seen.x;
            own.m[1][column] = seen.y;
            own.m[2][column] = seen.z;
        }
        return own;
    };
    return MatrixDistance(shape(start), shape(skin), FindExtent(scene.primitives[static_cast<size_t>(use.primitive)]));
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

// Calls `visit` at the frames of the clips until it returns true; `first` stands at the first frame of the first clip.
template <typename Visit>
static void VisitFrames(const Scene& scene, const std::vector<ClipSpan>& clips, const RigidPoses& first, int maxFrames,
                        Visit visit)
{
    for (const ClipSpan& span : clips)
    {
        RigidPoses poses = &span == clips.data() ? first : RigidPoses(scene, span.clip, Seconds(span, span.start));
        for (const int frame : SpreadFrames(span.start, span.end, maxFrames))
        {
            if (frame != span.start)
                poses.Evaluate(Seconds(span, frame));
            if (visit(span, frame, poses))
                return;
        }
    }
}

// The furthest of some frames of each clip.
static Stray FindFurthest(const Scene& scene, const std::vector<ClipSpan>& clips, const RigidPoses& first,
                          const Deviations& deviations)
{
    Stray worst;
    if (deviations.IsEmpty())
        return worst;
    VisitFrames(scene, clips, first, MAX_JUDGED_FRAMES,
                [&](const ClipSpan& span, int frame, const RigidPoses& poses)
                {
                    const double distance = deviations.FindWorst(poses, worst.distance);
                    if (distance > worst.distance)
                        worst = {distance, span.clip, frame};
                    return false;
                });
    return worst;
}

namespace
{

// How vertices stray if the skin is taken from the start of the first clip. All of them are looked at only where
// neither the joints alone nor a few vertices tell.
class StraySearch
{
public:
    StraySearch(const Scene& scene, const std::vector<SkinnedMesh>& meshes, SkinPose& start, double limit)
        : m_Scene(scene), m_Meshes(meshes), m_Start(start), m_Limit(limit)
    {
        FindBounds();
    }

    // The first one beyond the limit, the frames spread out; its distance is that of some vertex.
    Stray FindFirst(const std::vector<ClipSpan>& clips);
    // Every vertex that may stray beyond it.
    const Deviations& All();

private:
    void FindBounds();
    bool IsStill(const RigidPoses& poses) const;
    Deviations TakeSample();

    struct MovingSkin
    {
        int skin = -1;
        DeviationBound bound;
    };

    const Scene& m_Scene;
    const std::vector<SkinnedMesh>& m_Meshes;
    SkinPose& m_Start;
    double m_Limit = 0.0;
    std::vector<MovingSkin> m_Moving; // those whose vertices may stray
    std::optional<Deviations> m_All;
};

} // namespace

// By skin: how far the vertices of its meshes reach, infinite for those of which DeviationBound can't tell; negative
// without meshes.
static std::vector<double> FindReaches(const Scene& scene, const std::vector<SkinnedMesh>& meshes,
                                       const std::vector<const ScenePose*>& poses)
{
    std::vector<double> reaches(scene.skins.size(), -1.0);
    for (const SkinnedMesh& mesh : meshes)
    {
        double& reach = reaches[static_cast<size_t>(mesh.use->skin)];
        reach = std::max(reach, mesh.isBoundable ? mesh.extent : std::numeric_limits<double>::infinity());
        for (const ScenePose* pose : poses)
        {
            const std::vector<double>& weights = pose->morphWeights[static_cast<size_t>(mesh.node)];
            if (std::any_of(weights.begin(), weights.end(), [](double weight) { return weight != 0.0; }))
                reach = std::numeric_limits<double>::infinity();
        }
    }
    return reaches;
}

void StraySearch::FindBounds()
{
    const std::vector<double> reaches = FindReaches(m_Scene, m_Meshes, {&m_Start.poses.Pose()});
    for (size_t skin = 0; skin < reaches.size(); skin++)
    {
        if (reaches[skin] < 0.0)
            continue;
        const DeviationBound bound = BoundDeviations(m_Start, m_Start, static_cast<int>(skin), reaches[skin]);
        if (!IsWithin(bound, m_Limit))
            m_Moving.push_back({static_cast<int>(skin), bound});
    }
}

bool StraySearch::IsStill(const RigidPoses& poses) const
{
    return std::all_of(m_Moving.begin(), m_Moving.end(),
                       [&](const MovingSkin& moving)
                       {
                           const std::vector<int>& joints = m_Scene.skins[static_cast<size_t>(moving.skin)].joints;
                           return IsWithin(BoundStray(moving.bound, joints, m_Start.poses, poses), m_Limit);
                       });
}

Deviations StraySearch::TakeSample()
{
    size_t nVertices = 0;
    for (const SkinnedMesh& mesh : m_Meshes)
        nVertices += m_Scene.primitives[static_cast<size_t>(mesh.use->primitive)].positions.size();
    const size_t step = nVertices / NUM_SAMPLES + 1;
    Deviations sample;
    size_t first = 0;
    for (const SkinnedMesh& mesh : m_Meshes)
    {
        const size_t count = m_Scene.primitives[static_cast<size_t>(mesh.use->primitive)].positions.size();
        if (first < count)
        {
            sample.Add(mesh, m_Start, m_Start, m_Limit, first, step);
            first += (count - first + step - 1) / step * step;
        }
        first -= count;
    }
    return sample;
}

const Deviations& StraySearch::All()
{
    if (!m_All)
    {
        m_All.emplace();
        for (const SkinnedMesh& mesh : m_Meshes)
            m_All->Add(mesh, m_Start, m_Start, m_Limit);
        m_All->Sort();
    }
    return *m_All;
}

Stray StraySearch::FindFirst(const std::vector<ClipSpan>& clips)
{
    Stray found;
    if (m_Moving.empty())
        return found;
    const Deviations sample = TakeSample();
    VisitFrames(m_Scene, clips, m_Start.poses, INT32_MAX,
                [&](const ClipSpan& span, int frame, const RigidPoses& poses)
                {
                    if (!m_All && IsStill(poses))
                        return false;
                    double distance = m_All ? 0.0 : sample.FindWorst(poses, m_Limit);
                    if (!(distance > m_Limit))
                        distance = All().FindWorst(poses, found.distance);
                    if (distance > found.distance)
                        found = {distance, span.clip, frame};
                    return found.distance > m_Limit || m_All->IsEmpty();
                });
    return found;
}

// The vertices that could stray if the skin is taken from the pose where it was bound.
static Deviations FindBindDeviations(const Scene& scene, const std::vector<SkinnedMesh>& meshes, SkinPose& start,
                                     SkinPose& bind, double limit)
{
    const std::vector<double> reaches = FindReaches(scene, meshes, {&start.poses.Pose(), &bind.poses.Pose()});
    std::vector<bool> isWithin;
    for (size_t skin = 0; skin < reaches.size(); skin++)
        isWithin.push_back(reaches[skin] < 0.0 ||
                           IsWithin(BoundDeviations(start, bind, static_cast<int>(skin), reaches[skin]), limit));
    Deviations deviations;
    for (const SkinnedMesh& mesh : meshes)
    {
        if (!isWithin[static_cast<size_t>(mesh.use->skin)])
            deviations.Add(mesh, start, bind, limit);
    }
    return deviations;
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
    std::vector<SkinnedMesh> meshes;
    ForEachUse(scene,
               [&](int node, const SceneMeshUse& use)
               {
                   if (IsSkinned(scene, use))
                       meshes.push_back({node, &use});
               });
    if (meshes.empty() || (clips.size() == 1 && first.start == first.end && !playsMore))
        return {};
    SkinPose start(scene, first.clip, Seconds(first, first.start));
    std::vector<SkinnedMesh> unbound;
    for (SkinnedMesh& mesh : meshes)
    {
        const ScenePrimitive& primitive = scene.primitives[static_cast<size_t>(mesh.use->primitive)];
        mesh.extent = FindExtent(primitive);
        mesh.isBoundable = HasFewInfluences(primitive);
        if (!IsBoundPose(mesh, start))
            unbound.push_back(mesh);
    }
    if (unbound.empty())
        return {false, "The skin is that of the first frame, which is the bind pose."};

    const double limit = SKIN_LIMIT * FindSceneRadius(scene, start.poses.Pose());
    StraySearch search(scene, unbound, start, limit);
    Stray ofFirst = search.FindFirst(clips);
    if (ofFirst.distance <= limit && !playsMore)
        return {false, "The skin is that of the first frame, with which no vertex strays by more than 0.1 % of the "
                       "radius; the bind pose isn't needed."};

    atBind = MakeSceneAtBind(scene);
    if (ofFirst.distance <= limit)
        return {true, "The skin is that of the bind pose, which isn't the first frame, since animations of other "
                      "scenes follow. --rest first takes the first frame all the same."};
    SkinPose bind(atBind, -1, 0.0);
    const Deviations bindDeviations = FindBindDeviations(scene, meshes, start, bind, limit);
    double ofScale = 0.0;
    ForEachUse(scene,
               [&](int node, const SceneMeshUse& use)
               {
                   if (!IsSkinned(scene, use))
                       ofScale = std::max(ofScale, ScaleDistance(scene, node, use, start.poses, bind.poses));
               });
    bool better = bindDeviations.IsEmpty() && ofScale <= limit;
    if (!better)
    {
        ofFirst = FindFurthest(scene, clips, start.poses, search.All());
        const Stray ofBind = FindFurthest(scene, clips, start.poses, bindDeviations);
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
