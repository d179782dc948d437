// Puts small glTF documents together: numbers go into one buffer (a data URI), the rest is text of the test.
#pragma once

#include "scene/gltfreader.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

class GltfText
{
public:
    // Each returns the index of a new accessor. `type` is "SCALAR", "VEC3", ...; `extra` goes into the accessor.
    int Floats(const char* type, const std::vector<float>& values, const std::string& extra = "")
    {
        return Add(5126, type, values, extra);
    }
    int Bytes(const char* type, const std::vector<std::uint8_t>& values, const std::string& extra = "")
    {
        return Add(5121, type, values, extra);
    }
    int Shorts(const char* type, const std::vector<std::uint16_t>& values, const std::string& extra = "")
    {
        return Add(5123, type, values, extra);
    }
    int Ints(const char* type, const std::vector<std::uint32_t>& values, const std::string& extra = "")
    {
        return Add(5125, type, values, extra);
    }

    // Appends to an array of the document: Item("nodes", R"({"mesh": 0})").
    void Item(const std::string& array, const std::string& object)
    {
        for (auto& [name, items] : m_Arrays)
        {
            if (name == array)
            {
                items += ", " + object;
                return;
            }
        }
        m_Arrays.emplace_back(array, object);
    }

    // A member of the document beside its arrays: Member(R"("scene": 1)").
    void Member(const std::string& member) { m_Members += ", " + member; }

    std::string Text() const
    {
        std::string text = R"({"asset": {"version": "2.0"})" + m_Members;
        for (const auto& [name, items] : m_Arrays)
            text.append(", \"").append(name).append("\": [").append(items).append("]");
        return text + R"(, "bufferViews": [)" + m_Views + R"(], "accessors": [)" + m_Accessors +
               R"(], "buffers": [{"byteLength": )" + std::to_string(m_Data.size()) +
               R"(, "uri": "data:application/octet-stream;base64,)" + Base64() + R"("}]})";
    }

    // The same as a binary file, its buffer in the second chunk.
    std::string Binary() const
    {
        const std::string text = Text();
        const std::size_t uri = text.find(", \"uri\": \"data:");
        return Pack(text.substr(0, uri) + "}]}", m_Data);
    }

    // A binary file of a document and the bytes of its buffer.
    static std::string Pack(std::string text, const std::vector<unsigned char>& bytes)
    {
        text.resize((text.size() + 3) / 4 * 4, ' ');
        std::string data(bytes.begin(), bytes.end());
        data.resize((data.size() + 3) / 4 * 4, '\0');
        return "glTF" + Number(2) + Number(28 + text.size() + data.size()) + Number(text.size()) + "JSON" + text +
               Number(data.size()) + std::string("BIN\0", 4) + data;
    }

    const std::vector<unsigned char>& Data() const { return m_Data; }

    static std::string Number(std::size_t value)
    {
        std::string bytes;
        for (unsigned shift = 0; shift < 32; shift += 8)
            bytes += static_cast<char>(value >> shift & 0xFFU);
        return bytes;
    }

private:
    template <typename T>
    int Add(int componentType, const std::string& type, const std::vector<T>& values, const std::string& extra)
    {
        const std::size_t width = type == "SCALAR" ? 1 : type == "MAT4" ? 16 : static_cast<std::size_t>(type[3] - '0');
        m_Data.resize((m_Data.size() + 3) / 4 * 4);
        const std::size_t offset = m_Data.size();
        const std::size_t length = values.size() * sizeof(T);
        m_Data.resize(offset + length);
        if (length > 0)
            std::memcpy(m_Data.data() + offset, values.data(), length);
        m_Views += (m_Views.empty() ? "" : ", ") + std::string(R"({"buffer": 0, "byteOffset": )") +
                   std::to_string(offset) + R"(, "byteLength": )" + std::to_string(length) + "}";
        m_Accessors += (m_Accessors.empty() ? "" : ", ") + std::string(R"({"bufferView": )") +
                       std::to_string(m_nAccessors) + R"(, "componentType": )" + std::to_string(componentType) +
                       R"(, "count": )" + std::to_string(values.size() / width) + R"(, "type": ")" + type + "\"" +
                       (extra.empty() ? "" : ", " + extra) + "}";
        return m_nAccessors++;
    }

    std::string Base64() const
    {
        static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string text;
        for (std::size_t i = 0; i < m_Data.size(); i += 3)
        {
            std::uint32_t group = 0;
            for (std::size_t k = i; k < i + 3; ++k)
                group = group << 8U | (k < m_Data.size() ? m_Data[k] : 0U);
            for (std::size_t k = 0; k < 4; ++k)
                text += i + k > m_Data.size() ? '=' : digits[group >> (18 - 6 * k) & 63U];
        }
        return text;
    }

    std::vector<unsigned char> m_Data;
    std::string m_Views;
    std::string m_Accessors;
    std::string m_Members;
    std::vector<std::pair<std::string, std::string>> m_Arrays;
    int m_nAccessors = 0;
};

inline std::string WriteTestFile(const std::string& name, const std::string& bytes)
{
    // Another run may write the same names at the same time.
    const std::string folder = testing::TempDir() + "scene_test." + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    std::string path = folder + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

// Reads a document that must be good.
inline Scene ReadGood(const std::string& bytes, const std::string& name = "good.gltf")
{
    Scene scene;
    std::string error;
    EXPECT_TRUE(ReadGltfScene(WriteTestFile(name, bytes).c_str(), scene, error)) << error;
    return scene;
}

// The sentence with which a document is refused; empty if it was read.
inline std::string ReadBad(const std::string& bytes, const std::string& name = "bad.gltf")
{
    Scene scene;
    std::string error;
    if (ReadGltfScene(WriteTestFile(name, bytes).c_str(), scene, error))
        return "";
    EXPECT_TRUE(scene.nodes.empty());
    return error;
}
