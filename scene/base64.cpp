#include "scene/base64.h"

#include <cstdint>

static int DigitValue(char c)
{
    if (c >= 'A' && c <= 'Z')
    {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z')
    {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9')
    {
        return c - '0' + 52;
    }
    if (c == '+')
    {
        return 62;
    }
    return c == '/' ? 63 : -1;
}

bool DecodeBase64(const char* text, std::size_t length, std::vector<unsigned char>& bytes)
{
    for (int padding = 0; padding < 2 && length > 0 && text[length - 1] == '='; ++padding)
    {
        --length;
    }
    if (length % 4 == 1)
    {
        return false;
    }
    bytes.reserve(bytes.size() + length / 4 * 3 + 2);
    std::uint32_t pending = 0;
    int bits = 0;
    for (std::size_t i = 0; i < length; ++i)
    {
        const int value = DigitValue(text[i]);
        if (value < 0)
        {
            return false;
        }
        pending = (pending << 6U | static_cast<std::uint32_t>(value)) & 0xFFFFU;
        bits += 6;
        if (bits >= 8)
        {
            bits -= 8;
            bytes.push_back(static_cast<unsigned char>(pending >> static_cast<unsigned>(bits) & 0xFFU));
        }
    }
    return true;
}
