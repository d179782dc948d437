#include "saa/arguments.h"

#include "saa/saahost.h"

#include <algorithm>
#include <cstring>

int CheckList(std::size_t n, int count, const void* out)
{
    if (out == nullptr && count != 0)
    {
        return SAA_STATUS_ARGUMENT;
    }
    return count < 0 || static_cast<std::size_t>(count) != n ? SAA_STATUS_COUNT : 0;
}

int CheckHandles(std::size_t n, int count, const void* handles, const void* out)
{
    if ((handles == nullptr || out == nullptr) && count != 0)
    {
        return SAA_STATUS_ARGUMENT;
    }
    return count < 0 || static_cast<std::size_t>(count) > n ? SAA_STATUS_COUNT : 0;
}

int StoreInt(int value, int* out)
{
    if (out == nullptr)
    {
        return SAA_STATUS_ARGUMENT;
    }
    *out = value;
    return 0;
}

int StoreCount(std::size_t n, int* count)
{
    return StoreInt(static_cast<int>(n), count);
}

int StoreText(const std::string& source, int size, char* text)
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
