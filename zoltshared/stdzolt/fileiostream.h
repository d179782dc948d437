#pragma once

#include "zoltshared/stdzolt/basestream.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

class FileIOBase;

// A stream on a `FileIOBase`, which it doesn't own.
class FileIOStream : public BaseStream
{
public:
    explicit FileIOStream(FileIOBase* pFileIO) : m_pFileIO(pFileIO) {}

    void Release() override { delete this; }
    int Read(void* pData, uint32_t size) override;
    int ErrorStatus() override { return m_bError ? 1 : 0; }
    int SeekTo(uint32_t pos) override;
    int GetPos(uint32_t* pPos) override;
    int GetLen(uint32_t* pLen) override;
    int Write(const void* pData, uint32_t size) override;

private:
    FileIOBase* m_pFileIO;
    QZBOOL m_bError = QZFALSE;
};

// Null without memory; its end is Release, which leaves the file open.
ModelStream* CreateFileIOStream(FileIOBase* pFileIO);

ZOLT_END_NAMESPACE
