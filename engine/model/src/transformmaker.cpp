#include "engine/model/src/transformmaker.h"

#include "engine/model/src/evaluatepose.h"
#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

ZOLT_BEGIN_NAMESPACE

thread_local Matrix4 g_TempMat;

TransformMaker::TransformMaker()
    : m_nAnims(0), m_pStartMat(nullptr), m_pOutput(nullptr), m_pCallback(nullptr), m_pUserB(nullptr), m_pUserA(nullptr),
      m_pChildInfo(nullptr), m_pModel(nullptr), m_WeightSets(), m_PrevAnims(), m_CurAnims()
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

// Of a valid tracker. A child model whose tree has changed since it was linked, a weight set that nobody sized and a
// model that isn't precalculated fail here. That the tracks have the shape of the tree is the caller's word.
static bool IsPrecalculated(const AnimTracker& tracker, bool bLayer)
{
    const Model* pModel = tracker.m_pModel;
    const uint32_t nNodes = pModel->NumNodes();
    if (nNodes == 0)
        return false;
    for (const AnimTime& time : {tracker.m_Prev, tracker.m_Cur})
    {
        const ModelAnim* pAnim = pModel->GetAnim(time.m_iAnim);
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
    m_pModel = m_Anims[0].m_pModel;
    for (uint32_t i = 0; i < m_nAnims; ++i)
    {
        if (i != 0)
            m_WeightSets[i] = m_pModel->GetWeightSet(m_Anims[i].m_iWeightSet);
        m_PrevAnims[i] = m_pModel->GetAnim(m_Anims[i].m_Prev.m_iAnim);
        m_CurAnims[i] = m_pModel->GetAnim(m_Anims[i].m_Cur.m_iAnim);
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
    Evaluate(nullptr, m_pModel->NumNodes());
    return QZTRUE;
}

QZBOOL TransformMaker::SetupNodePath(uint32_t iNode)
{
    if (!SetupCall())
        return QZFALSE;
    if (iNode >= m_pModel->NumNodes())
        return QZFALSE;
    uint32_t path[MAX_NODE_PATH];
    uint32_t nPath = 0;
    for (uint32_t i = iNode; i != MNODE_NO_PARENT; i = m_pModel->GetNode(i)->GetParentIndex())
    {
        if (!ZOLT_ASSERT(nPath < MAX_NODE_PATH, "nPath < MAX_NODE_PATH"))
            return QZFALSE;
        path[MAX_NODE_PATH - ++nPath] = i;
    }
    Evaluate(path + MAX_NODE_PATH - nPath, nPath);
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

void TransformMaker::Evaluate(const uint32_t* pPath, uint32_t nNodes) const
{
    PoseCall call;
    call.m_nPositions = m_nAnims;
    for (uint32_t i = 0; i < m_nAnims; ++i)
    {
        const AnimTracker& tracker = m_Anims[i];
        PosePosition& position = call.m_Positions[i];
        position.m_pPrevTracks = m_PrevAnims[i]->m_AnimNodes;
        position.m_pCurTracks = m_CurAnims[i]->m_AnimNodes;
        position.m_pWeights = i != 0 ? m_WeightSets[i]->m_Weights.GetArray() : nullptr;
        position.m_bAdd = false;
        position.m_iPrevKey = tracker.m_Prev.m_iFrame;
        position.m_iCurKey = tracker.m_Cur.m_iFrame;
        position.m_Percent = tracker.m_Percent;
        const Vector3& from = m_pModel->GetAnimInfo(tracker.m_Prev.m_iAnim)->m_vTranslation;
        const Vector3& to = m_pModel->GetAnimInfo(tracker.m_Cur.m_iAnim)->m_vTranslation;
        position.m_vRootOffset = from + (to - from) * tracker.m_Percent;
    }
    call.m_pNodes = m_pModel->m_FlatNodeList.GetArray();
    call.m_pRelations = m_pChildInfo->m_Relations.GetArray();
    call.m_nRelations = m_pChildInfo->m_Relations.GetSize();
    call.m_pStartMat = m_pStartMat;
    call.m_pOutput = m_pOutput;
    call.m_pCallback = m_pCallback;
    call.m_pUserA = m_pUserA;
    call.m_pUserB = m_pUserB;
    EvaluatePose(call, pPath, nNodes);
}

ZOLT_END_NAMESPACE
