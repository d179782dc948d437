#pragma once

#include "engine/model/src/modelnode.h"

class AnimNode;

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
};
