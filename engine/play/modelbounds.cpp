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
    Bounds out;
    for (int i = 0; i < 8; ++i)
    {
        Vector3 corner(i & 1 ? box.m_Max.x : box.m_Min.x, i & 2 ? box.m_Max.y : box.m_Min.y,
                       i & 4 ? box.m_Max.z : box.m_Min.z);
        Vector3 place;
        m.Apply3x3(corner, corner);
        m.GetTranslation(place);
        out.Add(corner + place);
    }
    return out;
}

bool ModelBounds::Init(const Model& model)
{
    m_pModel = &model;
    m_NodeBoxes.clear();
    try
    {
        m_NodeBoxes.resize(model.NumNodes());
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

// For each node, how far a point of its box can be from the straight way between its places at this key and the next,
// if both were one step apart: an eighth of the greatest second derivative by the fraction. A point of a node is
// f = t + Q f' of its parent's point f', with t going straight and Q turning evenly by the angle w, so
//     |f| <= |t| + |f'|,  |df| <= |dt| + w |f'| + |df'|,  |ddf| <= w² |f'| + 2 w |df'| + |ddf'|.
bool ModelBounds::FindMargins(uint32_t iAnim, uint32_t iKey, std::vector<float>& margins) const
{
    const AnimInfo& row = m_pModel->m_Anims.Get(iAnim);
    AnimNode* const* pTracks = row.m_pAnim->m_AnimNodes;
    const DynArray<NodeKeyFrame, DefaultCache>& relations = row.m_pChildInfo->m_Relations;
    for (uint32_t iNode = 0; iNode < m_NodeBoxes.size(); ++iNode)
    {
        margins[iNode] = 0.0f;
        if (m_NodeBoxes[iNode].IsEmpty())
            continue;
        double reach = m_NodeBoxes[iNode].GetRadius(), first = 0.0, second = 0.0;
        for (uint32_t i = iNode; i != MNODE_NO_PARENT; i = m_pModel->GetNode(i)->GetParentIndex())
        {
            const ModelNode* pNode = m_pModel->GetNode(i);
            const NodeKeyFrame& from = pTracks[i]->m_KeyFrames.Get(iKey);
            const NodeKeyFrame& to = pTracks[i]->m_KeyFrames.Get(iKey + 1);
            if (i < relations.GetSize())
                reach += relations.Get(i).m_vTranslation.Mag();
            const double turn = AngleBetween(from.m_qRotation, to.m_qRotation);
            second += turn * turn * reach + 2.0 * turn * first;
            first += turn * reach;
            if (pNode->m_Flags & MNODE_FIXEDOFFSET)
                reach += pNode->m_vOffsetFromParent.Mag();
            else
            {
                first += (to.m_vTranslation - from.m_vTranslation).Mag();
                reach += std::max(from.m_vTranslation.Mag(), to.m_vTranslation.Mag());
            }
        }
        margins[iNode] = static_cast<float>(second / 8.0);
    }
    return std::all_of(margins.begin(), margins.end(), [](float margin) { return std::isfinite(margin); });
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
    std::vector<float> margins(m_NodeBoxes.size());
    for (uint32_t iKey = 0; iKey < nKeys; ++iKey)
    {
        const bool bLast = iKey + 1 == nKeys;
        uint32_t nSteps = 1;
        if (!bLast && FindMargins(iAnim, iKey, margins))
        {
            const float greatest = *std::max_element(margins.begin(), margins.end());
            while (nSteps < MAX_STEPS && greatest > allowed * static_cast<float>(nSteps * nSteps))
                ++nSteps;
        }
        else
            std::fill(margins.begin(), margins.end(), 0.0f);
        for (uint32_t iStep = 0; iStep < nSteps; ++iStep)
        {
            // Of a step, both ends with the margin of what lies between: the next step, or key, has the far end.
            for (uint32_t iEnd = 0; iEnd < (bLast ? 1u : 2u); ++iEnd)
            {
                const float percent = static_cast<float>(iStep + iEnd) / static_cast<float>(nSteps);
                instance.ClearPositions();
                if (!instance.AddPosition({iAnim, iKey, iAnim, bLast ? iKey : iKey + 1, percent}) ||
                    !instance.Evaluate())
                    return Bounds();
                for (uint32_t i = 0; i < m_NodeBoxes.size(); ++i)
                {
                    if (m_NodeBoxes[i].IsEmpty())
                        continue;
                    Bounds box = Transformed(instance.GetMatrices()[i], m_NodeBoxes[i]);
                    box.Grow(margins[i] / static_cast<float>(nSteps * nSteps));
                    out.Add(box);
                }
            }
        }
    }
    return out;
}
ZOLT_END_NAMESPACE
} // namespace zolt
