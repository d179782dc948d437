#include "scene/assimpparts.h"
#include "scene/decompose.h"
#include "scene/placename.h"

#include <assimp/ColladaMetaData.h>

#include <algorithm>
#include <cmath>
#include <set>

bool ListAssimpNodes(const aiNode* root, std::vector<const aiNode*>& nodes)
{
    nodes.clear();
    std::set<const aiNode*> seen;
    std::vector<const aiNode*> todo = {root};
    while (!todo.empty())
    {
        const aiNode* node = todo.back();
        todo.pop_back();
        if (node == nullptr || !seen.insert(node).second || (node->mNumChildren > 0 && node->mChildren == nullptr))
        {
            return false;
        }
        nodes.push_back(node);
        for (unsigned i = node->mNumChildren; i > 0; --i)
        {
            todo.push_back(node->mChildren[i - 1]);
        }
    }
    return true;
}

std::string AssimpNodeName(const aiNode& node)
{
    std::string name = node.mName.C_Str();
    if (name.compare(0, 17, "$ColladaAutoName$") != 0)
    {
        return name;
    }
    aiString identifier;
    const bool known = node.mMetaData != nullptr && (node.mMetaData->Get(AI_METADATA_COLLADA_ID, identifier) ||
                                                     node.mMetaData->Get(AI_METADATA_COLLADA_SID, identifier));
    return known ? identifier.C_Str() : "";
}

static bool ToDoubleMatrix(const aiMatrix4x4& source, DoubleMatrix& matrix)
{
    for (unsigned row = 0; row < 3; ++row)
    {
        for (unsigned column = 0; column < 4; ++column)
        {
            matrix.m[row][column] = static_cast<double>(source[row][column]);
            if (!std::isfinite(matrix.m[row][column]))
            {
                return false;
            }
        }
    }
    return true;
}

// Assimp writes a Collada file's unit and up axis into the matrix of the top node, which has none of its own: one unit
// is as long as a column; y up leaves the axes alone, x up brings x to y, z up brings z to y. They are stated in the
// scene instead.
static void MoveColladaSettings(DoubleMatrix& matrix, Scene& scene)
{
    const double unit =
        std::sqrt(matrix.m[0][0] * matrix.m[0][0] + matrix.m[1][0] * matrix.m[1][0] + matrix.m[2][0] * matrix.m[2][0]);
    scene.unitMeters = unit;
    for (int axis = 0; axis < 3; ++axis)
    {
        scene.upAxis = matrix.m[1][axis] > 0.5 * unit ? static_cast<char>('x' + axis) : scene.upAxis;
    }
    matrix = DoubleMatrix();
}

static void ReadCustomValues(const aiMetadata& source, SceneNode& node)
{
    for (unsigned i = 0; i < source.mNumProperties; ++i)
    {
        const std::string key = source.mKeys[i].C_Str();
        aiString text;
        if (source.Get(i, text) && text.length > 0 && key != AI_METADATA_COLLADA_ID && key != AI_METADATA_COLLADA_SID)
        {
            node.customValues.emplace_back(key, text.C_Str());
        }
    }
}

static bool ReadNode(AssimpReading& reading, const aiNode& source, const std::string& place, SceneNode& node)
{
    DoubleMatrix matrix;
    if (!ToDoubleMatrix(source.mTransformation, matrix))
    {
        return reading.Fail("its transform isn't made of finite numbers");
    }
    if (reading.isCollada && &source == reading.source.mRootNode)
    {
        MoveColladaSettings(matrix, reading.scene);
    }
    if (!DecomposeMatrix(matrix, node.local))
    {
        reading.scene.warnings.push_back(place + ": its matrix is sheared; the shear is left out.");
    }
    if (source.mMetaData != nullptr)
    {
        ReadCustomValues(*source.mMetaData, node);
    }
    return true;
}

bool ReadAssimpNodes(AssimpReading& reading)
{
    if (!ListAssimpNodes(reading.source.mRootNode, reading.nodes))
    {
        return reading.Fail("its nodes don't form a tree");
    }
    std::map<const aiNode*, int> indexOf;
    reading.scene.nodes.resize(reading.nodes.size());
    reading.scene.roots.assign(1, 0);
    for (std::size_t i = 0; i < reading.nodes.size(); ++i)
    {
        const aiNode& source = *reading.nodes[i];
        SceneNode& node = reading.scene.nodes[i];
        node.name = AssimpNodeName(source);
        const std::string place = PlaceName("node", i, node.name);
        if (!ReadNode(reading, source, place, node))
        {
            return reading.Fail(place + ": " + reading.error);
        }
        indexOf[&source] = static_cast<int>(i);
        const std::string lookup = source.mName.C_Str();
        if (!lookup.empty() && !reading.nodeOfName.emplace(lookup, static_cast<int>(i)).second)
        {
            reading.repeatedNames.insert(lookup);
        }
    }
    for (unsigned i = 0; i < reading.source.mNumCameras; ++i)
    {
        const auto it = reading.nodeOfName.find(reading.source.mCameras[i]->mName.C_Str());
        if (it != reading.nodeOfName.end())
        {
            reading.scene.nodes[it->second].isCamera = true;
        }
    }
    for (unsigned i = 0; i < reading.source.mNumLights; ++i)
    {
        const auto it = reading.nodeOfName.find(reading.source.mLights[i]->mName.C_Str());
        if (it != reading.nodeOfName.end())
        {
            reading.scene.nodes[it->second].isLight = true;
        }
    }
    for (std::size_t i = 0; i < reading.nodes.size(); ++i)
    {
        for (unsigned c = 0; c < reading.nodes[i]->mNumChildren; ++c)
        {
            const int child = indexOf[reading.nodes[i]->mChildren[c]];
            reading.scene.nodes[i].children.push_back(child);
            reading.scene.nodes[child].parent = static_cast<int>(i);
        }
    }
    return true;
}
