#include "scene/assimpparts.h"
#include "scene/placename.h"
#include "scene/trianglelist.h"

#include <algorithm>
#include <cmath>

static bool ToPoints(const aiVector3D* source, unsigned count, std::vector<Double3>& points)
{
    points.resize(count);
    for (unsigned i = 0; i < count; ++i)
    {
        points[i] = {static_cast<double>(source[i].x), static_cast<double>(source[i].y),
                     static_cast<double>(source[i].z)};
        if (!std::isfinite(points[i].x) || !std::isfinite(points[i].y) || !std::isfinite(points[i].z))
        {
            return false;
        }
    }
    return true;
}

static bool ReadTriangles(AssimpReading& reading, const aiMesh& source, const std::string& place,
                          ScenePrimitive& primitive)
{
    std::size_t nLeftOut = 0;
    for (unsigned f = 0; f < source.mNumFaces; ++f)
    {
        const aiFace& face = source.mFaces[f];
        if (face.mNumIndices < 3)
        {
            ++nLeftOut;
            continue;
        }
        if (face.mIndices == nullptr)
        {
            return reading.Fail("face " + std::to_string(f) + " has no indices");
        }
        const std::vector<std::uint32_t> corners(face.mIndices, face.mIndices + face.mNumIndices);
        for (const std::uint32_t corner : corners)
        {
            if (corner >= source.mNumVertices)
            {
                return reading.Fail("index " + std::to_string(corner) + " of " + std::to_string(source.mNumVertices) +
                                    " vertices");
            }
        }
        // Polygons are triangles by now; a fan is for one that Assimp didn't resolve.
        AppendTriangles(corners.size() == 3 ? TriangleMode::List : TriangleMode::Fan, corners, primitive.triangles);
    }
    if (nLeftOut > 0)
    {
        reading.scene.pointsAndLines.push_back(
            place + ": " + std::to_string(nLeftOut) +
            (nLeftOut == 1 ? " point or line is left out." : " points and lines are left out."));
        reading.scene.warnings.push_back(reading.scene.pointsAndLines.back());
    }
    return true;
}

static void ReadExtras(const AssimpReading& reading, const aiMesh& source, SceneMeshExtras& extras)
{
    extras.hasColors = source.GetNumColorChannels() > 0;
    extras.hasNormals = source.HasNormals();
    extras.nFurtherTexCoords = std::max(source.GetNumUVChannels(), 1U) - 1;
    if (source.mMaterialIndex < reading.source.mNumMaterials &&
        reading.source.mMaterials[source.mMaterialIndex] != nullptr)
    {
        const std::string name = reading.source.mMaterials[source.mMaterialIndex]->GetName().C_Str();
        extras.material = name.empty() ? PlaceName("material", source.mMaterialIndex, "") : name;
        if (name == AI_DEFAULT_MATERIAL_NAME) // Assimp's own
        {
            extras.material.clear();
        }
    }
}

static bool ReadTexCoords(AssimpReading& reading, const aiMesh& source, ScenePrimitive& primitive)
{
    unsigned set = 0;
    if (!FindAssimpTexture(reading, source, primitive.image, set))
    {
        return false;
    }
    if (set >= AI_MAX_NUMBER_OF_TEXTURECOORDS || source.mTextureCoords[set] == nullptr)
    {
        set = 0;
    }
    const aiVector3D* coords = source.mTextureCoords[set];
    if (coords == nullptr)
    {
        return true;
    }
    primitive.texCoords.resize(source.mNumVertices);
    for (unsigned i = 0; i < source.mNumVertices; ++i)
    {
        if (!std::isfinite(coords[i].x) || !std::isfinite(coords[i].y))
        {
            return reading.Fail("a texture coordinate isn't a finite number");
        }
        primitive.texCoords[i] = {coords[i].x, coords[i].y};
    }
    return true;
}

static bool ReadMorphTargets(AssimpReading& reading, const aiMesh& source, const std::string& place,
                             ScenePrimitive& primitive, std::vector<double>& weights)
{
    for (unsigned t = 0; t < source.mNumAnimMeshes; ++t)
    {
        const aiAnimMesh* target = source.mAnimMeshes == nullptr ? nullptr : source.mAnimMeshes[t];
        if (target == nullptr || target->mVertices == nullptr || target->mNumVertices != source.mNumVertices)
        {
            reading.scene.warnings.push_back(place + ": morph target " + std::to_string(t) +
                                             " doesn't fit the mesh and is left out.");
            continue;
        }
        std::vector<Double3> points;
        if (!ToPoints(target->mVertices, target->mNumVertices, points) || !std::isfinite(target->mWeight))
        {
            return reading.Fail("morph target " + std::to_string(t) + " isn't made of finite numbers");
        }
        for (std::size_t v = 0; v < points.size(); ++v)
        {
            points[v].x -= primitive.positions[v].x;
            points[v].y -= primitive.positions[v].y;
            points[v].z -= primitive.positions[v].z;
        }
        primitive.morphDeltas.push_back(std::move(points));
        weights.push_back(static_cast<double>(target->mWeight));
    }
    return true;
}

// An offset matrix goes from the mesh's space into the bone's.
static bool ReadBone(AssimpReading& reading, const aiBone& bone, const aiMesh& mesh, SceneSkin& skin,
                     std::vector<std::vector<SceneInfluence>>& influences, const std::string& place)
{
    const int node = reading.FindNode(bone.mName.C_Str());
    if (node < 0)
    {
        reading.scene.warnings.push_back(place + ": there is no node for its bone \"" + bone.mName.C_Str() +
                                         "\"; its weights are left out.");
        return true;
    }
    DoubleMatrix offset;
    for (unsigned row = 0; row < 3; ++row)
    {
        for (unsigned column = 0; column < 4; ++column)
        {
            offset.m[row][column] = static_cast<double>(bone.mOffsetMatrix[row][column]);
            if (!std::isfinite(offset.m[row][column]))
            {
                return reading.Fail(std::string("the matrix of bone \"") + bone.mName.C_Str() +
                                    "\" isn't made of finite numbers");
            }
        }
    }
    const auto joint = static_cast<std::uint32_t>(skin.joints.size());
    skin.joints.push_back(node);
    skin.inverseBinds.push_back(offset);
    reading.scene.nodes[node].isJoint = true;
    for (unsigned w = 0; bone.mWeights != nullptr && w < bone.mNumWeights; ++w)
    {
        const aiVertexWeight& weight = bone.mWeights[w];
        if (weight.mVertexId >= mesh.mNumVertices || !std::isfinite(weight.mWeight))
        {
            return reading.Fail(std::string("a weight of bone \"") + bone.mName.C_Str() + "\" is for vertex " +
                                std::to_string(weight.mVertexId) + " of " + std::to_string(mesh.mNumVertices) +
                                " or isn't a finite number");
        }
        if (weight.mWeight > 0.0F)
        {
            influences[weight.mVertexId].push_back({joint, static_cast<double>(weight.mWeight)});
        }
    }
    return true;
}

// Sets the primitive's influences; `skin` is without joints for a mesh without bones.
static bool ReadBones(AssimpReading& reading, const aiMesh& source, const std::string& place, ScenePrimitive& primitive,
                      SceneSkin& skin)
{
    if (source.mNumBones == 0 || source.mBones == nullptr)
    {
        return true;
    }
    std::vector<std::vector<SceneInfluence>> influences(source.mNumVertices);
    for (unsigned b = 0; b < source.mNumBones; ++b)
    {
        if (source.mBones[b] != nullptr && !ReadBone(reading, *source.mBones[b], source, skin, influences, place))
        {
            return false;
        }
    }
    if (skin.joints.empty())
    {
        return true;
    }
    primitive.influenceStarts.assign(1, 0);
    for (const std::vector<SceneInfluence>& ofVertex : influences)
    {
        primitive.influences.insert(primitive.influences.end(), ofVertex.begin(), ofVertex.end());
        primitive.influenceStarts.push_back(static_cast<std::uint32_t>(primitive.influences.size()));
    }
    return true;
}

static bool ReadMesh(AssimpReading& reading, const aiMesh& source, std::size_t index, const std::string& place)
{
    ScenePrimitive primitive;
    SceneSkin skin;
    primitive.name = source.mName.C_Str();
    skin.name = primitive.name;
    if ((source.mNumVertices > 0 && source.mVertices == nullptr) || (source.mNumFaces > 0 && source.mFaces == nullptr))
    {
        return reading.Fail("it has no data");
    }
    if (!ToPoints(source.mVertices, source.mNumVertices, primitive.positions))
    {
        return reading.Fail("a position isn't made of finite numbers");
    }
    ReadExtras(reading, source, primitive.extras);
    if (!ReadTriangles(reading, source, place, primitive))
    {
        return false;
    }
    if (primitive.triangles.empty())
    {
        reading.scene.warnings.push_back(place + ": has no triangles and is left out.");
        return true;
    }
    if (!ReadTexCoords(reading, source, primitive) || !ReadBones(reading, source, place, primitive, skin) ||
        !ReadMorphTargets(reading, source, place, primitive, reading.weightsOfMesh[index]))
    {
        return false;
    }
    RemoveUnusedVertices(primitive);
    if (!skin.joints.empty())
    {
        reading.skinOfMesh[index] = static_cast<int>(reading.scene.skins.size());
        reading.scene.skins.push_back(std::move(skin));
    }
    reading.primitiveOfMesh[index] = static_cast<int>(reading.scene.primitives.size());
    reading.scene.primitives.push_back(std::move(primitive));
    return true;
}

static bool AttachMeshes(AssimpReading& reading, const aiNode& source, SceneNode& node)
{
    for (unsigned i = 0; source.mMeshes != nullptr && i < source.mNumMeshes; ++i)
    {
        const unsigned mesh = source.mMeshes[i];
        if (mesh >= reading.source.mNumMeshes)
        {
            return reading.Fail("mesh " + std::to_string(mesh) + " of " + std::to_string(reading.source.mNumMeshes));
        }
        if (reading.primitiveOfMesh[mesh] < 0)
        {
            continue;
        }
        node.meshes.push_back({reading.primitiveOfMesh[mesh], reading.skinOfMesh[mesh]});
        if (node.morphWeights.size() < reading.weightsOfMesh[mesh].size())
        {
            node.morphWeights = reading.weightsOfMesh[mesh];
        }
    }
    return true;
}

bool ReadAssimpMeshes(AssimpReading& reading)
{
    const std::size_t nMeshes = reading.source.mMeshes == nullptr ? 0 : reading.source.mNumMeshes;
    reading.primitiveOfMesh.assign(nMeshes, -1);
    reading.skinOfMesh.assign(nMeshes, -1);
    reading.weightsOfMesh.resize(nMeshes);
    for (std::size_t i = 0; i < nMeshes; ++i)
    {
        const aiMesh* mesh = reading.source.mMeshes[i];
        const std::string place = PlaceName("mesh", i, mesh == nullptr ? "" : mesh->mName.C_Str());
        if (mesh == nullptr || !ReadMesh(reading, *mesh, i, place))
        {
            return reading.Fail(place + ": " + (mesh == nullptr ? "it has no data" : reading.error));
        }
    }
    for (std::size_t i = 0; i < reading.nodes.size(); ++i)
    {
        if (!AttachMeshes(reading, *reading.nodes[i], reading.scene.nodes[i]))
        {
            return reading.Fail(PlaceName("node", i, reading.scene.nodes[i].name) + ": " + reading.error);
        }
    }
    return true;
}
