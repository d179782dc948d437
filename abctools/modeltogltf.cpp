#include "abctools/modeltogltf.h"

#include "abctools/displaytext.h"
#include "abctools/gltfframe.h"
#include "engine/model/src/model.h"

using nlohmann::ordered_json;

static void SetFrame(ordered_json& node, const NodeKeyFrame& frame)
{
    const Vector3& t = frame.m_vTranslation;
    const Quaternion& q = frame.m_qRotation;
    if (t.x != 0.0f || t.y != 0.0f || t.z != 0.0f)
        node["translation"] = {t.x, t.y, t.z};
    if (q.x != 0.0f || q.y != 0.0f || q.z != 0.0f)
        node["rotation"] = {q.x, q.y, q.z, q.w};
}

// The node in its parent in the bind pose.
static NodeKeyFrame BindFrame(const Model& model, const ModelNode& node)
{
    Matrix4 local = node.m_mGlobal;
    const bool bRoot = node.GetParentIndex() == MNODE_NO_PARENT;
    if (!bRoot)
        local = model.GetNode(node.GetParentIndex())->m_mGlobalInverse * node.m_mGlobal;
    NodeKeyFrame frame;
    frame.FromMatrix(local);
    if (!bRoot && node.m_Flags & MNODE_FIXEDOFFSET)
        frame.m_vTranslation = node.m_vOffsetFromParent;
    return GltfFrame(frame, bRoot);
}

static void AddNodes(const Model& model, ordered_json& nodes)
{
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        const ModelNode* pNode = model.GetNode(i);
        ordered_json node = {{"name", ToUtf8(pNode->GetName())}};
        for (uint32_t iChild = 0; iChild < pNode->NumChildren(); ++iChild)
            node["children"].push_back(pNode->GetChild(iChild)->GetNodeIndex());
        SetFrame(node, BindFrame(model, *pNode));
        if (pNode->m_Flags != 0)
            node["extras"]["flags"] = pNode->m_Flags;
        nodes.push_back(std::move(node));
    }
}

static void AddSockets(const Model& model, ordered_json& nodes)
{
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
    {
        const ModelSocket* pSocket = model.GetSocket(i);
        NodeKeyFrame place;
        place.m_vTranslation = pSocket->m_vPos;
        place.m_qRotation = pSocket->m_qRotation;
        ordered_json node = {{"name", ToUtf8(pSocket->GetName())}};
        SetFrame(node, GltfFrame(place, false));
        node["extras"]["socket"] = true;
        nodes[pSocket->m_iNode]["children"].push_back(nodes.size());
        nodes.push_back(std::move(node));
    }
}

// What the model has and a scene hasn't.
static ordered_json SceneExtras(const Model& model)
{
    ordered_json extras;
    if (*model.m_CommandString)
        extras["command"] = ToUtf8(model.m_CommandString);
    extras["headerValue"] = model.m_HeaderFloat;
    for (uint32_t i = 0; i < model.m_LODDistances.GetSize(); ++i)
        extras["lodDistances"].push_back(model.m_LODDistances[i]);
    for (uint32_t i = 0; i < model.NumWeightSets(); ++i)
    {
        const WeightSet* pSet = model.GetWeightSet(i);
        ordered_json values = ordered_json::array();
        for (uint32_t iNode = 0; iNode < pSet->m_Weights.GetSize(); ++iNode)
            values.push_back(pSet->m_Weights[iNode]);
        extras["weightSets"].push_back({{"name", ToUtf8(pSet->GetName())}, {"values", values}});
    }
    for (uint32_t i = 1; i < model.NumChildModels(); ++i)
        extras["childModels"].push_back(ToUtf8(model.GetChildModel(i)->m_pName));
    return extras;
}

bool ModelToGltf(Model& model, GltfFile& file, const GltfProgress& progress, std::vector<std::string>& warnings,
                 std::string& error)
{
    file.m_Json = {{"asset", {{"version", "2.0"}, {"generator", "abctool " ZOLT_VERSION}}},
                   {"scene", 0},
                   {"scenes", {{{"nodes", {0}}, {"extras", SceneExtras(model)}}}},
                   {"nodes", ordered_json::array()}};
    model.PrecalcNodeOffsets();
    AddNodes(model, file.m_Json["nodes"]);
    AddSockets(model, file.m_Json["nodes"]);
    if (!AddGltfMeshes(model, file, warnings, error) || !AddGltfAnims(model, file, progress, warnings, error))
        return false;
    return true;
}
