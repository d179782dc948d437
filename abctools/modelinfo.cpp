#include "abctools/modelinfo.h"

#include "abctools/displaytext.h"
#include "engine/model/src/model.h"
#include "engine/play/modelbounds.h"

using nlohmann::ordered_json;

static ordered_json VectorJson(const Vector3& v)
{
    return {v.x, v.y, v.z};
}

static ordered_json RotationJson(const Quaternion& q)
{
    return {q.x, q.y, q.z, q.w};
}

static ordered_json CountsJson(const ModelAllocations& header)
{
    return {{"keyFrames", header.m_nKeyFrames},
            {"anims", header.m_nAnims},
            {"nodes", header.m_nNodes},
            {"pieces", header.m_nPieces},
            {"childModels", header.m_nChildModels},
            {"tris", header.m_nTris},
            {"verts", header.m_nVerts},
            {"vertexWeights", header.m_nVertexWeights},
            {"lods", header.m_nLODs},
            {"sockets", header.m_nSockets},
            {"weightSets", header.m_nWeightSets},
            {"strings", header.m_nStrings},
            {"stringLengths", header.m_StringLengths}};
}

static ordered_json NodesJson(const Model& model)
{
    ordered_json nodes = ordered_json::array();
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
    {
        const ModelNode* pNode = model.GetNode(i);
        const uint32_t iParent = pNode->GetParentIndex();
        nodes.push_back({{"name", ToUtf8(pNode->GetName())},
                         {"parent", iParent == MNODE_NO_PARENT ? -1 : static_cast<int64_t>(iParent)},
                         {"flags", pNode->m_Flags}});
    }
    return nodes;
}

static ordered_json MeshJson(const ModelPieceLOD& mesh)
{
    uint32_t nWeights = 0;
    for (uint32_t i = 0; i < mesh.NumVerts(); ++i)
        nWeights += mesh.m_Verts[i].m_nWeights;
    return {{"tris", mesh.NumTris()}, {"verts", mesh.NumVerts()}, {"weights", nWeights}};
}

static ordered_json PiecesJson(const Model& model)
{
    ordered_json pieces = ordered_json::array();
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        ModelPiece* pPiece = model.GetPiece(i);
        ordered_json piece = {{"name", ToUtf8(pPiece->GetName())},
                              {"texture", pPiece->m_iTexture},
                              {"params", {pPiece->m_PieceParamA, pPiece->m_PieceParamB, pPiece->m_PieceParamC}}};
        piece.update(MeshJson(*pPiece));
        for (uint32_t iLOD = 0; iLOD < pPiece->NumLODs(); ++iLOD)
            piece["lods"].push_back(MeshJson(*pPiece->GetLOD(iLOD)));
        pieces.push_back(piece);
    }
    return pieces;
}

static ordered_json AnimsJson(Model& model)
{
    ordered_json anims = ordered_json::array();
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
    {
        const AnimInfo* pInfo = model.GetAnimInfo(i);
        const ModelAnim* pAnim = pInfo->m_pAnim;
        ordered_json commands = ordered_json::array();
        for (uint32_t iKey = 0; iKey < pAnim->NumKeyFrames(); ++iKey)
        {
            if (*pAnim->m_KeyFrames[iKey].m_pString)
                commands.push_back({{"key", iKey}, {"text", ToUtf8(pAnim->m_KeyFrames[iKey].m_pString)}});
        }
        anims.push_back({{"name", ToUtf8(pAnim->GetName())},
                         {"keys", pAnim->NumKeyFrames()},
                         {"last", pAnim->GetAnimTime()},
                         {"dims", VectorJson(pInfo->m_vDims)},
                         {"offset", VectorJson(pInfo->m_vTranslation)},
                         {"commands", commands}});
    }
    return anims;
}

static ordered_json SocketsJson(const Model& model)
{
    ordered_json sockets = ordered_json::array();
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
    {
        const ModelSocket* pSocket = model.GetSocket(i);
        sockets.push_back({{"name", ToUtf8(pSocket->GetName())},
                           {"node", pSocket->m_iNode},
                           {"position", VectorJson(pSocket->m_vPos)},
                           {"rotation", RotationJson(pSocket->m_qRotation)}});
    }
    return sockets;
}

static ordered_json WeightSetsJson(const Model& model)
{
    ordered_json sets = ordered_json::array();
    for (uint32_t i = 0; i < model.NumWeightSets(); ++i)
    {
        const WeightSet* pSet = model.GetWeightSet(i);
        ordered_json values = ordered_json::array();
        for (uint32_t iNode = 0; iNode < pSet->m_Weights.GetSize(); ++iNode)
            values.push_back(pSet->m_Weights[iNode]);
        sets.push_back({{"name", ToUtf8(pSet->GetName())}, {"values", values}});
    }
    return sets;
}

static ordered_json NormalRefJson(Model& model)
{
    if (!model.m_bNormalRef)
        return nullptr;
    return {{"node", ToUtf8(model.GetNode(static_cast<uint32_t>(model.m_iNormalRefNode))->GetName())},
            {"animation", ToUtf8(model.GetAnim(static_cast<uint32_t>(model.m_iNormalRefAnim))->GetName())},
            {"matrix", model.m_NormalRefTransform.m}};
}

ordered_json ModelSettings(Model& model)
{
    return {{"noAnimation", model.m_bNoAnimation != QZFALSE},
            {"shadowEnable", model.m_bShadowEnable != QZFALSE},
            {"specularEnable", model.m_bSpecularEnable != QZFALSE},
            {"rigid", model.m_bRigid != QZFALSE},
            {"visRadius", model.m_VisRadius},
            {"ambientLight", model.m_AmbientLight},
            {"dirLight", model.m_DirLight},
            {"shadowProjectLength", model.m_ShadowProjectLength},
            {"shadowLightDist", model.m_ShadowLightDist},
            {"shadowSizeX", model.m_ShadowSizeX},
            {"shadowSizeY", model.m_ShadowSizeY},
            {"shadowCenterOffset", VectorJson(model.m_ShadowCenterOffset)},
            {"fadeRangeMin", model.m_FadeRangeMin},
            {"fadeRangeMax", model.m_FadeRangeMax},
            {"fadeSpriteSize", {model.m_FadeSpriteSize[0], model.m_FadeSpriteSize[1]}},
            {"fovXOffset", model.m_bFovOffset ? ordered_json(model.m_FovXOffset) : ordered_json(nullptr)},
            {"fovYOffset", model.m_bFovOffset ? ordered_json(model.m_FovYOffset) : ordered_json(nullptr)},
            {"normalRef", NormalRefJson(model)}};
}

static ordered_json BoxJson(const zolt::Bounds& box)
{
    return {{"min", VectorJson(box.m_Min)}, {"max", VectorJson(box.m_Max)}, {"radius", box.GetRadius()}};
}

ordered_json BoundsInfo(const Model& model)
{
    zolt::ModelBounds bounds;
    if (!bounds.Init(model) || bounds.AtRest().IsEmpty())
        return nullptr;
    zolt::Bounds all = bounds.AtRest();
    ordered_json anims = ordered_json::array();
    for (uint32_t i = 0; i < model.NumAnims(); ++i)
    {
        const zolt::Bounds box = bounds.OfAnim(i);
        all.Add(box);
        anims.push_back(box.IsEmpty() ? ordered_json(nullptr) : BoxJson(box));
    }
    return {{"all", BoxJson(all)}, {"rest", BoxJson(bounds.AtRest())}, {"anims", anims}};
}

ordered_json ModelInfo(Model& model, size_t nBytes, const ModelAllocations& header)
{
    ordered_json distances = ordered_json::array();
    for (uint32_t i = 0; i < model.m_LODDistances.GetSize(); ++i)
        distances.push_back(model.m_LODDistances[i]);
    ordered_json children = ordered_json::array();
    for (uint32_t i = 0; i < model.NumChildModels(); ++i)
    {
        const ChildInfo* pInfo = model.GetChildModel(i);
        children.push_back({{"name", ToUtf8(pInfo->m_pName)}, {"stamp", pInfo->m_Stamp}});
    }
    return {{"version", model.GetFileVersion()},
            {"bytes", nBytes},
            {"stamp", model.GetModelStamp()},
            {"counts", CountsJson(header)},
            {"command", ToUtf8(model.m_CommandString)},
            {"headerValue", model.m_HeaderFloat},
            {"lods", model.NumLODs()},
            {"lodDistances", distances},
            {"nodes", NodesJson(model)},
            {"pieces", PiecesJson(model)},
            {"anims", AnimsJson(model)},
            {"sockets", SocketsJson(model)},
            {"weightSets", WeightSetsJson(model)},
            {"childModels", children},
            {"settings", ModelSettings(model)}};
}
