#include "scene/gltfaccessor.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

// A run of elements in a buffer.
struct GltfRun
{
    const unsigned char* bytes = nullptr;
    std::size_t stride = 0;
};

static std::size_t ComponentSize(int componentType)
{
    switch (componentType)
    {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return 1;
    case TINYGLTF_COMPONENT_TYPE_SHORT:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        return 2;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
        return 4;
    default:
        return 0;
    }
}

template <typename T> static double Load(const unsigned char* bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return static_cast<double>(value);
}

static double LoadComponent(const unsigned char* bytes, int componentType, bool normalized)
{
    double value = 0.0;
    double one = 1.0;
    switch (componentType)
    {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
        value = Load<std::int8_t>(bytes);
        one = 127.0;
        break;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        value = Load<std::uint8_t>(bytes);
        one = 255.0;
        break;
    case TINYGLTF_COMPONENT_TYPE_SHORT:
        value = Load<std::int16_t>(bytes);
        one = 32767.0;
        break;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        value = Load<std::uint16_t>(bytes);
        one = 65535.0;
        break;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
        value = Load<std::uint32_t>(bytes);
        one = 4294967295.0;
        break;
    default:
        return Load<float>(bytes);
    }
    return normalized ? std::fmax(value / one, -1.0) : value;
}

static int WidthOf(int type)
{
    switch (type)
    {
    case TINYGLTF_TYPE_SCALAR:
        return 1;
    case TINYGLTF_TYPE_VEC2:
        return 2;
    case TINYGLTF_TYPE_VEC3:
        return 3;
    case TINYGLTF_TYPE_VEC4:
        return 4;
    case TINYGLTF_TYPE_MAT4:
        return 16;
    default:
        return 0;
    }
}

// Finds `count` elements of `size` bytes at `offset` of a buffer view, held against view and buffer.
static bool FindRun(const tinygltf::Model& model, int viewIndex, std::size_t offset, std::size_t count,
                    std::size_t size, GltfRun& run, std::string& error)
{
    if (viewIndex < 0 || static_cast<std::size_t>(viewIndex) >= model.bufferViews.size())
    {
        error = "buffer view " + std::to_string(viewIndex) + " of " + std::to_string(model.bufferViews.size());
        return false;
    }
    const tinygltf::BufferView& view = model.bufferViews[viewIndex];
    if (view.buffer < 0 || static_cast<std::size_t>(view.buffer) >= model.buffers.size())
    {
        error = "buffer " + std::to_string(view.buffer) + " of " + std::to_string(model.buffers.size());
        return false;
    }
    const std::vector<unsigned char>& data = model.buffers[view.buffer].data;
    if (view.byteOffset > data.size() || view.byteLength > data.size() - view.byteOffset)
    {
        error = "buffer view " + std::to_string(viewIndex) + " reaches beyond its buffer of " +
                std::to_string(data.size()) + " bytes";
        return false;
    }
    run.stride = view.byteStride != 0 ? view.byteStride : size;
    if (size == 0 || run.stride < size)
    {
        error = "a stride of " + std::to_string(run.stride) + " bytes for elements of " + std::to_string(size);
        return false;
    }
    const bool fits = count == 0 || (offset <= view.byteLength && size <= view.byteLength - offset &&
                                     (count - 1) <= (view.byteLength - offset - size) / run.stride);
    if (!fits)
    {
        error = std::to_string(count) + " elements reach beyond buffer view " + std::to_string(viewIndex) + " of " +
                std::to_string(view.byteLength) + " bytes";
        return false;
    }
    run.bytes = count == 0 ? nullptr : data.data() + view.byteOffset + offset;
    return true;
}

static bool CheckShape(const tinygltf::Accessor& accessor, int width, GltfNumbers accepted, std::size_t inputBytes,
                       std::string& error)
{
    const bool isFloat = accessor.componentType == TINYGLTF_COMPONENT_TYPE_FLOAT;
    const bool isSigned = accessor.componentType == TINYGLTF_COMPONENT_TYPE_BYTE ||
                          accessor.componentType == TINYGLTF_COMPONENT_TYPE_SHORT;
    if (WidthOf(accessor.type) != width)
    {
        error = std::to_string(width) + " numbers to an element are expected";
        return false;
    }
    if (ComponentSize(accessor.componentType) == 0 || (accepted == GltfNumbers::Floats && !isFloat) ||
        (accepted == GltfNumbers::Indices && (isFloat || isSigned || accessor.normalized)))
    {
        error = "component type " + std::to_string(accessor.componentType) + " doesn't belong here";
        return false;
    }
    if (accessor.count > inputBytes)
    {
        error = std::to_string(accessor.count) + " elements are more than the file can hold";
        return false;
    }
    return true;
}

template <typename Number>
static bool ReadSparse(const GltfDocument& document, const tinygltf::Accessor& accessor, std::size_t width,
                       std::vector<Number>& values, std::string& error)
{
    const auto& sparse = accessor.sparse;
    const std::size_t indexSize = ComponentSize(sparse.indices.componentType);
    const bool indexType = sparse.indices.componentType == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE ||
                           sparse.indices.componentType == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ||
                           sparse.indices.componentType == TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
    const std::size_t componentSize = ComponentSize(accessor.componentType);
    if (!indexType || sparse.count < 0 || static_cast<std::size_t>(sparse.count) > accessor.count ||
        sparse.indices.byteOffset < 0 || sparse.values.byteOffset < 0)
    {
        error = "its sparse part makes no sense";
        return false;
    }
    const auto count = static_cast<std::size_t>(sparse.count);
    GltfRun indices;
    GltfRun replacements;
    if (!FindRun(document.model, sparse.indices.bufferView, static_cast<std::size_t>(sparse.indices.byteOffset), count,
                 indexSize, indices, error) ||
        !FindRun(document.model, sparse.values.bufferView, static_cast<std::size_t>(sparse.values.byteOffset), count,
                 componentSize * width, replacements, error))
    {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        const double index = LoadComponent(indices.bytes + i * indices.stride, sparse.indices.componentType, false);
        if (index >= static_cast<double>(accessor.count))
        {
            error = "sparse index " + std::to_string(static_cast<std::uint64_t>(index)) + " of " +
                    std::to_string(accessor.count) + " elements";
            return false;
        }
        for (std::size_t k = 0; k < width; ++k)
        {
            values[static_cast<std::size_t>(index) * width + k] =
                static_cast<Number>(LoadComponent(replacements.bytes + i * replacements.stride + k * componentSize,
                                                  accessor.componentType, accessor.normalized));
        }
    }
    return true;
}

// Components of type T as they are, element after element.
template <typename T, typename Number>
static void LoadElements(const GltfRun& run, std::size_t count, std::size_t width, Number* values)
{
    const bool isPacked = run.stride == width * sizeof(T);
    const std::size_t nRuns = isPacked ? 1 : count; // of components side by side
    const std::size_t length = isPacked ? count * width : width;
    for (std::size_t i = 0; i < nRuns; ++i)
    {
        const unsigned char* bytes = run.bytes + i * run.stride;
        for (std::size_t k = 0; k < length; ++k)
        {
            T value;
            std::memcpy(&value, bytes + k * sizeof value, sizeof value);
            values[i * length + k] = static_cast<Number>(value);
        }
    }
}

template <typename Number>
static void LoadAll(const GltfRun& run, const tinygltf::Accessor& accessor, std::size_t width, Number* values)
{
    const std::size_t n = accessor.count;
    if constexpr (std::is_floating_point_v<Number>) // indices are neither signed nor fractions
    {
        switch (accessor.componentType)
        {
        case TINYGLTF_COMPONENT_TYPE_BYTE:
            return LoadElements<std::int8_t>(run, n, width, values);
        case TINYGLTF_COMPONENT_TYPE_SHORT:
            return LoadElements<std::int16_t>(run, n, width, values);
        case TINYGLTF_COMPONENT_TYPE_FLOAT:
            return LoadElements<float>(run, n, width, values);
        default:
            break;
        }
    }
    switch (accessor.componentType)
    {
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
        return LoadElements<std::uint8_t>(run, n, width, values);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
        return LoadElements<std::uint16_t>(run, n, width, values);
    default:
        return LoadElements<std::uint32_t>(run, n, width, values);
    }
}

template <typename Number>
static bool ReadElements(const GltfDocument& document, const tinygltf::Accessor& accessor, std::size_t width,
                         std::vector<Number>& values, std::string& error)
{
    const std::size_t componentSize = ComponentSize(accessor.componentType);
    GltfRun run;
    if (accessor.bufferView >= 0 && !FindRun(document.model, accessor.bufferView, accessor.byteOffset, accessor.count,
                                             componentSize * width, run, error))
    {
        return false;
    }
    values.assign(accessor.count * width, Number());
    if (run.bytes != nullptr && accessor.normalized)
    {
        for (std::size_t i = 0; i < values.size(); ++i)
        {
            values[i] =
                static_cast<Number>(LoadComponent(run.bytes + i / width * run.stride + i % width * componentSize,
                                                  accessor.componentType, accessor.normalized));
        }
    }
    else if (run.bytes != nullptr)
    {
        LoadAll(run, accessor, width, values.data());
    }
    return !accessor.sparse.isSparse || ReadSparse(document, accessor, width, values, error);
}

static bool CheckFinite(const std::vector<double>& values, std::size_t width, std::string& error)
{
    const auto odd = std::find_if(values.begin(), values.end(), [](double value) { return !std::isfinite(value); });
    if (odd != values.end())
    {
        error = "element " + std::to_string(static_cast<std::size_t>(odd - values.begin()) / width) +
                " isn't a finite number";
    }
    return odd == values.end();
}

template <typename Number>
static bool ReadNumbers(const GltfDocument& document, int accessor, int width, GltfNumbers accepted,
                        std::vector<Number>& values, std::string& error)
{
    const std::vector<tinygltf::Accessor>& accessors = document.model.accessors;
    if (accessor < 0 || static_cast<std::size_t>(accessor) >= accessors.size())
    {
        error = "accessor " + std::to_string(accessor) + " of " + std::to_string(accessors.size());
        return false;
    }
    const tinygltf::Accessor& found = accessors[accessor];
    bool read = CheckShape(found, width, accepted, document.inputBytes, error) &&
                ReadElements(document, found, static_cast<std::size_t>(width), values, error);
    if constexpr (std::is_same_v<Number, double>)
    {
        const bool isFloat = found.componentType == TINYGLTF_COMPONENT_TYPE_FLOAT;
        read = read && (!isFloat || CheckFinite(values, static_cast<std::size_t>(width), error));
    }
    if (!read)
    {
        error = "accessor " + std::to_string(accessor) + ": " + error;
    }
    return read;
}

bool ReadGltfAccessor(const GltfDocument& document, int accessor, int width, GltfNumbers accepted,
                      std::vector<double>& values, std::string& error)
{
    return ReadNumbers(document, accessor, width, accepted, values, error);
}

bool ReadGltfIndices(const GltfDocument& document, int accessor, int width, std::vector<std::uint32_t>& values,
                     std::string& error)
{
    return ReadNumbers(document, accessor, width, GltfNumbers::Indices, values, error);
}
