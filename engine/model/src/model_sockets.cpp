// Sockets of a model.

#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/assertion.h"

ZOLT_BEGIN_NAMESPACE

QZBOOL Model::AddSocket(ModelSocket* pSocket)
{
    return ZOLT_ASSERT(pSocket, "pSocket") && m_Sockets.Append(pSocket, GetGrowAllocator());
}

QZBOOL Model::RemoveSocket(uint32_t index)
{
    if (index >= NumSockets())
        return QZFALSE;
    FreeObject(*m_pAllocator, m_Sockets[index]);
    m_Sockets.Remove(index, GetGrowAllocator());
    return QZTRUE;
}

QZBOOL Model::GetCurrentSocketTransform(ModelSocket* pSocket, Matrix4* pOut)
{
    if (!ZOLT_ASSERT(pSocket && pOut, "pSocket && pOut") || pSocket->m_iNode >= NumNodes())
        return QZFALSE;
    Matrix4 socket;
    pSocket->ToMatrix(socket);
    *pOut = m_Transforms[pSocket->m_iNode] * socket;
    return QZTRUE;
}

QZBOOL Model::GetSocketTransform(TransformMaker* pMaker, uint32_t iSocket, Matrix4* pOutTransform)
{
    if (!ZOLT_ASSERT(pMaker && pOutTransform, "pOutTransform") || iSocket >= NumSockets())
        return QZFALSE;
    ModelSocket* pSocket = m_Sockets[iSocket];
    if (pSocket->m_iNode >= NumNodes())
        return QZFALSE;
    if (pMaker->m_nAnims == 0 || pMaker->m_Anims[0].m_pModel != this)
        return QZFALSE;
    pMaker->m_pOutput = nullptr;
    if (!pMaker->SetupNodePath(pSocket->m_iNode))
        return QZFALSE;
    return GetCurrentSocketTransform(pSocket, pOutTransform);
}

QZBOOL Model::GetSocketTransform(AnimTracker* pTime, uint32_t iSocket, Matrix4* pBaseTransform, Matrix4* pOutTransform)
{
    if (!ZOLT_ASSERT(pTime && pBaseTransform && pOutTransform, "pTime && pBaseTransform && pOutTransform"))
        return QZFALSE;
    TransformMaker maker;
    maker.m_Anims[0] = *pTime;
    maker.m_nAnims = 1;
    maker.m_pStartMat = pBaseTransform;
    return GetSocketTransform(&maker, iSocket, pOutTransform);
}

ZOLT_END_NAMESPACE
