#include "engine/model/src/nodekeyframe.h"

#include "zoltshared/stdzolt/modelstream.h"

#include <bit>

constexpr uint32_t KEY_FLOATS = 7;

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

void NodeKeyFrame::Load(ModelStream* pStream)
{
    uint8_t bytes[4 * KEY_FLOATS] = {};
    pStream->Read(bytes, sizeof(bytes));
    float values[KEY_FLOATS];
    for (uint32_t i = 0; i < KEY_FLOATS; ++i)
    {
        const uint8_t* p = bytes + size_t(4) * i;
        values[i] =
            std::bit_cast<float>(uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24);
    }
    m_vTranslation.Set(values[0], values[1], values[2]);
    m_qRotation = Quaternion(values[3], values[4], values[5], values[6]);
}

void NodeKeyFrame::Save(ModelStream* pStream) const
{
    const float values[KEY_FLOATS] = {m_vTranslation.x, m_vTranslation.y, m_vTranslation.z, m_qRotation.x,
                                      m_qRotation.y,    m_qRotation.z,    m_qRotation.w};
    uint8_t bytes[4 * KEY_FLOATS];
    for (uint32_t i = 0; i < sizeof(bytes); ++i)
        bytes[i] = static_cast<uint8_t>(std::bit_cast<uint32_t>(values[i / 4]) >> (8 * (i % 4)));
    pStream->Write(bytes, sizeof(bytes));
}
