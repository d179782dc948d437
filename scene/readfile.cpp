#include "scene/readfile.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

// Opens `file` for reading; as FindFileLength.
static bool OpenFile(const std::string& path, std::ifstream& file, std::uintmax_t& length, std::string& error)
{
    std::error_code code;
    const std::filesystem::file_status status = std::filesystem::status(path, code);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    {
        error = "is no regular file";
        return false;
    }
    errno = 0;
    file.open(path, std::ios::binary);
    length = std::filesystem::file_size(path, code);
    if (!file || code)
    {
        error = std::string("can't be opened: ") + std::strerror(errno != 0 ? errno : code.value());
        return false;
    }
    return true;
}

bool FindFileLength(const std::string& path, std::uintmax_t& length, std::string& error)
{
    std::ifstream file;
    return OpenFile(path, file, length, error);
}

bool ReadFileBytes(const std::string& path, std::vector<unsigned char>& bytes, std::string& error)
{
    std::ifstream file;
    std::uintmax_t length = 0;
    if (!OpenFile(path, file, length, error))
    {
        return false;
    }
    if (length > 0x7FFFFFFFU)
    {
        error = "is larger than 2 GiB";
        return false;
    }
    bytes.resize(length);
    if (length > 0 && !file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(length)))
    {
        error = "can't be read to its end";
        return false;
    }
    return true;
}

std::string FileNameOf(const std::string& path)
{
    return std::filesystem::path(path).filename().string();
}

std::string FileStemOf(const std::string& path)
{
    return std::filesystem::path(path).stem().string();
}

std::string FileExtensionOf(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    extension.erase(0, 1);
    for (char& c : extension)
    {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return extension;
}

std::string FileFolderOf(const std::string& path)
{
    return std::filesystem::path(path).parent_path().string();
}
