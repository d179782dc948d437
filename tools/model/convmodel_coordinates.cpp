// From the host's axes to the model's.
//
// Model space is the host's space mirrored in z. A mirror is no rotation, so the node frames get the scaling
// F = (-1, -1, 1) instead, which differs from the z mirror by a point reflection only; the offsets of the vertex
// weights, which are computed afterwards, absorb that.

#include "tools/model/convmodel.h"
#include "tools/model/convnode.h"
#include "tools/model/fourtransforms.h"
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

// The same for four keys in a row. The nodes are only set where it has to be, with bSetNodes.
static void ConvertFourKeys(AnimNode* pTrack, uint32_t iKey, const FourTransforms& parent,
                            const FourTransforms& parentInverse, bool bSetNodes)
{
    ConvNode* pNode = static_cast<ConvNode*>(pTrack->m_pNode);
    const bool bUnscaled = pNode->m_Scale.x == 1.0f && pNode->m_Scale.y == 1.0f && pNode->m_Scale.z == 1.0f;
    FourTransforms global, flipped, inverse;
    if (!bUnscaled || !FourConvert(global, flipped, inverse, parent, parentInverse, &pTrack->m_KeyFrames[iKey]))
    {
        for (uint32_t k = 0; k < FOUR_KEYS; ++k)
            ConvertKey(pTrack, iKey + k, parent.At(k), parentInverse.At(k));
        return;
    }
    if (bSetNodes)
    {
        pNode->m_mGlobal = flipped.At(FOUR_KEYS - 1);
        pNode->m_mGlobalInverse = inverse.At(FOUR_KEYS - 1);
    }
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        ConvertFourKeys(pTrack->GetChild(i), iKey, global, inverse, bSetNodes);
}

void ConvModel::ConvertCoordinates()
{
    const FourTransforms identities = FourTransforms::Identity();
    const Matrix4 identity;
    Matrix4 inverse;
    identity.Inverse(inverse);
    for (uint32_t iAnim = 0; iAnim < NumAnims(); ++iAnim)
    {
        ModelAnim* pAnim = GetAnim(iAnim);
        const uint32_t nKeys = pAnim->NumKeyFrames();
        AnimNode* pRoot = pAnim->GetRootNode();
        ForKeysByFour(
            nKeys,
            [&](uint32_t iKey) { ConvertFourKeys(pRoot, iKey, identities, identities, nKeys - iKey == FOUR_KEYS); },
            [&](uint32_t iKey) { ConvertKey(pRoot, iKey, identity, inverse); });
    }
}
