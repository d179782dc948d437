// From the host's axes to the model's.
//
// Model space is the host's space mirrored in z. A mirror is no rotation, so the node frames get the scaling
// F = (-1, -1, 1) instead, which differs from the z mirror by a point reflection only; the offsets of the vertex
// weights, which are computed afterwards, absorb that.

#include "tools/model/convmodel.h"
#include "tools/model/convnode.h"
#include "tools/model/multiplyscale.h"
#include "tools/model/orthonormalise.h"

// F × an orthonormalised matrix, but for its translation, whose z is negated. Summed up from 0 as a product is, so that
// no -0 comes about.
static void Flip(Matrix4& out, const Matrix4& m)
{
    for (int i = 0; i < 8; ++i)
        out.m[i] = 0.0f - m.m[i];
    for (int i = 8; i < 16; ++i)
        out.m[i] = m.m[i] + 0.0f;
    out.SetTranslation(m(0, 3), m(1, 3), -m(2, 3));
}

// Key iKey of the subtree, and the nodes' global transforms at it. mParent is the global transform above in the host's
// axes, mParentInverse the inverse of the one in the model's.
static void ConvertKey(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent, const Matrix4& mParentInverse)
{
    ConvNode* pNode = static_cast<ConvNode*>(pTrack->m_pNode);
    NodeKeyFrame& key = pTrack->m_KeyFrames[iKey];
    Matrix4 local, unscaled, global;
    key.ToMatrix(local);
    Multiply(unscaled, mParent, local);
    MultiplyScale(global, unscaled, pNode->m_Scale);
    Orthonormalise(global, unscaled);
    Flip(pNode->m_mGlobal, global);
    pNode->m_mGlobal.Inverse(pNode->m_mGlobalInverse);
    Multiply(local, mParentInverse, pNode->m_mGlobal);
    key.FromMatrix(local);
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        ConvertKey(pTrack->GetChild(i), iKey, global, pNode->m_mGlobalInverse);
}

void ConvModel::ConvertCoordinates()
{
    const Matrix4 identity;
    Matrix4 inverse;
    identity.Inverse(inverse);
    for (uint32_t iAnim = 0; iAnim < NumAnims(); ++iAnim)
    {
        ModelAnim* pAnim = GetAnim(iAnim);
        for (uint32_t iKey = 0; iKey < pAnim->NumKeyFrames(); ++iKey)
            ConvertKey(pAnim->GetRootNode(), iKey, identity, inverse);
    }
}
