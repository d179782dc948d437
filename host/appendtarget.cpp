#include "host/appendtarget.h"

#include "host/loadmodelfile.h"

#include <algorithm>
#include <cmath>

namespace
{

class Box
{
public:
    void Add(const Double3& p)
    {
        m_Low = m_Any ? Double3{std::min(m_Low.x, p.x), std::min(m_Low.y, p.y), std::min(m_Low.z, p.z)} : p;
        m_High = m_Any ? Double3{std::max(m_High.x, p.x), std::max(m_High.y, p.y), std::max(m_High.z, p.z)} : p;
        m_Any = true;
    }
    double HalfDiagonal() const { return 0.5 * std::hypot(m_High.x - m_Low.x, m_High.y - m_Low.y, m_High.z - m_Low.z); }

private:
    bool m_Any = false;
    Double3 m_Low;
    Double3 m_High;
};

} // namespace

static Double3 ToDouble(const Vector3& v)
{
    return {double(v.x), double(v.y), double(v.z)};
}

double FindModelRadius(const Model& model)
{
    Box box;
    for (uint32_t piece = 0; piece < model.NumPieces(); piece++)
    {
        for (uint32_t i = 0; i < model.GetPiece(piece)->NumVerts(); i++)
            box.Add(ToDouble(model.GetPiece(piece)->GetVert(i)->m_vPos));
    }
    return box.HalfDiagonal();
}

// A model is the scene mirrored in z, but a mirror is no rotation: a frame whose place is x, y, z in a scene stands at
// x, y, -z in the model, and its rotation is turned half about z. Seen from a parent that was treated alike, what is
// left of that is a translation the other way round.
static RigidTransform LocalOfScene(const NodeKeyFrame& key, bool isRoot)
{
    const Double3 t = ToDouble(key.m_vTranslation);
    const DoubleQuat q = NormalizeQuat(
        {double(key.m_qRotation.x), double(key.m_qRotation.y), double(key.m_qRotation.z), double(key.m_qRotation.w)});
    if (isRoot)
        return {{t.x, t.y, -t.z}, MultiplyQuats({0.0, 0.0, 1.0, 0.0}, q)};
    return {{-t.x, -t.y, -t.z}, q};
}

// The node in its parent's space as the model was bound.
static NodeKeyFrame BindKey(const Model& model, uint32_t node)
{
    const ModelNode& own = *model.GetNode(node);
    NodeKeyFrame key;
    const Matrix4 parentInverse =
        own.GetParentIndex() == MNODE_NO_PARENT ? Matrix4() : model.GetNode(own.GetParentIndex())->m_mGlobalInverse;
    key.FromMatrix(parentInverse * own.m_mGlobal);
    return key;
}

static void Extend(LengthRange& range, double length, bool isFirst)
{
    range.least = isFirst ? length : std::min(range.least, length);
    range.greatest = isFirst ? length : std::max(range.greatest, length);
}

static double Length(const Vector3& v)
{
    return std::hypot(double(v.x), double(v.y), double(v.z));
}

void DescribeAppendTarget(const Model& model, AppendTarget& target)
{
    target = AppendTarget();
    target.tree = MakeModelTree(model);
    target.radius = FindModelRadius(model);
    target.lengths.resize(model.NumNodes());
    for (uint32_t i = 0; i < model.NumNodes(); i++)
    {
        const NodeKeyFrame bind = BindKey(model, i);
        target.locals.push_back(LocalOfScene(bind, i == 0));
        Extend(target.lengths[i], Length(bind.m_vTranslation), true);
    }
    bool isFirst = true;
    for (uint32_t row = 0; row < model.NumAnims(); row++)
    {
        const ModelAnim* anim = model.GetOwnAnim(row);
        for (uint32_t key = 0; anim && key < anim->NumKeyFrames(); key++)
        {
            for (uint32_t i = 0; i < model.NumNodes(); i++)
            {
                const NodeKeyFrame& nodeKey = anim->m_AnimNodes[i]->m_KeyFrames[key];
                if (isFirst)
                    target.locals[i] = LocalOfScene(nodeKey, i == 0);
                Extend(target.lengths[i], Length(nodeKey.m_vTranslation), isFirst);
            }
            isFirst = false;
        }
    }
    if (target.radius > 0.0)
        return;
    Box box;
    std::vector<RigidTransform> world(target.locals);
    for (size_t i = 0; i < world.size(); i++)
    {
        const int parent = target.tree.parents[i];
        world[i] = parent < 0 ? world[i] : Multiply(world[static_cast<size_t>(parent)], world[i]);
        box.Add(world[i].translation);
    }
    target.radius = box.HalfDiagonal();
}

bool LoadAppendTarget(const std::string& path, AppendTarget& target)
{
    Model model(&g_DefaultAllocator, &g_DefaultAllocator);
    if (!LoadModelFile(path, model))
        return false;
    DescribeAppendTarget(model, target);
    return true;
}
