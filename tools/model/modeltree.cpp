#include "tools/model/modeltree.h"

NamedTree MakeModelTree(const Model& model)
{
    NamedTree tree;
    for (uint32_t i = 0; i < model.NumNodes(); i++)
    {
        const uint32_t parent = model.GetNode(i)->GetParentIndex();
        tree.names.emplace_back(model.GetNode(i)->GetName());
        tree.parents.push_back(parent == MNODE_NO_PARENT ? -1 : static_cast<int>(parent));
    }
    return tree;
}
