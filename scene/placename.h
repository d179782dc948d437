// How a sentence names a part of a scene file.
#pragma once

#include <cstddef>
#include <string>

// "mesh 2", or "mesh 2 (body)" if it has a name.
std::string PlaceName(const char* kind, std::size_t index, const std::string& name);
