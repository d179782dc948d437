#include "saa/copytext.h"

#include "saa/saahost.h"

#include <algorithm>
#include <cstring>

int CopyText(const std::string& source, int size, char* text)
{
    if (text == nullptr || size < 1)
    {
        return SAA_STATUS_ARGUMENT;
    }
    const std::size_t length = std::min(source.size(), static_cast<std::size_t>(size) - 1);
    std::memcpy(text, source.data(), length);
    text[length] = '\0';
    return 0;
}
