#include "scene/dracodecoder.h"

#include "scene/trial.h"

#include <cstring>
#include <memory>
#include <vector>

#include <draco/compression/decode.h>

using Bytes = std::vector<unsigned char>;

static const char NAME[] = "KHR_draco_mesh_compression";

// What the trial of a primitive may take, and what more for each byte of it.
static const unsigned TRIAL_SECONDS = 10;
static const std::size_t BYTES_PER_SECOND = std::size_t(1) << 20U;
static const std::uintmax_t TRIAL_BYTES = std::uintmax_t(1) << 30U;
static const std::uintmax_t TRIAL_BYTES_PER_BYTE = 1024;

static std::unique_ptr<draco::Mesh> Decode(const unsigned char* bytes, std::size_t length, std::string& reason)
{
    draco::DecoderBuffer buffer;
    buffer.Init(reinterpret_cast<const char*>(bytes), length);
    draco::Decoder decoder;
    auto result = decoder.DecodeMeshFromBuffer(&buffer);
    if (!result.ok())
    {
        reason = result.status().error_msg_string();
        return nullptr;
    }
    return std::move(result).value();
}

// Its decoder asks for the memory that damaged bytes speak of.
static bool TryDecode(const unsigned char* bytes, std::size_t length, std::string& reason)
{
    const auto work = [&](std::string& why) { return Decode(bytes, length, why) != nullptr; };
    const auto seconds = TRIAL_SECONDS + static_cast<unsigned>(length / BYTES_PER_SECOND);
    return TryInOtherProcess(work, seconds, TRIAL_BYTES + TRIAL_BYTES_PER_BYTE * length, reason) == TrialResult::Good;
}

template <typename T>
static bool CopyValues(const draco::PointAttribute& attribute, std::uint32_t nPoints, std::size_t width, Bytes& bytes)
{
    std::vector<T> values(width);
    bytes.resize(nPoints * width * sizeof(T));
    for (std::uint32_t i = 0; i < nPoints; ++i)
    {
        if (!attribute.ConvertValue<T>(attribute.mapped_index(draco::PointIndex(i)), static_cast<std::int8_t>(width),
                                       values.data()))
        {
            return false;
        }
        std::memcpy(&bytes[i * width * sizeof(T)], values.data(), width * sizeof(T));
    }
    return true;
}

static bool CopyAttribute(const draco::PointAttribute& attribute, std::uint32_t nPoints,
                          const tinygltf::Accessor& accessor, Bytes& bytes)
{
    const int width = tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(accessor.type));
    if (width < 1 || width > 4)
    {
        return false;
    }
    const auto n = static_cast<std::size_t>(width);
    switch (accessor.componentType)
    {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
        return CopyValues<std::int8_t>(attribute, nPoints, n, bytes);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return CopyValues<std::uint8_t>(attribute, nPoints, n, bytes);
    case TINYGLTF_COMPONENT_TYPE_SHORT:
        return CopyValues<std::int16_t>(attribute, nPoints, n, bytes);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        return CopyValues<std::uint16_t>(attribute, nPoints, n, bytes);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        return CopyValues<std::uint32_t>(attribute, nPoints, n, bytes);
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
        return CopyValues<float>(attribute, nPoints, n, bytes);
    default:
        return false;
    }
}

// An accessor over bytes of its own; its index.
static int AddAccessor(GltfDocument& document, tinygltf::Accessor accessor, std::size_t count, Bytes& bytes)
{
    tinygltf::Model& model = document.model;
    tinygltf::BufferView view;
    view.buffer = static_cast<int>(model.buffers.size());
    view.byteLength = bytes.size();
    accessor.bufferView = static_cast<int>(model.bufferViews.size());
    accessor.byteOffset = 0;
    accessor.count = count;
    accessor.sparse.isSparse = false;
    document.inputBytes += bytes.size();
    model.buffers.emplace_back();
    model.buffers.back().data.swap(bytes);
    model.bufferViews.push_back(view);
    model.accessors.push_back(accessor);
    return static_cast<int>(model.accessors.size()) - 1;
}

static bool FindBytes(const tinygltf::Model& model, int viewIndex, const unsigned char*& bytes, std::size_t& length)
{
    if (viewIndex < 0 || static_cast<std::size_t>(viewIndex) >= model.bufferViews.size())
    {
        return false;
    }
    const tinygltf::BufferView& view = model.bufferViews[viewIndex];
    if (view.buffer < 0 || static_cast<std::size_t>(view.buffer) >= model.buffers.size())
    {
        return false;
    }
    const Bytes& data = model.buffers[view.buffer].data;
    if (view.byteOffset > data.size() || view.byteLength > data.size() - view.byteOffset)
    {
        return false;
    }
    bytes = data.data() + view.byteOffset;
    length = view.byteLength;
    return true;
}

static void ReplaceIndices(GltfDocument& document, const draco::Mesh& mesh, tinygltf::Primitive& primitive)
{
    Bytes bytes(std::size_t(12) * mesh.num_faces());
    for (std::uint32_t i = 0; i < mesh.num_faces(); ++i)
    {
        const draco::Mesh::Face& face = mesh.face(draco::FaceIndex(i));
        for (std::size_t k = 0; k < 3; ++k)
        {
            const std::uint32_t corner = face[k].value();
            std::memcpy(&bytes[std::size_t(12) * i + 4 * k], &corner, 4);
        }
    }
    tinygltf::Accessor accessor;
    accessor.componentType = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
    accessor.type = TINYGLTF_TYPE_SCALAR;
    primitive.indices = AddAccessor(document, accessor, std::size_t(3) * mesh.num_faces(), bytes);
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
}

bool ZoltDecompressDraco(GltfDocument& document, const tinygltf::Value& extension, tinygltf::Primitive& primitive,
                         std::string& error)
{
    tinygltf::Model& model = document.model;
    const unsigned char* bytes = nullptr;
    std::size_t length = 0;
    if (!extension.IsObject() || !extension.Get("attributes").IsObject() || !extension.Get("bufferView").IsInt() ||
        !FindBytes(model, extension.Get("bufferView").Get<int>(), bytes, length))
    {
        error = std::string(NAME) + " isn't what it should be";
        return false;
    }
    std::string reason;
    std::unique_ptr<draco::Mesh> mesh;
    if (TryDecode(bytes, length, reason))
    {
        mesh = Decode(bytes, length, reason);
    }
    if (mesh == nullptr)
    {
        error = "its compressed bytes are damaged" + (reason.empty() ? "" : ": " + reason);
        return false;
    }
    for (const std::string& name : extension.Get("attributes").Keys())
    {
        const tinygltf::Value& id = extension.Get("attributes").Get(name);
        const draco::PointAttribute* attribute =
            id.IsInt() && id.Get<int>() >= 0 ? mesh->GetAttributeByUniqueId(static_cast<std::uint32_t>(id.Get<int>()))
                                             : nullptr;
        const auto it = primitive.attributes.find(name);
        Bytes values;
        if (attribute == nullptr || it == primitive.attributes.end() || it->second < 0 ||
            static_cast<std::size_t>(it->second) >= model.accessors.size() ||
            !CopyAttribute(*attribute, mesh->num_points(), model.accessors[it->second], values))
        {
            error = std::string(NAME) + ": attribute " + name + " isn't what it should be";
            return false;
        }
        it->second = AddAccessor(document, model.accessors[it->second], mesh->num_points(), values);
    }
    ReplaceIndices(document, *mesh, primitive);
    return true;
}
