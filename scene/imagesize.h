// Width and height of an image, from its header alone; nothing is decoded.
#pragma once

#include <cstddef>
#include <string>

// False if there is no such image or its format (PNG, JPEG, BMP, TGA, GIF, PSD, PNM are known) isn't understood.
bool ImageSizeFromFile(const std::string& path, int& width, int& height);
bool ImageSizeFromMemory(const unsigned char* bytes, std::size_t length, int& width, int& height);
