#pragma once

#include "zoltshared/stdzolt/basestream.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// A stream on a caller's memory, which must outlive it and doesn't grow.
class FixedMemoryStream : public BaseStream
{
public:
    FixedMemoryStream(void* pData, uint32_t size) : m_pData(static_cast<uint8_t*>(pData)), m_Size(size) {}

    void Release() override { delete this; }
    int Read(void* pData, uint32_t size) override;
    int ErrorStatus() override { return m_bError ? 1 : 0; }
    int SeekTo(uint32_t pos) override;
    int GetPos(uint32_t* pPos) override;
    int GetLen(uint32_t* pLen) override;

    // What doesn't fit is refused whole, without setting the error status.
    int Write(const void* pData, uint32_t size) override;

    const uint8_t* GetData() const { return m_pData; }

protected:
    uint8_t* m_pData;
    uint32_t m_Pos = 0;
    uint32_t m_Size;
    QZBOOL m_bError = QZFALSE;
};

// Null without memory; its end is Release.
ModelStream* CreateFixedMemoryStream(void* pData, uint32_t size);

ZOLT_END_NAMESPACE
