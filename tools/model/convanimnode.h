#pragma once

#include "engine/model/src/animnode.h"

// The track of the tool side: its kind makes its own kind, and its m_pNode is a ConvNode.
class ConvAnimNode : public AnimNode
{
public:
    ConvAnimNode(ModelAnim* pAnim, AnimNode* pParent);
    ~ConvAnimNode() override;

    AnimNode* CreateAnimNode(ModelAnim* pAnim, AnimNode* pParent) override;
};
