#include "scene/gltfdocument.h"

#include "scene/base64.h"
#include "scene/gltfdraco.h"
#include "scene/gltfextensions.h"
#include "scene/gltflists.h"
#include "scene/gltfmeshopt.h"
#include "scene/imagesize.h"
#include "scene/readfile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

using Json = nlohmann::json;
using Bytes = std::vector<unsigned char>;

static const int MAX_NESTING = 256;

static std::uint32_t ReadU32(const unsigned char* bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8U |
           static_cast<std::uint32_t>(bytes[2]) << 16U | static_cast<std::uint32_t>(bytes[3]) << 24U;
}

// Splits a .glb into its document and its binary chunk (both views into `file`; `binary` stays null without one).
static bool SplitBinary(const Bytes& file, const char*& text, std::size_t& textLength, const unsigned char*& binary,
                        std::size_t& binaryLength, std::string& error)
{
    if (file.size() < 20)
    {
        error = "ends within its header";
        return false;
    }
    if (ReadU32(&file[4]) != 2)
    {
        error = "is binary glTF of version " + std::to_string(ReadU32(&file[4])) + ", only 2 is supported";
        return false;
    }
    std::size_t at = 12;
    while (file.size() - at >= 8)
    {
        const std::size_t length = ReadU32(&file[at]);
        const std::uint32_t kind = ReadU32(&file[at + 4]);
        at += 8;
        if (length > file.size() - at)
        {
            error = "ends within a chunk: " + std::to_string(length) + " bytes are stated, " +
                    std::to_string(file.size() - at) + " are left";
            return false;
        }
        if (kind == 0x4E4F534AU && text == nullptr)
        {
            text = reinterpret_cast<const char*>(&file[at]);
            textLength = length;
        }
        else if (kind == 0x004E4942U && binary == nullptr)
        {
            binary = file.data() + at;
            binaryLength = length;
        }
        at += length;
    }
    if (text == nullptr)
    {
        error = "has no document chunk";
        return false;
    }
    return true;
}

// How deep brackets nest, strings apart. The parsers recurse, so a hostile document must not get at them.
static bool NestsTooDeep(const std::string& text)
{
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const char c = text[i];
        if (inString)
        {
            i += c == '\\' ? 1 : 0;
            inString = c != '"';
        }
        else if (c == '"')
        {
            inString = true;
        }
        else if (c == '{' || c == '[')
        {
            if (++depth > MAX_NESTING)
            {
                return true;
            }
        }
        else if (c == '}' || c == ']')
        {
            --depth;
        }
    }
    return false;
}

static std::string TextMember(const Json& object, const char* name)
{
    const auto it = object.is_object() ? object.find(name) : object.end();
    return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
}

static const Json* ArrayMember(const Json& object, const char* name)
{
    const auto it = object.find(name);
    return it != object.end() && it->is_array() ? &*it : nullptr;
}

static bool IsDataUri(const std::string& uri)
{
    return uri.compare(0, 5, "data:") == 0;
}

static bool DecodeDataUri(const std::string& uri, Bytes& bytes)
{
    const std::size_t comma = uri.find(',');
    const std::string encoding = ";base64";
    return comma != std::string::npos && comma >= encoding.size() &&
           uri.compare(comma - encoding.size(), encoding.size(), encoding) == 0 &&
           DecodeBase64(uri.data() + comma + 1, uri.size() - comma - 1, bytes);
}

static int HexValue(char c)
{
    if (c >= '0' && c <= '9')
    {
        return c - '0';
    }
    const int letter = c | 0x20;
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

// The path of a file that the document names: relative to the folder of the document, with %XX resolved.
static std::string ResolveUri(const std::string& folder, const std::string& uri)
{
    std::string name;
    for (std::size_t i = 0; i < uri.size(); ++i)
    {
        if (uri[i] == '%' && i + 2 < uri.size() && HexValue(uri[i + 1]) >= 0 && HexValue(uri[i + 2]) >= 0)
        {
            name += static_cast<char>(HexValue(uri[i + 1]) * 16 + HexValue(uri[i + 2]));
            i += 2;
        }
        else
        {
            name += uri[i];
        }
    }
    return folder.empty() || (!name.empty() && name[0] == '/') ? name : folder + "/" + name;
}

// A document that lacks what tells its version counts as one of version 2.
static bool CheckHeader(const Json& json, std::vector<std::string>& warnings, std::string& error)
{
    const bool hasAsset = json.is_object() && json.contains("asset") && json["asset"].is_object();
    if (!json.is_object() || (!hasAsset && ArrayMember(json, "nodes") == nullptr))
    {
        error = "is no glTF document: it has no asset";
        return false;
    }
    if (!hasAsset || !json["asset"].contains("version"))
    {
        warnings.emplace_back("The file doesn't state its version; it is read as glTF 2.0.");
        return true;
    }
    const std::string version = TextMember(json["asset"], "version");
    if (version.compare(0, 2, "2.") != 0)
    {
        error = "is glTF of version \"" + version + "\", only 2.x is supported";
        return false;
    }
    return true;
}

// Reads what the document's buffers hold. `binary` is what buffer 0 without a URI stands for; it's moved from.
static bool LoadBuffers(const Json& json, const std::string& folder, Bytes& binary, GltfDocument& document,
                        std::string& error)
{
    const Json* buffers = ArrayMember(json, "buffers");
    for (std::size_t i = 0; buffers != nullptr && i < buffers->size(); ++i)
    {
        const Json& buffer = (*buffers)[i];
        const std::string place = "buffer " + std::to_string(i) + ": ";
        const std::string uri = TextMember(buffer, "uri");
        Bytes bytes;
        if (IsDataUri(uri))
        {
            if (!DecodeDataUri(uri, bytes))
            {
                error = place + "its data URI isn't base64";
                return false;
            }
        }
        else if (!uri.empty())
        {
            std::string reason;
            document.files.push_back(ResolveUri(folder, uri));
            if (!ReadFileBytes(document.files.back(), bytes, reason))
            {
                error = std::string(place).append(uri).append(" ").append(reason);
                return false;
            }
            document.inputBytes += bytes.size();
        }
        else if (i == 0)
        {
            bytes.swap(binary);
        }
        const auto stated = buffer.is_object() ? buffer.find("byteLength") : buffer.end();
        if (stated == buffer.end() || !stated->is_number_unsigned())
        {
            document.warnings.push_back("In " + place + "its length isn't stated; all of it is taken.");
        }
        else if (stated->get<std::uint64_t>() <= bytes.size())
        {
            bytes.resize(stated->get<std::size_t>());
        }
        else if (!bytes.empty() || !IsMeshoptFallback(buffer))
        {
            document.warnings.push_back("In " + place + std::to_string(stated->get<std::uint64_t>()) +
                                        " bytes are stated, there are " + std::to_string(bytes.size()) + ".");
        }
        document.model.buffers.emplace_back();
        document.model.buffers.back().data.swap(bytes);
    }
    return true;
}

static void MeasureImage(const Json& image, const std::string& folder, GltfDocument& document)
{
    const tinygltf::Model& model = document.model;
    SceneImage& size = document.images.emplace_back();
    const std::string uri = TextMember(image, "uri");
    bool known = false;
    if (IsDataUri(uri))
    {
        Bytes bytes;
        known = DecodeDataUri(uri, bytes) && ImageSizeFromMemory(bytes.data(), bytes.size(), size.width, size.height);
    }
    else if (!uri.empty())
    {
        document.files.push_back(ResolveUri(folder, uri));
        known = ImageSizeFromFile(document.files.back(), size.width, size.height);
    }
    else if (image.is_object() && image.contains("bufferView") && image["bufferView"].is_number_unsigned())
    {
        const auto index = image["bufferView"].get<std::uint64_t>();
        if (index < model.bufferViews.size())
        {
            const tinygltf::BufferView& view = model.bufferViews[index];
            if (view.buffer >= 0 && static_cast<std::size_t>(view.buffer) < model.buffers.size())
            {
                const Bytes& data = model.buffers[view.buffer].data;
                known = view.byteOffset <= data.size() && view.byteLength <= data.size() - view.byteOffset &&
                        ImageSizeFromMemory(data.data() + view.byteOffset, view.byteLength, size.width, size.height);
            }
        }
    }
    if (!known)
    {
        size.width = 0;
        size.height = 0;
    }
    size.name = TextMember(image, "name");
    if (size.name.empty() && !IsDataUri(uri))
    {
        size.name = uri;
    }
}

// What the parser doesn't get to see.
struct HiddenFromParser
{
    std::vector<std::size_t> strides;        // of the views: it refuses those that aren't multiples of 4
    std::vector<std::size_t> emptyAccessors; // those without a view, as of compressed primitives
};

// Puts right what the parser would refuse and others don't: a member that is missing though its value is clear, and
// what it gets in another form.
static void MendForParser(Json& json, HiddenFromParser& hidden, std::vector<std::string>& warnings)
{
    Json& asset = json["asset"];
    asset = asset.is_object() ? asset : Json::object();
    asset["version"] = "2.0";
    const auto each = [&json](const char* name, const auto& mend)
    {
        const auto list = json.find(name);
        for (std::size_t i = 0; list != json.end() && list->is_array() && i < list->size(); ++i)
        {
            if ((*list)[i].is_object())
            {
                mend((*list)[i], i);
            }
        }
    };
    each("bufferViews",
         [&](Json& view, std::size_t index)
         {
             if (!view.contains("buffer"))
             {
                 view["buffer"] = 0;
                 warnings.push_back("In buffer view " + std::to_string(index) +
                                    " no buffer is stated; buffer 0 is taken.");
             }
             const auto stride = view.find("byteStride");
             hidden.strides.resize(index, 0);
             hidden.strides.push_back(stride != view.end() && stride->is_number_unsigned() ? stride->get<std::size_t>()
                                                                                           : 0);
             view.erase("byteStride");
         });
    each("accessors",
         [&](Json& accessor, std::size_t index)
         {
             if (!accessor.contains("bufferView"))
             {
                 accessor["bufferView"] = 0;
                 hidden.emptyAccessors.push_back(index);
             }
         });
    each("meshes",
         [](Json& mesh, std::size_t)
         {
             const auto primitives = mesh.find("primitives");
             for (std::size_t i = 0; primitives != mesh.end() && primitives->is_array() && i < primitives->size(); ++i)
             {
                 if ((*primitives)[i].is_object() && !(*primitives)[i].contains("attributes"))
                 {
                     (*primitives)[i]["attributes"] = Json::object(); // nothing is drawn
                 }
             }
         });
}

// The first line of what the parser says, without the full stop.
static std::string FirstLine(const std::string& text)
{
    std::string line = text.substr(0, text.find('\n'));
    while (!line.empty() && (line.back() == '.' || line.back() == ' '))
    {
        line.pop_back();
    }
    return line.empty() ? "its structure isn't that of a glTF document" : line;
}

static bool Parse(const Json& json, tinygltf::Model& model, std::string& error)
{
    const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    tinygltf::TinyGLTF parser;
    std::string parserError;
    std::string parserWarning;
    if (!parser.LoadASCIIFromString(&model, &parserError, &parserWarning, text.data(),
                                    static_cast<unsigned int>(text.size()), "", tinygltf::NO_REQUIRE))
    {
        error = "isn't valid glTF: " + FirstLine(parserError);
        return false;
    }
    return true;
}

// `json` is the document without `lists`, which `text` has as well.
static bool ParseDocument(Json& json, GltfLists& lists, const char* text, std::size_t textLength,
                          GltfDocument& document, std::string& error)
{
    // Buffers and images stay out of the parser's hands: it trusts the lengths that a file states. What nobody reads
    // needn't make sense.
    for (const char* unread : {"buffers", "images", "cameras", "extensions"})
    {
        json.erase(unread);
    }
    HiddenFromParser hidden;
    MendForParser(json, hidden, document.warnings);
    tinygltf::Model parsed;
    if (!Parse(json, parsed, error))
    {
        // The parser may have something to say of what it didn't get as well.
        Json whole = Json::parse(text, text + textLength);
        for (const std::string& name : lists.taken)
        {
            json[name] = std::move(whole[name]);
        }
        Parse(json, parsed, error);
        return false;
    }
    parsed.buffers.swap(document.model.buffers);
    document.model = std::move(parsed);
    for (std::size_t i = 0; i < std::min(hidden.strides.size(), document.model.bufferViews.size()); ++i)
    {
        document.model.bufferViews[i].byteStride = hidden.strides[i];
    }
    for (const std::size_t i : hidden.emptyAccessors)
    {
        if (i < document.model.accessors.size())
        {
            document.model.accessors[i].bufferView = -1;
        }
    }
    lists.MoveInto(document.model);
    return true;
}

bool LoadGltfDocument(const std::string& path, GltfDocument& document, std::string& error)
{
    const std::string folder = FileFolderOf(path);
    Bytes file;
    std::string reason;
    const std::string name = FileNameOf(path);
    if (!ReadFileBytes(path, file, reason))
    {
        error = path + " " + reason + ".";
        return false;
    }
    document.inputBytes = file.size();
    const char* text = nullptr;
    std::size_t textLength = 0;
    std::string documentChunk;
    Bytes binary;
    if (file.size() >= 4 && std::memcmp(file.data(), "glTF", 4) == 0)
    {
        const unsigned char* chunk = nullptr;
        std::size_t chunkLength = 0;
        if (!SplitBinary(file, text, textLength, chunk, chunkLength, reason))
        {
            error = name + " " + reason + ".";
            return false;
        }
        // The binary chunk, mostly the longer one, stays in the memory that it has been read into.
        documentChunk.assign(text, textLength);
        text = documentChunk.data();
        if (chunk != nullptr)
        {
            const std::ptrdiff_t at = chunk - file.data();
            binary.swap(file);
            binary.resize(static_cast<std::size_t>(at) + chunkLength);
            binary.erase(binary.begin(), binary.begin() + at);
        }
    }
    else
    {
        text = reinterpret_cast<const char*>(file.data());
        textLength = file.size();
    }
    if (textLength == 0)
    {
        error = name + " is empty.";
        return false;
    }
    while (textLength > 0 && text[textLength - 1] == '\0')
    {
        --textLength; // which some pad a binary file's document with
    }
    GltfLists lists;
    const std::string rest = TakeGltfLists(text, textLength, lists);
    if (NestsTooDeep(rest))
    {
        error = name + " nests deeper than 256 levels.";
        return false;
    }
    Json json = Json::parse(rest, nullptr, false);
    if (json.is_discarded())
    {
        error = name + " isn't valid glTF: its document isn't valid JSON.";
        return false;
    }
    if (!CheckHeader(json, document.warnings, reason))
    {
        error = name + " " + reason + ".";
        return false;
    }
    for (std::string& sentence : DescribeUnreadExtensions(json))
    {
        document.warnings.push_back(std::move(sentence));
    }
    if (!LoadBuffers(json, folder, binary, document, reason) || !DecompressMeshopt(json, document, reason))
    {
        error = name + ": " + reason + ".";
        return false;
    }
    const Json images = ArrayMember(json, "images") != nullptr ? json["images"] : Json::array();
    if (!ParseDocument(json, lists, text, textLength, document, reason))
    {
        error = name + " " + reason + ".";
        return false;
    }
    if (!DecompressDraco(document, reason))
    {
        error = name + ": " + reason + ".";
        return false;
    }
    for (const Json& image : images)
    {
        MeasureImage(image, folder, document);
    }
    return true;
}
