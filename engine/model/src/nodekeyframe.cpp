#include "engine/model/src/nodekeyframe.h"

void NodeKeyFrame::SetIdentity()
{
    m_vTranslation.Set(0.0f, 0.0f, 0.0f);
    m_qRotation = Quaternion(0.0f, 0.0f, 0.0f, 1.0f);
}

void NodeKeyFrame::ToMatrix(Matrix4& out) const
{
    m_qRotation.ToMatrix(out);
    out.SetTranslation(m_vTranslation.x, m_vTranslation.y, m_vTranslation.z);
}

void NodeKeyFrame::FromMatrix(const Matrix4& in)
{
    m_qRotation.FromMatrix(in);
    in.GetTranslation(m_vTranslation);
}
