#include "tools/model/keystoglobal.h"

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
