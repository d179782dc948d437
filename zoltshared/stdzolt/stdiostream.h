#pragma once

#include <cstdio>

#include "zoltshared/stdzolt/basestream.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// A stream on a file of the standard library, which it owns.
class StdioStream : public BaseStream
{
public:
    StdioStream() = default;
    ~StdioStream() override;

    // Takes the file over.
    void SetFile(FILE* pFile) { m_pFile = pFile; }

    void Release() override { delete this; }
    int Read(void* pData, uint32_t size) override;
    int ErrorStatus() override { return m_bError ? 1 : 0; }
    int SeekTo(uint32_t pos) override;
    int GetPos(uint32_t* pPos) override;
    int GetLen(uint32_t* pLen) override;
    int Write(const void* pData, uint32_t size) override;

protected:
    friend ModelStream* OpenStdioStream(const char* pFilename, const char* pMode);

    void BufferMore();

    FILE* m_pFile = nullptr;
    char* m_pBuffer = nullptr; // of the file, if it isn't the library's
    QZBOOL m_bError = QZFALSE;
};

// `fopen` with that mode; null if the file can't be opened. errno tells why, ENOMEM if there was no memory.
ModelStream* OpenStdioStream(const char* pFilename, const char* pMode);

ZOLT_END_NAMESPACE
