#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/modelstream.h"

ZOLT_BEGIN_NAMESPACE

// The operations that every stream builds on the others in the same way.
class BaseStream : public ModelStream
{
public:
    BaseStream() = default;
    BaseStream(const BaseStream&) = delete;
    BaseStream& operator=(const BaseStream&) = delete;

    int ReadString(char* pBuffer, uint32_t maxLen) override;
    int CopyFrom(ModelStream* pSource, uint32_t start, uint32_t end) override;
    int WriteString(const char* pText) override;
};

ZOLT_END_NAMESPACE
