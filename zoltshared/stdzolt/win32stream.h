#pragma once

#ifdef _WIN32

#include "zoltshared/stdzolt/basestream.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// A stream on a Win32 file handle, which it owns.
class Win32Stream : public BaseStream
{
public:
    Win32Stream();
    ~Win32Stream() override;

    // Takes the handle over.
    void SetFile(void* hFile) { m_hFile = hFile; }

    void Release() override { delete this; }
    int Read(void* pData, uint32_t size) override;
    int ErrorStatus() override { return m_bError ? 1 : 0; }
    int SeekTo(uint32_t pos) override;
    int GetPos(uint32_t* pPos) override;
    int GetLen(uint32_t* pLen) override;
    int Write(const void* pData, uint32_t size) override;

private:
    void* m_hFile;
    QZBOOL m_bError = QZFALSE;
};

// Opens a file, or makes it if it isn't there; null if that fails. The access is that of CreateFileA.
ModelStream* OpenWin32Stream(const char* pFilename, unsigned access);

ZOLT_END_NAMESPACE

#endif
