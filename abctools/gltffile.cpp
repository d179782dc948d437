#include "abctools/gltffile.h"

#include "abctools/base64.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>

using nlohmann::ordered_json;

static constexpr int COMPONENT_BYTE = 5121; // unsigned, like the next two
static constexpr int COMPONENT_SHORT = 5123;
static constexpr int COMPONENT_INT = 5125;
static constexpr int COMPONENT_FLOAT = 5126;

template <typename Number> static void Append(std::vector<uint8_t>& bytes, Number number)
{
    for (size_t i = 0; i < sizeof(Number); ++i)
        bytes.push_back(static_cast<uint8_t>(number >> (8 * i)));
}

static void Align(std::vector<uint8_t>& bytes, uint8_t filler)
{
    while (bytes.size() % 4 != 0)
        bytes.push_back(filler);
}

static size_t NumComponents(std::string_view type)
{
    if (type == "MAT4")
        return 16;
    return type == "SCALAR" ? 1 : static_cast<size_t>(type.back() - '0');
}

void GltfFile::BeginView(Target target)
{
    Align(m_Buffer, 0);
    m_Views.emplace_back(m_Buffer.size(), target);
}

size_t GltfFile::AddAccessor(size_t offset, int componentType, size_t count, const char* pType)
{
    ordered_json accessor = {{"bufferView", m_Views.size() - 1}};
    if (offset > m_Views.back().first)
        accessor["byteOffset"] = offset - m_Views.back().first;
    accessor["componentType"] = componentType;
    accessor["count"] = count;
    accessor["type"] = pType;
    m_Accessors.push_back(std::move(accessor));
    return m_Accessors.size() - 1;
}

size_t GltfFile::AddFloats(const std::vector<float>& values, const char* pType, bool bBounds)
{
    const size_t nComponents = NumComponents(pType);
    const size_t offset = m_Buffer.size();
    for (const float value : values)
        Append(m_Buffer, std::bit_cast<uint32_t>(value));
    const size_t iAccessor = AddAccessor(offset, COMPONENT_FLOAT, values.size() / nComponents, pType);
    if (bBounds)
    {
        std::vector<float> least(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(nComponents));
        std::vector<float> greatest = least;
        for (size_t i = 0; i < values.size(); ++i)
        {
            least[i % nComponents] = std::min(least[i % nComponents], values[i]);
            greatest[i % nComponents] = std::max(greatest[i % nComponents], values[i]);
        }
        m_Accessors.back()["min"] = least;
        m_Accessors.back()["max"] = greatest;
    }
    return iAccessor;
}

size_t GltfFile::AddJoints(const std::vector<uint16_t>& joints, uint32_t maxValue)
{
    const size_t offset = m_Buffer.size();
    const bool bBytes = maxValue <= 0xFF;
    for (const uint16_t joint : joints)
    {
        if (bBytes)
            m_Buffer.push_back(static_cast<uint8_t>(joint));
        else
            Append(m_Buffer, joint);
    }
    return AddAccessor(offset, bBytes ? COMPONENT_BYTE : COMPONENT_SHORT, joints.size() / 4, "VEC4");
}

size_t GltfFile::AddIndices(const std::vector<uint32_t>& indices, uint32_t maxValue)
{
    const size_t offset = m_Buffer.size();
    const bool bShorts = maxValue < 0xFFFF; // the greatest value is set apart
    for (const uint32_t index : indices)
    {
        if (bShorts)
            Append(m_Buffer, static_cast<uint16_t>(index));
        else
            Append(m_Buffer, index);
    }
    return AddAccessor(offset, bShorts ? COMPONENT_SHORT : COMPONENT_INT, indices.size(), "SCALAR");
}

ordered_json GltfFile::Document(bool bEmbedded) const
{
    ordered_json json = m_Json;
    if (m_Buffer.empty())
        return json;
    json["accessors"] = m_Accessors;
    json["bufferViews"] = ordered_json::array();
    for (size_t i = 0; i < m_Views.size(); ++i)
    {
        const auto& [offset, target] = m_Views[i];
        const size_t end = i + 1 < m_Views.size() ? m_Views[i + 1].first : m_Buffer.size();
        ordered_json view = {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", end - offset}};
        if (target != TARGET_NONE)
            view["target"] = static_cast<int>(target);
        json["bufferViews"].push_back(std::move(view));
    }
    json["buffers"] = ordered_json::array();
    json["buffers"].push_back({{"byteLength", m_Buffer.size()}});
    if (bEmbedded)
        json["buffers"][0]["uri"] = "data:application/octet-stream;base64," + Base64(m_Buffer);
    return json;
}

bool GltfFile::MakeGlb(std::vector<uint8_t>& bytes)
{
    Align(m_Buffer, 0);
    const std::string text = Document(false).dump(-1, ' ', true);
    std::vector<uint8_t> json(text.begin(), text.end());
    Align(json, ' ');
    const uint64_t total = 12 + 8 + json.size() + (m_Buffer.empty() ? 0 : 8 + m_Buffer.size());
    if (total > 0xFFFFFFFFu)
        return false;
    const auto appendChunk = [&bytes](const std::vector<uint8_t>& chunk, uint32_t type)
    {
        Append(bytes, static_cast<uint32_t>(chunk.size()));
        Append(bytes, type);
        bytes.insert(bytes.end(), chunk.begin(), chunk.end());
    };
    bytes.clear();
    bytes.reserve(static_cast<size_t>(total));
    Append(bytes, 0x46546C67u); // "glTF"
    Append(bytes, 2u);
    Append(bytes, static_cast<uint32_t>(total));
    appendChunk(json, 0x4E4F534Au); // "JSON"
    if (!m_Buffer.empty())
        appendChunk(m_Buffer, 0x004E4942u); // "BIN"
    return true;
}

void GltfFile::MakeGltf(std::vector<uint8_t>& bytes)
{
    const std::string text = Document(true).dump(1, ' ', true) + "\n";
    bytes.assign(text.begin(), text.end());
}

bool AreFinite(const std::vector<float>& values)
{
    return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}
