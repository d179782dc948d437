#pragma once

#include "zoltshared/stdzolt/basestream.h"
#include "zoltshared/stdzolt/dynarray.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// A stream on memory of its own that grows on writing. Reading and seeking stop at its end.
class MemoryStream : public BaseStream
{
public:
    explicit MemoryStream(uint32_t cacheSize) : m_Data(cacheSize) {}

    void Release() override { delete this; }
    int Read(void* pData, uint32_t size) override;
    int ErrorStatus() override { return m_bError ? 1 : 0; }
    int SeekTo(uint32_t pos) override;
    int GetPos(uint32_t* pPos) override;
    int GetLen(uint32_t* pLen) override;

    // Takes the spare bytes of the cache size whenever it grows, or half of what it holds where that is more: a stream
    // much larger than its cache isn't copied over and over. Lack of memory is a failure that doesn't set the error
    // status.
    int Write(const void* pData, uint32_t size) override;

    // For an empty stream: takes memory for so many bytes at once, so that it needn't grow step by step. Only a hint;
    // without memory nothing changes.
    void Reserve(uint32_t size);

    DynArray<uint8_t, DefaultCache> m_Data;

private:
    QZBOOL Grow(uint32_t size);

    uint32_t m_Pos = 0;
    QZBOOL m_bError = QZFALSE;
};

// An empty stream that takes at least `cacheSize` bytes more than it needs whenever it grows; null without memory.
MemoryStream* CreateMemoryStream(uint32_t cacheSize);

// A stream that holds the whole file and stands at its start; null if the file can't be read.
ModelStream* LoadFileToMemoryStream(const char* pFilename);

ZOLT_END_NAMESPACE
