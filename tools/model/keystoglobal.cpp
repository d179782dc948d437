#include "tools/model/keystoglobal.h"

void KeysToGlobal(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent)
{
    Matrix4 local;
    pTrack->m_KeyFrames[iKey].ToMatrix(local);
    Matrix4 global;
    Multiply(global, mParent, local);
    pTrack->m_KeyFrames[iKey].FromMatrix(global);
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
    {
        if (pTrack->GetChild(i))
            KeysToGlobal(pTrack->GetChild(i), iKey, global);
    }
}

void KeysToLocal(AnimNode* pTrack, uint32_t iKey, const Matrix4& mParent)
{
    Matrix4 global;
    pTrack->m_KeyFrames[iKey].ToMatrix(global);
    Matrix4 inverse;
    mParent.Inverse(inverse);
    Matrix4 local;
    Multiply(local, inverse, global);
    pTrack->m_KeyFrames[iKey].FromMatrix(local);
    for (uint32_t i = 0; i < pTrack->NumChildren(); ++i)
        KeysToLocal(pTrack->GetChild(i), iKey, global);
}
