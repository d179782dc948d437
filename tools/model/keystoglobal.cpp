#include "tools/model/keystoglobal.h"

#include "tools/model/fourtransforms.h"

void KeysToGlobal(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent)
{
    NodeKeyFrame& key = pTrack->m_KeyFrames[iKey];
    Matrix4 local, global;
    key.ToMatrix(local);
    Multiply(global, mParent, local);
    key.FromMatrix(global);
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
    {
        if (pTrack->GetChild(i))
            KeysToGlobal(pTrack->GetChild(i), iKey, global);
    }
}

static void KeysBelow(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParentInverse)
{
    NodeKeyFrame& key = pTrack->m_KeyFrames[iKey];
    Matrix4 global, local;
    key.ToMatrix(global);
    Multiply(local, mParentInverse, global);
    key.FromMatrix(local);
    if (pTrack->NumChildren() == 0)
        return;
    global.Inverse(global);
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        KeysBelow(pTrack->GetChild(i), iKey, global);
}

void KeysToLocal(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent)
{
    Matrix4 inverse;
    mParent.Inverse(inverse);
    KeysBelow(pTrack, iKey, inverse);
}

static void FourKeysToGlobal(AnimNode* pTrack, uint32_t iKey, const FourTransforms& parent)
{
    FourTransforms global;
    if (!FourToGlobal(global, parent, &pTrack->m_KeyFrames[iKey]))
    {
        for (uint32_t k = 0; k < FOUR_KEYS; ++k)
            KeysToGlobal(pTrack, iKey + k, parent.At(k));
        return;
    }
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
    {
        if (pTrack->GetChild(i))
            FourKeysToGlobal(pTrack->GetChild(i), iKey, global);
    }
}

static void FourKeysBelow(AnimNode* pTrack, uint32_t iKey, const FourTransforms& parentInverse)
{
    FourTransforms inverse;
    if (!FourToLocal(inverse, parentInverse, &pTrack->m_KeyFrames[iKey]))
    {
        for (uint32_t k = 0; k < FOUR_KEYS; ++k)
            KeysBelow(pTrack, iKey + k, parentInverse.At(k));
        return;
    }
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        FourKeysBelow(pTrack->GetChild(i), iKey, inverse);
}

void AllKeysToGlobal(AnimNode* pRoot, uint32_t nKeys)
{
    const FourTransforms identities = FourTransforms::Identity();
    ForKeysByFour(
        nKeys, [&](uint32_t iKey) { FourKeysToGlobal(pRoot, iKey, identities); },
        [&](uint32_t iKey) { KeysToGlobal(pRoot, iKey, Matrix4()); });
}

void AllKeysToLocal(AnimNode* pRoot, uint32_t nKeys)
{
    const FourTransforms identities = FourTransforms::Identity();
    ForKeysByFour(
        nKeys, [&](uint32_t iKey) { FourKeysBelow(pRoot, iKey, identities); },
        [&](uint32_t iKey) { KeysToLocal(pRoot, iKey, Matrix4()); });
}
