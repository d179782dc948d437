#include "zoltshared/stdzolt/blockwriter.h"

#include <cstring>

#include "zoltshared/stdzolt/littleendian.h"
#include "zoltshared/stdzolt/modelstream.h"

ZOLT_BEGIN_NAMESPACE

void BlockWriter::PutString(const char* pText)
{
    const uint16_t length = static_cast<uint16_t>(std::strlen(pText));
    PutU16(Put(sizeof(length)), length);
    if (length > BUFFER_SIZE - m_nUsed)
        Flush();
    if (length > BUFFER_SIZE)
    {
        m_pStream->Write(pText, length);
        return;
    }
    std::memcpy(m_Buffer + m_nUsed, pText, length);
    m_nUsed += length;
}

void BlockWriter::Flush()
{
    if (m_nUsed != 0)
        m_pStream->Write(m_Buffer, m_nUsed);
    m_nUsed = 0;
}

ZOLT_END_NAMESPACE
