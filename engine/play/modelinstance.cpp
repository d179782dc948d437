#include "engine/play/modelinstance.h"

#include "engine/model/src/evaluatepose.h"
#include "engine/model/src/model.h"
#include "zoltshared/stdzolt/assertion.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
ModelInstance::~ModelInstance()
{
    Term();
}

size_t ModelInstance::GetMemorySize(const Model& model)
{
    const size_t size = size_t(model.NumNodes()) * (sizeof(Matrix4) + sizeof(float) * (MAX_ANIM_POSITIONS - 1));
    return (size + MEMORY_ALIGNMENT - 1) / MEMORY_ALIGNMENT * MEMORY_ALIGNMENT;
}

bool ModelInstance::Init(const Model& model, void* pMemory, size_t memorySize)
{
    Term();
    const size_t size = GetMemorySize(model);
    if (size == 0)
        return false;
    if (pMemory && (memorySize < size || reinterpret_cast<uintptr_t>(pMemory) % MEMORY_ALIGNMENT != 0))
        return false;
    if (!pMemory)
    {
        m_pOwnMemory = std::malloc(size);
        pMemory = m_pOwnMemory;
    }
    if (!pMemory)
        return false;
    m_pModel = &model;
    m_nNodes = model.NumNodes();
    m_pMatrices = new (pMemory) Matrix4[m_nNodes];
    m_pWeights = reinterpret_cast<float*>(m_pMatrices + m_nNodes);
    return Evaluate();
}

void ModelInstance::Term()
{
    if (m_pCarrier)
        m_pCarrier->Detach(this);
    while (m_pFirstCarried)
        Detach(m_pFirstCarried);
    std::free(m_pOwnMemory);
    m_pOwnMemory = nullptr;
    m_pModel = nullptr;
    m_nNodes = 0;
    m_nPositions = 0;
    m_pMatrices = nullptr;
    m_pWeights = nullptr;
    m_World.Identity();
    m_PoseOffset.Identity();
    SetNodeCallback(nullptr, nullptr, nullptr);
}

bool ModelInstance::IsValid(uint32_t iAnim, uint32_t iKey) const
{
    if (iAnim >= m_pModel->NumAnims())
        return false;
    const ModelAnim* pAnim = m_pModel->GetAnim(iAnim);
    return pAnim->m_AnimNodes && iKey < pAnim->NumKeyFrames() && pAnim->GetModel()->NumNodes() >= m_nNodes;
}

static float MaskValue(float value, MaskPart part)
{
    if (part == MaskPart::ALL)
        return value;
    return (value == 2.0f) != (part == MaskPart::TWOS) ? 0.0f : part == MaskPart::TWOS ? 1.0f : value;
}

bool ModelInstance::AddPosition(const PosePoint& point, LayerKind kind, const float* pMask, float factor, float later,
                                MaskPart part)
{
    if (!m_pModel || m_nPositions == MAX_ANIM_POSITIONS)
        return false;
    if (!IsValid(point.m_iPrevAnim, point.m_iPrevKey) || !IsValid(point.m_iCurAnim, point.m_iCurKey))
        return false;
    if (!(point.m_Percent >= 0.0f && point.m_Percent <= 1.0f))
        return false;
    if (m_nPositions != 0)
    {
        float* pOwn = GetWeights(m_nPositions);
        for (uint32_t i = 0; i < m_nNodes; ++i)
        {
            const float m = pMask ? MaskValue(pMask[i], part) : 1.0f;
            const float rest = 1.0f - m * later;
            // Where the later ones leave nothing, nothing is all that counts.
            pOwn[i] = rest > 1e-6f ? m * factor / rest : 0.0f * m;
            if (!std::isfinite(pOwn[i]))
                return false;
        }
    }
    m_Positions[m_nPositions++] = {point, kind};
    return true;
}

void ModelInstance::SetNodeCallback(TransformCallback pCallback, void* pUserA, void* pUserB)
{
    m_pCallback = pCallback;
    m_pUserA = pUserA;
    m_pUserB = pUserB;
}

bool ModelInstance::Evaluate()
{
    if (!m_pModel || !Evaluate(m_World * m_PoseOffset, nullptr, m_nNodes, true))
        return false;
    bool bAll = true;
    for (ModelInstance* pOther = m_pFirstCarried; pOther; pOther = pOther->m_pNextCarried)
    {
        Matrix4 socket;
        if (GetSocketMatrix(pOther->m_iSocket, socket))
            pOther->m_World = socket * pOther->m_SocketOffset;
        bAll = pOther->Evaluate() && bAll;
    }
    return bAll;
}

bool ModelInstance::EvaluateNode(uint32_t iNode, Matrix4& out)
{
    if (iNode >= m_nNodes)
        return false;
    uint32_t path[MAX_NODE_PATH];
    uint32_t iTop = MAX_NODE_PATH;
    for (uint32_t i = iNode; i != MNODE_NO_PARENT; i = m_pModel->GetNode(i)->GetParentIndex())
    {
        if (iTop == 0)
            return false;
        path[--iTop] = i;
    }
    if (!Evaluate(Matrix4(), path + iTop, MAX_NODE_PATH - iTop, false))
        return false;
    out = m_pMatrices[iNode];
    return true;
}

bool ModelInstance::Evaluate(const Matrix4& start, const uint32_t* pPath, uint32_t nNodes, bool bCallback)
{
    if (m_nPositions == 0)
    {
        EvaluateBindPose(start, pPath, nNodes, bCallback);
        return true;
    }
    PoseCall call;
    call.m_nPositions = m_nPositions;
    for (uint32_t i = 0; i < m_nPositions; ++i)
    {
        const PosePoint& point = m_Positions[i].m_Point;
        PosePosition& position = call.m_Positions[i];
        // Who has edited the model since AddPosition finds his mistake here.
        if (!IsValid(point.m_iPrevAnim, point.m_iPrevKey) || !IsValid(point.m_iCurAnim, point.m_iCurKey))
            return false;
        position.m_pPrevTracks = m_pModel->GetAnim(point.m_iPrevAnim)->m_AnimNodes;
        position.m_pCurTracks = m_pModel->GetAnim(point.m_iCurAnim)->m_AnimNodes;
        position.m_pWeights = i != 0 ? GetWeights(i) : nullptr;
        position.m_bAdd = m_Positions[i].m_Kind == LayerKind::ADD;
        position.m_iPrevKey = point.m_iPrevKey;
        position.m_iCurKey = point.m_iCurKey;
        position.m_Percent = point.m_Percent;
        const Vector3& from = m_pModel->m_Anims.Get(point.m_iPrevAnim).m_vTranslation;
        const Vector3& to = m_pModel->m_Anims.Get(point.m_iCurAnim).m_vTranslation;
        position.m_vRootOffset = from + (to - from) * point.m_Percent;
    }
    const ChildInfo* pLink = m_pModel->m_Anims.Get(m_Positions[0].m_Point.m_iPrevAnim).m_pChildInfo;
    call.m_pNodes = m_pModel->m_FlatNodeList.GetArray();
    call.m_pRelations = pLink->m_Relations.GetArray();
    call.m_nRelations = pLink->m_Relations.GetSize();
    call.m_pStartMat = &start;
    call.m_pOutput = m_pMatrices;
    if (bCallback)
    {
        call.m_pCallback = m_pCallback;
        call.m_pUserA = m_pUserA;
        call.m_pUserB = m_pUserB;
    }
    EvaluatePose(call, pPath, nNodes);
    return true;
}

void ModelInstance::EvaluateBindPose(const Matrix4& start, const uint32_t* pPath, uint32_t nNodes, bool bCallback)
{
    for (uint32_t i = 0; i < nNodes; ++i)
    {
        const uint32_t iNode = pPath ? pPath[i] : i;
        const ModelNode* pNode = m_pModel->GetNode(iNode);
        const uint32_t iParent = pNode->GetParentIndex();
        if (!bCallback || !m_pCallback || iParent == MNODE_NO_PARENT)
            m_pMatrices[iNode] = start * *pNode->GetGlobalTransform();
        else // The callback may have changed the parent.
            m_pMatrices[iNode] =
                m_pMatrices[iParent] * (m_pModel->GetNode(iParent)->m_mGlobalInverse * *pNode->GetGlobalTransform());
        if (bCallback && m_pCallback)
            m_pCallback(m_pUserA, iNode, &m_pMatrices[iNode], m_pUserB);
    }
}

const Matrix4* ModelInstance::GetNodeMatrix(uint32_t iNode) const
{
    return ZOLT_ASSERT(iNode < m_nNodes, "iNode < m_nNodes") ? &m_pMatrices[iNode] : nullptr;
}

bool ModelInstance::GetSocketMatrix(uint32_t iSocket, Matrix4& out) const
{
    if (!m_pModel || iSocket >= m_pModel->NumSockets())
        return false;
    const ModelSocket* pSocket = m_pModel->GetSocket(iSocket);
    if (pSocket->m_iNode >= m_nNodes)
        return false;
    Matrix4 socket;
    pSocket->ToMatrix(socket);
    out = m_pMatrices[pSocket->m_iNode] * socket;
    return true;
}

bool ModelInstance::GetVertexPositions(Vector3* pOut, uint32_t stride, uint32_t iLOD) const
{
    if (!m_pModel || iLOD >= m_pModel->NumLODs())
        return false;
    VertexDeformRequest request;
    request.m_pVertOut = pOut;
    request.m_VertStride = stride;
    request.m_iLOD = iLOD;
    request.m_pTransforms = m_pMatrices;
    // With a table of the caller's the model is only read.
    return const_cast<Model*>(m_pModel)->GetVertexPositions(&request, QZFALSE);
}

bool ModelInstance::GetVertexNormals(Vector3* pOut, uint32_t stride, uint32_t iLOD) const
{
    if (!m_pModel || !pOut || iLOD >= m_pModel->NumLODs())
        return false;
    char* pNext = reinterpret_cast<char*>(pOut);
    for (uint32_t iPiece = 0; iPiece < m_pModel->NumPieces(); ++iPiece)
    {
        const ModelPieceLOD* pMesh = m_pModel->GetPiece(iPiece)->GetLOD(iLOD);
        if (!pMesh)
            return false;
        for (uint32_t iVert = 0; iVert < pMesh->NumVerts(); ++iVert, pNext += stride)
        {
            const ModelVert& vert = pMesh->m_Verts.Get(iVert);
            Vector3 sum(0.0f, 0.0f, 0.0f);
            for (uint32_t i = 0; i < vert.m_nWeights; ++i)
            {
                const ModelVertWeight& weight = vert.m_Weights[i];
                if (weight.m_iNode >= m_nNodes)
                    continue;
                Vector3 normal;
                m_pModel->GetNode(weight.m_iNode)->m_mGlobalInverse.Apply3x3(normal, vert.m_vNormal);
                m_pMatrices[weight.m_iNode].Apply3x3(normal, normal);
                sum += normal * weight.m_Vec[3];
            }
            sum.Norm();
            std::memcpy(pNext, &sum, sizeof(sum)); // at any alignment
        }
    }
    return true;
}

bool ModelInstance::GetSkinMatrices(float* pOut, MatrixLayout layout) const
{
    if (!m_pModel || !pOut)
        return false;
    const bool bByRows = layout == MatrixLayout::ROWS_3X4 || layout == MatrixLayout::ROWS_4X4;
    const int nRows = layout == MatrixLayout::ROWS_4X4 || layout == MatrixLayout::COLUMNS_4X4 ? 4 : 3;
    for (uint32_t iNode = 0; iNode < m_nNodes; ++iNode)
    {
        const Matrix4 skin = m_pMatrices[iNode] * m_pModel->GetNode(iNode)->m_mGlobalInverse;
        for (int r = 0; r < nRows; ++r)
        {
            for (int c = 0; c < 4; ++c)
                pOut[bByRows ? 4 * r + c : nRows * c + r] = skin(r, c);
        }
        pOut += static_cast<size_t>(4) * nRows;
    }
    return true;
}

bool ModelInstance::Attach(ModelInstance* pOther, uint32_t iSocket, const Matrix4& offset)
{
    if (!m_pModel || iSocket >= m_pModel->NumSockets() || !pOther || pOther->m_pCarrier)
        return false;
    for (const ModelInstance* p = this; p; p = p->m_pCarrier)
    {
        if (p == pOther)
            return false;
    }
    pOther->m_pCarrier = this;
    pOther->m_pNextCarried = m_pFirstCarried;
    pOther->m_iSocket = iSocket;
    pOther->m_SocketOffset = offset;
    m_pFirstCarried = pOther;
    return true;
}

bool ModelInstance::Detach(ModelInstance* pOther)
{
    for (ModelInstance** pp = &m_pFirstCarried; *pp; pp = &(*pp)->m_pNextCarried)
    {
        if (*pp != pOther)
            continue;
        *pp = pOther->m_pNextCarried;
        pOther->m_pNextCarried = nullptr;
        pOther->m_pCarrier = nullptr;
        return true;
    }
    return false;
}
ZOLT_END_NAMESPACE
} // namespace zolt
