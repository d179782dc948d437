#include "tools/model/convnode.h"

ConvNode::ConvNode(Model* pModel) : ModelNode(pModel) {}

ConvNode::~ConvNode() = default;
