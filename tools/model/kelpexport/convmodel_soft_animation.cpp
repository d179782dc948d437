// One animation from the host: function curves tell at which frames something is keyed, the poses at those frames are
// sampled.

#include "tools/model/kelpexport/checkstatus.h"
#include "tools/model/kelpexport/convmodel_soft.h"
#include "tools/model/kelpexport/hostcount.h"
#include "tools/model/kelpexport/log.h"
#include "tools/model/kelpexport/messages.h"

#include <cmath>

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

// Marks the frames of the keys of one curve; those outside the range count for its first or last frame.
static QZBOOL MarkCurveKeys(const SAA_Scene* pScene, const SAA_Elem* pCurve, KeyFrameMask& mask, int nStartFrame,
                            int nEndFrame)
{
    short isValid = 0;
    SAA_elementIsValid(pScene, pCurve, &isValid);
    if (!isValid)
        return QZTRUE;
    int nKeys = 0;
    SAA_fcurveGetNbKeys(pScene, pCurve, &nKeys);
    if (nKeys <= 0)
        return QZTRUE;
    DynArray<SAA_SubHandle, DefaultCache> keys;
    DynArray<float, DefaultCache> times;
    if (!SetHostSize(keys, nKeys) || !SetHostSize(times, nKeys))
    {
        ShowOutOfMemory();
        return QZFALSE;
    }
    // What the host doesn't fill in lies at time 0.
    for (uint32_t i = 0; i < keys.GetSize(); ++i)
    {
        keys[i] = SAA_SubHandle();
        times[i] = 0.0f;
    }
    SAA_fcurveGetKeys(pScene, pCurve, nKeys, keys.GetArray());
    SAA_fcurveKeyGetTime(pScene, pCurve, nKeys, keys.GetArray(), times.GetArray());
    for (uint32_t i = 0; i < times.GetSize(); ++i)
    {
        int nFrame = 0;
        SAA_seconds2Frame(pScene, times[i], &nFrame);
        if (nFrame < nStartFrame)
            nFrame = nStartFrame;
        if (nFrame > nEndFrame)
            nFrame = nEndFrame;
        mask[static_cast<uint32_t>(int64_t(nFrame) - nStartFrame)] = 1;
    }
    return QZTRUE;
}

QZBOOL ConvModel_Soft::CollectKeyFrames(SoftNode* pNode, KeyFrameMask& mask, int nStartFrame, int nEndFrame)
{
    SAA_Elem curves[NUM_CURVES] = {};
    SAA_modelFcurveGetRotation(m_pScene, &pNode->m_Elem, &curves[0], &curves[1], &curves[2]);
    SAA_modelFcurveGetTranslation(m_pScene, &pNode->m_Elem, &curves[3], &curves[4], &curves[5]);
    SAA_modelFcurveGetShapeInterpolation(m_pScene, &pNode->m_Elem, &curves[6]);
    for (const SAA_Elem& curve : curves)
    {
        if (!MarkCurveKeys(m_pScene, &curve, mask, nStartFrame, nEndFrame))
            return QZFALSE;
    }
    for (uint32_t i = 0; i < pNode->NumChildren(); ++i)
    {
        if (!CollectKeyFrames(pNode->GetSoftChild(i), mask, nStartFrame, nEndFrame))
            return QZFALSE;
    }
    return QZTRUE;
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
