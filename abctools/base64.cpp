#include "abctools/base64.h"

#include <algorithm>

std::string Base64(std::span<const uint8_t> bytes)
{
    static constexpr char DIGITS[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3)
    {
        const size_t n = std::min<size_t>(3, bytes.size() - i);
        uint32_t bits = 0;
        for (size_t k = 0; k < 3; ++k)
            bits = bits << 8 | (k < n ? bytes[i + k] : 0u);
        for (size_t k = 0; k < 4; ++k)
            text += k <= n ? DIGITS[bits >> (18 - 6 * k) & 63u] : '=';
    }
    return text;
}
