#pragma once

#include <cstdint>
#include <span>
#include <string>

// Bytes as Base64 (RFC 4648, section 4), in one line.
std::string Base64(std::span<const uint8_t> bytes);
