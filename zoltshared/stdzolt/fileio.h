#pragma once

#include <cstdint>
#include <cstdio>

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

// A file as a table of operations. Results are true for success. While `m_bThrowOnError` is set (it is from the
// start), a failed Read, Write or Seek of
// `FileIO` throws a `CZoltIOException` instead.
class FileIOBase
{
public:
    virtual QZBOOL Open(const char* pFilename, const char* pMode);
    virtual void Close() {}
    virtual QZBOOL Write(const void* pData, uint32_t size) = 0;
    virtual QZBOOL Read(void* pData, uint32_t size) = 0;
    virtual uint32_t GetCurPos() = 0;
    virtual uint32_t GetFileLen() = 0;
    virtual QZBOOL Seek(uint32_t pos) = 0;

    void SetThrowOnError(QZBOOL bThrow) { m_bThrowOnError = bThrow; }
    QZBOOL GetThrowOnError() const { return m_bThrowOnError; }

    // The length as 16 bits, little-endian, then the characters without terminator.
    QZBOOL WriteText(const char* pText);

    // Reads what `WriteText` wrote. A text that doesn't fit is refused, and the file then stands behind its length.
    QZBOOL ReadText(char* pBuffer, uint32_t maxLen);

    // Reads up to and including a CR LF, in whose place a terminator is stored, or up to the smaller of `maxLen` and
    // 4096 bytes; a line that fills all of these has no terminator. Stops at the first byte that can't be read. Always
    // true.
    QZBOOL ReadLine(char* pBuffer, uint32_t maxLen);

protected:
    FileIOBase() = default;
    ~FileIOBase() = default;

    QZBOOL m_bThrowOnError = QZTRUE;
};

// A file of the standard library, or a window of one: positions are relative to the window's start.
class FileIO : public FileIOBase
{
public:
    FileIO() = default;
    ~FileIO() { CloseFile(); }
    FileIO(const FileIO&) = delete;
    FileIO& operator=(const FileIO&) = delete;

    QZBOOL Open(const char* pFilename, const char* pMode) override;
    void Close() override { CloseFile(); }
    QZBOOL Write(const void* pData, uint32_t size) override;
    QZBOOL Read(void* pData, uint32_t size) override;
    uint32_t GetCurPos() override;
    uint32_t GetFileLen() override { return m_BoundsMax - m_BoundsMin; }
    QZBOOL Seek(uint32_t pos) override;

    QZBOOL IsOpen() const { return m_pFile ? QZTRUE : QZFALSE; }

    // Shows the bytes from `min` up to `max` only, counted from the start of the file, and goes to `min`. What is held
    // against the length of the file is the length of an earlier window, if one was set since `Open`.
    void SetBoundaries(uint32_t min, uint32_t max);

private:
    void CloseFile();
    void OnError(int type) const;

    FILE* m_pFile = nullptr;
    uint32_t m_BoundsMin = 0;
    uint32_t m_BoundsMax = 0;
    uint32_t m_FileLen = 0;
};

ZOLT_END_NAMESPACE
