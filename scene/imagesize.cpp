#include "scene/imagesize.h"

#include <climits>
#include <filesystem>
#include <system_error>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_HDR
#define STBI_NO_PIC
#include <stb/stb_image.h>
#pragma GCC diagnostic pop

bool ImageSizeFromFile(const std::string& path, int& width, int& height)
{
    std::error_code code;
    int components = 0;
    return std::filesystem::is_regular_file(path, code) && stbi_info(path.c_str(), &width, &height, &components) != 0 &&
           width > 0 && height > 0;
}

bool ImageSizeFromMemory(const unsigned char* bytes, std::size_t length, int& width, int& height)
{
    int components = 0;
    return length > 0 && length <= INT_MAX &&
           stbi_info_from_memory(bytes, static_cast<int>(length), &width, &height, &components) != 0 && width > 0 &&
           height > 0;
}
