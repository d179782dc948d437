#include "tests/install/playermodel.h"

#include "engine/model/src/model.h"
#include "tools/model/convmodel.h"
#include "zoltshared/stdzolt/stdiostream.h"

#include <initializer_list>

static const Quaternion NO_TURN(0.0f, 0.0f, 0.0f, 1.0f);
static const Quaternion QUARTER_TURN_Z(0.0f, 0.0f, 0.70710678f, 0.70710678f);

struct Key
{
    uint32_t m_Time;
    NodeKeyFrame m_Hips;
    NodeKeyFrame m_Arm;
    NodeKeyFrame m_Hand;
};

static ModelNode* AddNode(Model& model, ModelNode* pParent, const char* pName, float x, float y)
{
    ModelNode* pNode = pParent ? new ConvNode(&model) : model.GetRootNode();
    pNode->SetName(pName);
    Matrix4 global;
    global.SetTranslation(x, y, 0.0f);
    pNode->SetGlobalTransform(global);
    if (pParent)
        pParent->m_Children.Append(pNode);
    return pNode;
}

static void AddAnim(Model& model, const char* pName, const Vector3& offset, std::initializer_list<Key> keys)
{
    ModelAnim* pAnim = new ModelAnim(&model);
    pAnim->SetName(pName);
    AnimNode* pHips = new AnimNode(pAnim, nullptr);
    AnimNode* pArm = new AnimNode(pAnim, pHips);
    AnimNode* pHand = new AnimNode(pAnim, pArm);
    pHips->m_Children.Append(pArm);
    pArm->m_Children.Append(pHand);
    pAnim->SetRootNode(pHips);
    for (const Key& key : keys)
    {
        AnimKeyFrame time;
        time.m_Time = key.m_Time;
        pAnim->m_KeyFrames.Append(time);
        pHips->m_KeyFrames.Append(key.m_Hips);
        pArm->m_KeyFrames.Append(key.m_Arm);
        pHand->m_KeyFrames.Append(key.m_Hand);
    }
    pHips->SetNode(model.GetRootNode());
    AnimInfo* pRow = model.AddAnim(pAnim);
    pRow->m_vTranslation = offset;
}

// A triangle: one corner on the hand, one halfway between arm and hand, one on the arm with half a share.
static bool AddPiece(Model& model)
{
    ModelPiece* pPiece = new ModelPiece(&model);
    pPiece->SetName("glove");
    model.m_Pieces.Append(pPiece);
    if (!pPiece->m_Verts.SetSize(3) || !pPiece->m_Tris.SetSize(1) || !model.m_VertexWeights.SetSize(4))
        return false;
    const ModelVertWeight weights[4] = {
        {{1.0f, 0.0f, 0.0f, 1.0f}, 2},
        {{2.0f, 1.0f, 0.0f, 0.5f}, 1},
        {{-0.5f, 1.0f, 0.0f, 0.5f}, 2},
        {{0.0f, 0.5f, 0.0f, 0.5f}, 1},
    };
    for (uint32_t i = 0; i < 4; ++i)
        model.m_VertexWeights[i] = weights[i];
    const uint16_t counts[3] = {1, 2, 1};
    const Vector3 positions[3] = {{6.0f, 10.0f, 0.0f}, {4.0f, 12.0f, 0.0f}, {0.0f, 11.0f, 0.0f}};
    uint32_t iWeight = 0;
    for (uint16_t i = 0; i < 3; ++i)
    {
        ModelVert* pVert = pPiece->GetVert(i);
        pVert->m_nWeights = counts[i];
        pVert->m_Weights = &model.m_VertexWeights[iWeight];
        pVert->m_vPos = positions[i];
        pPiece->GetTri(0)->m_Indices[i] = i;
        iWeight += counts[i];
    }
    return true;
}

bool SavePlayerModel(const char* pPath, bool bBare)
{
    ConvModel model;
    ModelNode* pHips = AddNode(model, nullptr, "hips", 0.0f, 0.0f);
    ModelNode* pArm = AddNode(model, pHips, "arm", 0.0f, 10.0f);
    AddNode(model, pArm, "hand", 5.0f, 10.0f);
    if (!AddPiece(model) || !model.Precalc(QZTRUE))
        return false;

    const NodeKeyFrame still = {{0.0f, 0.0f, 0.0f}, NO_TURN};
    const NodeKeyFrame arm = {{0.0f, 10.0f, 0.0f}, NO_TURN};
    const NodeKeyFrame armUp = {{0.0f, 10.0f, 0.0f}, QUARTER_TURN_Z};
    const NodeKeyFrame hand = {{5.0f, 0.0f, 0.0f}, NO_TURN};
    const NodeKeyFrame handOut = {{7.0f, 0.0f, 0.0f}, NO_TURN};
    AddAnim(model, "wave", Vector3(0.0f, 0.0f, 0.0f),
            {{0, still, arm, hand}, {200, {{2.0f, 0.0f, 0.0f}, NO_TURN}, armUp, hand}});
    // Two keys at one time: the second one holds.
    AddAnim(model, "rest", Vector3(0.0f, 0.0f, 1.0f),
            {{0, {{10.0f, 0.0f, 0.0f}, NO_TURN}, arm, hand},
             {100, {{10.0f, -1.0f, 0.0f}, NO_TURN}, arm, hand},
             {100, {{20.0f, -1.0f, 0.0f}, NO_TURN}, arm, hand},
             {200, {{20.0f, -2.0f, 0.0f}, NO_TURN}, arm, hand}});
    AddAnim(model, "nod", Vector3(0.0f, 0.0f, 50.0f),
            {{0, still, arm, handOut}, {800, still, {{0.0f, 10.0f, 16.0f}, NO_TURN}, handOut}});
    if (!model.FinishAnim(0) || !model.FinishAnim(1) || !model.FinishAnim(2))
        return false;

    if (!bBare)
    {
        WeightSet* pSet = new WeightSet(&model);
        if (!pSet->Init() || !model.AddWeightSet(pSet))
            return false;
        pSet->SetName("arms");
        pSet->m_Weights[1] = 2.0f; // the arm: added
        pSet->m_Weights[2] = 0.5f; // the hand: halfway
        ModelSocket* pSocket = new ModelSocket;
        pSocket->SetName("grip");
        pSocket->m_iNode = 2;
        pSocket->m_vPos.Set(1.0f, 0.0f, 0.0f);
        if (!model.AddSocket(pSocket))
            return false;
    }

    ModelStream* pStream = OpenStdioStream(pPath, "wb");
    if (!pStream)
        return false;
    const bool bSaved = model.Save(pStream) && pStream->ErrorStatus() == 0;
    pStream->Release();
    return bSaved;
}
