#include "scene/shapekeys.h"

#include "scene/cliprange.h"
#include "scene/meshpositions.h"
#include "scene/rigidposes.h"
#include "scene/sceneradius.h"

#include <algorithm>
#include <cmath>
#include <utility>

static const double DEGREE = 3.14159265358979323846 / 180.0;

// So many transforms of evaluated frames are kept, 64 MiB of them at most: a tiny file may span any number of frames.
static const std::size_t MAX_KEPT = (std::size_t{64} << 20) / sizeof(RigidTransform);

namespace
{

// The motion of one node as seen from another one above it (or from the world: -1).
struct Track
{
    int node = -1;
    int ancestor = -1;
    bool moves = false; // whether it can differ from frame to frame
    int slot = -1;      // its place among the moving tracks
};

// The vertices that a node moves, as a box in the node's own space.
struct Reach
{
    int node = -1;
    bool any = false;
    Double3 low;
    Double3 high;
};

// One frame of a segment: the moving tracks, and the nodes with vertices as they stand in the world.
struct FramePose
{
    std::vector<RigidTransform> tracks;
    std::vector<RigidTransform> reached;
};

class ShapeKeySearch
{
public:
    ShapeKeySearch(const Scene& scene, int clip, double fps, int start, const ShapeKeyModel& model);

    // Adds the frames between the keys at `first` and `last` that need one.
    void SearchSegment(int first, int last, std::vector<int>& found);

private:
    void FindMovedNodes();
    void MeasureReaches();
    void ExtendReach(int node, const Double3& position);
    void MakeTracks();
    void AddTrack(int node, int ancestor);
    int KeptAbove(int node) const;
    void Evaluate(int frame, FramePose& pose);
    bool IsKept(int frame) const;
    void KeepFrames(int first, int last);
    const FramePose& PoseAt(int frame, FramePose& scratch);
    int FindWorstFrame(int first, int last);
    double ErrorBetween(const FramePose& a, const FramePose& b, double t, const FramePose& actual);
    double TrackError(const RigidTransform& played, const RigidTransform& actual) const;
    double ReachError(const Reach& reach, const RigidTransform& played, const RigidTransform& actual) const;

    const Scene& m_Scene;
    int m_Clip;
    double m_Fps;
    RigidPoses m_Rigid;          // by node, in the world
    std::vector<bool> m_IsMoved; // by node: a channel of the clip moves it
    std::vector<bool> m_IsKept;  // by node: a model keeps it
    bool m_bEvenScales = true;   // no scale differs from axis to axis, so none changes a rotation below it
    double m_Radius = 0.0;
    std::vector<Track> m_Tracks;
    std::vector<int> m_MovingTracks;
    std::vector<int> m_TrackToKept;       // by node: the track to the next kept node above, -1 for a node without
    std::vector<Reach> m_Reaches;         // of the kept nodes that have vertices, parents first
    std::vector<RigidTransform> m_Still;  // by track, for those that don't move
    std::vector<RigidTransform> m_Played; // by node, in the world, as it plays between keys
    std::size_t m_nMaxFrames = 0;         // whose poses may be kept
    std::vector<FramePose> m_Frames;      // those that are kept, in a row
    int m_iFirstFrame = 0;                // the first of them
    FramePose m_Scratch[3];               // for frames that aren't
};

} // namespace

ShapeKeySearch::ShapeKeySearch(const Scene& scene, int clip, double fps, int start, const ShapeKeyModel& model)
    : m_Scene(scene), m_Clip(clip), m_Fps(fps), m_Rigid(scene, clip, start / fps), m_IsMoved(scene.nodes.size(), false),
      m_IsKept(model.keeps), m_TrackToKept(scene.nodes.size(), -1), m_Played(scene.nodes.size())
{
    m_IsKept.resize(scene.nodes.size(), false);
    m_Radius = model.radius > 0.0 ? model.radius : FindSceneRadius(scene, m_Rigid.Pose());
    for (const Double3& scale : m_Rigid.Scales())
    {
        const double allowed = 1e-9 * std::fabs(scale.x);
        m_bEvenScales = m_bEvenScales && scale.x > 0.0 && std::fabs(scale.y - scale.x) <= allowed &&
                        std::fabs(scale.z - scale.x) <= allowed;
    }
    FindMovedNodes();
    MeasureReaches();
    MakeTracks();
    m_nMaxFrames = MAX_KEPT / (m_MovingTracks.size() + m_Reaches.size() + 2); // 2 for what vectors take themselves
}

void ShapeKeySearch::FindMovedNodes()
{
    for (const SceneChannel& channel : m_Scene.clips[m_Clip].channels)
    {
        if (channel.path == ScenePath::Translation || channel.path == ScenePath::Rotation)
        {
            m_IsMoved[channel.node] = true;
        }
    }
}

void ShapeKeySearch::ExtendReach(int node, const Double3& position)
{
    Reach& reach = m_Reaches[node];
    const Double3 p = PointSeenFrom(m_Rigid[node], position);
    reach.low =
        reach.any ? Double3{std::min(reach.low.x, p.x), std::min(reach.low.y, p.y), std::min(reach.low.z, p.z)} : p;
    reach.high =
        reach.any ? Double3{std::max(reach.high.x, p.x), std::max(reach.high.y, p.y), std::max(reach.high.z, p.z)} : p;
    reach.any = true;
}

// Which nodes move vertices, and how far these stand from them.
void ShapeKeySearch::MeasureReaches()
{
    m_Reaches.resize(m_Scene.nodes.size());
    SkinMatrices matrices(m_Scene, m_Rigid.Pose());
    for (const int node : m_Rigid.Shown())
    {
        for (const SceneMeshUse& use : m_Scene.nodes[node].meshes)
        {
            const ScenePrimitive& primitive = m_Scene.primitives[use.primitive];
            const VertexPlacer place(matrices, node, use);
            for (std::size_t v = 0; v < primitive.positions.size(); ++v)
            {
                const Double3 position = place(v);
                if (use.skin < 0)
                {
                    ExtendReach(node, position);
                    continue;
                }
                for (std::uint32_t i = primitive.influenceStarts[v]; i < primitive.influenceStarts[v + 1]; ++i)
                {
                    ExtendReach(m_Scene.skins[use.skin].joints[primitive.influences[i].joint], position);
                }
            }
        }
    }
    const bool hasVertices =
        std::any_of(m_Reaches.begin(), m_Reaches.end(), [](const Reach& reach) { return reach.any; });
    std::vector<Reach> reached;
    for (const int node : m_Rigid.Shown())
    {
        // Of a bare skeleton the places of the nodes count.
        if (!hasVertices && m_IsKept[node])
        {
            ExtendReach(node, m_Rigid[node].translation);
        }
        m_IsKept[node] = m_IsKept[node] || m_Reaches[node].any;
        if (m_Reaches[node].any)
        {
            reached.push_back(m_Reaches[node]);
            reached.back().node = node;
        }
    }
    m_Reaches = std::move(reached);
}

void ShapeKeySearch::AddTrack(int node, int ancestor)
{
    Track track = {node, ancestor, !m_bEvenScales, -1};
    for (int at = node; at != ancestor && !track.moves; at = m_Scene.nodes[at].parent)
    {
        track.moves = m_IsMoved[at];
    }
    if (track.moves)
    {
        track.slot = static_cast<int>(m_MovingTracks.size());
        m_MovingTracks.push_back(static_cast<int>(m_Tracks.size()));
    }
    m_Still.push_back(ancestor < 0 ? m_Rigid[node] : RelativeTo(m_Rigid[ancestor], m_Rigid[node]));
    m_Tracks.push_back(track);
}

// A model also keeps its root.
int ShapeKeySearch::KeptAbove(int node) const
{
    int above = m_Scene.nodes[node].parent;
    while (above >= 0 && !m_IsKept[above] && m_Scene.nodes[above].parent >= 0)
    {
        above = m_Scene.nodes[above].parent;
    }
    return above;
}

void ShapeKeySearch::MakeTracks()
{
    for (const int node : m_Rigid.Shown())
    {
        const int parent = m_Scene.nodes[node].parent;
        m_TrackToKept[node] = static_cast<int>(m_Tracks.size());
        AddTrack(node, parent);
        const int above = KeptAbove(node);
        if (m_IsKept[node] && above != parent)
        {
            m_TrackToKept[node] = static_cast<int>(m_Tracks.size());
            AddTrack(node, above);
        }
    }
}

void ShapeKeySearch::Evaluate(int frame, FramePose& pose)
{
    m_Rigid.Evaluate(frame / m_Fps);
    pose.tracks.clear();
    for (const int index : m_MovingTracks)
    {
        const Track& track = m_Tracks[index];
        pose.tracks.push_back(track.ancestor < 0 ? m_Rigid[track.node]
                                                 : RelativeTo(m_Rigid[track.ancestor], m_Rigid[track.node]));
    }
    pose.reached.clear();
    for (const Reach& reach : m_Reaches)
    {
        pose.reached.push_back(m_Rigid[reach.node]);
    }
}

static double Distance(const Double3& a, const Double3& b)
{
    const Double3 d = {a.x - b.x, a.y - b.y, a.z - b.z};
    return std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
}

// The angle of the turn between two rotations in radians as the chord of the unit circle, which rises with it.
static double ChordBetween(const DoubleQuat& a, const DoubleQuat& b)
{
    const DoubleQuat turn = MultiplyQuats({-a.x, -a.y, -a.z, a.w}, b);
    return 2.0 * std::sqrt(turn.x * turn.x + turn.y * turn.y + turn.z * turn.z);
}

// Parts of the limit; a scene without extent has no limit of distance.
double ShapeKeySearch::TrackError(const RigidTransform& played, const RigidTransform& actual) const
{
    const double angle = ChordBetween(played.rotation, actual.rotation) / (SHAPE_ANGLE * DEGREE);
    const double limit = SHAPE_DISTANCE * m_Radius;
    return limit > 0.0 ? std::max(angle, Distance(played.translation, actual.translation) / limit) : angle;
}

// No vertex is farther off than the middle of the box, and what the turn between the two moves a corner by.
double ShapeKeySearch::ReachError(const Reach& reach, const RigidTransform& played, const RigidTransform& actual) const
{
    const Double3 middle = {0.5 * (reach.low.x + reach.high.x), 0.5 * (reach.low.y + reach.high.y),
                            0.5 * (reach.low.z + reach.high.z)};
    const double worst = Distance(TransformPoint(played, middle), TransformPoint(actual, middle)) +
                         ChordBetween(played.rotation, actual.rotation) * 0.5 * Distance(reach.low, reach.high);
    const double limit = SHAPE_REACH * m_Radius;
    return limit > 0.0 ? worst / limit : 0.0;
}

// Neither arc is clearly the shorter one, so rounding decides which one plays.
static bool IsHalfTurn(const DoubleQuat& a, const DoubleQuat& b)
{
    return std::fabs(a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w) < 1e-3;
}

// How far what plays between the keys `a` and `b` is off, in parts of the limit.
double ShapeKeySearch::ErrorBetween(const FramePose& a, const FramePose& b, double t, const FramePose& actual)
{
    double worst = 0.0;
    for (const int node : m_Rigid.Shown())
    {
        const int last = m_TrackToKept[node];
        for (int index = m_Tracks[last].ancestor == m_Scene.nodes[node].parent ? last : last - 1; index <= last;
             ++index)
        {
            const Track& track = m_Tracks[index];
            RigidTransform played = m_Still[index];
            if (track.moves)
            {
                played = Interpolate(a.tracks[track.slot], b.tracks[track.slot], t);
                worst = std::max(worst, TrackError(played, actual.tracks[track.slot]));
                if (IsHalfTurn(a.tracks[track.slot].rotation, b.tracks[track.slot].rotation))
                {
                    worst = std::max(worst, std::min(t, 1.0 - t) * 360.0 / SHAPE_ANGLE); // of the other arc
                }
            }
            // The last of a node's tracks is the one that a model keeps.
            m_Played[node] = track.ancestor < 0 ? played : Multiply(m_Played[track.ancestor], played);
        }
    }
    for (std::size_t i = 0; i < m_Reaches.size(); ++i)
    {
        worst = std::max(worst, ReachError(m_Reaches[i], m_Played[m_Reaches[i].node], actual.reached[i]));
    }
    return worst;
}

bool ShapeKeySearch::IsKept(int frame) const
{
    return frame >= m_iFirstFrame && static_cast<std::size_t>(frame - m_iFirstFrame) < m_Frames.size();
}

void ShapeKeySearch::KeepFrames(int first, int last)
{
    m_iFirstFrame = first;
    m_Frames.resize(static_cast<std::size_t>(last - first) + 1);
    for (std::size_t i = 0; i < m_Frames.size(); ++i)
    {
        Evaluate(first + static_cast<int>(i), m_Frames[i]);
    }
}

// What is kept, or `scratch`.
const FramePose& ShapeKeySearch::PoseAt(int frame, FramePose& scratch)
{
    if (IsKept(frame))
    {
        return m_Frames[static_cast<std::size_t>(frame - m_iFirstFrame)];
    }
    Evaluate(frame, scratch);
    return scratch;
}

// The frame between two keys that is farthest off; `first` if none is beyond a limit.
int ShapeKeySearch::FindWorstFrame(int first, int last)
{
    const FramePose& a = PoseAt(first, m_Scratch[0]);
    const FramePose& b = PoseAt(last, m_Scratch[1]);
    double worst = 1.0;
    int at = first;
    for (int frame = first + 1; frame < last; ++frame)
    {
        const double t = static_cast<double>(frame - first) / static_cast<double>(last - first);
        const double error = ErrorBetween(a, b, t, PoseAt(frame, m_Scratch[2]));
        at = error > worst ? frame : at;
        worst = std::max(worst, error);
    }
    return at;
}

// Depth first, so that all parts of a stretch that is kept are searched before the next one is. A stretch too long to
// be kept is evaluated once for each search.
void ShapeKeySearch::SearchSegment(int first, int last, std::vector<int>& found)
{
    std::vector<std::pair<int, int>> todo = {{first, last}};
    while (!todo.empty())
    {
        const auto [a, b] = todo.back();
        todo.pop_back();
        if (static_cast<std::size_t>(b - a) < m_nMaxFrames && !(IsKept(a) && IsKept(b)))
        {
            KeepFrames(a, b);
        }
        const int at = FindWorstFrame(a, b);
        if (at != a)
        {
            found.push_back(at);
            todo.emplace_back(a, at);
            todo.emplace_back(at, b);
        }
    }
}

std::vector<int> FindShapeKeys(const Scene& scene, int clip, double fps, int start, int end, const ShapeKeyModel& model)
{
    std::vector<int> keys = FindKeyFrames(scene, clip, fps);
    std::vector<int> found;
    if (keys.empty() || end <= start)
    {
        return found;
    }
    for (int& key : keys)
    {
        key = std::clamp(key, start, end); // as keys beyond the play range count
    }
    const auto hasGap = [](int key, int next) { return next - key > 1; };
    if (std::adjacent_find(keys.begin(), keys.end(), hasGap) == keys.end())
    {
        return found;
    }
    ShapeKeySearch search(scene, clip, fps, start, model);
    for (std::size_t i = 0; i + 1 < keys.size(); ++i)
    {
        if (hasGap(keys[i], keys[i + 1]))
        {
            search.SearchSegment(keys[i], keys[i + 1], found);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}
