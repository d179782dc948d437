#include "engine/model/src/nodekeyframe.h"

#include "zoltshared/stdzolt/littleendian.h"
#include "zoltshared/stdzolt/modelstream.h"

#include <bit>

ZOLT_BEGIN_NAMESPACE

void NodeKeyFrame::SetIdentity()
{
    m_vTranslation.Set(0.0f, 0.0f, 0.0f);
    m_qRotation = Quaternion(0.0f, 0.0f, 0.0f, 1.0f);
}

constexpr uint32_t KEY_FLOATS = 7;
static_assert(sizeof(NodeKeyFrame) == KEY_FLOATS * sizeof(float)); // in memory as in a file, but for the order of bytes

void NodeKeyFrame::LoadKeys(ModelStream* pStream, NodeKeyFrame* pKeys, uint32_t nKeys)
{
    if (nKeys == 0)
        return;
    pStream->Read(pKeys, nKeys * static_cast<uint32_t>(sizeof(NodeKeyFrame)));
    if constexpr (std::endian::native != std::endian::little)
        GetFloats(reinterpret_cast<const uint8_t*>(pKeys), pKeys, size_t{KEY_FLOATS} * nKeys);
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
        uint8_t bytes[sizeof(NodeKeyFrame)];
        PutFloats(bytes, pKeys + i, KEY_FLOATS);
        pStream->Write(bytes, sizeof(bytes));
    }
}

ZOLT_END_NAMESPACE
