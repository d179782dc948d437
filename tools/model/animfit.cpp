#include "tools/model/animfit.h"

#include "tools/model/convmodel.h"
#include "tools/model/modeltree.h"

#include <algorithm>
#include <cmath>

// Lengths that differ by no more than this part are alike.
static constexpr double SAME_LENGTH = 0.01;
// Below this part of the longest a length is no bone.
static constexpr double LEAST_LENGTH = 1e-4;

static std::vector<bool> FindFixed(const Model& source)
{
    std::vector<bool> fixed;
    for (uint32_t i = 0; i < source.NumNodes(); ++i)
        fixed.push_back(!(source.GetNode(i)->m_Flags & MNODE_REMOVEABLE) || source.IsNodeWeighted(i));
    return fixed;
}

AnimFit::AnimFit(Model& target, Model& source)
    : m_Target(target), m_Source(source), m_TargetTree(MakeModelTree(target)), m_SourceTree(MakeModelTree(source)),
      m_Fixed(FindFixed(source)), m_Match(MatchNodes(m_SourceTree, m_TargetTree, NameRule::Bare)),
      m_Difference(CompareTrees(m_SourceTree, m_TargetTree, m_Match, m_Fixed))
{
    const ModelAnim* pFirst = target.CalcNumOwnAnims() != 0 ? target.GetAnim(0) : nullptr;
    for (uint32_t i = 0; i < target.NumNodes(); ++i)
    {
        if (pFirst && pFirst->NumKeyFrames() != 0)
        {
            m_FirstLocals.push_back(PlaceOf(pFirst->m_AnimNodes[i]->m_KeyFrames[0]));
            continue;
        }
        const ModelNode& node = *target.GetNode(i);
        const Matrix4 above = node.GetParentIndex() == MNODE_NO_PARENT
                                  ? Matrix4()
                                  : target.GetNode(node.GetParentIndex())->m_mGlobalInverse;
        NodeKeyFrame bind;
        bind.FromMatrix(above * node.m_mGlobal);
        m_FirstLocals.push_back(PlaceOf(bind));
    }
}

// Of length 1, so that a product of many stays so.
AnimFit::Place AnimFit::PlaceOf(const NodeKeyFrame& key)
{
    const Vector3& t = key.m_vTranslation;
    const Quaternion& q = key.m_qRotation;
    const double length = std::hypot(std::hypot(double(q.x), double(q.y)), std::hypot(double(q.z), double(q.w)));
    if (length == 0.0)
        return {{t.x, t.y, t.z}};
    return {{t.x, t.y, t.z}, {q.x / length, q.y / length, q.z / length, q.w / length}};
}

// v + 2 u × (u × v + w v), with u and w the rotation's vector and scalar part.
static void Rotate(const double q[4], const double v[3], double out[3])
{
    const double c[3] = {q[1] * v[2] - q[2] * v[1] + q[3] * v[0], q[2] * v[0] - q[0] * v[2] + q[3] * v[1],
                         q[0] * v[1] - q[1] * v[0] + q[3] * v[2]};
    out[0] = v[0] + 2.0 * (q[1] * c[2] - q[2] * c[1]);
    out[1] = v[1] + 2.0 * (q[2] * c[0] - q[0] * c[2]);
    out[2] = v[2] + 2.0 * (q[0] * c[1] - q[1] * c[0]);
}

AnimFit::Place AnimFit::Multiply(const Place& a, const Place& b)
{
    Place out;
    Rotate(a.q, b.t, out.t);
    for (int i = 0; i < 3; ++i)
        out.t[i] += a.t[i];
    const double* p = a.q;
    const double* r = b.q;
    out.q[0] = p[3] * r[0] + p[0] * r[3] + p[1] * r[2] - p[2] * r[1];
    out.q[1] = p[3] * r[1] - p[0] * r[2] + p[1] * r[3] + p[2] * r[0];
    out.q[2] = p[3] * r[2] + p[0] * r[1] - p[1] * r[0] + p[2] * r[3];
    out.q[3] = p[3] * r[3] - p[0] * r[0] - p[1] * r[1] - p[2] * r[2];
    return out;
}

// The inverse of a, times b.
AnimFit::Place AnimFit::RelativeTo(const Place& a, const Place& b)
{
    const Place turnedBack = {{}, {-a.q[0], -a.q[1], -a.q[2], a.q[3]}};
    const Place moved = {{b.t[0] - a.t[0], b.t[1] - a.t[1], b.t[2] - a.t[2]}, {b.q[0], b.q[1], b.q[2], b.q[3]}};
    return Multiply(turnedBack, moved);
}

// Where the target's nodes are to stand.
std::vector<AnimFit::Place> AnimFit::WorldOf(const ModelAnim& anim, uint32_t iKey) const
{
    std::vector<Place> source;
    for (uint32_t i = 0; i < m_Source.NumNodes(); ++i)
    {
        const ModelNode& node = *m_Source.GetNode(i);
        NodeKeyFrame key = anim.m_AnimNodes[i]->m_KeyFrames[iKey];
        if (node.m_Flags & MNODE_FIXEDOFFSET)
            key.m_vTranslation = node.m_vOffsetFromParent;
        const int parent = m_SourceTree.parents[i];
        source.push_back(parent < 0 ? PlaceOf(key) : Multiply(source[static_cast<size_t>(parent)], PlaceOf(key)));
    }
    std::vector<Place> world;
    for (size_t i = 0; i < m_FirstLocals.size(); ++i)
    {
        const int parent = m_TargetTree.parents[i];
        const int from = m_Match.sourceOf[i];
        if (from >= 0)
            world.push_back(source[static_cast<size_t>(from)]);
        else
            world.push_back(parent < 0 ? m_FirstLocals[i]
                                       : Multiply(world[static_cast<size_t>(parent)], m_FirstLocals[i]));
    }
    return world;
}

std::vector<AnimFit::Place> AnimFit::LocalsOf(const std::vector<Place>& world) const
{
    std::vector<Place> locals;
    for (size_t i = 0; i < world.size(); ++i)
    {
        const int parent = m_TargetTree.parents[i];
        locals.push_back(parent < 0 ? world[i] : RelativeTo(world[static_cast<size_t>(parent)], world[i]));
    }
    return locals;
}

AnimInfo* AnimFit::Add(const ModelAnim& anim)
{
    char name[ANIM_NAME_BUFFER];
    if (!m_Target.MakeUniqueAnimName(anim.GetName(), name, sizeof(name)) || !m_Target.AddDefaultAnim(name))
        return nullptr;
    AnimInfo* pInfo = m_Target.GetAnimInfo(m_Target.CalcNumOwnAnims() - 1);
    ModelAnim& fitted = *pInfo->m_pAnim;
    fitted.m_AnimParamA = anim.m_AnimParamA;
    fitted.m_AnimParamB = anim.m_AnimParamB;
    Allocator* pAllocator = m_Target.GetGrowAllocator();
    const uint32_t nKeys = anim.NumKeyFrames();
    bool bRoom = fitted.m_KeyFrames.SetSize(nKeys, pAllocator) != QZFALSE;
    for (uint32_t i = 0; i < m_Target.NumNodes() && bRoom; ++i)
        bRoom = fitted.m_AnimNodes[i]->m_KeyFrames.SetSize(nKeys, pAllocator) != QZFALSE;
    if (!bRoom)
        return nullptr;
    for (uint32_t iKey = 0; iKey < nKeys; ++iKey)
    {
        fitted.m_KeyFrames[iKey].m_Time = anim.m_KeyFrames[iKey].m_Time;
        fitted.m_KeyFrames[iKey].m_pString = m_Target.AddString(anim.m_KeyFrames[iKey].m_pString);
        const std::vector<Place> locals = LocalsOf(WorldOf(anim, iKey));
        for (uint32_t i = 0; i < m_Target.NumNodes(); ++i)
        {
            const auto& [t, q] = locals[i];
            NodeKeyFrame& key = fitted.m_AnimNodes[i]->m_KeyFrames[iKey];
            key.m_vTranslation.Set(float(t[0]), float(t[1]), float(t[2]));
            key.m_qRotation.Set(float(q[0]), float(q[1]), float(q[2]), float(q[3]));
        }
    }
    return pInfo;
}

std::vector<BoneDifference> AnimFit::CompareBones(const ModelAnim& anim, size_t& nBones) const
{
    nBones = 0;
    std::vector<BoneDifference> different;
    if (anim.NumKeyFrames() == 0)
        return different;
    const auto lengthOf = [](const Place& place) { return std::hypot(place.t[0], place.t[1], place.t[2]); };
    const std::vector<Place> locals = LocalsOf(WorldOf(anim, 0));
    double longest = 0.0;
    for (size_t i = 1; i < locals.size(); ++i)
        longest = std::max(longest, lengthOf(m_FirstLocals[i]));
    for (size_t i = 1; i < locals.size(); ++i)
    {
        const auto parent = static_cast<size_t>(m_TargetTree.parents[i]);
        // What hangs on a root moves about in the world as a rule.
        if (m_Match.sourceOf[i] < 0 || m_Match.sourceOf[parent] < 0 || parent == 0)
            continue;
        const double own = lengthOf(locals[i]);
        const double model = lengthOf(m_FirstLocals[i]);
        if (std::max(own, model) <= LEAST_LENGTH * longest)
            continue;
        ++nBones;
        if (std::fabs(own - model) > SAME_LENGTH * model)
            different.push_back({m_TargetTree.names[i], own, model});
    }
    return different;
}

std::vector<std::string> AnimFit::Describe(const FitSource& from) const
{
    return DescribeFit(from, m_SourceTree, m_TargetTree, m_Match, m_Difference);
}

std::vector<std::string> AnimFit::DescribeDoubts(const FitSource& from) const
{
    return DescribeChoices(from, m_SourceTree, m_TargetTree, m_Match);
}

std::vector<std::string> AnimFit::ExplainRefusal(const FitSource& from) const
{
    return ::ExplainRefusal(from, m_SourceTree, m_Fixed, m_TargetTree);
}
