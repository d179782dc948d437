// Nodes.

#include "abctools/edit/editoperation.h"
#include "abctools/edit/handdownnode.h"
#include "abctools/edit/modeledit.h"
#include "abctools/format.h"

static bool RenameNode(ModelEdit& edit, const EditValues& values)
{
    ModelNode* pNode = edit.FindNode(values[0]);
    if (!pNode || !edit.IsStorable(values[1]) ||
        !edit.IsNewName("node", values[1], MODEL_STRING_BUFFER - 1, edit.m_Model.FindNode(values[1].c_str(), nullptr),
                        pNode))
        return false;
    pNode->SetName(values[1].c_str());
    return edit.Say("the node " + values[0] + " is called " + values[1]);
}

// "removeable", "fixed-offset", or the number of a bit that nothing here gives a meaning to.
static bool FlagOf(ModelEdit& edit, const std::string& name, uint8_t& flag)
{
    if (name == "removeable")
        flag = MNODE_REMOVEABLE;
    else if (name == "fixed-offset")
        flag = MNODE_FIXEDOFFSET;
    else if (name.size() == 1 && name[0] >= '0' && name[0] <= '7')
        flag = static_cast<uint8_t>(1 << (name[0] - '0'));
    else
        return edit.Fail("there is no flag " + name + ": removeable and fixed-offset are, and bits 0 to 7");
    return true;
}

static bool ChangeFlag(ModelEdit& edit, const EditValues& values, bool bSet)
{
    uint8_t flag = 0;
    ModelNode* pNode = edit.FindNode(values[0]);
    if (!pNode || !FlagOf(edit, values[1], flag))
        return false;
    pNode->m_Flags = static_cast<uint8_t>(bSet ? pNode->m_Flags | flag : pNode->m_Flags & ~flag);
    return edit.Say("the node " + values[0] + (bSet ? " has" : " doesn't have") + " the flag " + values[1]);
}

static bool SetNodeFlag(ModelEdit& edit, const EditValues& values)
{
    return ChangeFlag(edit, values, true);
}

static bool ClearNodeFlag(ModelEdit& edit, const EditValues& values)
{
    return ChangeFlag(edit, values, false);
}

static bool RemoveNodeOf(ModelEdit& edit, const EditValues& values)
{
    const ModelNode* pNode = edit.FindNode(values[0]);
    if (!pNode)
        return false;
    std::vector<std::string> unfixed;
    std::string error;
    const std::string name = pNode->GetName();
    if (!HandDownNode(edit.m_Model, pNode->GetNodeIndex(), unfixed, error))
        return edit.Fail(error);
    edit.Say("the node " + name + " is gone, its motion handed down");
    for (const std::string& child : unfixed)
        edit.Warn(Format("the node %s has lost the flag fixed-offset, since its place moves with that of %s",
                         child.c_str(), name.c_str()));
    return true;
}

std::span<const EditOperation> EditNodeOperations()
{
    static const EditOperation operations[] = {
        {"rename-node", "OLD NEW", "Call a node otherwise", RenameNode},
        {"set-node-flag", "NODE FLAG", "Set a flag of a node: removeable, fixed-offset, or the number of a bit, 0 to 7",
         SetNodeFlag},
        {"clear-node-flag", "NODE FLAG", "Clear a flag of a node", ClearNodeFlag},
        {"remove-node", "NODE",
         "Remove a node that nothing follows; its children move up and take over its motion, so that all poses stay",
         RemoveNodeOf},
    };
    return operations;
}
