#include "abctools/edit/handdownnode.h"

#include <cmath>

// Calls `use` with each weight of each mesh, LODs beyond the first included where bFurther is set, and only those.
template <class Use> static void ForEachWeight(Model& model, bool bFurther, Use use)
{
    for (uint32_t iPiece = 0; iPiece < model.NumPieces(); ++iPiece)
    {
        for (uint32_t iLOD = bFurther ? 1 : 0; iLOD < (bFurther ? model.GetPiece(iPiece)->NumLODs() : 1); ++iLOD)
        {
            ModelPieceLOD& mesh = *model.GetPiece(iPiece)->GetLOD(iLOD);
            for (uint32_t iVert = 0; iVert < mesh.NumVerts(); ++iVert)
            {
                for (uint32_t k = 0; k < mesh.m_Verts[iVert].m_nWeights; ++k)
                    use(mesh.m_Verts[iVert].m_Weights[k]);
            }
        }
    }
}

static bool IsIdentity(const NodeKeyFrame& key)
{
    const Vector3& t = key.m_vTranslation;
    const Quaternion& q = key.m_qRotation;
    return t.x == 0.0f && t.y == 0.0f && t.z == 0.0f && q.x == 0.0f && q.y == 0.0f && q.z == 0.0f &&
           std::fabs(q.w) == 1.0f;
}

// The end of a sentence, or an empty text if the node can go.
static std::string WhyItStays(Model& model, uint32_t iNode)
{
    const std::string name = model.GetNode(iNode)->GetName();
    if (iNode == 0)
        return "the root node " + name + " can't go";
    bool bWeighted = false;
    for (const bool bFurther : {false, true})
        ForEachWeight(model, bFurther, [&](const ModelVertWeight& weight) { bWeighted |= weight.m_iNode == iNode; });
    if (bWeighted)
        return "the node " + name + " can't go: vertices follow it";
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
    {
        if (model.GetSocket(i)->m_iNode == iNode)
            return "the node " + name + " can't go: the socket " + model.GetSocket(i)->GetName() + " is on it";
    }
    if (model.NumChildModels() > 1)
        return "a node of a model with child models can't go: their nodes have to be like its own";
    const auto& relations = model.GetSelfChildModel()->m_Relations;
    for (uint32_t i = 0; i < relations.GetSize(); ++i)
    {
        if (!IsIdentity(relations[i]))
            return "a node of a model that isn't related to itself as it stands can't go";
    }
    return std::string();
}

// Writes the place that a node with a fixed offset has into its keys, where nothing reads it as long as it is fixed.
static void BakeFixedOffset(Model& model, const ModelNode& node)
{
    if (!(node.m_Flags & MNODE_FIXEDOFFSET))
        return;
    for (uint32_t i = 0; i < model.CalcNumOwnAnims(); ++i)
    {
        const ModelAnim& anim = *model.GetAnim(i);
        for (uint32_t iKey = 0; iKey < anim.NumKeyFrames(); ++iKey)
            anim.m_AnimNodes[node.GetNodeIndex()]->m_KeyFrames[iKey].m_vTranslation = node.m_vOffsetFromParent;
    }
}

// The child's key as seen from where the key's node stands.
static NodeKeyFrame Compose(const NodeKeyFrame& key, const NodeKeyFrame& child)
{
    Matrix4 matrix;
    key.ToMatrix(matrix);
    const float place[4] = {child.m_vTranslation.x, child.m_vTranslation.y, child.m_vTranslation.z, 1.0f};
    float moved[4];
    matrix.Transform(moved, place);
    NodeKeyFrame composed;
    composed.m_vTranslation.Set(moved[0], moved[1], moved[2]);
    QuatMultiply(composed.m_qRotation, key.m_qRotation, child.m_qRotation);
    return composed;
}

// All keys of an animation, by node index, as they will be without a node. RemoveNode's own go through model space,
// which costs every node some precision, where only the children of the one that goes need new ones.
static std::vector<std::vector<NodeKeyFrame>> FindKeysWithout(const ModelAnim& anim, const ModelNode& node)
{
    std::vector<std::vector<NodeKeyFrame>> keys;
    for (uint32_t i = 0; i < anim.GetModel()->NumNodes(); ++i)
    {
        const auto& track = anim.m_AnimNodes[i]->m_KeyFrames;
        keys.emplace_back(track.GetArray(), track.GetArray() + track.GetSize());
    }
    for (uint32_t i = 0; i < node.NumChildren(); ++i)
    {
        std::vector<NodeKeyFrame>& child = keys[node.GetChild(i)->GetNodeIndex()];
        for (size_t iKey = 0; iKey < child.size(); ++iKey)
            child[iKey] = Compose(keys[node.GetNodeIndex()][iKey], child[iKey]);
    }
    return keys;
}

bool HandDownNode(Model& model, uint32_t iNode, std::vector<std::string>& unfixed, std::string& error)
{
    error = WhyItStays(model, iNode);
    if (!error.empty())
        return false;
    model.PrecalcNodeOffsets();
    ModelNode* pNode = model.GetNode(iNode);
    BakeFixedOffset(model, *pNode);
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        ModelNode* pChild = pNode->GetChild(i);
        BakeFixedOffset(model, *pChild);
        if (pChild->m_Flags & MNODE_FIXEDOFFSET)
            unfixed.emplace_back(pChild->GetName());
        pChild->m_Flags = static_cast<uint8_t>(pChild->m_Flags & ~MNODE_FIXEDOFFSET);
    }
    std::vector<const ModelNode*> before;
    for (uint32_t i = 0; i < model.NumNodes(); ++i)
        before.push_back(i == iNode ? nullptr : model.GetNode(i));
    std::vector<std::vector<std::vector<NodeKeyFrame>>> keys; // by animation
    for (uint32_t i = 0; i < model.CalcNumOwnAnims(); ++i)
        keys.push_back(FindKeysWithout(*model.GetAnim(i), *pNode));
    pNode->m_Flags |= MNODE_REMOVEABLE;
    if (!model.RemoveNode(pNode))
    {
        error = "there is no memory to take a node out";
        return false;
    }

    const auto newIndex = [&before](uint32_t i) { return before[i]->GetNodeIndex(); };
    for (uint32_t iAnim = 0; iAnim < keys.size(); ++iAnim)
    {
        for (uint32_t i = 0; i < before.size(); ++i)
        {
            for (uint32_t iKey = 0; before[i] && iKey < keys[iAnim][i].size(); ++iKey)
                model.GetAnim(iAnim)->m_AnimNodes[newIndex(i)]->m_KeyFrames[iKey] = keys[iAnim][i][iKey];
        }
    }
    // What RemoveNode leaves to its caller.
    ForEachWeight(model, true, [&](ModelVertWeight& weight) { weight.m_iNode = newIndex(weight.m_iNode); });
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
        model.GetSocket(i)->m_iNode = newIndex(model.GetSocket(i)->m_iNode);
    for (uint32_t i = 0; i < model.NumWeightSets(); ++i)
    {
        WeightSet& set = *model.GetWeightSet(i);
        const std::vector<float> weights(set.m_Weights.GetArray(), set.m_Weights.GetArray() + set.m_Weights.GetSize());
        set.FitToNodes(); // fewer, which takes no memory
        for (uint32_t iOld = 0; iOld < weights.size() && iOld < before.size(); ++iOld)
        {
            if (before[iOld])
                set.m_Weights[newIndex(iOld)] = weights[iOld];
        }
    }
    model.PrecalcNodeOffsets();
    return true;
}
