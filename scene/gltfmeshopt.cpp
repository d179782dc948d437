#include "scene/gltfmeshopt.h"

#include "scene/gltfextensions.h"
#include "scene/loadlibrary.h"
#include "scene/meshoptdecoder.h"

using Json = nlohmann::json;
using Bytes = std::vector<unsigned char>;

static const char NAME[] = "EXT_meshopt_compression";

bool IsMeshoptFallback(const Json& buffer)
{
    const Json* extension = FindExtension(buffer, NAME);
    return extension != nullptr && extension->contains("fallback") && (*extension)["fallback"] == true;
}

#ifdef ZOLT_HAS_MESHOPT

// An element of constant bytes takes a 64th of its length; the rest is for the head and the tail of a stream.
static const std::size_t MAX_RATIO = 64;
static const std::size_t FREE_BYTES = std::size_t(1) << 20U;
static const std::size_t MAX_STRIDE = 256;

namespace
{

struct CompressedView
{
    std::size_t buffer = 0;
    std::size_t byteOffset = 0;
    std::size_t byteLength = 0;
    std::size_t byteStride = 0;
    std::size_t count = 0;
    std::string mode;
    std::string filter = "NONE";
};

} // namespace

static bool ReadSize(const Json& object, const char* name, bool required, std::size_t& size)
{
    const auto it = object.find(name);
    if (it == object.end())
    {
        return !required;
    }
    if (!it->is_number_unsigned())
    {
        return false;
    }
    size = it->get<std::size_t>();
    return true;
}

static bool ReadView(const Json& extension, CompressedView& view)
{
    const auto mode = extension.find("mode");
    const auto filter = extension.find("filter");
    if (mode == extension.end() || !mode->is_string() || (filter != extension.end() && !filter->is_string()))
    {
        return false;
    }
    view.mode = mode->get<std::string>();
    view.filter = filter == extension.end() ? view.filter : filter->get<std::string>();
    return ReadSize(extension, "buffer", true, view.buffer) &&
           ReadSize(extension, "byteOffset", false, view.byteOffset) &&
           ReadSize(extension, "byteLength", true, view.byteLength) &&
           ReadSize(extension, "byteStride", true, view.byteStride) && ReadSize(extension, "count", true, view.count);
}

// Whether the decoders can be asked for this; they rely on it.
static bool FitsDecoder(const CompressedView& view)
{
    const std::size_t stride = view.byteStride;
    if (view.mode != "ATTRIBUTES")
    {
        const bool isTriangles = view.mode == "TRIANGLES" && view.count % 3 == 0;
        return (isTriangles || view.mode == "INDICES") && (stride == 2 || stride == 4) && view.filter == "NONE";
    }
    return stride > 0 && stride <= MAX_STRIDE && stride % 4 == 0 &&
           (view.filter == "NONE" || view.filter == "EXPONENTIAL" ||
            (view.filter == "OCTAHEDRAL" && (stride == 4 || stride == 8)) ||
            (view.filter == "QUATERNION" && stride == 8));
}

static MeshoptMode ModeOf(const CompressedView& view)
{
    if (view.mode == "ATTRIBUTES")
    {
        return MESHOPT_ATTRIBUTES;
    }
    return view.mode == "TRIANGLES" ? MESHOPT_TRIANGLES : MESHOPT_INDICES;
}

static MeshoptFilter FilterOf(const CompressedView& view)
{
    if (view.filter == "NONE")
    {
        return MESHOPT_NONE;
    }
    if (view.filter == "OCTAHEDRAL")
    {
        return MESHOPT_OCTAHEDRAL;
    }
    return view.filter == "QUATERNION" ? MESHOPT_QUATERNION : MESHOPT_EXPONENTIAL;
}

static bool Decode(const CompressedView& view, const unsigned char* source, Bytes& bytes, std::string& error)
{
    std::string reason;
    auto* const decode = LoadFunction<decltype(ZoltDecodeMeshopt)>("libzoltmeshopt.so", "ZoltDecodeMeshopt", reason);
    if (decode == nullptr)
    {
        error = std::string("the decoder of ") + NAME + " can't be loaded: " + reason;
        return false;
    }
    // Filters may work on four elements at a time.
    bytes.resize((view.count + 3) / 4 * 4 * view.byteStride);
    const bool isGood =
        decode(ModeOf(view), FilterOf(view), bytes.data(), view.count, view.byteStride, source, view.byteLength);
    bytes.resize(view.count * view.byteStride);
    if (!isGood)
    {
        error = "its compressed bytes are damaged";
    }
    return isGood;
}

static bool DecompressView(const Json& extension, Json& target, GltfDocument& document, std::size_t& budget,
                           std::string& error)
{
    CompressedView view;
    std::vector<tinygltf::Buffer>& buffers = document.model.buffers;
    if (!ReadView(extension, view) || !FitsDecoder(view) || view.buffer >= buffers.size())
    {
        error = std::string(NAME) + " isn't what it should be";
        return false;
    }
    const Bytes& data = buffers[view.buffer].data;
    if (view.byteOffset > data.size() || view.byteLength > data.size() - view.byteOffset)
    {
        error = "its compressed bytes reach beyond buffer " + std::to_string(view.buffer) + " of " +
                std::to_string(data.size()) + " bytes";
        return false;
    }
    if (view.count > budget / view.byteStride ||
        view.count * view.byteStride / MAX_RATIO > view.byteLength + FREE_BYTES / MAX_RATIO)
    {
        error = "its compressed bytes can't hold " + std::to_string(view.count) + " elements";
        return false;
    }
    Bytes bytes;
    if (!Decode(view, data.data() + view.byteOffset, bytes, error))
    {
        return false;
    }
    budget -= bytes.size();
    document.inputBytes += bytes.size();
    target["buffer"] = buffers.size();
    target["byteOffset"] = 0;
    target["byteLength"] = bytes.size();
    target.erase("byteStride");
    if (view.mode == "ATTRIBUTES")
    {
        target["byteStride"] = view.byteStride;
    }
    buffers.emplace_back();
    buffers.back().data.swap(bytes);
    return true;
}

bool DecompressMeshopt(Json& json, GltfDocument& document, std::string& error)
{
    const auto views = json.find("bufferViews");
    std::size_t budget = FREE_BYTES + MAX_RATIO * document.inputBytes;
    for (std::size_t i = 0; views != json.end() && views->is_array() && i < views->size(); ++i)
    {
        const Json* found = FindExtension((*views)[i], NAME);
        if (found == nullptr)
        {
            continue;
        }
        const Json extension = *found;
        (*views)[i].erase("extensions");
        if (!DecompressView(extension, (*views)[i], document, budget, error))
        {
            error = std::string("buffer view ").append(std::to_string(i)).append(": ").append(error);
            return false;
        }
    }
    return true;
}

#else

// What a file has beside its compressed bytes is all there is to read.
bool DecompressMeshopt(Json& json, GltfDocument& document, std::string& error)
{
    const auto views = json.find("bufferViews");
    const auto buffers = json.find("buffers");
    for (std::size_t i = 0; views != json.end() && views->is_array() && i < views->size(); ++i)
    {
        const Json& view = (*views)[i];
        if (FindExtension(view, NAME) == nullptr || !view.contains("buffer") || !view["buffer"].is_number_unsigned())
        {
            continue;
        }
        const auto buffer = view["buffer"].get<std::size_t>();
        if (buffers != json.end() && buffer < document.model.buffers.size() && IsMeshoptFallback((*buffers)[buffer]) &&
            document.model.buffers[buffer].data.empty())
        {
            error = std::string("needs the extension ") + NAME + ", which isn't supported here";
            return false;
        }
    }
    return true;
}

#endif
