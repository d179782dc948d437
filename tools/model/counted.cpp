#include "tools/model/counted.h"

static std::string PluralOf(const std::string& thing)
{
    if (thing == "vertex")
        return "vertices";
    return thing + (thing == "mesh" ? "es" : "s");
}

std::string Counted(std::size_t count, const char* thing)
{
    return std::to_string(count) + " " + (count == 1 ? thing : PluralOf(thing));
}

std::string ListNames(const std::vector<std::string>& names, std::size_t limit)
{
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < limit; i++)
        text += (i ? ", " : "") + names[i];
    return text + (names.size() > limit ? ", ..." : "");
}

std::string CountedNames(const std::vector<std::string>& names, const char* thing, std::size_t limit)
{
    return Counted(names.size(), thing) + " (" + ListNames(names, limit) + ")";
}
