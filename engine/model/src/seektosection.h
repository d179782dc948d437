#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE

class ModelStream;

// A section of a model file: its name as a string, the offset of the next section as 32 bits, the body.
constexpr uint32_t SECTION_CHAIN_END = 0xFFFFFFFFu;
// Sections visited while looking for one, the one that is found included.
constexpr uint32_t MAX_SECTIONS = 512;

// Walks the chain from offset 0 and leaves the stream at the first byte of the section's body.
QZBOOL SeekToSection(ModelStream* pStream, const char* pName);

ZOLT_END_NAMESPACE
