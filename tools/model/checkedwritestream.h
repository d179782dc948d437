#pragma once

#include "zoltshared/stdzolt/basestream.h"

// Another stream, with an error status that also a failed write, seek or look for the place sets, and keeps: not every
// stream does that itself (a memory stream without memory doesn't). The other stream isn't owned and must stay.
class CheckedWriteStream : public BaseStream
{
public:
    explicit CheckedWriteStream(ModelStream* pStream) : m_pStream(pStream) {}

    void Release() override {}
    int Read(void* pData, uint32_t size) override { return m_pStream->Read(pData, size); }
    int ErrorStatus() override { return m_bFailed || m_pStream->ErrorStatus() != 0 ? 1 : 0; }
    int SeekTo(uint32_t pos) override { return Keep(m_pStream->SeekTo(pos)); }
    int GetPos(uint32_t* pPos) override { return Keep(m_pStream->GetPos(pPos)); }
    int GetLen(uint32_t* pLen) override { return m_pStream->GetLen(pLen); }
    int Write(const void* pData, uint32_t size) override { return Keep(m_pStream->Write(pData, size)); }

private:
    int Keep(int result)
    {
        m_bFailed = m_bFailed || result != 0;
        return result;
    }

    ModelStream* m_pStream;
    bool m_bFailed = false;
};
