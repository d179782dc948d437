#include "tools/model/convanimnode.h"

#include "engine/model/src/model.h"

ConvAnimNode::ConvAnimNode(ModelAnim* pAnim, AnimNode* pParent) : AnimNode(pAnim, pParent) {}

ConvAnimNode::~ConvAnimNode() = default;

AnimNode* ConvAnimNode::CreateAnimNode(ModelAnim* pAnim, AnimNode* pParent)
{
    return AllocNew<ConvAnimNode>(*pAnim->GetModel()->GetGrowAllocator(), pAnim, pParent);
}
