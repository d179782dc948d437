#pragma once

#include "engine/model/src/modelnode.h"
#include "zoltshared/stdzolt/inlinenamespace.h"

ZOLT_BEGIN_NAMESPACE
class AnimNode;
ZOLT_END_NAMESPACE
class ConvNode;

// The place of a vertex that goes without a replacement.
constexpr uint32_t NO_VERTEX = 0xFFFFFFFFu;

// Told once when many vertices have left the LOD 0 mesh pLOD: pNewIndices holds for each old vertex its new index, that
// of its replacement, or NO_VERTEX. False, with nothing done, if the node wants to be told one by one.
typedef bool (*VertexRemapHandler)(ConvNode* pNode, ModelPieceLOD* pLOD, const uint32_t* pNewIndices);

// A node with what only the conversion needs.
class ConvNode : public ModelNode
{
public:
    explicit ConvNode(Model* pModel);
    ~ConvNode() override;

    int32_t m_PieceIndex = -1;                     // of the model's m_Pieces; -1 for none
    DynArray<AnimNode*, DefaultCache> m_AnimNodes; // the tracks of this node, one per animation read; not owned
    Vector3 m_Scale{1.0f, 1.0f, 1.0f};
    Matrix4 m_mLocal; // scratch: the key last evaluated for this node

    // If set, called in place of many calls of OnVertexRemoved.
    VertexRemapHandler m_pOnVerticesRemapped = nullptr;
};
