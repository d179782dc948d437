#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/memorystream.h"
#include "zoltshared/stdzolt/ownedstring.h"
#include "zoltshared/stdzolt/stdiostream.h"

ZOLT_BEGIN_NAMESPACE

// Writes a file so that either the old file or the whole new one is on disk, whatever happens on the way: what is
// written goes to a temporary file beside the target, and takes its place with `Commit`. `Release` without a `Commit`
// leaves the target as it was. A symbolic link is followed to its end; the target's permissions (and owner, where that
// is allowed) are kept.
class ReplaceFileStream : public StdioStream
{
public:
    ~ReplaceFileStream() override;

    int Read(void* pData, uint32_t size) override;
    int SeekTo(uint32_t pos) override;
    int GetPos(uint32_t* pPos) override;
    int GetLen(uint32_t* pLen) override;
    // What makes the file small is in memory until `Commit`, which may be the first to meet a full disk.
    int Write(const void* pData, uint32_t size) override;

    // Flushes, syncs and closes the file and puts it in the target's place: 0 on success. A failure, also that of any
    // write before, leaves the target untouched (not in direct mode). The stream is closed afterwards in either case.
    // What can't seek, a pipe for one, gets all its bytes here.
    int Commit();

    // True if the target itself is being written, because it isn't a regular file, or because nothing can be put in
    // its place from the folder that it is in.
    bool IsDirect() const { return m_bDirect; }

    // Whether what was written can be read back, after a seek, before it takes the target's place. Behind another seek
    // the writing goes on.
    bool CanReadBack() const { return m_bCanReadBack; }

private:
    friend ReplaceFileStream* OpenReplaceFileStream(const char* pFilename);

    ReplaceFileStream();
    bool Open(const char* pFilename);
    bool OpenDirect(const char* pFilename, bool bIsRegular = false);
    bool CloseSynced();
    bool IsStaged() const { return m_pFile && m_bStaged; }
    bool Unstage();
    bool SendToPipe();
    bool PutInPlace();
    void Discard();
    static void RemoveFile(const char* pFilename);

    MemoryStream m_Staged; // all that was written, while `m_bStaged`; nothing of it is in the file then
    bool m_bStaged = true;
    OwnedString m_Target;    // the end of all links
    OwnedString m_Temporary; // empty in direct mode, and once the file is gone
    FILE* m_pPipe = nullptr; // a target that can't seek, while m_pFile is a file without a name
    bool m_bDirect = false;
    bool m_bCanReadBack = false;
};

// Null wherever `fopen` with "wb" would fail: the target can't be written, is a folder, or its folder isn't there. The
// target isn't touched by the open, unless it has to be written directly.
ReplaceFileStream* OpenReplaceFileStream(const char* pFilename);

ZOLT_END_NAMESPACE
