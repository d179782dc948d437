#pragma once

#include "zoltshared/stdzolt/inlinenamespace.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

ZOLT_BEGIN_NAMESPACE

// Numbers as the bytes of a file, on a machine of any byte order. Compilers make single loads and stores of these.

inline uint16_t GetU16(const uint8_t* p)
{
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}

inline uint32_t GetU32(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

inline float GetF32(const uint8_t* p)
{
    return std::bit_cast<float>(GetU32(p));
}

inline void PutU16(uint8_t* p, uint16_t value)
{
    p[0] = static_cast<uint8_t>(value);
    p[1] = static_cast<uint8_t>(value >> 8);
}

inline void PutU32(uint8_t* p, uint32_t value)
{
    p[0] = static_cast<uint8_t>(value);
    p[1] = static_cast<uint8_t>(value >> 8);
    p[2] = static_cast<uint8_t>(value >> 16);
    p[3] = static_cast<uint8_t>(value >> 24);
}

inline void PutF32(uint8_t* p, float value)
{
    PutU32(p, std::bit_cast<uint32_t>(value));
}

// Floats in a row, such as those of a vector. They don't overlap, but where there is something to convert that can be
// done in place.
inline void GetFloats(const uint8_t* p, void* pValues, size_t nValues)
{
    if constexpr (std::endian::native == std::endian::little)
    {
        std::memcpy(pValues, p, sizeof(float) * nValues);
        return;
    }
    for (size_t i = 0; i < nValues; ++i)
    {
        const float value = GetF32(p + sizeof(float) * i);
        std::memcpy(static_cast<uint8_t*>(pValues) + sizeof(float) * i, &value, sizeof(float));
    }
}

inline void PutFloats(uint8_t* p, const void* pValues, size_t nValues)
{
    if constexpr (std::endian::native == std::endian::little)
    {
        std::memcpy(p, pValues, sizeof(float) * nValues);
        return;
    }
    for (size_t i = 0; i < nValues; ++i)
    {
        float value;
        std::memcpy(&value, static_cast<const uint8_t*>(pValues) + sizeof(float) * i, sizeof(float));
        PutF32(p + sizeof(float) * i, value);
    }
}

ZOLT_END_NAMESPACE
