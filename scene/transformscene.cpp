#include "scene/transformscene.h"

#include <cmath>
#include <cstdio>

namespace
{

// A turn by quarters: without rounding for points, and as a rotation.
struct UpTurn
{
    bool turns = false;
    int from[3] = {0, 1, 2}; // for x, y and z, the old component
    double sign[3] = {1.0, 1.0, 1.0};
    DoubleQuat rotation;
};

} // namespace

static const double HALF = 0.70710678118654752440; // sine and cosine of half a quarter turn

// About the axis that is neither: a quarter turn from x to y, y to z or z to x, else a quarter turn back.
static UpTurn FindTurn(char fromUp, char toUp)
{
    UpTurn turn;
    const int from = fromUp - 'x';
    const int to = toUp - 'x';
    if (from == to)
    {
        return turn;
    }
    // What points along `from` has to point along `to`; what pointed there, against `from`.
    turn.turns = true;
    turn.from[to] = from;
    turn.from[from] = to;
    turn.sign[from] = -1.0;
    double axis[3] = {0.0, 0.0, 0.0};
    axis[3 - from - to] = (from + 1) % 3 == to ? HALF : -HALF;
    turn.rotation = {axis[0], axis[1], axis[2], HALF};
    return turn;
}

static void TurnPoint(const UpTurn& turn, double* values)
{
    const double old[3] = {values[0], values[1], values[2]};
    for (int i = 0; i < 3; ++i)
    {
        values[i] = turn.sign[i] * old[turn.from[i]];
    }
}

static void TurnRotation(const UpTurn& turn, double* values)
{
    const DoubleQuat q = MultiplyQuats(turn.rotation, {values[0], values[1], values[2], values[3]});
    values[0] = q.x;
    values[1] = q.y;
    values[2] = q.z;
    values[3] = q.w;
}

static void ScalePoint(double scale, Double3& point)
{
    point = {point.x * scale, point.y * scale, point.z * scale};
}

static void TransformNode(const UpTurn& turn, double scale, SceneNode& node)
{
    Double3& t = node.local.translation;
    ScalePoint(scale, t);
    if (node.parent >= 0 || !turn.turns)
    {
        return;
    }
    double point[3] = {t.x, t.y, t.z};
    TurnPoint(turn, point);
    t = {point[0], point[1], point[2]};
    node.local.rotation = MultiplyQuats(turn.rotation, node.local.rotation);
}

// Values and tangents alike: both transforms are linear.
static void TransformChannel(const UpTurn& turn, double scale, bool isTop, SceneChannel& channel)
{
    std::vector<double>& values = channel.values;
    if (channel.path == ScenePath::Translation)
    {
        for (double& value : values)
        {
            value *= scale;
        }
    }
    const bool turned = isTop && turn.turns;
    for (std::size_t i = 0; turned && channel.path == ScenePath::Translation && i < values.size(); i += 3)
    {
        TurnPoint(turn, &values[i]);
    }
    for (std::size_t i = 0; turned && channel.path == ScenePath::Rotation && i < values.size(); i += 4)
    {
        TurnRotation(turn, &values[i]);
    }
}

static void TransformPrimitive(const SceneTransform& transform, ScenePrimitive& primitive)
{
    for (Double3& position : primitive.positions)
    {
        ScalePoint(transform.scale, position);
    }
    for (std::vector<Double3>& deltas : primitive.morphDeltas)
    {
        for (Double3& delta : deltas)
        {
            ScalePoint(transform.scale, delta);
        }
    }
    for (SceneTexCoord& texCoord : primitive.texCoords)
    {
        texCoord.v = transform.flipV ? 1.0F - texCoord.v : texCoord.v;
    }
}

void TransformScene(Scene& scene, const SceneTransform& transform)
{
    const UpTurn turn = FindTurn(transform.fromUp, transform.toUp);
    for (SceneNode& node : scene.nodes)
    {
        TransformNode(turn, transform.scale, node);
    }
    for (SceneClip& clip : scene.clips)
    {
        for (SceneChannel& channel : clip.channels)
        {
            TransformChannel(turn, transform.scale, scene.nodes[channel.node].parent < 0, channel);
        }
    }
    for (ScenePrimitive& primitive : scene.primitives)
    {
        TransformPrimitive(transform, primitive);
    }
    for (SceneSkin& skin : scene.skins)
    {
        for (DoubleMatrix& matrix : skin.inverseBinds)
        {
            for (auto& row : matrix.m)
            {
                row[3] *= &row == &matrix.m[3] ? 1.0 : transform.scale;
            }
        }
    }
}

std::string ConvertStatedUnits(Scene& scene)
{
    std::string stated;
    std::string done;
    SceneTransform transform;
    if (scene.unitMeters > 0.0)
    {
        char number[40];
        std::snprintf(number, sizeof(number), "%.6g", scene.unitMeters);
        transform.scale = scene.unitMeters;
        stated = std::string("a unit of ") + number + " m";
        done = scene.unitMeters == 1.0 ? "" : std::string("scaled by ") + number;
        scene.unitMeters = 1.0;
    }
    if (scene.upAxis != 0)
    {
        transform.fromUp = scene.upAxis;
        stated += std::string(stated.empty() ? "" : " and ") + scene.upAxis + " up";
        done += std::string(done.empty() || scene.upAxis == 'y' ? "" : " and ") +
                (scene.upAxis == 'y' ? "" : "turned to y up");
        scene.upAxis = 'y';
    }
    if (stated.empty())
    {
        return std::string();
    }
    TransformScene(scene, transform);
    return "The file states " + stated + ": " + (done.empty() ? "taken as it is." : done + ".");
}
