#include "abctools/displaytext.h"
#include "abctools/format.h"
#include "abctools/modelinfo.h"
#include "engine/model/src/model.h"

#include <vector>

using nlohmann::ordered_json;

static std::string TextOf(const ordered_json& value)
{
    return TerminalText(value.get_ref<const std::string&>());
}

// A number, a switch or a list of them, as one reads it: "1 2 3".
static std::string ValueText(const ordered_json& value)
{
    if (value.is_array())
    {
        std::string text;
        for (const ordered_json& element : value)
            text += (text.empty() ? "" : " ") + ValueText(element);
        return text;
    }
    if (value.is_number_float())
        return FloatText(value.get<float>());
    if (value.is_string())
        return TextOf(value);
    return value.dump(-1, ' ', true);
}

static std::string FlagsText(uint32_t flags)
{
    std::string text;
    if (flags & MNODE_REMOVEABLE)
        text += ", removable";
    if (flags & MNODE_FIXEDOFFSET)
        text += ", fixed offset";
    if (const uint32_t others = flags & ~uint32_t{MNODE_REMOVEABLE | MNODE_FIXEDOFFSET})
        text += Format(", 0x%02X", others);
    return text;
}

static std::string NodesText(const ordered_json& nodes)
{
    std::string text = Format("nodes: %zu\n", nodes.size());
    std::vector<int> levels;
    for (size_t i = 0; i < nodes.size(); ++i)
    {
        const int64_t parent = nodes[i]["parent"];
        levels.push_back(parent < 0 ? 0 : levels[static_cast<size_t>(parent)] + 1);
        text += Format("  %*s%zu %s%s\n", 2 * levels.back(), "", i, TextOf(nodes[i]["name"]).c_str(),
                       FlagsText(nodes[i]["flags"]).c_str());
    }
    return text;
}

// ", 120 bytes" for what is known to take them.
static std::string BytesText(const ordered_json& part)
{
    return part.contains("bytes") ? ", " + Counted(part["bytes"], "byte") : "";
}

static std::string SectionsText(const ordered_json& info)
{
    std::string text;
    for (const ordered_json& section : info["sections"])
        text += (text.empty() ? "bytes: " : ", ") + TextOf(section["name"]) + " " + ValueText(section["bytes"]);
    return text + "\n";
}

static std::string PiecesText(const ordered_json& info)
{
    std::string text = Format("pieces: %zu", info["pieces"].size());
    if (info.value("maxWeights", 0u) > 0)
        text += ", up to " + Counted(info["maxWeights"], "weight") + " to a vertex";
    text += "\n";
    for (const ordered_json& piece : info["pieces"])
    {
        text += "  " + TextOf(piece["name"]) + ": texture " + ValueText(piece["texture"]) + BytesText(piece) + "\n";
        for (size_t iLOD = 0; iLOD < piece["lods"].size(); ++iLOD)
        {
            const ordered_json& mesh = piece["lods"][iLOD];
            text += Format("    LOD %zu: ", iLOD) + Counted(mesh["verts"], "vertex", "vertices") + ", " +
                    Counted(mesh["tris"], "triangle") + ", " + Counted(mesh["weights"], "weight") + "\n";
        }
    }
    return text;
}

static std::string AnimsText(const ordered_json& anims)
{
    std::string text = Format("animations: %zu\n", anims.size());
    for (const ordered_json& anim : anims)
    {
        text += "  " + TextOf(anim["name"]) + ": " + Counted(anim["keys"], "key") +
                Format(", %u ms", anim["last"].get<uint32_t>()) + BytesText(anim) + "\n";
        for (const ordered_json& command : anim["commands"])
            text += "    key " + ValueText(command["key"]) + ": " + TextOf(command["text"]) + "\n";
    }
    return text;
}

static std::string PlacesText(const ordered_json& info)
{
    std::string text = Format("sockets: %zu\n", info["sockets"].size());
    for (const ordered_json& socket : info["sockets"])
        text +=
            Format("  %s on node %u, %s; position %s, rotation %s\n", TextOf(socket["name"]).c_str(),
                   socket["node"].get<uint32_t>(), TextOf(info["nodes"][socket["node"].get<size_t>()]["name"]).c_str(),
                   ValueText(socket["position"]).c_str(), ValueText(socket["rotation"]).c_str());
    text += Format("weight sets: %zu\n", info["weightSets"].size());
    for (const ordered_json& set : info["weightSets"])
        text += "  " + TextOf(set["name"]) + ": " + ValueText(set["values"]) + "\n";
    text += Format("child models: %zu\n", info["childModels"].size());
    for (const ordered_json& child : info["childModels"])
        text += "  " + TextOf(child["name"]) + ", stamp " + ValueText(child["stamp"]) + "\n";
    return text;
}

// A setting's keyword in the command string out of its key.
static std::string Capitalised(std::string key)
{
    if (key[0] >= 'a' && key[0] <= 'z')
        key[0] = static_cast<char>(key[0] - 'a' + 'A');
    return key;
}

// "blockUsed" as "block used".
static std::string WordsOf(const std::string& key)
{
    std::string words;
    for (const char c : key)
    {
        const bool isCapital = c >= 'A' && c <= 'Z';
        words += isCapital ? std::string(" ") + static_cast<char>(c - 'A' + 'a') : std::string(1, c);
    }
    return words;
}

static std::string SettingsText(const ordered_json& info)
{
    std::string text = "command string: " + TextOf(info["command"]) + "\n";
    Model fresh(&g_DefaultAllocator, &g_DefaultAllocator);
    const ordered_json defaults = ModelSettings(fresh);
    for (const auto& [keyword, value] : info["settings"].items())
    {
        if (value == defaults[keyword])
            continue;
        text += "  " + Capitalised(keyword) + ": ";
        text += value.is_object() ? "node " + TextOf(value["node"]) + ", animation " + TextOf(value["animation"])
                                  : ValueText(value);
        text += "\n";
    }
    return text;
}

static std::string BoxText(const ordered_json& box)
{
    return "radius " + ValueText(box["radius"]) + ", from " + ValueText(box["min"]) + " to " + ValueText(box["max"]) +
           "\n";
}

static std::string BoundsText(const ordered_json& info)
{
    const ordered_json& bounds = info["bounds"];
    if (bounds.is_null())
        return "bounds: none\n";
    std::string text = "bounds: " + BoxText(bounds["all"]) + "  at rest: " + BoxText(bounds["rest"]);
    for (size_t i = 0; i < bounds["anims"].size(); ++i)
    {
        if (!bounds["anims"][i].is_null())
            text += "  " + TextOf(info["anims"][i]["name"]) + ": " + BoxText(bounds["anims"][i]);
    }
    return text;
}

static std::string MemoryText(const ordered_json& memory)
{
    std::string text = "memory:\n";
    for (const auto& [name, value] : memory.items())
        text += "  " + WordsOf(name) + ": " + ValueText(value) + "\n";
    return text;
}

static std::string CountsText(const ordered_json& counts)
{
    const struct
    {
        const char* m_pName;
        const char* m_pOne;
        const char* m_pMany;
    } words[] = {
        {"keyFrames", "key", nullptr},
        {"anims", "animation", nullptr},
        {"nodes", "node", nullptr},
        {"pieces", "piece", nullptr},
        {"childModels", "child model", nullptr},
        {"tris", "triangle", nullptr},
        {"verts", "vertex", "vertices"},
        {"vertexWeights", "weight", nullptr},
        {"lods", "LOD", nullptr},
        {"sockets", "socket", nullptr},
        {"weightSets", "weight set", nullptr},
        {"strings", "text", nullptr},
        {"stringLengths", "byte of text", "bytes of text"},
    };
    std::string text;
    for (const auto& word : words)
        text += (text.empty() ? "" : ", ") + Counted(counts[word.m_pName], word.m_pOne, word.m_pMany);
    return text;
}

std::string ModelInfoText(const ordered_json& info)
{
    std::string text = Format("model file of version %u, %zu bytes, stamp %u\n", info["version"].get<uint32_t>(),
                              info["bytes"].get<size_t>(), info["stamp"].get<uint32_t>());
    text += "header: value " + ValueText(info["headerValue"]) + "; it announces " + CountsText(info["counts"]);
    text += "\n" + (info.contains("sections") ? SectionsText(info) : "") + "LODs: " + ValueText(info["lods"]);
    if (!info["lodDistances"].empty())
        text += ", distances " + ValueText(info["lodDistances"]);
    text += "\n" + NodesText(info["nodes"]) + PiecesText(info) + AnimsText(info["anims"]) + PlacesText(info) +
            BoundsText(info) + SettingsText(info);
    if (info.contains("memory"))
        text += MemoryText(info["memory"]);
    return text;
}
