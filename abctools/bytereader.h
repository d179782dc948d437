#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

// Reads little-endian values out of a file's bytes. Past their end everything is 0 and `Failed` is true from then on.
class ByteReader
{
public:
    explicit ByteReader(std::span<const uint8_t> bytes) : m_Bytes(bytes) {}

    uint8_t U8() { return static_cast<uint8_t>(Value(1)); }
    uint16_t U16() { return static_cast<uint16_t>(Value(2)); }
    uint32_t U32() { return Value(4); }
    float F32() { return std::bit_cast<float>(U32()); }

    // Floats in a row.
    void Floats(float* pValues, int n)
    {
        for (int i = 0; i < n; ++i)
            pValues[i] = F32();
    }

    std::string String()
    {
        const uint16_t length = U16();
        if (!Take(length))
            return {};
        return std::string(reinterpret_cast<const char*>(m_Bytes.data()) + m_Position - length, length);
    }

    // True if n records of `size` bytes are left. If not, the reader has failed.
    bool HasRoomFor(uint64_t n, uint64_t size)
    {
        const uint64_t left = m_Bytes.size() - m_Position;
        m_bFailed = m_bFailed || (size != 0 && n > left / size);
        return !m_bFailed;
    }

    // A position beyond the end fails.
    void Seek(uint32_t position)
    {
        m_bFailed = m_bFailed || position > m_Bytes.size();
        if (!m_bFailed)
            m_Position = position;
    }

    size_t Position() const { return m_Position; }
    bool Failed() const { return m_bFailed; }

private:
    bool Take(size_t n)
    {
        m_bFailed = m_bFailed || n > m_Bytes.size() - m_Position;
        if (!m_bFailed)
            m_Position += n;
        return !m_bFailed;
    }

    uint32_t Value(size_t n)
    {
        if (!Take(n))
            return 0;
        uint32_t value = 0;
        for (size_t i = 0; i < n; ++i)
            value |= uint32_t{m_Bytes[m_Position - n + i]} << (8 * i);
        return value;
    }

    std::span<const uint8_t> m_Bytes;
    size_t m_Position = 0;
    bool m_bFailed = false;
};
