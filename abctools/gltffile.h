// A glTF 2.0 file while it is put together: its JSON document, and the one buffer that its accessors point into.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

class GltfFile
{
public:
    // What a view of the buffer holds, by the format's own numbers.
    enum Target
    {
        TARGET_NONE = 0,
        TARGET_VERTICES = 34962,
        TARGET_INDICES = 34963
    };

    // Accessors that are added from here on share one view; vertex data and indices need one each.
    void BeginView(Target target);

    // Accessors over values that are copied into the buffer; at least one element. Each returns the accessor's number.
    // `pType` is SCALAR, VEC2, VEC3, VEC4 or MAT4. With bBounds the least and the greatest values are stated.
    size_t AddFloats(const std::vector<float>& values, const char* pType, bool bBounds);
    // Indices of joints, four to a vertex, in bytes if maxValue fits; and of vertices, in two bytes if it does.
    size_t AddJoints(const std::vector<uint16_t>& joints, uint32_t maxValue);
    size_t AddIndices(const std::vector<uint32_t>& indices, uint32_t maxValue);

    nlohmann::ordered_json m_Json; // all but accessors, bufferViews and buffers

    // The finished file: .glb, or .gltf with the buffer in it as Base64. False if it would pass the 4 GB that a .glb
    // can have.
    bool MakeGlb(std::vector<uint8_t>& bytes);
    void MakeGltf(std::vector<uint8_t>& bytes);

private:
    size_t AddAccessor(size_t offset, int componentType, size_t count, const char* pType);
    nlohmann::ordered_json Document(bool bEmbedded) const;

    std::vector<uint8_t> m_Buffer;
    std::vector<std::pair<size_t, Target>> m_Views; // where each begins
    nlohmann::ordered_json m_Accessors = nlohmann::ordered_json::array();
};

// A glTF file holds no other numbers.
bool AreFinite(const std::vector<float>& values);
