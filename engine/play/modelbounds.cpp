#include "engine/play/modelbounds.h"

#include "engine/model/src/model.h"
#include "engine/play/modelinstance.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// So many poses between two keys at most.
static constexpr uint32_t MAX_STEPS = 16;
// What the boxes are larger than need be for what happens between two poses, as a share of the model's radius.
static constexpr float MARGIN = 0.01f;

// A box in the space that a matrix leads to, around a box in the space that it comes from.
static Bounds Transformed(const Matrix4& m, const Bounds& box)
{
    const Vector3 half = (box.m_Max - box.m_Min) * 0.5f, middle = box.m_Min + half;
    float centre[3], reach[3];
    for (int r = 0; r < 3; ++r)
    {
        centre[r] = m(r, 0) * middle.x + m(r, 1) * middle.y + m(r, 2) * middle.z + m(r, 3);
        reach[r] = std::fabs(m(r, 0)) * half.x + std::fabs(m(r, 1)) * half.y + std::fabs(m(r, 2)) * half.z;
    }
    Bounds out;
    out.m_Min.Set(centre[0] - reach[0], centre[1] - reach[1], centre[2] - reach[2]);
    out.m_Max.Set(centre[0] + reach[0], centre[1] + reach[1], centre[2] + reach[2]);
    return out;
}

bool ModelBounds::Init(const Model& model)
{
    m_pModel = &model;
    m_NodeBoxes.clear();
    try
    {
        m_NodeBoxes.resize(model.NumNodes());
        m_Parents.clear();
        for (uint32_t i = 0; i < model.NumNodes(); ++i)
            m_Parents.push_back(model.GetNode(i)->GetParentIndex());
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    const ModelVertWeight* pWeights = model.m_VertexWeights.GetArray();
    for (uint32_t i = 0; i < model.m_VertexWeights.GetSize(); ++i)
    {
        const ModelVertWeight& w = pWeights[i];
        if (w.m_iNode < m_NodeBoxes.size() && w.m_Vec[3] > 0.0f)
            m_NodeBoxes[w.m_iNode].Add(
                Vector3(w.m_Vec[0] / w.m_Vec[3], w.m_Vec[1] / w.m_Vec[3], w.m_Vec[2] / w.m_Vec[3]));
    }
    return true;
}

Bounds ModelBounds::AtRest() const
{
    Bounds out;
    for (uint32_t i = 0; i < m_NodeBoxes.size(); ++i)
    {
        if (!m_NodeBoxes[i].IsEmpty())
            out.Add(Transformed(*m_pModel->GetNode(i)->GetGlobalTransform(), m_NodeBoxes[i]));
    }
    return out;
}

Bounds ModelBounds::OfInstance(const ModelInstance& instance) const
{
    Bounds out;
    if (instance.GetModel() != m_pModel)
        return out;
    for (uint32_t i = 0; i < m_NodeBoxes.size(); ++i)
    {
        if (!m_NodeBoxes[i].IsEmpty())
            out.Add(Transformed(instance.GetMatrices()[i], m_NodeBoxes[i]));
    }
    return out;
}

// The angle of the turn from one rotation to another, the short way round, in radians.
static double AngleBetween(const Quaternion& a, const Quaternion& b)
{
    const auto Dot = [](const Quaternion& p, const Quaternion& q)
    { return double(p.x) * q.x + double(p.y) * q.y + double(p.z) * q.z + double(p.w) * q.w; };
    const double lengths = std::sqrt(Dot(a, a) * Dot(b, b));
    return lengths > 0.0 ? 2.0 * std::acos(std::min(std::fabs(Dot(a, b)) / lengths, 1.0)) : 0.0;
}

// What a node does on its own from a key to the next.
struct ModelBounds::Move
{
    double m_Turn;   // radians
    double m_Slide;  // the translation's way
    double m_Reach;  // the translation's length at most
    double m_Offset; // that of the relation
};

// For each node, how far a point of its box can be from the straight way between its places at this key and the next,
// if both were one step apart: an eighth of the greatest second derivative by the fraction. A point of a node is
// f = t + Q f' of its parent's point f', with t going straight and Q turning evenly by the angle w, so
//     |f| <= |t| + |f'|,  |df| <= |dt| + w |f'| + |df'|,  |ddf| <= w² |f'| + 2 w |df'| + |ddf'|.
// The greatest of them; not finite where the keys aren't.
float ModelBounds::FindMargins(uint32_t iAnim, uint32_t iKey, std::vector<Move>& moves,
                               std::vector<float>& margins) const
{
    const AnimInfo& row = m_pModel->m_Anims.Get(iAnim);
    AnimNode* const* pTracks = row.m_pAnim->m_AnimNodes;
    const DynArray<NodeKeyFrame, DefaultCache>& relations = row.m_pChildInfo->m_Relations;
    for (uint32_t i = 0; i < m_NodeBoxes.size(); ++i)
    {
        const ModelNode* pNode = m_pModel->GetNode(i);
        const NodeKeyFrame& from = pTracks[i]->m_KeyFrames.Get(iKey);
        const NodeKeyFrame& to = pTracks[i]->m_KeyFrames.Get(iKey + 1);
        Move& move = moves[i];
        move.m_Turn = AngleBetween(from.m_qRotation, to.m_qRotation);
        move.m_Offset = i < relations.GetSize() ? relations.Get(i).m_vTranslation.Mag() : 0.0;
        const bool bFixed = (pNode->m_Flags & MNODE_FIXEDOFFSET) != 0;
        move.m_Slide = bFixed ? 0.0 : (to.m_vTranslation - from.m_vTranslation).Mag();
        move.m_Reach =
            bFixed ? pNode->m_vOffsetFromParent.Mag() : std::max(from.m_vTranslation.Mag(), to.m_vTranslation.Mag());
    }
    float greatest = 0.0f;
    for (uint32_t iNode = 0; iNode < m_NodeBoxes.size(); ++iNode)
    {
        margins[iNode] = 0.0f;
        if (m_NodeBoxes[iNode].IsEmpty())
            continue;
        double reach = m_NodeBoxes[iNode].GetRadius(), first = 0.0, second = 0.0;
        for (uint32_t i = iNode; i != MNODE_NO_PARENT; i = m_Parents[i])
        {
            const Move& move = moves[i];
            reach += move.m_Offset;
            second += move.m_Turn * move.m_Turn * reach + 2.0 * move.m_Turn * first;
            first += move.m_Turn * reach + move.m_Slide;
            reach += move.m_Reach;
        }
        margins[iNode] = static_cast<float>(second / 8.0);
        if (!std::isfinite(margins[iNode]))
            return margins[iNode];
        greatest = std::max(greatest, margins[iNode]);
    }
    return greatest;
}

Bounds ModelBounds::OfAnim(uint32_t iAnim) const
{
    Bounds out;
    ModelInstance instance;
    if (m_NodeBoxes.empty() || iAnim >= m_pModel->NumAnims() || !instance.Init(*m_pModel) ||
        !instance.AddPosition({iAnim, 0, iAnim, 0, 0.0f}))
        return out;
    const uint32_t nKeys = m_pModel->GetAnim(iAnim)->NumKeyFrames();
    const float allowed = MARGIN * AtRest().GetRadius();
    // Of the step before a pose and of the one behind it; the greater one is what its boxes grow by.
    std::vector<float> before(m_NodeBoxes.size()), behind(m_NodeBoxes.size());
    std::vector<Move> moves(m_NodeBoxes.size());
    for (uint32_t iKey = 0; iKey < nKeys; ++iKey)
    {
        const bool bLast = iKey + 1 == nKeys;
        uint32_t nSteps = 1;
        const float greatest = bLast ? 0.0f : FindMargins(iAnim, iKey, moves, behind);
        if (bLast || !std::isfinite(greatest))
            std::fill(behind.begin(), behind.end(), 0.0f);
        else
        {
            while (nSteps < MAX_STEPS && greatest > allowed * static_cast<float>(nSteps * nSteps))
                ++nSteps;
        }
        for (float& margin : behind)
            margin /= static_cast<float>(nSteps * nSteps);
        for (uint32_t iStep = 0; iStep < nSteps; ++iStep)
        {
            const float percent = static_cast<float>(iStep) / static_cast<float>(nSteps);
            instance.ClearPositions();
            if (!instance.AddPosition({iAnim, iKey, iAnim, bLast ? iKey : iKey + 1, percent}) || !instance.Evaluate())
                return Bounds();
            for (uint32_t i = 0; i < m_NodeBoxes.size(); ++i)
            {
                if (m_NodeBoxes[i].IsEmpty())
                    continue;
                Bounds box = Transformed(instance.GetMatrices()[i], m_NodeBoxes[i]);
                box.Grow(iStep == 0 ? std::max(before[i], behind[i]) : behind[i]);
                out.Add(box);
            }
        }
        before.swap(behind);
    }
    return out;
}
ZOLT_END_NAMESPACE
} // namespace zolt
