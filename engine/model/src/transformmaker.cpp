#include "engine/model/src/transformmaker.h"

#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

#include <bit>

thread_local Matrix4 g_TempMat;

// Compared bit for bit: 2.0 adds, 1.9999 blends.
static bool IsAdditive(float weight)
{
    return std::bit_cast<uint32_t>(weight) == 0x40000000u;
}

static Vector3 Lerp(const Vector3& a, const Vector3& b, float t)
{
    return a + (b - a) * t;
}

TransformMaker::TransformMaker()
    : m_nAnims(0), m_pStartMat(nullptr), m_pOutput(nullptr), m_pCallback(nullptr), m_pUserB(nullptr), m_pUserA(nullptr),
      m_pRecursePath(nullptr), m_iCurPath(0), m_pRelation(nullptr), m_pChildInfo(nullptr),
      m_Translation(0.0f, 0.0f, 0.0f), m_pModel(nullptr), m_WeightSets(), m_PrevAnims(), m_CurAnims()
{
}

QZBOOL TransformMaker::IsValid() const
{
    if (m_nAnims == 0 || m_nAnims > MAX_ANIM_POSITIONS)
        return QZFALSE;
    for (uint32_t i = 0; i < m_nAnims; ++i)
    {
        if (!m_Anims[i].IsValid() || m_Anims[i].m_pModel != m_Anims[0].m_pModel)
            return QZFALSE;
        if (i != 0 && m_Anims[i].m_iWeightSet >= m_Anims[0].m_pModel->NumWeightSets())
            return QZFALSE;
    }
    return QZTRUE;
}

// A child model whose tree has changed since it was linked, a weight set that nobody sized and a model that isn't
// precalculated fail here. That the tracks have the shape of the tree is the caller's word.
static bool IsPrecalculated(const AnimTracker& tracker, bool bLayer)
{
    const Model* pModel = tracker.m_pModel;
    const uint32_t nNodes = pModel->NumNodes();
    if (nNodes == 0)
        return false;
    for (const ModelAnim* pAnim : {tracker.GetPrevAnim(), tracker.GetCurAnim()})
    {
        if (!pAnim->m_AnimNodes || pAnim->GetModel()->NumNodes() < nNodes)
            return false;
    }
    return !bLayer || pModel->GetWeightSet(tracker.m_iWeightSet)->m_Weights.GetSize() >= nNodes;
}

QZBOOL TransformMaker::SetupCall()
{
    if (!IsValid())
        return QZFALSE;
    for (uint32_t i = 0; i < m_nAnims; ++i)
    {
        if (!IsPrecalculated(m_Anims[i], i != 0))
            return QZFALSE;
    }
    m_pRecursePath = nullptr;
    m_pModel = m_Anims[0].m_pModel;
    for (uint32_t i = 0; i < m_nAnims; ++i)
    {
        if (i != 0)
            m_WeightSets[i] = m_pModel->GetWeightSet(m_Anims[i].m_iWeightSet);
        m_PrevAnims[i] = m_Anims[i].GetPrevAnim();
        m_CurAnims[i] = m_Anims[i].GetCurAnim();
    }
    if (!m_pStartMat)
    {
        m_IdentityMat.Identity();
        m_pStartMat = &m_IdentityMat;
    }
    if (!m_pOutput)
        m_pOutput = m_pModel->m_Transforms.GetArray();
    m_pChildInfo = m_pModel->GetAnimInfo(m_Anims[0].m_Prev.m_iAnim)->m_pChildInfo;
    return QZTRUE;
}

QZBOOL TransformMaker::SetupTransforms()
{
    if (!SetupCall())
        return QZFALSE;
    Recurse(m_pModel->GetRootNode()->GetNodeIndex(), m_pStartMat);
    return QZTRUE;
}

QZBOOL TransformMaker::SetupNodePath(uint32_t iNode)
{
    if (!SetupCall())
        return QZFALSE;
    if (iNode >= m_pModel->NumNodes())
        return QZFALSE;
    uint32_t path[MAX_NODE_PATH];
    m_iCurPath = 0;
    for (uint32_t i = iNode; i != MNODE_NO_PARENT; i = m_pModel->GetNode(i)->GetParentIndex())
    {
        if (!ZOLT_ASSERT(m_iCurPath < MAX_NODE_PATH, "m_iCurPath < MAX_NODE_PATH"))
            return QZFALSE;
        path[m_iCurPath++] = i;
    }
    m_pRecursePath = path;
    --m_iCurPath;
    const uint32_t iRoot = m_pModel->GetRootNode()->GetNodeIndex();
    ZOLT_ASSERT(m_pRecursePath[m_iCurPath] == iRoot,
                "m_pRecursePath[m_iCurPath] == m_pModel->GetRootNode()->GetNodeIndex()");
    Recurse(iRoot, m_pStartMat);
    m_pRecursePath = nullptr;
    return QZTRUE;
}

void TransformMaker::InitFromRequest(VertexDeformRequest* pRequest)
{
    m_nAnims = pRequest->m_nAnims;
    for (uint32_t i = 0; i < m_nAnims && i < MAX_ANIM_POSITIONS; ++i)
        m_Anims[i] = pRequest->m_Anims[i];
    m_pStartMat = &pRequest->m_StartMat;
    m_pOutput = pRequest->m_pTransforms;
}

void TransformMaker::Recurse(uint32_t iNode, const Matrix4* pParentMat)
{
    // The last child goes on in this call, so that a chain of single children doesn't deepen the stack.
    for (;;)
    {
        Matrix4* pOut = &m_pOutput[iNode];
        const ModelNode* pNode = m_pModel->GetNode(iNode);

        Interpolate(0, iNode, m_Rot, m_Translation);
        for (uint32_t i = 1; i < m_nAnims; ++i)
            BlendPosition(i, iNode);

        m_Rot.ToMatrix(m_LocalMat);
        m_LocalMat.SetTranslation((pNode->m_Flags & MNODE_FIXEDOFFSET) ? pNode->m_vOffsetFromParent : m_Translation);
        Multiply(g_TempMat, *pParentMat, m_LocalMat);
        if (iNode < m_pChildInfo->m_Relations.GetSize())
        {
            m_pRelation = &m_pChildInfo->m_Relations[iNode];
            m_pRelation->ToMatrix(m_RelationMat);
            Multiply(*pOut, g_TempMat, m_RelationMat);
        }
        else
        {
            // A missing relation is the identity.
            *pOut = g_TempMat;
        }
        if (m_pCallback)
            m_pCallback(m_pUserA, iNode, pOut, m_pUserB);

        if (m_pRecursePath)
        {
            if (m_iCurPath == 0)
                return;
            iNode = m_pRecursePath[--m_iCurPath];
        }
        else
        {
            const uint32_t nChildren = pNode->NumChildren();
            if (nChildren == 0)
                return;
            for (uint32_t i = 0; i + 1 < nChildren; ++i)
                Recurse(pNode->GetChild(i)->GetNodeIndex(), pOut);
            iNode = pNode->GetChild(nChildren - 1)->GetNodeIndex();
        }
        pParentMat = pOut;
    }
}

void TransformMaker::InterpolateKeys(uint32_t i, uint32_t iNode, Quaternion& outRot, Vector3& outTrans) const
{
    const AnimTracker& tracker = m_Anims[i];
    const NodeKeyFrame& a = m_PrevAnims[i]->m_AnimNodes[iNode]->m_KeyFrames[tracker.m_Prev.m_iFrame];
    const NodeKeyFrame& b = m_CurAnims[i]->m_AnimNodes[iNode]->m_KeyFrames[tracker.m_Cur.m_iFrame];
    QuatSlerp(outRot, a.m_qRotation, b.m_qRotation, tracker.m_Percent);
    outTrans = Lerp(a.m_vTranslation, b.m_vTranslation, tracker.m_Percent);
}

void TransformMaker::Interpolate(uint32_t i, uint32_t iNode, Quaternion& outRot, Vector3& outTrans) const
{
    InterpolateKeys(i, iNode, outRot, outTrans);
    if (iNode == 0)
    {
        const AnimTracker& tracker = m_Anims[i];
        outTrans += Lerp(m_pModel->GetAnimInfo(tracker.m_Prev.m_iAnim)->m_vTranslation,
                         m_pModel->GetAnimInfo(tracker.m_Cur.m_iAnim)->m_vTranslation, tracker.m_Percent);
    }
}

void TransformMaker::InterpolateRelative(uint32_t i, uint32_t iNode, Quaternion& outRot, Vector3& outTrans) const
{
    InterpolateKeys(i, iNode, outRot, outTrans);
    const NodeKeyFrame& k = m_PrevAnims[i]->m_AnimNodes[iNode]->m_KeyFrames[0];
    const Quaternion conjugate(-k.m_qRotation.x, -k.m_qRotation.y, -k.m_qRotation.z, k.m_qRotation.w);
    QuatMultiply(outRot, conjugate, outRot);
    outTrans = outTrans - k.m_vTranslation;
}

void TransformMaker::BlendPosition(uint32_t i, uint32_t iNode)
{
    const float weight = m_WeightSets[i]->m_Weights[iNode];
    if (weight == 0.0f)
        return;
    Quaternion rotation;
    Vector3 translation;
    if (IsAdditive(weight))
    {
        InterpolateRelative(i, iNode, rotation, translation);
        QuatMultiply(m_Rot, m_Rot, rotation);
        m_Translation += translation;
    }
    else
    {
        Interpolate(i, iNode, rotation, translation);
        QuatSlerp(m_Rot, m_Rot, rotation, weight);
        m_Translation = Lerp(m_Translation, translation, weight);
    }
}
