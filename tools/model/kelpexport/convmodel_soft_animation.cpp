// One animation from the host: function curves tell at which frames something is keyed, the poses at those frames are
// sampled.

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/hostcount.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// Rotation x, y, z; translation x, y, z; shape interpolation.
static constexpr int NUM_CURVES = 7;

// Milliseconds, truncated.
static int64_t KeyTime(float seconds)
{
    const double time = double(seconds) * 1000.0;
    // What fits neither a signed nor an unsigned 32-bit number is no time.
    if (!(time > -2147483649.0 && time < 4294967296.0))
        return 0;
    return static_cast<int64_t>(time);
}

QZBOOL ConvModel_Soft::ReadAnimation(const char* pAnimName)
{
    ModelAnim* pAnim = new ModelAnim(this);
    if (!pAnim || !AddAnim(pAnim))
    {
        delete pAnim;
        ShowOutOfMemory();
        return QZFALSE;
    }
    pAnim->SetName(pAnimName);
    ConvAnimNode* pRootTrack = new ConvAnimNode(pAnim, nullptr);
    if (!pRootTrack || (pAnimName[0] && !pAnim->GetName()[0]))
    {
        delete pRootTrack;
        ShowOutOfMemory();
        return QZFALSE;
    }
    pAnim->SetRootNode(pRootTrack);

    int nStartFrame = 0;
    int nEndFrame = 0;
    SAA_sceneGetPlayCtrlStartFrame(m_pScene, &nStartFrame);
    SAA_sceneGetPlayCtrlEndFrame(m_pScene, &nEndFrame);
    if (nEndFrame < nStartFrame)
    {
        ShowMessage(MESSAGE_OK, "Invalid play range: %d to %d.", nStartFrame, nEndFrame);
        return QZFALSE;
    }
    KeyFrameMask mask;
    if (!SetHostSize(mask, int64_t(nEndFrame) - nStartFrame + 1))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    for (uint32_t i = 0; i < mask.GetSize(); ++i)
        mask[i] = 0;
    // One that stops early leaves fewer marks.
    CollectKeyFrames(GetSoftRoot(), mask, nStartFrame, nEndFrame);
    uint32_t nKeyframes = 0;
    for (uint32_t i = 0; i < mask.GetSize(); ++i)
        nKeyframes += mask[i];
    if (nKeyframes == 0)
    {
        mask[0] = 1;
        nKeyframes = 1;
    }
    if (!pAnim->m_KeyFrames.SetSize(nKeyframes, m_pAllocator))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    if (!BuildAnimNodeTree(pRootTrack, GetSoftRoot(), nKeyframes))
        return QZFALSE;

    uint32_t iKey = 0;
    int64_t firstTime = 0;
    int64_t lastTime = 0;
    for (uint32_t i = 0; i < mask.GetSize(); ++i)
    {
        if (!mask[i])
            continue;
        const int nFrame = nStartFrame + static_cast<int>(i);
        float seconds = 0.0f;
        SAA_frame2Seconds(m_pScene, nFrame, &seconds);
        int64_t time = KeyTime(seconds);
        if (iKey == 0)
            firstTime = time;
        else if (time < lastTime || time - firstTime > UINT32_MAX)
        {
            LogWrite(
                "WARNING: Frame %d is earlier than the key before it, or too late, and gets the time of that key.\n",
                nFrame);
            time = lastTime;
        }
        lastTime = time;
        // Times before 0 in two's complement.
        pAnim->m_KeyFrames[iKey].m_Time = static_cast<uint32_t>(time);
        SAA_sceneSetPlayCtrlCurrentFrame(m_pScene, nFrame);
        if (!SampleKeyFrame(pRootTrack, GetSoftRoot(), iKey))
            return QZFALSE;
        ++iKey;
    }
    return QZTRUE;
}

// What marks the keys of one curve after the other in a mask.
class CurveMarker
{
public:
    CurveMarker(const SAA_Scene* pScene, KeyFrameMask& mask, int nStartFrame, int nEndFrame)
        : m_pScene(pScene), m_Mask(mask), m_nStartFrame(nStartFrame), m_nEndFrame(nEndFrame)
    {
    }

    // Those outside the range count for its first or last frame.
    QZBOOL Mark(const SAA_Elem* pCurve)
    {
        short isValid = 0;
        SAA_elementIsValid(m_pScene, pCurve, &isValid);
        if (!isValid)
            return QZTRUE;
        int nKeys = 0;
        SAA_fcurveGetNbKeys(m_pScene, pCurve, &nKeys);
        if (nKeys <= 0)
            return QZTRUE;
        if (!SetHostSize(m_Keys, nKeys) || !SetHostSize(m_Times, nKeys))
        {
            ShowOutOfMemory();
            return QZFALSE;
        }
        // What the host doesn't fill in lies at time 0.
        std::fill_n(m_Keys.GetArray(), m_Keys.GetSize(), SAA_SubHandle());
        std::fill_n(m_Times.GetArray(), m_Times.GetSize(), 0.0f);
        SAA_fcurveGetKeys(m_pScene, pCurve, nKeys, m_Keys.GetArray());
        SAA_fcurveKeyGetTime(m_pScene, pCurve, nKeys, m_Keys.GetArray(), m_Times.GetArray());
        if (AreMarked())
            return QZTRUE;
        for (uint32_t i = 0; i < m_Times.GetSize(); ++i)
            MarkTime(m_Times[i]);
        // One that can't be kept is only marked again.
        m_Marked.CopyArray(m_Times);
        return QZTRUE;
    }

private:
    // Most curves have their keys at the times of the one before.
    bool AreMarked() const
    {
        return m_Marked.GetSize() == m_Times.GetSize() &&
               memcmp(m_Marked.GetArray(), m_Times.GetArray(), m_Times.GetSize() * sizeof(float)) == 0;
    }

    void MarkTime(float seconds)
    {
        int nFrame = 0;
        SAA_seconds2Frame(m_pScene, seconds, &nFrame);
        if (nFrame < m_nStartFrame)
            nFrame = m_nStartFrame;
        if (nFrame > m_nEndFrame)
            nFrame = m_nEndFrame;
        m_Mask[static_cast<uint32_t>(int64_t(nFrame) - m_nStartFrame)] = 1;
    }

    const SAA_Scene* m_pScene;
    KeyFrameMask& m_Mask;
    int m_nStartFrame;
    int m_nEndFrame;
    DynArray<SAA_SubHandle, DefaultCache> m_Keys; // of the curve, and their times
    DynArray<float, DefaultCache> m_Times;
    DynArray<float, DefaultCache> m_Marked; // the times that were marked last
};

static QZBOOL CollectKeyFramesBelow(const SAA_Scene* pScene, SoftNode* pNode, CurveMarker& marker)
{
    SAA_Elem curves[NUM_CURVES] = {};
    SAA_modelFcurveGetRotation(pScene, &pNode->m_Elem, &curves[0], &curves[1], &curves[2]);
    SAA_modelFcurveGetTranslation(pScene, &pNode->m_Elem, &curves[3], &curves[4], &curves[5]);
    SAA_modelFcurveGetShapeInterpolation(pScene, &pNode->m_Elem, &curves[6]);
    for (const SAA_Elem& curve : curves)
    {
        if (!marker.Mark(&curve))
            return QZFALSE;
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        if (!CollectKeyFramesBelow(pScene, pNode->GetSoftChild(i), marker))
            return QZFALSE;
    }
    return QZTRUE;
}

QZBOOL ConvModel_Soft::CollectKeyFrames(SoftNode* pNode, KeyFrameMask& mask, int nStartFrame, int nEndFrame)
{
    CurveMarker marker(m_pScene, mask, nStartFrame, nEndFrame);
    return CollectKeyFramesBelow(m_pScene, pNode, marker);
}

QZBOOL ConvModel_Soft::BuildAnimNodeTree(ConvAnimNode* pAnimNode, SoftNode* pNode, uint32_t nKeyframes)
{
    pAnimNode->m_pNode = pNode;
    if (!CHECK_BOOL(pNode->m_AnimNodes.Append(pAnimNode), "pNode->m_AnimNodes.Append(pAnimNode)") ||
        !CHECK_BOOL(pAnimNode->m_KeyFrames.SetSize(nKeyframes, m_pAllocator),
                    "pAnimNode->m_KeyFrames.SetSize(nKeyframes)"))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    for (uint32_t i = 0; i < nKeyframes; ++i)
        pAnimNode->m_KeyFrames[i].SetIdentity();
    if (!CreateChildAnimNodes(pAnimNode->m_Children, pNode->NumChildren(), pAnimNode->GetAnim(), pAnimNode))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        ConvAnimNode* pChild = static_cast<ConvAnimNode*>(pAnimNode->GetChild(i));
        if (!BuildAnimNodeTree(pChild, pNode->GetSoftChild(i), nKeyframes))
            return QZFALSE;
    }
    return QZTRUE;
}

static bool IsFinite(const Vector3& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

static bool IsRotation(const Quaternion& q)
{
    const double norm = double(q.x) * q.x + double(q.y) * q.y + double(q.z) * q.z + double(q.w) * q.w;
    return std::isfinite(norm) && norm > 0.0;
}

QZBOOL ConvModel_Soft::SampleKeyFrame(ConvAnimNode* pAnimNode, SoftNode* pNode, uint32_t iKey)
{
    NodeKeyFrame& key = pAnimNode->m_KeyFrames[iKey];
    float angles[3] = {0.0f, 0.0f, 0.0f};
    SAA_modelGetRotation(m_pScene, &pNode->m_Elem, 0, &angles[0], &angles[1], &angles[2]);
    SAA_modelGetTranslation(m_pScene, &pNode->m_Elem, 0, &key.m_vTranslation.x, &key.m_vTranslation.y,
                            &key.m_vTranslation.z);
    Matrix4 hostRotation;
    SAA_matrixCreateXYZRotation(angles, hostRotation.m);
    // The host's matrix acts on row vectors.
    Matrix4 rotation;
    for (int r = 0; r < 4; ++r)
    {
        for (int c = 0; c < 4; ++c)
            rotation(r, c) = hostRotation(c, r);
    }
    key.m_qRotation.FromMatrix(rotation);

    const bool bIsPose = IsFinite(key.m_vTranslation) && IsRotation(key.m_qRotation);
    if (!bIsPose)
    {
        LogWrite("WARNING: Node %s has a pose that is no number at key %u, left neutral.\n", pNode->GetName(), iKey);
        key.SetIdentity();
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        if (!SampleKeyFrame(static_cast<ConvAnimNode*>(pAnimNode->GetChild(i)), pNode->GetSoftChild(i), iKey))
            return QZFALSE;
    }
    return QZTRUE;
}
