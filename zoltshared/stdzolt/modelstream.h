#pragma once

#include <cstdint>

#include "zoltshared/stdzolt/inlinenamespace.h"
#include "zoltshared/stdzolt/qzbool.h"

ZOLT_BEGIN_NAMESPACE

struct Quaternion;
struct Vector3;

// What the model code reads from and writes to. Results are 0 for success, non-zero for failure. A failed read zeroes
// its target and sets the error status, which is never reset: a caller may examine no single call and test
// `ErrorStatus` at the end.
class ModelStream
{
public:
    virtual ~ModelStream() = default;

    // Destroys the stream, and closes its file if it has one.
    virtual void Release() = 0;

    virtual int Read(void* pData, uint32_t size) = 0;

    // Reads what `WriteString` wrote into a buffer of `maxLen` bytes, terminated and cut to fit. The stream ends up
    // behind the whole string. With a `maxLen` of 0 the string is skipped. A length that can't be read gives the empty
    // text and 0: the error status tells.
    virtual int ReadString(char* pBuffer, uint32_t maxLen) = 0;

    // 0, or 1 after a failure.
    virtual int ErrorStatus() = 0;

    // From the start of the stream. A failure doesn't set the error status (but that of a `FileIOStream` does).
    virtual int SeekTo(uint32_t pos) = 0;
    virtual int GetPos(uint32_t* pPos) = 0;
    virtual int GetLen(uint32_t* pLen) = 0;

    // Copies `end` - `start` bytes from where the source stands (it isn't moved to `start`) to where this stream
    // stands. A `start` of 0xFFFFFFFF means 0, an `end` of 0xFFFFFFFF the length of the source.
    virtual int CopyFrom(ModelStream* pSource, uint32_t start, uint32_t end) = 0;

    // A failure need not set the error status.
    virtual int Write(const void* pData, uint32_t size) = 0;

    // A 16-bit count and the characters, without terminator. The length is cut to its lower 16 bits.
    virtual int WriteString(const char* pText) = 0;

    // Numbers are little-endian, a vector is x, y, z, a rotation x, y, z, w. A failed read gives 0.
    ModelStream& ReadU8(uint8_t& value);
    ModelStream& ReadU16(uint16_t& value);
    ModelStream& ReadU32(uint32_t& value);
    ModelStream& ReadI32(int32_t& value);
    ModelStream& ReadF32(float& value);
    ModelStream& ReadVector(Vector3& value);
    ModelStream& ReadRotation(Quaternion& value);

    ModelStream& WriteU8(uint8_t value);
    ModelStream& WriteU16(uint16_t value);
    ModelStream& WriteU32(uint32_t value);
    ModelStream& WriteI32(int32_t value);
    ModelStream& WriteF32(float value);
    ModelStream& WriteVector(const Vector3& value);
    ModelStream& WriteRotation(const Quaternion& value);

    uint32_t GetPosition();
    uint32_t GetLength();
};

ZOLT_END_NAMESPACE
