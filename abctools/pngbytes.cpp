#include "abctools/picture.h"

#include <algorithm>
#include <cstdlib>

// The library asks for no bytes at all now and then.
#define STBIW_MALLOC(size) std::malloc(std::max<size_t>(size, 1))
#define STBIW_REALLOC(pBlock, size) std::realloc(pBlock, std::max<size_t>(size, 1))
#define STBIW_FREE(pBlock) std::free(pBlock)
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>

std::vector<uint8_t> PngBytes(const Picture& picture)
{
    constexpr int CHANNELS = 3;
    std::vector<uint8_t> bytes;
    const auto append = [](void* pBytes, void* pData, int size)
    {
        const uint8_t* pFrom = static_cast<const uint8_t*>(pData);
        static_cast<std::vector<uint8_t>*>(pBytes)->insert(static_cast<std::vector<uint8_t>*>(pBytes)->end(), pFrom,
                                                           pFrom + size);
    };
    if (!stbi_write_png_to_func(append, &bytes, static_cast<int>(picture.m_Width), static_cast<int>(picture.m_Height),
                                CHANNELS, picture.m_Pixels.data(), static_cast<int>(picture.m_Width) * CHANNELS))
        bytes.clear();
    return bytes;
}
