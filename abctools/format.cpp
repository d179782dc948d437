#include "abctools/format.h"

#include <charconv>
#include <cstdarg>
#include <cstdio>

std::string Format(const char* pFormat, ...)
{
    va_list arguments;
    va_start(arguments, pFormat);
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, pFormat, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        vsnprintf(text.data(), text.size() + 1, pFormat, again);
    va_end(again);
    return text;
}

std::string Counted(uint64_t n, const char* pOne, const char* pMany)
{
    std::string text = std::to_string(n) + " ";
    if (n == 1 || !pMany)
        text += pOne;
    else
        text += pMany;
    return n == 1 || pMany ? text : text + "s";
}

std::string FloatText(float value)
{
    char buffer[64];
    const std::to_chars_result result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return std::string(buffer, result.ptr);
}
