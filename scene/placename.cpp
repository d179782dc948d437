#include "scene/placename.h"

std::string PlaceName(const char* kind, std::size_t index, const std::string& name)
{
    const std::string place = std::string(kind) + " " + std::to_string(index);
    return name.empty() ? place : place + " (" + name + ")";
}
