#include "scene/gltflists.h"

#include "scene/jsoncursor.h"

#include <algorithm>
#include <string_view>

using Name = std::string_view;
using tinygltf::Model;

// What an object may have without a say here. Extensions never are.
static bool ReadOther(JsonCursor& cursor, Name name)
{
    return name != "extensions" && cursor.ReadAny();
}

static bool Read(JsonCursor& cursor, tinygltf::BufferView& view)
{
    bool hasBuffer = false;
    bool hasLength = false;
    const bool read = cursor.ReadMembers(
        [&](Name name)
        {
            hasBuffer = hasBuffer || name == "buffer";
            hasLength = hasLength || name == "byteLength";
            return name == "buffer"       ? cursor.Read(view.buffer)
                   : name == "byteOffset" ? cursor.Read(view.byteOffset)
                   : name == "byteLength" ? cursor.Read(view.byteLength)
                   : name == "byteStride" ? cursor.Read(view.byteStride)
                                          : ReadOther(cursor, name);
        });
    return read && hasBuffer && hasLength;
}

static bool FindType(Name name, int& type)
{
    type = name == "SCALAR" ? TINYGLTF_TYPE_SCALAR
           : name == "VEC2" ? TINYGLTF_TYPE_VEC2
           : name == "VEC3" ? TINYGLTF_TYPE_VEC3
           : name == "VEC4" ? TINYGLTF_TYPE_VEC4
           : name == "MAT4" ? TINYGLTF_TYPE_MAT4
                            : -1;
    return type >= 0;
}

static bool Read(JsonCursor& cursor, tinygltf::Accessor& accessor)
{
    Name type;
    bool hasView = false;
    bool hasCount = false;
    accessor.componentType = 0;
    const bool read = cursor.ReadMembers(
        [&](Name name)
        {
            hasView = hasView || name == "bufferView";
            hasCount = hasCount || name == "count";
            return name == "bufferView"      ? cursor.Read(accessor.bufferView)
                   : name == "byteOffset"    ? cursor.Read(accessor.byteOffset)
                   : name == "normalized"    ? cursor.Read(accessor.normalized)
                   : name == "componentType" ? cursor.Read(accessor.componentType)
                   : name == "count"         ? cursor.Read(accessor.count)
                   : name == "type"          ? cursor.Read(type)
                                             : name != "sparse" && ReadOther(cursor, name);
        });
    return read && hasView && hasCount && FindType(type, accessor.type) &&
           accessor.componentType >= TINYGLTF_COMPONENT_TYPE_BYTE &&
           accessor.componentType <= TINYGLTF_COMPONENT_TYPE_DOUBLE;
}

static bool ReadAttributes(JsonCursor& cursor, std::map<std::string, int>& attributes)
{
    attributes.clear();
    return cursor.ReadMembers([&](Name name) { return cursor.Read(attributes[std::string(name)]); });
}

static bool Read(JsonCursor& cursor, tinygltf::Primitive& primitive)
{
    bool hasAttributes = false;
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    const auto readTargets = [&]
    {
        primitive.targets.clear();
        return cursor.ReadElements([&] { return ReadAttributes(cursor, primitive.targets.emplace_back()); });
    };
    const bool read = cursor.ReadMembers(
        [&](Name name)
        {
            hasAttributes = hasAttributes || name == "attributes";
            return name == "attributes" ? ReadAttributes(cursor, primitive.attributes)
                   : name == "indices"  ? cursor.Read(primitive.indices)
                   : name == "material" ? cursor.Read(primitive.material)
                   : name == "mode"     ? cursor.Read(primitive.mode)
                   : name == "targets"  ? readTargets()
                                        : ReadOther(cursor, name);
        });
    return read && hasAttributes;
}

template <typename T> static bool ReadList(JsonCursor& cursor, std::vector<T>& list)
{
    list.clear();
    return cursor.ReadElements([&] { return Read(cursor, list.emplace_back()); });
}

static bool Read(JsonCursor& cursor, tinygltf::Mesh& mesh)
{
    return cursor.ReadMembers(
        [&](Name name)
        {
            return name == "name"         ? cursor.Read(mesh.name)
                   : name == "primitives" ? ReadList(cursor, mesh.primitives)
                   : name == "weights"    ? cursor.Read(mesh.weights)
                                          : ReadOther(cursor, name);
        });
}

static bool Read(JsonCursor& cursor, tinygltf::Node& node)
{
    bool hasMatrix = false;
    const bool read = cursor.ReadMembers(
        [&](Name name)
        {
            hasMatrix = hasMatrix || name == "matrix";
            return name == "name"          ? cursor.Read(node.name)
                   : name == "children"    ? cursor.Read(node.children)
                   : name == "translation" ? cursor.Read(node.translation)
                   : name == "rotation"    ? cursor.Read(node.rotation)
                   : name == "scale"       ? cursor.Read(node.scale)
                   : name == "matrix"      ? cursor.Read(node.matrix)
                   : name == "mesh"        ? cursor.Read(node.mesh)
                   : name == "skin"        ? cursor.Read(node.skin)
                   : name == "camera"      ? cursor.Read(node.camera)
                   : name == "weights"     ? cursor.Read(node.weights)
                                           : name != "extras" && ReadOther(cursor, name); // which are custom values
        });
    if (hasMatrix) // which rules out the others
    {
        node.translation.clear();
        node.rotation.clear();
        node.scale.clear();
    }
    return read;
}

static bool Read(JsonCursor& cursor, tinygltf::Skin& skin)
{
    bool hasJoints = false;
    const bool read = cursor.ReadMembers(
        [&](Name name)
        {
            hasJoints = hasJoints || name == "joints";
            return name == "name"                  ? cursor.Read(skin.name)
                   : name == "joints"              ? cursor.Read(skin.joints)
                   : name == "inverseBindMatrices" ? cursor.Read(skin.inverseBindMatrices)
                                                   : ReadOther(cursor, name);
        });
    return read && hasJoints;
}

static bool Read(JsonCursor& cursor, tinygltf::AnimationChannel& channel)
{
    bool hasSampler = false;
    bool hasNode = false;
    bool hasPath = false;
    const auto readTarget = [&]
    {
        hasNode = false;
        hasPath = false;
        return cursor.ReadMembers(
            [&](Name name)
            {
                hasNode = hasNode || name == "node";
                hasPath = hasPath || name == "path";
                return name == "node"   ? cursor.Read(channel.target_node)
                       : name == "path" ? cursor.Read(channel.target_path)
                                        : ReadOther(cursor, name);
            });
    };
    const bool read = cursor.ReadMembers(
        [&](Name name)
        {
            hasSampler = hasSampler || name == "sampler";
            return name == "sampler"  ? cursor.Read(channel.sampler)
                   : name == "target" ? readTarget()
                                      : ReadOther(cursor, name);
        });
    return read && hasSampler && hasNode && hasPath;
}

static bool Read(JsonCursor& cursor, tinygltf::AnimationSampler& sampler)
{
    bool hasInput = false;
    bool hasOutput = false;
    const bool read = cursor.ReadMembers(
        [&](Name name)
        {
            hasInput = hasInput || name == "input";
            hasOutput = hasOutput || name == "output";
            return name == "input"           ? cursor.Read(sampler.input)
                   : name == "output"        ? cursor.Read(sampler.output)
                   : name == "interpolation" ? cursor.Read(sampler.interpolation)
                                             : ReadOther(cursor, name);
        });
    return read && hasInput && hasOutput;
}

static bool Read(JsonCursor& cursor, tinygltf::Animation& animation)
{
    return cursor.ReadMembers(
        [&](Name name)
        {
            return name == "name"       ? cursor.Read(animation.name)
                   : name == "channels" ? ReadList(cursor, animation.channels)
                   : name == "samplers" ? ReadList(cursor, animation.samplers)
                                        : ReadOther(cursor, name);
        });
}

static bool Read(JsonCursor& cursor, tinygltf::Scene& scene)
{
    return cursor.ReadMembers(
        [&](Name name)
        {
            return name == "name"    ? cursor.Read(scene.name)
                   : name == "nodes" ? cursor.Read(scene.nodes)
                                     : ReadOther(cursor, name);
        });
}

// False for a list that isn't one of those, or isn't plain.
static bool ReadNamedList(JsonCursor& cursor, Name name, Model& model)
{
    return name == "bufferViews"  ? ReadList(cursor, model.bufferViews)
           : name == "accessors"  ? ReadList(cursor, model.accessors)
           : name == "meshes"     ? ReadList(cursor, model.meshes)
           : name == "nodes"      ? ReadList(cursor, model.nodes)
           : name == "skins"      ? ReadList(cursor, model.skins)
           : name == "animations" ? ReadList(cursor, model.animations)
           : name == "scenes"     ? ReadList(cursor, model.scenes)
                                  : false;
}

// Where the lists that were taken stand in the text.
struct TakenList
{
    std::string name;
    const char* begin = nullptr;
    const char* end = nullptr;
};

// The parser holds these against each other, so it gets all of them or none.
static bool IsHeldAgainstOthers(const TakenList& list)
{
    return list.name == "bufferViews" || list.name == "accessors" || list.name == "meshes";
}

static bool FitsParser(const Model& model)
{
    const auto fits = [&](const tinygltf::Primitive& primitive)
    {
        if (primitive.indices < 0)
        {
            return true;
        }
        const auto accessor = static_cast<std::size_t>(primitive.indices);
        const int view = accessor < model.accessors.size() ? model.accessors[accessor].bufferView : -1;
        return view >= 0 && static_cast<std::size_t>(view) < model.bufferViews.size();
    };
    return std::all_of(model.meshes.begin(), model.meshes.end(),
                       [&](const tinygltf::Mesh& mesh)
                       { return std::all_of(mesh.primitives.begin(), mesh.primitives.end(), fits); });
}

// Finds the lists. False if the document isn't plain enough to tell.
static bool FindLists(JsonCursor& cursor, Model& model, std::vector<TakenList>& taken)
{
    std::vector<Name> names;
    return cursor.ReadMembers(
        [&](Name name)
        {
            if (std::find(names.begin(), names.end(), name) != names.end())
            {
                return false; // the last one of two counts
            }
            names.push_back(name);
            const char* begin = cursor.At();
            JsonCursor inner = cursor;
            if (ReadNamedList(inner, name, model))
            {
                cursor = inner;
                taken.push_back({std::string(name), begin, cursor.At()});
                return true;
            }
            return cursor.Pass();
        });
}

std::string TakeGltfLists(const char* text, std::size_t length, GltfLists& lists)
{
    std::vector<TakenList> taken;
    JsonCursor cursor(text, length);
    if (!FindLists(cursor, lists.model, taken))
    {
        return std::string(text, length);
    }
    const auto held = std::count_if(taken.begin(), taken.end(), IsHeldAgainstOthers);
    if (held < 3 || !FitsParser(lists.model))
    {
        taken.erase(std::remove_if(taken.begin(), taken.end(), IsHeldAgainstOthers), taken.end());
    }
    std::string rest;
    const char* at = text;
    for (const TakenList& list : taken)
    {
        rest.append(at, list.begin).append("[]");
        at = list.end;
        lists.taken.push_back(list.name);
    }
    return rest.append(at, text + length);
}

void GltfLists::MoveInto(Model& target)
{
    for (const std::string& name : taken)
    {
        const auto move = [&](const char* list, auto& from, auto& to)
        {
            if (name == list)
            {
                to.swap(from);
            }
        };
        move("bufferViews", model.bufferViews, target.bufferViews);
        move("accessors", model.accessors, target.accessors);
        move("meshes", model.meshes, target.meshes);
        move("nodes", model.nodes, target.nodes);
        move("skins", model.skins, target.skins);
        move("animations", model.animations, target.animations);
        move("scenes", model.scenes, target.scenes);
    }
}
