#include "zoltshared/stdzolt/modelstream.h"

#include <bit>

#include "zoltshared/stdzolt/littleendian.h"
#include "zoltshared/stdzolt/quaternion.h"
#include "zoltshared/stdzolt/vector3.h"

ZOLT_BEGIN_NAMESPACE

ModelStream& ModelStream::ReadU8(uint8_t& value)
{
    value = 0;
    Read(&value, sizeof(value));
    return *this;
}

ModelStream& ModelStream::ReadU16(uint16_t& value)
{
    uint8_t bytes[2] = {};
    Read(bytes, sizeof(bytes));
    value = GetU16(bytes);
    return *this;
}

ModelStream& ModelStream::ReadU32(uint32_t& value)
{
    uint8_t bytes[4] = {};
    Read(bytes, sizeof(bytes));
    value = GetU32(bytes);
    return *this;
}

ModelStream& ModelStream::ReadI32(int32_t& value)
{
    uint32_t bits;
    ReadU32(bits);
    value = static_cast<int32_t>(bits);
    return *this;
}

ModelStream& ModelStream::ReadF32(float& value)
{
    uint32_t bits;
    ReadU32(bits);
    value = std::bit_cast<float>(bits);
    return *this;
}

ModelStream& ModelStream::ReadVector(Vector3& value)
{
    return ReadF32(value.x).ReadF32(value.y).ReadF32(value.z);
}

ModelStream& ModelStream::ReadRotation(Quaternion& value)
{
    return ReadF32(value.x).ReadF32(value.y).ReadF32(value.z).ReadF32(value.w);
}

ModelStream& ModelStream::WriteU8(uint8_t value)
{
    Write(&value, sizeof(value));
    return *this;
}

ModelStream& ModelStream::WriteU16(uint16_t value)
{
    uint8_t bytes[2];
    PutU16(bytes, value);
    Write(bytes, sizeof(bytes));
    return *this;
}

ModelStream& ModelStream::WriteU32(uint32_t value)
{
    uint8_t bytes[4];
    PutU32(bytes, value);
    Write(bytes, sizeof(bytes));
    return *this;
}

ModelStream& ModelStream::WriteI32(int32_t value)
{
    return WriteU32(static_cast<uint32_t>(value));
}

ModelStream& ModelStream::WriteF32(float value)
{
    return WriteU32(std::bit_cast<uint32_t>(value));
}

ModelStream& ModelStream::WriteVector(const Vector3& value)
{
    return WriteF32(value.x).WriteF32(value.y).WriteF32(value.z);
}

ModelStream& ModelStream::WriteRotation(const Quaternion& value)
{
    return WriteF32(value.x).WriteF32(value.y).WriteF32(value.z).WriteF32(value.w);
}

uint32_t ModelStream::GetPosition()
{
    uint32_t pos = 0;
    GetPos(&pos);
    return pos;
}

uint32_t ModelStream::GetLength()
{
    uint32_t length = 0;
    GetLen(&length);
    return length;
}

ZOLT_END_NAMESPACE
