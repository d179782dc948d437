// From the host's axes to the model's.
//
// Model space is the host's space mirrored in z. A mirror is no rotation, so the node frames get the scaling
// F = (-1, -1, 1) instead, which differs from the z mirror by a point reflection only; the offsets of the vertex
// weights, which are computed afterwards, absorb that.

#include "tools/model/convmodel.h"
#include "tools/model/evaluatenodetransforms.h"

// Key iKey of the subtree from the nodes' global transforms. mParentInverse is the inverse of that above the node.
static void KeysFromGlobals(ModelNode* pNode, AnimNode* pTrack, uint32_t iKey, const Matrix4& mParentInverse)
{
    Matrix4 local;
    Multiply(local, mParentInverse, pNode->m_mGlobal);
    pTrack->m_KeyFrames[iKey].FromMatrix(local);
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        KeysFromGlobals(pNode->GetChild(i), pTrack->GetChild(i), iKey, pNode->m_mGlobalInverse);
}

void ConvModel::ConvertCoordinates()
{
    for (uint32_t iAnim = 0; iAnim < NumAnims(); ++iAnim)
    {
        ModelAnim* pAnim = GetAnim(iAnim);
        for (uint32_t iKey = 0; iKey < pAnim->NumKeyFrames(); ++iKey)
        {
            EvaluateNodeTransforms(pAnim->GetRootNode(), iKey, Matrix4(), QZFALSE);
            for (uint32_t iNode = 0; iNode < m_FlatNodeList.GetSize(); ++iNode)
            {
                // F times the rotation, summed up from 0 as a product is, so that no -0 comes about.
                Matrix4 global = m_FlatNodeList[iNode]->m_mGlobal;
                Vector3 translation;
                global.GetTranslation(translation);
                for (int i = 0; i < 12; ++i)
                    global.m[i] = 0.0f + (i < 8 ? -global.m[i] : global.m[i]);
                global.SetTranslation(translation.x, translation.y, -translation.z);
                m_FlatNodeList[iNode]->SetGlobalTransform(global);
            }
            KeysFromGlobals(GetRootNode(), pAnim->GetRootNode(), iKey, Matrix4());
        }
    }
}
