#include "zoltshared/stdzolt/modelstream.h"

#include <bit>

#include "zoltshared/stdzolt/quaternion.h"
#include "zoltshared/stdzolt/vector3.h"

template <class T> static T ReadNumber(ModelStream& stream)
{
    uint8_t bytes[sizeof(T)] = {};
    stream.Read(bytes, static_cast<uint32_t>(sizeof(T)));
    uint32_t value = 0;
    for (size_t i = 0; i < sizeof(T); i++)
        value |= uint32_t(bytes[i]) << (8 * i);
    return static_cast<T>(value);
}

template <class T> static void WriteNumber(ModelStream& stream, T value)
{
    uint8_t bytes[sizeof(T)];
    for (size_t i = 0; i < sizeof(T); i++)
        bytes[i] = static_cast<uint8_t>(value >> (8 * i));
    stream.Write(bytes, static_cast<uint32_t>(sizeof(T)));
}

ModelStream& ModelStream::ReadU8(uint8_t& value)
{
    value = ReadNumber<uint8_t>(*this);
    return *this;
}

ModelStream& ModelStream::ReadU16(uint16_t& value)
{
    value = ReadNumber<uint16_t>(*this);
    return *this;
}

ModelStream& ModelStream::ReadU32(uint32_t& value)
{
    value = ReadNumber<uint32_t>(*this);
    return *this;
}

ModelStream& ModelStream::ReadI32(int32_t& value)
{
    value = static_cast<int32_t>(ReadNumber<uint32_t>(*this));
    return *this;
}

ModelStream& ModelStream::ReadF32(float& value)
{
    value = std::bit_cast<float>(ReadNumber<uint32_t>(*this));
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
    WriteNumber(*this, value);
    return *this;
}

ModelStream& ModelStream::WriteU16(uint16_t value)
{
    WriteNumber(*this, value);
    return *this;
}

ModelStream& ModelStream::WriteU32(uint32_t value)
{
    WriteNumber(*this, value);
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
