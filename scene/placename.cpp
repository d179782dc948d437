#include "scene/placename.h"

std::string PlaceName(const char* kind, std::size_t index, const std::string& name)
{
    std::string place = kind;
    place.append(" ").append(std::to_string(index));
    if (!name.empty())
    {
        place.append(" (").append(name).append(")");
    }
    return place;
}
