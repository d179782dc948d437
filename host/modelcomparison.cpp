#include "host/modelcomparison.h"

#include "engine/model/src/transformmaker.h"
#include "host/appendtarget.h"
#include "host/inparallel.h"
#include "host/pointtree.h"
#include "scene/scenepose.h"
#include "tools/model/cleangeometry.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <strings.h>

// Vertices closer than this part of the merge limit's own length beyond it still count: the limit was computed from the
// unmerged vertices.
static constexpr double LIMIT_MARGIN = 1.01;
// Float positions are that exact, as a part of the radius.
static constexpr double FLOAT_MARGIN = 1e-5;
// A pose in which vertices are further off than this part of the radius isn't that of the skin.
static constexpr double MISFIT_LIMIT = 1e-3;
// So many vertices tell which pose fits.
static constexpr std::size_t MISFIT_SAMPLES = 500;

ModelComparison::ModelComparison(Model& model, RecordedScene& recorded, const std::vector<int>& sceneNodes,
                                 unsigned jobs)
    : m_Model(model), m_Vertices(recorded), m_nJobs(jobs)
{
    m_nPoints = model.CalcNumVerts();
    m_ByNodes = m_nPoints == 0 || m_Vertices.Count() == 0 || !sceneNodes.empty();
    if (m_ByNodes)
        FindPointsOfNodes(recorded, sceneNodes);
}

// The scene's node of each of the model's, -1 for none, by name.
static std::vector<int> FindSceneNodes(const RecordedScene& recorded, const Model& model)
{
    const SceneTree scene = MakeSceneTree(recorded);
    std::vector<int> nodes;
    for (const int place : MatchNodes(scene.tree, MakeModelTree(model), NameRule::Bare).sourceOf)
        nodes.push_back(place < 0 ? -1 : recorded.Element(scene.elements[static_cast<std::size_t>(place)]).node);
    return nodes;
}

void ModelComparison::FindPointsOfNodes(const RecordedScene& recorded, std::vector<int> sceneNodes)
{
    if (sceneNodes.empty())
        sceneNodes = FindSceneNodes(recorded, m_Model);
    for (std::size_t i = 0; i < sceneNodes.size(); i++)
    {
        if (sceneNodes[i] < 0)
            continue;
        m_ModelNodes.push_back(static_cast<std::uint32_t>(i));
        m_SceneNodes.push_back(sceneNodes[i]);
        m_NodeNames.emplace_back(m_Model.GetNode(static_cast<std::uint32_t>(i))->GetName());
    }
    m_nPoints = m_ModelNodes.size();
}

void ModelComparison::PlaceScene(const ScenePlace& place, const SceneWeights& weights,
                                 std::vector<Double3>& positions) const
{
    if (!m_ByNodes)
    {
        m_Vertices.Place(place, weights, positions);
        return;
    }
    ScenePose pose;
    EvaluatePose(*place.scene, place.clip, place.seconds, pose);
    positions.assign(m_nPoints, Double3());
    for (std::size_t i = 0; i < m_nPoints; i++)
    {
        const DoubleMatrix& global = pose.globals[static_cast<std::size_t>(m_SceneNodes[i])];
        positions[i] = ModelPosition({global.m[0][3], global.m[1][3], global.m[2][3]});
    }
}

const std::string& ModelComparison::NameOf(std::uint32_t scenePoint) const
{
    return !m_ByNodes ? m_Vertices.MeshOf(scenePoint).name : m_NodeNames[scenePoint];
}

static Double3 ToDouble(const Vector3& v)
{
    return {double(v.x), double(v.y), double(v.z)};
}

static double RadiusOf(const std::vector<Double3>& points)
{
    if (points.empty())
        return 1.0;
    Double3 low = points.front();
    Double3 high = low;
    for (const Double3& point : points)
    {
        low = {std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y), std::max(high.z, point.z)};
    }
    const double radius = 0.5 * std::sqrt(SquaredDistance(low, high));
    return radius > 0.0 ? radius : 1.0;
}

static bool IsPieceOf(const ModelPiece& piece, const SceneVertices::Mesh& mesh)
{
    return strncasecmp(piece.GetName(), mesh.name.c_str(), MODELPIECE_NAME_SIZE - 1) == 0;
}

// The scene's vertices that a piece can have come from: those of the mesh in its place, else of the one of its name,
// else all.
std::vector<std::uint32_t> ModelComparison::VerticesFor(std::uint32_t piece) const
{
    const std::vector<SceneVertices::Mesh>& meshes = m_Vertices.Meshes();
    const ModelPiece& wanted = *m_Model.GetPiece(piece);
    const SceneVertices::Mesh* mesh = nullptr;
    if (piece < meshes.size() && IsPieceOf(wanted, meshes[piece]))
        mesh = &meshes[piece];
    for (std::size_t i = 0; i < meshes.size() && !mesh; i++)
        mesh = IsPieceOf(wanted, meshes[i]) ? &meshes[i] : nullptr;
    std::vector<std::uint32_t> vertices(mesh ? mesh->fileVertex.size() : m_Vertices.Count());
    for (std::size_t i = 0; i < vertices.size(); i++)
        vertices[i] = (mesh ? mesh->first : 0) + static_cast<std::uint32_t>(i);
    return vertices;
}

// The mean squared distance of some of the model's vertices to the nearest ones of the scene.
double ModelComparison::Misfit(const std::vector<Double3>& model, const std::vector<Double3>& scene) const
{
    std::vector<std::uint32_t> all(scene.size());
    for (std::size_t i = 0; i < all.size(); i++)
        all[i] = static_cast<std::uint32_t>(i);
    const PointTree tree(scene, std::move(all));
    const std::size_t step = std::max<std::size_t>(1, model.size() / MISFIT_SAMPLES);
    double sum = 0.0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < model.size(); i += step, count++)
        sum += tree.NearestSquared(model[i]);
    return count ? sum / static_cast<double>(count) : 0.0;
}

void ModelComparison::MatchPiece(const std::vector<std::uint32_t>& sceneVertices, std::size_t first, std::size_t count,
                                 const std::vector<Double3>& model, const std::vector<Double3>& scene)
{
    const PointTree tree(scene, sceneVertices);
    const double limit = LIMIT_MARGIN * 0.1 / static_cast<double>(CalcMagScale(&m_Model)) + FLOAT_MARGIN * m_Radius;
    for (std::size_t i = first; i < first + count; i++)
    {
        // A little beyond the nearest one, so that those which share its place count too.
        const double nearest = std::sqrt(tree.NearestSquared(model[i])) * (1.0 + 1e-9) + FLOAT_MARGIN * m_Radius;
        const double reach = std::max(nearest, limit);
        if (!sceneVertices.empty())
            tree.FindWithin(model[i], reach * reach, m_Candidates);
        m_CandidateStarts.push_back(static_cast<std::uint32_t>(m_Candidates.size()));
    }
}

void ModelComparison::MatchAll(const std::vector<Double3>& model, const std::vector<Double3>& scene)
{
    m_Candidates.clear();
    m_CandidateStarts.assign(1, 0);
    if (m_ByNodes)
    {
        for (std::size_t i = 0; i < m_nPoints; i++)
        {
            m_Candidates.push_back(static_cast<std::uint32_t>(i));
            m_CandidateStarts.push_back(static_cast<std::uint32_t>(i + 1));
        }
        return;
    }
    std::size_t first = 0;
    for (std::uint32_t piece = 0; piece < m_Model.NumPieces(); piece++)
    {
        const std::size_t count = m_Model.GetPiece(piece)->NumVerts();
        MatchPiece(VerticesFor(piece), first, count, model, scene);
        first += count;
    }
}

void ModelComparison::Match(const std::vector<ScenePlace>& places, std::uint32_t row, const PlayedClip& played)
{
    std::vector<Double3> model(m_nPoints);
    std::size_t next = 0;
    for (std::uint32_t piece = 0; !m_ByNodes && piece < m_Model.NumPieces(); piece++)
    {
        for (std::uint32_t i = 0; i < m_Model.GetPiece(piece)->NumVerts(); i++)
            model[next++] = ToDouble(m_Model.GetPiece(piece)->GetVert(i)->m_vPos);
    }
    std::vector<Double3> scene;
    double best = std::numeric_limits<double>::infinity();
    m_SkinPlace = places.empty() ? ScenePlace{played.scene, played.clip, played.Seconds(played.start)} : places.front();
    for (std::size_t i = 0; i < places.size() && !m_ByNodes && places.size() > 1; i++)
    {
        PlaceScene(places[i], {}, scene);
        const double misfit = Misfit(model, scene);
        if (misfit < best)
        {
            best = misfit;
            m_SkinPlace = places[i];
        }
    }
    PlaceScene(m_SkinPlace, {}, scene);
    m_Radius = m_ByNodes ? FindModelRadius(m_Model) : 0.0;
    m_Radius = m_Radius > 0.0 ? m_Radius : RadiusOf(scene);
    Workplace work;
    if (!m_ByNodes && Misfit(model, scene) > MISFIT_LIMIT * MISFIT_LIMIT * m_Radius * m_Radius &&
        Evaluate(row, 0, 0, 0.0, work))
    {
        m_SkinPlace = {played.scene, played.clip, played.Seconds(played.firstKey)};
        PlaceScene(m_SkinPlace, {}, scene);
        m_Radius = RadiusOf(scene);
        std::transform(work.model.begin(), work.model.end(), model.begin(), ToDouble);
    }
    MatchAll(model, scene);
}

bool ModelComparison::Evaluate(std::uint32_t row, std::uint32_t key, std::uint32_t next, double fraction,
                               Workplace& work) const
{
    work.transforms.resize(m_Model.NumNodes());
    work.model.resize(m_nPoints);
    VertexDeformRequest request;
    request.m_nAnims = 1;
    request.m_Anims[0].Init(&m_Model, row, key, row, next, static_cast<float>(fraction));
    request.m_pTransforms = work.transforms.data();
    if (!m_ByNodes)
    {
        request.m_pVertOut = work.model.data();
        return m_nPoints == 0 || m_Model.GetVertexPositions(&request, QZTRUE);
    }
    TransformMaker maker;
    maker.InitFromRequest(&request);
    maker.m_pOutput = work.transforms.data();
    if (!maker.SetupTransforms())
        return false;
    for (std::size_t i = 0; i < m_nPoints; i++)
        work.transforms[m_ModelNodes[i]].GetTranslation(work.model[i]);
    return true;
}

// The model's points against those of the scene.
ModelComparison::FurthestPoint ModelComparison::FindFurthest(const std::vector<Vector3>& model,
                                                             const std::vector<Double3>& scene) const
{
    FurthestPoint furthest;
    for (std::size_t i = 0; i < m_nPoints; i++)
    {
        const Double3 point = ToDouble(model[i]);
        FurthestPoint nearest{std::numeric_limits<double>::infinity(), 0};
        for (std::uint32_t c = m_CandidateStarts[i]; c < m_CandidateStarts[i + 1]; c++)
        {
            const double squared = SquaredDistance(point, scene[m_Candidates[c]]);
            if (squared < nearest.squared)
                nearest = {squared, m_Candidates[c]};
        }
        // Without candidates there is nothing to stray from.
        if (m_CandidateStarts[i] < m_CandidateStarts[i + 1] && nearest.squared > furthest.squared)
            furthest = nearest;
    }
    return furthest;
}

ModelDistance ModelComparison::Describe(int frame, const FurthestPoint& furthest) const
{
    ModelDistance distance;
    distance.frame = frame;
    if (furthest.squared < 0.0)
        return distance;
    distance.units = std::min(std::sqrt(furthest.squared), double(FLT_MAX));
    distance.part = distance.units / m_Radius;
    distance.node = NameOf(furthest.scenePoint);
    return distance;
}

static bool IsTimeOfFrame(std::uint32_t time, const PlayedClip& played, int frame)
{
    const auto milliseconds = [&](int f)
    { return static_cast<std::int64_t>(static_cast<double>(static_cast<float>(played.Seconds(f))) * 1000.0); };
    return milliseconds(frame) - milliseconds(played.firstKey) == static_cast<std::int64_t>(time);
}

std::vector<int> FramesOfKeys(const ModelAnim& anim, const PlayedClip& played)
{
    std::vector<int> frames;
    for (std::uint32_t key = 0; key < anim.NumKeyFrames(); key++)
    {
        const std::uint32_t time = anim.m_KeyFrames.Get(key).m_Time;
        const double guess = std::min(std::floor(time * played.fps / 1000.0 + 0.5), 1e9);
        int frame = played.firstKey + static_cast<int>(guess);
        // At many frames a second a neighbour may be the one; two frames may even share a time.
        for (const int other : {frame, frame - 1, frame + 1})
        {
            if (IsTimeOfFrame(time, played, other) && (frames.empty() || other > frames.back()))
            {
                frame = other;
                break;
            }
        }
        frames.push_back(frame);
    }
    return frames;
}

static void Raise(ModelDistance& worst, const ModelDistance& distance)
{
    if (worst.node.empty() || distance.units > worst.units)
        worst = distance;
}

static void Raise(ClipDistance& worst, const ModelDistance& distance, bool isKey, bool isFirst)
{
    Raise(worst.worst, distance);
    if (isKey)
        Raise(worst.atKeys, distance);
    if (isFirst)
        worst.atFirst = distance;
}

void ModelComparison::FindShares(const Scene* scene)
{
    if (m_SharesOf != scene)
        m_Shares = m_ByNodes ? SceneWeights() : m_Vertices.FindSharesOf(*scene);
    m_SharesOf = scene;
}

ModelComparison::FrameDistance ModelComparison::MeasureFrame(std::uint32_t row, const PlayedClip& played, int frame,
                                                             const std::vector<int>& keys, std::size_t key,
                                                             Workplace& work) const
{
    const bool isBetween = key + 1 < keys.size() && frame > keys[key];
    const std::size_t next = isBetween ? key + 1 : key;
    const double fraction = isBetween ? double(frame - keys[key]) / double(keys[next] - keys[key]) : 0.0;
    FrameDistance distance;
    if (!Evaluate(row, static_cast<std::uint32_t>(key), static_cast<std::uint32_t>(next), fraction, work))
        return distance;
    distance.isEvaluated = true;
    const ScenePlace place{played.scene, played.clip, played.Seconds(frame)};
    PlaceScene(place, {}, work.scene);
    distance.all = FindFurthest(work.model, work.scene);
    distance.shares = distance.all;
    if (m_Shares.empty())
        return distance;
    PlaceScene(place, m_Shares, work.shares);
    distance.shares = FindFurthest(work.model, work.shares);
    for (std::size_t i = 0; frame == keys[key] && i < work.scene.size(); i++)
        distance.lostSquared = std::max(distance.lostSquared, SquaredDistance(work.scene[i], work.shares[i]));
    return distance;
}

bool ModelComparison::Compare(std::uint32_t row, const PlayedClip& played, AnimationDistance& distance)
{
    distance = AnimationDistance();
    distance.keyFrames = FramesOfKeys(*m_Model.GetAnim(row), played);
    const std::vector<int>& keys = distance.keyFrames;
    if (keys.empty())
        return false;
    FindShares(played.scene);
    std::vector<std::size_t> keyOf;
    std::size_t key = 0;
    for (int frame = played.start; frame <= played.end; frame++)
    {
        while (key + 1 < keys.size() && keys[key + 1] <= frame)
            key++;
        keyOf.push_back(key);
    }
    std::vector<FrameDistance> frames(keyOf.size());
    RunInParallel(frames.size(), m_nJobs,
                  [&](std::size_t first, std::size_t last)
                  {
                      Workplace work;
                      for (std::size_t i = first; i < last; i++)
                          frames[i] =
                              MeasureFrame(row, played, played.start + static_cast<int>(i), keys, keyOf[i], work);
                  });
    double lostSquared = 0.0;
    for (std::size_t i = 0; i < frames.size(); i++)
    {
        if (!frames[i].isEvaluated)
            return false;
        const int frame = played.start + static_cast<int>(i);
        const bool isKey = frame == keys[keyOf[i]];
        Raise(distance.all, Describe(frame, frames[i].all), isKey, i == 0);
        Raise(distance.shares, Describe(frame, frames[i].shares), isKey, i == 0);
        lostSquared = std::max(lostSquared, frames[i].lostSquared);
    }
    distance.lostWeights = std::sqrt(lostSquared) / m_Radius;
    return true;
}
