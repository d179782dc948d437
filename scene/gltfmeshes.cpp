#include "scene/gltfaccessor.h"
#include "scene/gltfparts.h"
#include "scene/trianglelist.h"

#include <algorithm>
#include <cmath>

using Numbers = std::vector<double>;

static int FindAttribute(const std::map<std::string, int>& attributes, const std::string& name)
{
    const auto it = attributes.find(name);
    return it == attributes.end() ? -1 : it->second;
}

static std::vector<Double3> ToPoints(const Numbers& numbers)
{
    std::vector<Double3> points(numbers.size() / 3);
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        points[i] = {numbers[3 * i], numbers[3 * i + 1], numbers[3 * i + 2]};
    }
    return points;
}

static bool CheckAttribute(GltfReading& reading, bool read, const std::string& name, std::size_t nRead,
                           std::size_t nVertices)
{
    if (!read)
    {
        return reading.Fail(name + ": " + reading.error);
    }
    if (nRead != nVertices)
    {
        return reading.Fail(name + " for " + std::to_string(nRead) + " vertices, there are " +
                            std::to_string(nVertices));
    }
    return true;
}

static bool ReadAttribute(GltfReading& reading, int accessor, const std::string& name, int width, std::size_t nVertices,
                          Numbers& numbers)
{
    const bool read = ReadGltfAccessor(reading.document, accessor, width, GltfNumbers::Any, numbers, reading.error);
    return CheckAttribute(reading, read, name, numbers.size() / static_cast<std::size_t>(width), nVertices);
}

static bool ReadJoints(GltfReading& reading, int accessor, const std::string& name, std::size_t nVertices,
                       std::vector<std::uint32_t>& joints)
{
    const bool read = ReadGltfIndices(reading.document, accessor, 4, joints, reading.error);
    return CheckAttribute(reading, read, name, joints.size() / 4, nVertices);
}

static bool ReadIndices(GltfReading& reading, const tinygltf::Primitive& source, std::size_t nVertices,
                        std::vector<std::uint32_t>& indices)
{
    if (source.indices < 0)
    {
        indices.resize(nVertices);
        for (std::size_t i = 0; i < nVertices; ++i)
        {
            indices[i] = static_cast<std::uint32_t>(i);
        }
        return true;
    }
    if (!ReadGltfIndices(reading.document, source.indices, 1, indices, reading.error))
    {
        return reading.Fail("indices: " + reading.error);
    }
    const auto beyond =
        std::find_if(indices.begin(), indices.end(), [&](std::uint32_t index) { return index >= nVertices; });
    return beyond == indices.end() ||
           reading.Fail("index " + std::to_string(*beyond) + " of " + std::to_string(nVertices) + " vertices");
}

static bool ReadTriangles(GltfReading& reading, const tinygltf::Primitive& source, ScenePrimitive& primitive)
{
    std::vector<std::uint32_t> indices;
    if (!ReadIndices(reading, source, primitive.positions.size(), indices))
    {
        return false;
    }
    const TriangleMode mode = source.mode == TINYGLTF_MODE_TRIANGLE_STRIP ? TriangleMode::Strip
                              : source.mode == TINYGLTF_MODE_TRIANGLE_FAN ? TriangleMode::Fan
                                                                          : TriangleMode::List;
    if (!AppendTriangles(mode, indices, primitive.triangles))
    {
        reading.Warn(std::to_string(indices.size()) +
                     " corners don't make whole triangles; the last ones are left out.");
    }
    return true;
}

// All sets JOINTS_n and WEIGHTS_n from 0 on. Weights that aren't above 0 move nothing and are dropped.
static bool ReadInfluences(GltfReading& reading, const tinygltf::Primitive& source, ScenePrimitive& primitive)
{
    const std::size_t nVertices = primitive.positions.size();
    std::vector<std::vector<std::uint32_t>> joints;
    std::vector<Numbers> weights;
    for (std::size_t set = 0;; ++set)
    {
        const std::string jointsName = "JOINTS_" + std::to_string(set);
        const std::string weightsName = "WEIGHTS_" + std::to_string(set);
        const int jointsAccessor = FindAttribute(source.attributes, jointsName);
        const int weightsAccessor = FindAttribute(source.attributes, weightsName);
        if (jointsAccessor < 0 && weightsAccessor < 0)
        {
            break;
        }
        if (jointsAccessor < 0 || weightsAccessor < 0)
        {
            reading.Warn(std::string(jointsName)
                             .append(" and ")
                             .append(weightsName)
                             .append(" don't come together; what is there of them is left out."));
            break;
        }
        joints.emplace_back();
        weights.emplace_back();
        if (!ReadJoints(reading, jointsAccessor, jointsName, nVertices, joints.back()) ||
            !ReadAttribute(reading, weightsAccessor, weightsName, 4, nVertices, weights.back()))
        {
            return false;
        }
    }
    if (joints.empty())
    {
        return true;
    }
    std::size_t nInfluences = 0;
    for (const std::vector<double>& ofSet : weights)
    {
        nInfluences += static_cast<std::size_t>(
            std::count_if(ofSet.begin(), ofSet.end(), [](double weight) { return weight > 0.0; }));
    }
    primitive.influences.reserve(nInfluences);
    primitive.influenceStarts.reserve(nVertices + 1);
    primitive.influenceStarts.assign(1, 0);
    for (std::size_t v = 0; v < nVertices; ++v)
    {
        for (std::size_t set = 0; set < joints.size(); ++set)
        {
            for (std::size_t k = 4 * v; k < 4 * v + 4; ++k)
            {
                if (weights[set][k] > 0.0)
                {
                    primitive.influences.push_back({joints[set][k], weights[set][k]});
                }
            }
        }
        primitive.influenceStarts.push_back(static_cast<std::uint32_t>(primitive.influences.size()));
    }
    return true;
}

// _WEIGHT_SUM is an attribute of our own, which models that became glTF files have: what the weights of a vertex summed
// up to in the model, before they were scaled to 1.
static bool ReadWeightSums(GltfReading& reading, const tinygltf::Primitive& source, ScenePrimitive& primitive)
{
    const int accessor = FindAttribute(source.attributes, "_WEIGHT_SUM");
    if (accessor < 0 || primitive.influenceStarts.empty())
    {
        return true;
    }
    Numbers sums;
    if (!ReadAttribute(reading, accessor, "_WEIGHT_SUM", 1, primitive.positions.size(), sums))
    {
        return false;
    }
    std::vector<SceneInfluence> scaled = primitive.influences;
    for (std::size_t v = 0; v < sums.size(); ++v)
    {
        for (std::uint32_t i = primitive.influenceStarts[v]; i < primitive.influenceStarts[v + 1]; ++i)
        {
            scaled[i].weight *= sums[v];
            if (!(scaled[i].weight > 0.0 && scaled[i].weight <= 1.001))
            {
                reading.Warn("_WEIGHT_SUM leads to a weight that no model has and is left out.");
                return true;
            }
        }
    }
    primitive.influences.swap(scaled);
    primitive.hasModelWeights = true;
    return true;
}

static bool ReadMorphTargets(GltfReading& reading, const tinygltf::Primitive& source, ScenePrimitive& primitive)
{
    const std::size_t nVertices = primitive.positions.size();
    if (!reading.Spend(3 * nVertices * source.targets.size()))
    {
        return false;
    }
    for (std::size_t i = 0; i < source.targets.size(); ++i)
    {
        const int accessor = FindAttribute(source.targets[i], "POSITION");
        Numbers numbers(3 * nVertices, 0.0);
        if (accessor >= 0 &&
            !ReadAttribute(reading, accessor, "POSITION of morph target " + std::to_string(i), 3, nVertices, numbers))
        {
            return false;
        }
        primitive.morphDeltas.push_back(ToPoints(numbers));
    }
    return true;
}

// Numbers of an extension; what isn't there leaves `values` as they are.
static bool ReadNumbers(const tinygltf::Value& object, const char* name, std::size_t count, double* values)
{
    if (!object.Has(name))
    {
        return true;
    }
    const tinygltf::Value& list = object.Get(name);
    if (count == 1)
    {
        values[0] = list.GetNumberAsDouble();
        return list.IsNumber();
    }
    bool good = list.IsArray() && list.ArrayLen() == count;
    for (std::size_t i = 0; good && i < count; ++i)
    {
        const tinygltf::Value& element = list.Get(i);
        good = element.IsNumber();
        values[i] = element.GetNumberAsDouble();
    }
    return good;
}

// KHR_texture_transform: coordinates are scaled, then turned against the clock as v points down, then moved.
struct TextureTransform
{
    double offset[2] = {0.0, 0.0};
    double rotation = 0.0; // radians
    double scale[2] = {1.0, 1.0};

    void Apply(double& u, double& v) const
    {
        const double s = std::sin(rotation);
        const double c = std::cos(rotation);
        const double scaledU = scale[0] * u;
        const double scaledV = scale[1] * v;
        u = offset[0] + c * scaledU + s * scaledV;
        v = offset[1] - s * scaledU + c * scaledV;
    }
};

struct TextureUse
{
    int image = -1;   // of the material's base colour
    int coordSet = 0; // of coordinates that it is laid on with
    bool transforms = false;
    TextureTransform transform;
};

static bool ReadTextureTransform(GltfReading& reading, const tinygltf::TextureInfo& info, TextureUse& use)
{
    const auto it = info.extensions.find("KHR_texture_transform");
    if (it == info.extensions.end())
    {
        return true;
    }
    double coordSet = use.coordSet;
    if (!it->second.IsObject() || !ReadNumbers(it->second, "offset", 2, use.transform.offset) ||
        !ReadNumbers(it->second, "rotation", 1, &use.transform.rotation) ||
        !ReadNumbers(it->second, "scale", 2, use.transform.scale) ||
        !ReadNumbers(it->second, "texCoord", 1, &coordSet) || !(coordSet >= 0.0 && coordSet <= 1000.0))
    {
        return reading.Fail("KHR_texture_transform isn't what it should be");
    }
    use.coordSet = static_cast<int>(coordSet);
    use.transforms = true;
    return true;
}

static bool FindTexture(GltfReading& reading, const tinygltf::Primitive& source, TextureUse& use)
{
    const tinygltf::Model& model = reading.document.model;
    if (source.material < 0)
    {
        return true;
    }
    if (static_cast<std::size_t>(source.material) >= model.materials.size())
    {
        return reading.Fail("material " + std::to_string(source.material) + " of " +
                            std::to_string(model.materials.size()));
    }
    const tinygltf::TextureInfo& info = model.materials[source.material].pbrMetallicRoughness.baseColorTexture;
    if (info.index < 0)
    {
        return true;
    }
    if (static_cast<std::size_t>(info.index) >= model.textures.size())
    {
        return reading.Fail("texture " + std::to_string(info.index) + " of " + std::to_string(model.textures.size()));
    }
    const int source2D = model.textures[info.index].source;
    if (source2D >= 0 && static_cast<std::size_t>(source2D) >= reading.scene.images.size())
    {
        return reading.Fail("image " + std::to_string(source2D) + " of " + std::to_string(reading.scene.images.size()));
    }
    use.image = std::max(source2D, -1);
    use.coordSet = info.texCoord;
    return ReadTextureTransform(reading, info, use);
}

static bool ReadTexCoords(GltfReading& reading, const tinygltf::Primitive& source, ScenePrimitive& primitive)
{
    TextureUse use;
    if (!FindTexture(reading, source, use))
    {
        return false;
    }
    primitive.image = use.image;
    std::string name = "TEXCOORD_" + std::to_string(use.coordSet);
    if (FindAttribute(source.attributes, name) < 0)
    {
        name = "TEXCOORD_0";
    }
    const int accessor = FindAttribute(source.attributes, name);
    if (accessor < 0)
    {
        return true;
    }
    Numbers numbers;
    if (!ReadAttribute(reading, accessor, name, 2, primitive.positions.size(), numbers))
    {
        return false;
    }
    primitive.texCoords.resize(primitive.positions.size());
    for (std::size_t i = 0; i < primitive.texCoords.size(); ++i)
    {
        double& u = numbers[2 * i];
        double& v = numbers[2 * i + 1];
        if (use.transforms)
        {
            use.transform.Apply(u, v);
        }
        primitive.texCoords[i] = {static_cast<float>(u), static_cast<float>(v)};
        if (!std::isfinite(primitive.texCoords[i].u) || !std::isfinite(primitive.texCoords[i].v))
        {
            return reading.Fail(name + ": KHR_texture_transform leads to a number that isn't finite");
        }
    }
    return true;
}

static void ReadExtras(const GltfReading& reading, const tinygltf::Primitive& source, ScenePrimitive& primitive)
{
    SceneMeshExtras& extras = primitive.extras;
    extras.hasColors = FindAttribute(source.attributes, "COLOR_0") >= 0;
    extras.hasNormals = FindAttribute(source.attributes, "NORMAL") >= 0;
    unsigned nTexCoords = 0;
    for (const auto& [name, accessor] : source.attributes)
    {
        nTexCoords += name.compare(0, 9, "TEXCOORD_") == 0 ? 1 : 0;
    }
    extras.nFurtherTexCoords = nTexCoords - (primitive.texCoords.empty() ? 0 : 1);
    if (source.material >= 0)
    {
        const std::string& name = reading.document.model.materials[source.material].name;
        extras.material = name.empty() ? PlaceName("material", static_cast<std::size_t>(source.material), "") : name;
    }
}

static bool ReadPrimitive(GltfReading& reading, const tinygltf::Primitive& source, ScenePrimitive& primitive)
{
    Numbers positions;
    const int accessor = FindAttribute(source.attributes, "POSITION");
    if (accessor < 0)
    {
        return true; // nothing is drawn
    }
    if (!ReadGltfAccessor(reading.document, accessor, 3, GltfNumbers::Any, positions, reading.error))
    {
        return reading.Fail("POSITION: " + reading.error);
    }
    primitive.positions = ToPoints(positions);
    if (!ReadTriangles(reading, source, primitive) || !ReadInfluences(reading, source, primitive) ||
        !ReadWeightSums(reading, source, primitive) || !ReadTexCoords(reading, source, primitive) ||
        !ReadMorphTargets(reading, source, primitive))
    {
        return false;
    }
    ReadExtras(reading, source, primitive);
    RemoveUnusedVertices(primitive);
    return reading.Spend(3 * primitive.positions.size() + 2 * primitive.triangles.size() +
                         2 * primitive.influences.size());
}

bool ReadGltfMeshes(GltfReading& reading)
{
    const std::vector<tinygltf::Mesh>& meshes = reading.document.model.meshes;
    reading.meshPrimitives.resize(meshes.size());
    reading.meshTargets.resize(meshes.size(), 0);
    for (std::size_t m = 0; m < meshes.size(); ++m)
    {
        for (std::size_t p = 0; p < meshes[m].primitives.size(); ++p)
        {
            const tinygltf::Primitive& source = meshes[m].primitives[p];
            const std::string place = PlaceName("mesh", m, meshes[m].name) + ", primitive " + std::to_string(p);
            reading.place = place;
            if (source.mode >= TINYGLTF_MODE_POINTS && source.mode <= TINYGLTF_MODE_LINE_STRIP)
            {
                reading.scene.pointsAndLines.push_back(place + ": points and lines are left out.");
                reading.scene.warnings.push_back(reading.scene.pointsAndLines.back());
                continue;
            }
            if (source.mode < 0 || source.mode > TINYGLTF_MODE_TRIANGLE_FAN)
            {
                return reading.Fail(place + ": mode " + std::to_string(source.mode) + " doesn't exist");
            }
            ScenePrimitive primitive;
            primitive.name = meshes[m].name;
            if (!ReadPrimitive(reading, source, primitive))
            {
                return reading.Fail(place + ": " + reading.error);
            }
            if (primitive.triangles.empty())
            {
                reading.scene.warnings.push_back(place + ": has no triangles and is left out.");
                continue;
            }
            reading.meshTargets[m] = std::max(reading.meshTargets[m], primitive.morphDeltas.size());
            reading.meshPrimitives[m].push_back(static_cast<int>(reading.scene.primitives.size()));
            reading.scene.primitives.push_back(std::move(primitive));
        }
    }
    return true;
}
