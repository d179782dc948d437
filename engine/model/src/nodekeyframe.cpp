#include "engine/model/src/nodekeyframe.h"

#include "zoltshared/stdzolt/modelstream.h"

#include <algorithm>
#include <bit>

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

static_assert(sizeof(NodeKeyFrame) == 28); // in memory as in a file, but for the order of a float's bytes

static void ReverseFloats(NodeKeyFrame* pKeys, uint32_t nKeys)
{
    uint8_t* pBytes = reinterpret_cast<uint8_t*>(pKeys);
    for (uint8_t* pEnd = pBytes + sizeof(NodeKeyFrame) * nKeys; pBytes != pEnd; pBytes += sizeof(float))
        std::reverse(pBytes, pBytes + sizeof(float));
}

void NodeKeyFrame::LoadKeys(ModelStream* pStream, NodeKeyFrame* pKeys, uint32_t nKeys)
{
    if (nKeys == 0)
        return;
    pStream->Read(pKeys, nKeys * static_cast<uint32_t>(sizeof(NodeKeyFrame)));
    if constexpr (std::endian::native != std::endian::little)
        ReverseFloats(pKeys, nKeys);
}

void NodeKeyFrame::SaveKeys(ModelStream* pStream, const NodeKeyFrame* pKeys, uint32_t nKeys)
{
    if (nKeys == 0)
        return;
    if constexpr (std::endian::native == std::endian::little)
    {
        pStream->Write(pKeys, nKeys * static_cast<uint32_t>(sizeof(NodeKeyFrame)));
        return;
    }
    for (uint32_t i = 0; i < nKeys; ++i)
    {
        NodeKeyFrame key = pKeys[i];
        ReverseFloats(&key, 1);
        pStream->Write(&key, sizeof(key));
    }
}
