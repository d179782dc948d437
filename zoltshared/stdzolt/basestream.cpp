#include "zoltshared/stdzolt/basestream.h"

#include <algorithm>
#include <cstring>

ZOLT_BEGIN_NAMESPACE

// In pieces, and no further than to a failed read: a damaged file announces long texts beyond its end.
static void Skip(ModelStream& stream, uint32_t count)
{
    uint8_t dropped[256];
    while (count > 0)
    {
        const uint32_t chunk = std::min<uint32_t>(count, sizeof(dropped));
        if (stream.Read(dropped, chunk) != 0)
            return;
        count -= chunk;
    }
}

int BaseStream::ReadString(char* pBuffer, uint32_t maxLen)
{
    uint16_t length;
    ReadU16(length);
    if (maxLen == 0)
    {
        Skip(*this, length);
        return 0;
    }
    if (length == 0)
    {
        pBuffer[0] = 0;
        return 0;
    }
    const uint32_t kept = std::min<uint32_t>(length, maxLen - 1);
    const int result = Read(pBuffer, kept);
    pBuffer[kept] = 0;
    Skip(*this, length - kept);
    return result;
}

int BaseStream::CopyFrom(ModelStream* pSource, uint32_t start, uint32_t end)
{
    if (start == 0xFFFFFFFF)
        start = 0;
    if (end == 0xFFFFFFFF)
        end = pSource->GetLength();
    if (end < start)
        return 1;
    char buffer[512];
    for (uint32_t left = end - start; left > 0;)
    {
        const uint32_t chunk = std::min<uint32_t>(left, sizeof(buffer));
        if (pSource->Read(buffer, chunk) != 0 || Write(buffer, chunk) != 0)
            return 1;
        left -= chunk;
    }
    return pSource->ErrorStatus() || ErrorStatus() ? 1 : 0;
}

int BaseStream::WriteString(const char* pText)
{
    const uint16_t length = static_cast<uint16_t>(std::strlen(pText));
    uint8_t bytes[2] = {static_cast<uint8_t>(length), static_cast<uint8_t>(length >> 8)};
    const int result = Write(bytes, sizeof(bytes));
    return length == 0 ? result : Write(pText, length);
}

ZOLT_END_NAMESPACE
