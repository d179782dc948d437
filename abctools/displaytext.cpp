#include "abctools/displaytext.h"

#include "abctools/format.h"

#include <cstdint>

// The code point at the start of the text and the bytes that it takes; 0 bytes if that isn't UTF-8.
static size_t DecodeUtf8(std::string_view text, uint32_t& codePoint)
{
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t first = byte(0);
    size_t length = 1;
    uint32_t lowest = 0;
    codePoint = first;
    if (first >= 0xF0 && first <= 0xF4)
    {
        length = 4;
        lowest = 0x10000;
        codePoint = first & 0x07u;
    }
    else if (first >= 0xE0 && first < 0xF0)
    {
        length = 3;
        lowest = 0x800;
        codePoint = first & 0x0Fu;
    }
    else if (first >= 0xC2 && first < 0xE0)
    {
        length = 2;
        lowest = 0x80;
        codePoint = first & 0x1Fu;
    }
    else if (first >= 0x80)
    {
        return 0;
    }
    if (length > text.size())
        return 0;
    for (size_t i = 1; i < length; ++i)
    {
        if ((byte(i) & 0xC0u) != 0x80)
            return 0;
        codePoint = codePoint << 6 | (byte(i) & 0x3Fu);
    }
    const bool bSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
    return codePoint < lowest || codePoint > 0x10FFFF || bSurrogate ? 0 : length;
}

static bool IsUtf8(std::string_view text)
{
    while (!text.empty())
    {
        uint32_t codePoint = 0;
        const size_t length = DecodeUtf8(text, codePoint);
        if (length == 0)
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string ToUtf8(std::string_view bytes)
{
    if (IsUtf8(bytes))
        return std::string(bytes);
    std::string text;
    for (const char c : bytes)
    {
        const uint8_t byte = static_cast<uint8_t>(c);
        if (byte < 0x80)
        {
            text += c;
            continue;
        }
        text += static_cast<char>(0xC0 | byte >> 6);
        text += static_cast<char>(0x80 | (byte & 0x3F));
    }
    return text;
}

static bool IsUnfitForTerminal(uint32_t codePoint)
{
    const auto within = [codePoint](uint32_t first, uint32_t last) { return codePoint >= first && codePoint <= last; };
    return codePoint < 0x20 || within(0x7F, 0x9F) || codePoint == 0x061C || within(0x200B, 0x200F) ||
           within(0x2028, 0x202E) || within(0x2060, 0x206F) || codePoint == 0xFEFF || within(0xFFF9, 0xFFFB) ||
           within(0xE0000, 0xE0FFF);
}

std::string TerminalText(std::string_view bytes)
{
    const std::string utf8 = ToUtf8(bytes);
    std::string text;
    for (std::string_view rest = utf8; !rest.empty();)
    {
        uint32_t codePoint = 0;
        const size_t length = DecodeUtf8(rest, codePoint);
        if (codePoint == '\\')
            text += "\\\\";
        else if (IsUnfitForTerminal(codePoint))
            text += codePoint < 0x100 ? Format("\\x%02X", codePoint) : Format("\\u{%X}", codePoint);
        else
            text += rest.substr(0, length);
        rest.remove_prefix(length);
    }
    return text;
}
