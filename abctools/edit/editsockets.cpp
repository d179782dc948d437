// Sockets.

#include "abctools/edit/editoperation.h"
#include "abctools/edit/modeledit.h"
#include "abctools/format.h"

#include <cmath>
#include <numbers>

static std::string PlaceText(const Vector3& v)
{
    return FloatText(v.x) + ", " + FloatText(v.y) + ", " + FloatText(v.z);
}

static bool AddSocketAt(ModelEdit& edit, const EditValues& values)
{
    const ModelNode* pNode = edit.FindNode(values[1]);
    if (!pNode || !edit.IsNewName("socket", values[0], MODELSOCKET_NAME_SIZE - 1,
                                  edit.m_Model.FindSocket(values[0].c_str(), nullptr)))
        return false;
    ModelSocket* pSocket = AllocNew<ModelSocket>(*edit.m_Model.GetGrowAllocator());
    if (!pSocket || !edit.m_Model.AddSocket(pSocket))
        return edit.Fail("there is no memory for a socket");
    pSocket->SetName(values[0].c_str());
    pSocket->m_iNode = pNode->GetNodeIndex();
    pSocket->m_vPos.Set(values.Float(2), values.Float(3), values.Float(4));
    return edit.Say("the socket " + values[0] + " is on node " + pNode->GetName() + " at " +
                    PlaceText(pSocket->m_vPos));
}

static bool MoveSocket(ModelEdit& edit, const EditValues& values)
{
    ModelSocket* pSocket = edit.FindSocket(values[0], nullptr);
    if (!pSocket)
        return false;
    pSocket->m_vPos.Set(values.Float(1), values.Float(2), values.Float(3));
    return edit.Say("the socket " + values[0] + " is at " + PlaceText(pSocket->m_vPos));
}

// A rotation by so many degrees about the axis whose number this is.
static Quaternion AxisTurn(int axis, double degrees)
{
    const double half = degrees * std::numbers::pi / 360.0;
    const auto sine = static_cast<float>(std::sin(half));
    return Quaternion(axis == 0 ? sine : 0.0f, axis == 1 ? sine : 0.0f, axis == 2 ? sine : 0.0f,
                      static_cast<float>(std::cos(half)));
}

static bool TurnSocket(ModelEdit& edit, const EditValues& values)
{
    ModelSocket* pSocket = edit.FindSocket(values[0], nullptr);
    if (!pSocket)
        return false;
    Quaternion turn = AxisTurn(0, values.Number(1));
    QuatMultiply(turn, AxisTurn(1, values.Number(2)), turn);
    QuatMultiply(turn, AxisTurn(2, values.Number(3)), turn);
    pSocket->m_qRotation = turn;
    return edit.Say("the socket " + values[0] + " is turned by " + values[1] + ", " + values[2] + ", " + values[3] +
                    " degrees");
}

static bool HangSocket(ModelEdit& edit, const EditValues& values)
{
    ModelSocket* pSocket = edit.FindSocket(values[0], nullptr);
    const ModelNode* pNode = pSocket ? edit.FindNode(values[1]) : nullptr;
    if (!pNode)
        return false;
    pSocket->m_iNode = pNode->GetNodeIndex();
    return edit.Say("the socket " + values[0] + " is on node " + pNode->GetName());
}

static bool RenameSocket(ModelEdit& edit, const EditValues& values)
{
    ModelSocket* pSocket = edit.FindSocket(values[0], nullptr);
    if (!pSocket || !edit.IsNewName("socket", values[1], MODELSOCKET_NAME_SIZE - 1,
                                    edit.m_Model.FindSocket(values[1].c_str(), nullptr), pSocket))
        return false;
    pSocket->SetName(values[1].c_str());
    return edit.Say("the socket " + values[0] + " is called " + values[1]);
}

static bool RemoveSocketOf(ModelEdit& edit, const EditValues& values)
{
    uint32_t iSocket = 0;
    if (!edit.FindSocket(values[0], &iSocket))
        return false;
    edit.m_Model.RemoveSocket(iSocket);
    return edit.Say("the socket " + values[0] + " is gone");
}

std::span<const EditOperation> EditSocketOperations()
{
    static const EditOperation operations[] = {
        {"add-socket", "NAME NODE X Y Z", "Add a socket at a place in a node's space, not turned", AddSocketAt},
        {"move-socket", "NAME X Y Z", "Put a socket at a place in its node's space", MoveSocket},
        {"turn-socket", "NAME RX RY RZ",
         "Give a socket its rotation in its node's space: degrees about the node's axes, first x, then y, then z",
         TurnSocket},
        {"hang-socket", "NAME NODE", "Put a socket on another node, at the same place in that one's space", HangSocket},
        {"rename-socket", "OLD NEW", "Call a socket otherwise", RenameSocket},
        {"remove-socket", "NAME", "Remove a socket", RemoveSocketOf},
    };
    return operations;
}
