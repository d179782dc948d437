#include "zoltshared/stdzolt/replacefilestream.h"

#include <new>

ZOLT_BEGIN_NAMESPACE

// What doesn't depend on the platform; the rest is in replacefilestream_posix.cpp and replacefilestream_win32.cpp.

// A writer goes back to the links of its sections, and the proof reads all over the file; each of these steps is one or
// two calls of the system where the file isn't in memory.
static constexpr uint32_t MAX_STAGED = 256U << 10;
static constexpr uint32_t STAGED_STEP = 64U << 10;

ReplaceFileStream::ReplaceFileStream() : m_Staged(STAGED_STEP) {}

ReplaceFileStream::~ReplaceFileStream()
{
    Discard();
}

// Writes to the file what is in memory, and goes on there.
bool ReplaceFileStream::Unstage()
{
    if (!IsStaged())
        return m_pFile != nullptr;
    m_bStaged = false;
    DynArray<uint8_t, DefaultCache>& bytes = m_Staged.m_Data;
    const uint32_t position = m_Staged.GetPosition();
    const bool bDone = StdioStream::Write(bytes.GetArray(), bytes.GetSize()) == 0 &&
                       (position == bytes.GetSize() || StdioStream::SeekTo(position) == 0);
    bytes.SetSize(0);
    if (!bDone)
        m_bError = QZTRUE;
    return bDone;
}

int ReplaceFileStream::Write(const void* pData, uint32_t size)
{
    if (!IsStaged())
        return StdioStream::Write(pData, size);
    const uint64_t end = uint64_t{m_Staged.GetPosition()} + size;
    if (end <= MAX_STAGED && m_Staged.Write(pData, size) == 0)
        return 0;
    return Unstage() ? StdioStream::Write(pData, size) : 1;
}

int ReplaceFileStream::Read(void* pData, uint32_t size)
{
    if (!m_bCanReadBack)
        Unstage();
    if (!IsStaged())
        return StdioStream::Read(pData, size);
    if (m_Staged.Read(pData, size) == 0)
        return 0;
    m_bError = QZTRUE;
    return 1;
}

int ReplaceFileStream::SeekTo(uint32_t pos)
{
    if (IsStaged() && m_Staged.SeekTo(pos) == 0)
        return 0;
    Unstage();
    return StdioStream::SeekTo(pos);
}

int ReplaceFileStream::GetPos(uint32_t* pPos)
{
    return IsStaged() ? m_Staged.GetPos(pPos) : StdioStream::GetPos(pPos);
}

int ReplaceFileStream::GetLen(uint32_t* pLen)
{
    return IsStaged() ? m_Staged.GetLen(pLen) : StdioStream::GetLen(pLen);
}

bool ReplaceFileStream::OpenDirect(const char* pFilename, bool bIsRegular)
{
    m_bDirect = true;
    m_pFile = bIsRegular ? std::fopen(pFilename, "w+b") : nullptr;
    m_bCanReadBack = m_pFile != nullptr;
    // Who may write it needn't be allowed to read it.
    if (!m_pFile)
        m_pFile = std::fopen(pFilename, "wb");
    if (!m_pFile || std::fseek(m_pFile, 0, SEEK_CUR) == 0)
        return m_pFile != nullptr;
    m_pPipe = m_pFile;
    m_pFile = std::tmpfile();
    return m_pFile != nullptr;
}

bool ReplaceFileStream::SendToPipe()
{
    if (!m_pPipe)
        return true;
    bool bDone = !m_bError && std::fflush(m_pFile) == 0 && std::fseek(m_pFile, 0, SEEK_SET) == 0;
    char bytes[16384];
    for (size_t size = 1; bDone && size != 0;)
    {
        size = std::fread(bytes, 1, sizeof(bytes), m_pFile);
        bDone = !std::ferror(m_pFile) && std::fwrite(bytes, 1, size, m_pPipe) == size;
    }
    bDone = std::fclose(m_pPipe) == 0 && bDone;
    m_pPipe = nullptr;
    return bDone;
}

int ReplaceFileStream::Commit()
{
    if (!m_pFile)
        return 1;
    bool bDone = Unstage();
    bDone = SendToPipe() && bDone;
    bDone = CloseSynced() && bDone;
    if (bDone && !m_bDirect)
    {
        bDone = PutInPlace();
        if (bDone)
            m_Temporary.Clear();
    }
    Discard();
    return bDone ? 0 : 1;
}

void ReplaceFileStream::Discard()
{
    if (m_pFile)
        std::fclose(m_pFile);
    m_pFile = nullptr;
    if (m_pPipe)
        std::fclose(m_pPipe);
    m_pPipe = nullptr;
    if (*m_Temporary.GetString())
        RemoveFile(m_Temporary.GetString());
    m_Temporary.Clear();
}

ReplaceFileStream* OpenReplaceFileStream(const char* pFilename)
{
    ReplaceFileStream* pStream = new (std::nothrow) ReplaceFileStream;
    if (pStream && !pStream->Open(pFilename))
    {
        pStream->Release();
        return nullptr;
    }
    return pStream;
}

ZOLT_END_NAMESPACE
