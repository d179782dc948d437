#pragma once

#include "zoltshared/stdzolt/fixedmemorystream.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE

// A file that the system has mapped into memory, to read. Nothing of it is copied but what is read; a load takes its
// records from the file's pages themselves. The file must not be made shorter meanwhile (putting another one in its
// place is fine): reading what is gone ends the process.
class MappedStream : public FixedMemoryStream
{
public:
    // Takes the mapping over; null for an empty file.
    MappedStream(void* pView, uint32_t size) : FixedMemoryStream(pView, size) {}
    ~MappedStream() override;

    // Refused, and remembered in the error status.
    int Write(const void* pData, uint32_t size) override;
};

// Null if the file can't be opened or mapped: only a regular file of less than 4 GiB can. A new mapping stands at the
// file's start.
ModelStream* OpenMappedStream(const char* pFilename);

ZOLT_END_NAMESPACE
