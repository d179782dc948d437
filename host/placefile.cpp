#include "host/placefile.h"

#include "zoltshared/stdzolt/replacefilestream.h"

#include <cstdio>
#include <functional>
#include <vector>

// Hands the file over piece by piece; false if it can't be read or isn't taken.
static bool ReadPieces(const std::string& path, const std::function<bool(const char* data, size_t size)>& take)
{
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        return false;
    std::vector<char> buffer(1 << 16);
    bool taken = true;
    size_t size = 0;
    while (taken && (size = std::fread(buffer.data(), 1, buffer.size(), file)) > 0)
        taken = take(buffer.data(), size);
    const bool done = taken && std::ferror(file) == 0;
    std::fclose(file);
    return done;
}

bool CopyFileBytes(const std::string& from, const std::string& to)
{
    FILE* copy = std::fopen(to.c_str(), "wb");
    if (!copy)
        return false;
    const bool read =
        ReadPieces(from, [&](const char* data, size_t size) { return std::fwrite(data, 1, size, copy) == size; });
    return std::fclose(copy) == 0 && read;
}

bool PlaceFile(const std::string& from, const std::string& target, std::string& error)
{
    ReplaceFileStream* stream = OpenReplaceFileStream(target.c_str());
    if (!stream)
    {
        error = "Unable to open " + target + " for writing.";
        return false;
    }
    const bool copied = ReadPieces(from, [&](const char* data, size_t size)
                                   { return stream->Write(data, static_cast<uint32_t>(size)) == 0; });
    const bool placed = copied && stream->Commit() == 0;
    stream->Release();
    if (!placed)
        error = "Unable to write " + target + ".";
    return placed;
}
