// From the host's axes to the model's.
//
// Model space is the host's space mirrored in z. A mirror is no rotation, so the node frames get the scaling
// F = (-1, -1, 1) instead, which differs from the z mirror by a point reflection only; the offsets of the vertex
// weights, which are computed afterwards, absorb that.

#include "tools/model/convmodel.h"
#include "tools/model/evaluatenodetransforms.h"

// Key iKey of the subtree from the nodes' global transforms.
static void KeysFromGlobals(ModelNode* pNode, AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent)
{
    Matrix4 inverse;
    mParent.Inverse(inverse);
    pTrack->m_KeyFrames[iKey].FromMatrix(inverse * pNode->m_mGlobal);
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        KeysFromGlobals(pNode->GetChild(i), pTrack->GetChild(i), iKey, pNode->m_mGlobal);
}

void ConvModel::ConvertCoordinates()
{
    Matrix4 flip;
    flip(0, 0) = -1.0f;
    flip(1, 1) = -1.0f;
    for (uint32_t iAnim = 0; iAnim < NumAnims(); ++iAnim)
    {
        ModelAnim* pAnim = GetAnim(iAnim);
        for (uint32_t iKey = 0; iKey < pAnim->NumKeyFrames(); ++iKey)
        {
            EvaluateNodeTransforms(pAnim->GetRootNode(), iKey, Matrix4(), QZFALSE);
            for (uint32_t iNode = 0; iNode < m_FlatNodeList.GetSize(); ++iNode)
            {
                Matrix4 global = m_FlatNodeList[iNode]->m_mGlobal;
                Vector3 translation;
                global.GetTranslation(translation);
                global.SetTranslation(0.0f, 0.0f, 0.0f);
                global = flip * global;
                global.SetTranslation(translation.x, translation.y, -translation.z);
                m_FlatNodeList[iNode]->SetGlobalTransform(global);
            }
            KeysFromGlobals(GetRootNode(), pAnim->GetRootNode(), iKey, Matrix4());
        }
    }
}
