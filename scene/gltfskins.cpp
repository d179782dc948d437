#include "scene/gltfaccessor.h"
#include "scene/gltfparts.h"

static bool ReadInverseBinds(GltfReading& reading, int accessor, SceneSkin& skin)
{
    skin.inverseBinds.resize(skin.joints.size());
    if (accessor < 0)
    {
        return true;
    }
    std::vector<double> numbers;
    if (!ReadGltfAccessor(reading.document, accessor, 16, GltfNumbers::Floats, numbers, reading.error))
    {
        return reading.Fail("inverse bind matrices: " + reading.error);
    }
    if (numbers.size() / 16 < skin.joints.size())
    {
        return reading.Fail(std::to_string(numbers.size() / 16) + " inverse bind matrices for " +
                            std::to_string(skin.joints.size()) + " joints");
    }
    for (std::size_t i = 0; i < skin.joints.size(); ++i)
    {
        for (std::size_t row = 0; row < 3; ++row)
        {
            for (std::size_t column = 0; column < 4; ++column)
            {
                skin.inverseBinds[i].m[row][column] = numbers[16 * i + 4 * column + row];
            }
        }
    }
    return true;
}

static bool ReadSkin(GltfReading& reading, const tinygltf::Skin& source, SceneSkin& skin)
{
    std::vector<SceneNode>& nodes = reading.scene.nodes;
    skin.name = source.name;
    for (const int joint : source.joints)
    {
        if (joint < 0 || static_cast<std::size_t>(joint) >= nodes.size())
        {
            return reading.Fail("joint node " + std::to_string(joint) + " of " + std::to_string(nodes.size()) +
                                " nodes");
        }
        nodes[joint].isJoint = true;
        skin.joints.push_back(joint);
    }
    return reading.Spend(16 * skin.joints.size()) && ReadInverseBinds(reading, source.inverseBindMatrices, skin);
}

// Ties the meshes of a node to its skin where they have weights.
static bool ApplySkin(GltfReading& reading, SceneNode& node, int skinIndex)
{
    const std::vector<SceneSkin>& skins = reading.scene.skins;
    if (skinIndex < 0)
    {
        return true;
    }
    if (static_cast<std::size_t>(skinIndex) >= skins.size())
    {
        return reading.Fail("skin " + std::to_string(skinIndex) + " of " + std::to_string(skins.size()));
    }
    for (SceneMeshUse& use : node.meshes)
    {
        const ScenePrimitive& primitive = reading.scene.primitives[use.primitive];
        for (const SceneInfluence& influence : primitive.influences)
        {
            if (influence.joint >= skins[skinIndex].joints.size())
            {
                return reading.Fail("a vertex of its mesh is moved by joint " + std::to_string(influence.joint) +
                                    " of " + std::to_string(skins[skinIndex].joints.size()));
            }
        }
        use.skin = primitive.influenceStarts.empty() ? -1 : skinIndex;
    }
    return true;
}

bool ReadGltfSkins(GltfReading& reading)
{
    const tinygltf::Model& model = reading.document.model;
    reading.scene.skins.resize(model.skins.size());
    for (std::size_t i = 0; i < model.skins.size(); ++i)
    {
        if (!ReadSkin(reading, model.skins[i], reading.scene.skins[i]))
        {
            return reading.Fail(PlaceName("skin", i, model.skins[i].name) + ": " + reading.error);
        }
    }
    for (std::size_t i = 0; i < model.nodes.size(); ++i)
    {
        if (!ApplySkin(reading, reading.scene.nodes[i], model.nodes[i].skin))
        {
            return reading.Fail(PlaceName("node", i, model.nodes[i].name) + ": " + reading.error);
        }
    }
    return true;
}
