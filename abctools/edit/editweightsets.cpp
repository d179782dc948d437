// Weight sets.

#include "abctools/edit/editoperation.h"
#include "abctools/edit/modeledit.h"
#include "abctools/format.h"

static bool AddNewWeightSet(ModelEdit& edit, const EditValues& values)
{
    if (!edit.IsNewName("weight set", values[0], WEIGHTSET_NAME_SIZE - 1,
                        edit.m_Model.FindWeightSet(values[0].c_str(), nullptr)))
        return false;
    WeightSet* pSet = AllocNew<WeightSet>(*edit.m_Model.GetGrowAllocator(), &edit.m_Model);
    if (!pSet || !pSet->Init() || !edit.m_Model.AddWeightSet(pSet))
        return edit.Fail("there is no memory for a weight set");
    pSet->SetName(values[0].c_str());
    return edit.Say("the weight set " + values[0] + " is there, with 0 for each node");
}

static uint32_t WeighBelow(WeightSet& set, const ModelNode& node, float value)
{
    uint32_t nNodes = 1;
    set.m_Weights[node.GetNodeIndex()] = value;
    for (uint32_t i = 0; i < node.NumChildren(); ++i)
        nNodes += WeighBelow(set, *node.GetChild(i), value);
    return nNodes;
}

static bool Weigh(ModelEdit& edit, const EditValues& values, bool bSubtree)
{
    WeightSet* pSet = edit.FindWeightSet(values[0], nullptr);
    const ModelNode* pNode = pSet ? edit.FindNode(values[1]) : nullptr;
    if (!pNode)
        return false;
    uint32_t nNodes = 1;
    if (bSubtree)
        nNodes = WeighBelow(*pSet, *pNode, values.Float(2));
    else
        pSet->m_Weights[pNode->GetNodeIndex()] = values.Float(2);
    return edit.Say("the weight set " + values[0] + " has " + values[2] + " for " +
                    (bSubtree ? Counted(nNodes, "node") + " from " : std::string("node ")) + pNode->GetName() +
                    (bSubtree ? " down" : ""));
}

static bool WeighSubtree(ModelEdit& edit, const EditValues& values)
{
    return Weigh(edit, values, true);
}

static bool WeighNode(ModelEdit& edit, const EditValues& values)
{
    return Weigh(edit, values, false);
}

static bool RenameWeightSet(ModelEdit& edit, const EditValues& values)
{
    WeightSet* pSet = edit.FindWeightSet(values[0], nullptr);
    if (!pSet || !edit.IsNewName("weight set", values[1], WEIGHTSET_NAME_SIZE - 1,
                                 edit.m_Model.FindWeightSet(values[1].c_str(), nullptr), pSet))
        return false;
    pSet->SetName(values[1].c_str());
    return edit.Say("the weight set " + values[0] + " is called " + values[1]);
}

static bool RemoveWeightSetOf(ModelEdit& edit, const EditValues& values)
{
    uint32_t iSet = 0;
    if (!edit.FindWeightSet(values[0], &iSet))
        return false;
    edit.m_Model.RemoveWeightSet(iSet);
    return edit.Say("the weight set " + values[0] + " is gone");
}

std::span<const EditOperation> EditWeightSetOperations()
{
    static const EditOperation operations[] = {
        {"add-weight-set", "NAME", "Add a weight set with 0 for each node", AddNewWeightSet},
        {"weigh-subtree", "SET NODE VALUE",
         "Give a node and all below it a value in a weight set: 0 leaves the pose alone, 1 replaces it, 2 adds to it, "
         "anything else blends",
         WeighSubtree},
        {"weigh-node", "SET NODE VALUE", "Give one node a value in a weight set", WeighNode},
        {"rename-weight-set", "OLD NEW", "Call a weight set otherwise", RenameWeightSet},
        {"remove-weight-set", "NAME", "Remove a weight set", RemoveWeightSetOf},
    };
    return operations;
}
