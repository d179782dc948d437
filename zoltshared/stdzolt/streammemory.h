#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class ModelStream;

// For a stream that lies in memory as a whole (`MemoryStream`, `FixedMemoryStream`, `MappedStream`): the bytes from
// where it stands to its end. They stay until the stream is written to or ends. False for any other stream, and for one
// of a class that is derived from these, which may have its own way to read.
bool FindStreamMemory(ModelStream* pStream, const uint8_t** ppData, uint32_t* pSize);

ZOLT_END_NAMESPACE
