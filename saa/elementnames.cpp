#include "saa/elementnames.h"

#include <algorithm>
#include <utility>

static const std::size_t MAX_NAME_LENGTH = 400;
static const std::size_t MAX_PIECE_NAME = 31;
static const std::size_t TEXTURE_TOKEN_LENGTH = 6; // "_zTex" and the digit

static std::string LowerCase(std::string text)
{
    for (char& c : text)
    {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

static std::string Cut(const std::string& name)
{
    return name.substr(0, std::min(name.find('\0'), MAX_NAME_LENGTH));
}

// Where the token for the texture begins, as an exporter finds it in the name of a piece; the length without one.
static std::size_t FindTextureToken(const std::string& name)
{
    const std::string lower = LowerCase(name.substr(0, MAX_PIECE_NAME));
    for (std::size_t at = lower.find("_ztex"); at != std::string::npos; at = lower.find("_ztex", at + 1))
    {
        if (name[at + 1] == 'z')
        {
            return at;
        }
    }
    return name.size();
}

std::string ElementNames::TakePart(const std::string& name, int number)
{
    const std::string suffix = "_" + std::to_string(number);
    const std::size_t room = MAX_PIECE_NAME - suffix.size();
    if (name.size() <= room)
    {
        return Take(name + suffix);
    }
    const std::size_t at = FindTextureToken(name);
    const std::string token = name.substr(at, TEXTURE_TOKEN_LENGTH);
    return Take(name.substr(0, std::min(at, room - token.size())) + token + suffix);
}

bool ElementNames::TakeIfFree(const std::string& name)
{
    return m_Taken.insert(LowerCase(name)).second;
}

std::string ElementNames::Take(const std::string& name)
{
    const std::string base = Cut(name);
    std::string result = base;
    for (int k = 1; !TakeIfFree(result); ++k)
    {
        result = base + "_" + std::to_string(k);
    }
    return result;
}

std::vector<std::string> NameNodes(const Scene& scene, ElementNames& names)
{
    std::vector<std::string> result(scene.nodes.size());
    // What the file calls a node comes before what is made up.
    std::vector<std::size_t> left;
    for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    {
        std::string name = Cut(scene.nodes[i].name);
        if (!name.empty() && names.TakeIfFree(name))
        {
            result[i] = std::move(name);
        }
        else
        {
            left.push_back(i);
        }
    }
    for (const std::size_t i : left)
    {
        const std::string name = Cut(scene.nodes[i].name);
        result[i] = names.Take(name.empty() ? "node" + std::to_string(i) : name);
    }
    return result;
}
