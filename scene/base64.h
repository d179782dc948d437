// Base64 (RFC 4648, section 4).
#pragma once

#include <cstddef>
#include <vector>

// Appends the bytes that the text stands for. False if a character doesn't belong to the alphabet or the length can't
// be; padding at the end may be missing.
bool DecodeBase64(const char* text, std::size_t length, std::vector<unsigned char>& bytes);
