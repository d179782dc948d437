#include "scene/bindpose.h"

#include "scene/decompose.h"
#include "scene/scenepose.h"
#include "scene/shownnodes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <utility>

using OptionalMatrix = std::optional<DoubleMatrix>;

static const double SAME_MATRIX = 1e-4; // of the columns' lengths, or of how far things stand apart
static const double SAME_SCALE = 1e-2;

static double ColumnLength(const DoubleMatrix& matrix, int column)
{
    return std::hypot(matrix.m[0][column], matrix.m[1][column], matrix.m[2][column]);
}

static double FindScale(const DoubleMatrix& matrix)
{
    return std::max({ColumnLength(matrix, 0), ColumnLength(matrix, 1), ColumnLength(matrix, 2)});
}

// Within SAME_MATRIX; `extent` is how large what they move is, `scale` that of `a`.
static bool IsSame(const DoubleMatrix& a, double scale, const DoubleMatrix& b, double extent)
{
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 4; ++column)
        {
            const double allowed = SAME_MATRIX * scale * (column < 3 ? 1.0 : extent);
            if (!(std::fabs(a.m[row][column] - b.m[row][column]) <= allowed))
            {
                return false;
            }
        }
    }
    return true;
}

static bool IsSame(const DoubleMatrix& a, const DoubleMatrix& b, double extent)
{
    return IsSame(a, FindScale(a), b, extent);
}

static bool HasSameScale(const DoubleMatrix& a, const DoubleMatrix& b)
{
    for (int column = 0; column < 3; ++column)
    {
        const double length = ColumnLength(a, column);
        if (!(std::fabs(ColumnLength(b, column) - length) <= SAME_SCALE * length))
        {
            return false;
        }
    }
    return true;
}

// The largest distance of a vertex from the origin of the mesh's own space.
static double FindExtent(const ScenePrimitive& primitive)
{
    double extent = 0.0;
    for (const Double3& p : primitive.positions)
    {
        extent = std::max(extent, std::hypot(p.x, p.y, p.z));
    }
    return extent;
}

namespace
{

// A skin as its meshes show it, of which there may be thousands.
struct BoundSkin
{
    std::vector<DoubleMatrix> spaces;                        // of the mesh, as each joint has it at rest
    std::size_t topmost = 0;                                 // joint
    std::vector<OptionalMatrix> inverses;                    // of the inverse bind matrices that have one
    double agreed = std::numeric_limits<double>::infinity(); // the least extent at which all joints agreed
    std::optional<DoubleMatrix> settled; // a mesh in this space puts all joints exactly where they have been put
};

} // namespace

// Products of such numbers are finite.
static const double LARGE = 1e75;

static BoundSkin MakeBoundSkin(const SceneSkin& skin, const std::vector<int>& depths, const ScenePose& rest)
{
    BoundSkin bound;
    bound.inverses.resize(skin.joints.size());
    for (std::size_t i = 0; i < skin.joints.size(); ++i)
    {
        bound.spaces.push_back(MultiplyAffine(rest.globals[skin.joints[i]], skin.inverseBinds[i]));
        bound.topmost = depths[skin.joints[i]] < depths[skin.joints[bound.topmost]] ? i : bound.topmost;
        DoubleMatrix inverse;
        if (InvertAffine(skin.inverseBinds[i], inverse))
        {
            bound.inverses[i] = inverse;
        }
    }
    return bound;
}

// The mesh's space in the world, as the header says.
static DoubleMatrix FindMeshSpace(BoundSkin& skin, const DoubleMatrix& ofNode, double extent)
{
    const std::vector<DoubleMatrix>& spaces = skin.spaces;
    if (extent >= skin.agreed)
    {
        return spaces.front();
    }
    std::size_t best = 0;
    std::size_t bestCount = 0;
    // The first one of those with the highest count; in most skins all agree with the first.
    for (std::size_t i = 0; i < spaces.size() && bestCount < spaces.size(); ++i)
    {
        const double scale = FindScale(spaces[i]);
        std::size_t count = 0;
        for (const DoubleMatrix& space : spaces)
        {
            count += IsSame(spaces[i], scale, space, extent) ? 1 : 0;
        }
        best = count > bestCount ? i : best;
        bestCount = std::max(bestCount, count);
    }
    if (best == 0 && bestCount == spaces.size())
    {
        skin.agreed = extent;
    }
    if (bestCount > 1 || spaces.size() == 1)
    {
        return spaces[best];
    }
    return HasSameScale(spaces[skin.topmost], ofNode) ? ofNode : spaces[skin.topmost];
}

static bool IsEqual(const DoubleMatrix& a, const DoubleMatrix& b)
{
    for (int row = 0; row < 3; ++row)
    {
        if (!std::equal(a.m[row], a.m[row] + 4, b.m[row]))
        {
            return false;
        }
    }
    return true;
}

static void WarnOnce(Scene& scene, std::set<int>& warned, int node, const std::string& sentence)
{
    if (warned.insert(node).second)
    {
        scene.warnings.push_back("Joint " + scene.nodes[node].name + " " + sentence);
    }
}

// Where each joint was bound, in the world.
static std::vector<OptionalMatrix> FindBinds(Scene& scene, const std::vector<int>& shown, const ScenePose& rest)
{
    std::vector<OptionalMatrix> binds(scene.nodes.size());
    std::vector<int> depths(scene.nodes.size(), 0);
    std::set<int> warned;
    std::vector<std::optional<BoundSkin>> boundSkins(scene.skins.size());
    for (const int node : shown)
    {
        const int parent = scene.nodes[node].parent;
        depths[node] = parent < 0 ? 0 : depths[parent] + 1;
    }
    for (const int node : shown)
    {
        for (const SceneMeshUse& use : scene.nodes[node].meshes)
        {
            if (use.skin < 0 || scene.skins[use.skin].joints.empty())
            {
                continue;
            }
            const SceneSkin& skin = scene.skins[use.skin];
            std::optional<BoundSkin>& bound = boundSkins[use.skin];
            if (!bound)
            {
                bound = MakeBoundSkin(skin, depths, rest);
            }
            const double extent = FindExtent(std::as_const(scene).primitives[use.primitive]);
            const DoubleMatrix space = FindMeshSpace(*bound, rest.globals[node], extent);
            if (bound->settled && IsEqual(*bound->settled, space) && extent < LARGE)
            {
                continue;
            }
            bool isSettled = true;
            for (std::size_t i = 0; i < skin.joints.size(); ++i)
            {
                OptionalMatrix& bind = binds[skin.joints[i]];
                if (!bound->inverses[i])
                {
                    WarnOnce(scene, warned, skin.joints[i], "has a bind pose without extent; it stays at rest.");
                    continue;
                }
                const DoubleMatrix placed = MultiplyAffine(space, *bound->inverses[i]);
                // How far the vertices reach as the joint sees them.
                const double length = ColumnLength(skin.inverseBinds[i], 0);
                if (bind && !IsSame(*bind, placed, extent * length))
                {
                    WarnOnce(scene, warned, skin.joints[i], "is bound in two ways; that of the first skin counts.");
                }
                bind = bind ? bind : placed;
                isSettled = isSettled && IsEqual(*bind, placed) && FindScale(placed) < LARGE && length < LARGE;
            }
            if (isSettled)
            {
                bound->settled = space;
            }
        }
    }
    return binds;
}

void PoseAtBind(Scene& scene)
{
    const std::vector<int> shown = FindShownNodes(scene);
    ScenePose rest;
    EvaluatePose(scene, -1, 0.0, rest);
    const std::vector<OptionalMatrix> binds = FindBinds(scene, shown, rest);
    std::vector<DoubleMatrix> globals(scene.nodes.size());
    for (const int node : shown)
    {
        DoubleTransform& local = scene.nodes[node].local;
        const int parent = scene.nodes[node].parent;
        const DoubleMatrix above = parent < 0 ? DoubleMatrix() : globals[parent];
        globals[node] = MultiplyAffine(above, MatrixFromTransform(local));
        DoubleMatrix toParent;
        if (!binds[node] || !InvertAffine(above, toParent))
        {
            continue;
        }
        const DoubleMatrix wanted = MultiplyAffine(toParent, *binds[node]);
        // What is the same but for rounding stays as the file has it.
        const double reach = std::hypot(wanted.m[0][3], wanted.m[1][3], wanted.m[2][3]);
        if (!IsSame(wanted, MatrixFromTransform(local), 0.01 * reach))
        {
            DecomposeMatrix(wanted, local);
            globals[node] = MultiplyAffine(above, MatrixFromTransform(local));
        }
    }
}
