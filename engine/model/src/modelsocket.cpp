#include "engine/model/src/modelsocket.h"

#include "zoltshared/stdzolt/safestrcopy.h"

ZOLT_BEGIN_NAMESPACE

ModelSocket::ModelSocket()
{
    SetIdentity();
}

void ModelSocket::SetName(const char* pName)
{
    SafeStrCopy(m_Name, pName, sizeof(m_Name));
}

void ModelSocket::SetIdentity()
{
    m_vPos.Set(0.0f, 0.0f, 0.0f);
    m_qRotation = Quaternion(0.0f, 0.0f, 0.0f, 1.0f);
}

void ModelSocket::ToMatrix(Matrix4& out) const
{
    m_qRotation.ToMatrix(out);
    out.SetTranslation(m_vPos.x, m_vPos.y, m_vPos.z);
}

void ModelSocket::FromMatrix(const Matrix4& in)
{
    m_qRotation.FromMatrix(in);
    in.GetTranslation(m_vPos);
}

ZOLT_END_NAMESPACE
