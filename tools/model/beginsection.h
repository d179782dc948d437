#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <cstdint>

ZOLT_BEGIN_NAMESPACE
class ModelStream;
ZOLT_END_NAMESPACE

constexpr uint32_t NO_PREVIOUS_SECTION = 0xFFFFFFFFu;

// Closes the section before, whose link field is at iPrevLink, and begins a new one. Returns the offset of the new
// section's link field, to pass on to the following call. The stream must be able to seek back.
uint32_t BeginSection(ModelStream* pStream, const char* pName, uint32_t iPrevLink);
