#include "engine/play/animplayer.h"

#include "engine/model/src/model.h"

#include <algorithm>
#include <cmath>

namespace zolt
{
ZOLT_BEGIN_NAMESPACE
// With those of the base and of the layer that is left there is a position for each.
static constexpr uint32_t MAX_MIXED_LAYERS = 3;
static constexpr float PI = 3.14159265358979f;

static double PassedTime(float seconds)
{
    return seconds > 0.0f && std::isfinite(seconds) ? seconds : 0.0;
}

float AnimPlayer::Source::GetFade() const
{
    if (m_Faded >= m_FadeTime)
        return 1.0f;
    const float t = m_Faded / m_FadeTime;
    return m_Curve == FadeCurve::SMOOTH ? t * t * (3.0f - 2.0f * t) : t;
}

void AnimPlayer::Layer::GetShares(float* pShares) const
{
    float left = 1.0f;
    for (uint32_t i = m_nSources; i-- > 0;)
    {
        pShares[i] = i == 0 ? left : left * m_Sources[i].GetFade();
        left -= pShares[i];
    }
}

void AnimPlayer::Layer::RemoveSources(uint32_t n)
{
    std::copy(m_Sources + n, m_Sources + m_nSources, m_Sources);
    m_nSources -= n;
}

AnimPlayer::Source* AnimPlayer::FindSource(uint32_t iLayer)
{
    return const_cast<Source*>(static_cast<const AnimPlayer*>(this)->FindSource(iLayer));
}

const AnimPlayer::Source* AnimPlayer::FindSource(uint32_t iLayer) const
{
    const Layer* pLayer = FindLayer(iLayer);
    return pLayer && pLayer->m_nSources != 0 ? &pLayer->m_Sources[pLayer->m_nSources - 1] : nullptr;
}

bool AnimPlayer::Play(uint32_t iAnim, const PlayOptions& options, uint32_t iLayer)
{
    const Model* pModel = m_pInstance->GetModel();
    if (!pModel || iAnim >= pModel->NumAnims() || iLayer >= NUM_LAYERS)
        return false;
    const ModelAnim* pAnim = pModel->GetAnim(iAnim);
    if (pAnim->NumKeyFrames() == 0 || !std::isfinite(options.m_Speed) || !std::isfinite(options.m_Start) ||
        !std::isfinite(options.m_Fade))
        return false;
    Layer& layer = m_Layers[iLayer];
    if (layer.m_bEnding)
        layer.m_WeightStep = 0.0f; // It goes on from the weight that it has come down to.
    layer.m_bEnding = false;
    if (layer.m_nSources == MAX_SOURCES)
        layer.RemoveSources(1);
    if (!(options.m_Fade > 0.0f))
        layer.m_nSources = 0;
    Source& source = layer.m_Sources[layer.m_nSources++];
    source = Source();
    source.m_iAnim = iAnim;
    source.m_Clock.Init(pAnim->GetAnimTime(), options.m_Loop, options.m_Speed);
    source.m_Clock.Seek(options.m_Start * 1000.0);
    source.m_FadeTime = layer.m_nSources > 1 ? options.m_Fade : 0.0f;
    source.m_Curve = options.m_Curve;
    return true;
}

bool AnimPlayer::Play(const char* pName, const PlayOptions& options, uint32_t iLayer)
{
    const Model* pModel = m_pInstance->GetModel();
    uint32_t iAnim = 0;
    // The look-up changes nothing.
    if (!pModel || !pName || !const_cast<Model*>(pModel)->FindAnim(pName, &iAnim, nullptr))
        return false;
    return Play(iAnim, options, iLayer);
}

void AnimPlayer::Stop(uint32_t iLayer, float fade)
{
    if (iLayer >= NUM_LAYERS)
        return;
    Layer& layer = m_Layers[iLayer];
    if (iLayer == 0 || !(fade > 0.0f) || !std::isfinite(fade) || layer.m_Weight == 0.0f)
    {
        layer.m_nSources = 0;
        return;
    }
    layer.m_bEnding = true;
    layer.m_WeightStep = layer.m_Weight / fade;
}

bool AnimPlayer::Seek(float time, uint32_t iLayer)
{
    Source* pSource = FindSource(iLayer);
    if (!pSource || !std::isfinite(time))
        return false;
    pSource->m_Clock.Seek(time * 1000.0);
    return true;
}

bool AnimPlayer::SetSpeed(float speed, uint32_t iLayer)
{
    Source* pSource = FindSource(iLayer);
    return pSource && pSource->m_Clock.SetSpeed(speed);
}

bool AnimPlayer::SetLoopMode(LoopMode loop, uint32_t iLayer)
{
    Source* pSource = FindSource(iLayer);
    if (pSource)
        pSource->m_Clock.SetLoopMode(loop);
    return pSource != nullptr;
}

bool AnimPlayer::IsPlaying(uint32_t iLayer) const
{
    return FindSource(iLayer) != nullptr;
}

bool AnimPlayer::IsFinished(uint32_t iLayer) const
{
    const Source* pSource = FindSource(iLayer);
    return pSource && pSource->m_Clock.IsFinished();
}

float AnimPlayer::GetTime(uint32_t iLayer) const
{
    const Source* pSource = FindSource(iLayer);
    return pSource ? static_cast<float>(pSource->m_Clock.GetTime() / 1000.0) : 0.0f;
}

float AnimPlayer::GetLength(uint32_t iLayer) const
{
    const Source* pSource = FindSource(iLayer);
    return pSource ? static_cast<float>(pSource->m_Clock.GetLength() / 1000.0) : 0.0f;
}

uint32_t AnimPlayer::GetAnim(uint32_t iLayer) const
{
    const Source* pSource = FindSource(iLayer);
    return pSource ? pSource->m_iAnim : 0;
}

bool AnimPlayer::SetLayerKind(uint32_t iLayer, LayerKind kind)
{
    if (iLayer == 0 || iLayer >= NUM_LAYERS)
        return false;
    Layer& layer = m_Layers[iLayer];
    layer.m_Kind = kind;
    if (layer.m_bMixed)
        layer.m_pMask = nullptr;
    layer.m_bMixed = false;
    return true;
}

bool AnimPlayer::SetLayerMask(uint32_t iLayer, const float* pMask)
{
    if (iLayer == 0 || iLayer >= NUM_LAYERS)
        return false;
    m_Layers[iLayer].m_pMask = pMask;
    m_Layers[iLayer].m_MaskFactor = 1.0f;
    m_Layers[iLayer].m_bMixed = false;
    return true;
}

bool AnimPlayer::SetLayerWeightSet(uint32_t iLayer, uint32_t iWeightSet)
{
    const Model* pModel = m_pInstance->GetModel();
    if (iLayer == 0 || iLayer >= NUM_LAYERS || !pModel || iWeightSet >= pModel->NumWeightSets())
        return false;
    const DynArray<float, DefaultCache>& weights = pModel->GetWeightSet(iWeightSet)->m_Weights;
    if (weights.GetSize() < m_pInstance->NumNodes())
        return false;
    bool bAdds = false, bBlends = false;
    for (uint32_t i = 0; i < m_pInstance->NumNodes(); ++i)
    {
        const float w = weights.Get(i);
        bAdds = bAdds || w == 2.0f;
        bBlends = bBlends || (w != 2.0f && w != 0.0f);
    }
    const bool bMixed = bAdds && bBlends;
    uint32_t nMixed = 0;
    for (uint32_t i = 0; i < NUM_LAYERS; ++i)
        nMixed += i != iLayer && m_Layers[i].m_bMixed ? 1 : 0;
    if (bMixed && nMixed == MAX_MIXED_LAYERS)
        return false;
    Layer& layer = m_Layers[iLayer];
    layer.m_bMixed = bMixed;
    layer.m_Kind = bAdds ? LayerKind::ADD : LayerKind::BLEND;
    layer.m_pMask = weights.GetArray();
    layer.m_MaskFactor = bAdds && !bMixed ? 0.5f : 1.0f;
    return true;
}

bool AnimPlayer::SetLayerWeight(uint32_t iLayer, float weight, float seconds)
{
    if (iLayer == 0 || iLayer >= NUM_LAYERS || !(weight >= 0.0f && weight <= 1.0f) || !std::isfinite(seconds))
        return false;
    Layer& layer = m_Layers[iLayer];
    layer.m_bEnding = false;
    layer.m_TargetWeight = weight;
    if (!(seconds > 0.0f))
        layer.m_Weight = weight;
    layer.m_WeightStep = seconds > 0.0f ? std::fabs(weight - layer.m_Weight) / seconds : 0.0f;
    return true;
}

float AnimPlayer::GetLayerWeight(uint32_t iLayer) const
{
    const Layer* pLayer = FindLayer(iLayer);
    return pLayer ? pLayer->m_Weight : 0.0f;
}

void AnimPlayer::SetEventHandler(AnimEventHandler pHandler, void* pUser)
{
    m_pHandler = pHandler;
    m_pUser = pUser;
}

bool AnimPlayer::SetRootMotion(uint32_t iNode)
{
    Matrix4 unused;
    if (iNode != NO_NODE && !m_pInstance->EvaluateNode(iNode, unused))
        return false;
    m_iMotionNode = iNode;
    m_Motion = RootMotion();
    m_pInstance->SetPoseOffset(Matrix4());
    return true;
}

RootMotion AnimPlayer::TakeRootMotion()
{
    const RootMotion motion = m_Motion;
    m_Motion = RootMotion();
    return motion;
}

void AnimPlayer::Step(float seconds)
{
    const double passed = PassedTime(seconds);
    if (!m_pInstance->GetModel() || passed == 0.0)
        return;
    for (uint32_t i = 0; i < NUM_LAYERS; ++i)
        StepLayer(i, passed);
}

void AnimPlayer::StepLayer(uint32_t iLayer, double seconds)
{
    Layer& layer = m_Layers[iLayer];
    const float step = layer.m_WeightStep * static_cast<float>(seconds);
    const float target = layer.m_bEnding ? 0.0f : layer.m_TargetWeight;
    layer.m_Weight =
        layer.m_Weight < target ? std::min(layer.m_Weight + step, target) : std::max(layer.m_Weight - step, target);
    if (layer.m_bEnding && layer.m_Weight == 0.0f)
    {
        layer.m_nSources = 0;
        layer.m_bEnding = false;
        layer.m_Weight = layer.m_TargetWeight; // for what is played next
    }

    for (uint32_t i = 0; i < layer.m_nSources; ++i)
        layer.m_Sources[i].m_Faded += static_cast<float>(seconds);
    float shares[MAX_SOURCES];
    layer.GetShares(shares);
    const bool bMotion = iLayer == 0 && m_iMotionNode != NO_NODE;
    RootMotion motion;
    for (uint32_t i = 0; i < layer.m_nSources; ++i)
    {
        Source& source = layer.m_Sources[i];
        RootMotion way;
        TimeSpan span;
        source.m_Clock.BeginStep(seconds * 1000.0);
        while (source.m_Clock.NextSpan(span))
        {
            CallEvents(source, span, iLayer, shares[i]);
            RootMotion from, to;
            if (!bMotion || !FindMotion(source, span.m_From, from) || !FindMotion(source, span.m_To, to))
                continue;
            RootMotion part = from.Inverse().Then(to);
            part.m_Turn = std::remainder(part.m_Turn, 2.0f * PI);
            way = way.Then(part);
        }
        way = way.Scaled(shares[i]);
        motion.m_X += way.m_X;
        motion.m_Z += way.m_Z;
        motion.m_Turn += way.m_Turn;
    }
    if (bMotion)
        m_Motion = m_Motion.Then(motion);
    for (uint32_t i = layer.m_nSources; i-- > 1;)
    {
        if (layer.m_Sources[i].GetFade() < 1.0f)
            continue;
        layer.RemoveSources(i);
        break;
    }
}

void AnimPlayer::CallEvents(const Source& source, const TimeSpan& span, uint32_t iLayer, float weight) const
{
    if (!m_pHandler)
        return;
    const auto& keys = m_pInstance->GetModel()->GetAnim(source.m_iAnim)->m_KeyFrames;
    const AnimKeyFrame* const pBegin = keys.GetArray();
    const AnimKeyFrame* const pEnd = pBegin + keys.GetSize();
    const bool bForward = span.m_To >= span.m_From;
    const double low = std::min(span.m_From, span.m_To), high = std::max(span.m_From, span.m_To);
    // [low, high], or without the end that the span before this one has passed.
    const auto Before = [](const AnimKeyFrame& key, double time) { return key.m_Time < time; };
    const auto Behind = [](double time, const AnimKeyFrame& key) { return time < key.m_Time; };
    const AnimKeyFrame* pFirst = span.m_bIncludesFrom || !bForward ? std::lower_bound(pBegin, pEnd, low, Before)
                                                                   : std::upper_bound(pBegin, pEnd, low, Behind);
    const AnimKeyFrame* pLast = span.m_bIncludesFrom || bForward ? std::upper_bound(pFirst, pEnd, high, Behind)
                                                                 : std::lower_bound(pFirst, pEnd, high, Before);
    for (ptrdiff_t i = 0, n = pLast - pFirst; i < n; ++i)
    {
        const AnimKeyFrame* pKey = bForward ? pFirst + i : pLast - 1 - i;
        if (pKey->m_pString[0] == '\0')
            continue;
        m_pHandler(m_pUser, {pKey->m_pString, source.m_iAnim, static_cast<uint32_t>(pKey - pBegin), iLayer, weight});
    }
}

static PosePoint ToPosePoint(uint32_t iAnim, const KeyPair& pair)
{
    return {iAnim, pair.m_iPrev, iAnim, pair.m_iCur, pair.m_Percent};
}

bool AnimPlayer::FindMotion(const Source& source, double time, RootMotion& out)
{
    const Model* pModel = m_pInstance->GetModel();
    KeyPair pair;
    Matrix4 pose;
    m_pInstance->ClearPositions();
    if (!FindKeyPair(*pModel->GetAnim(source.m_iAnim), time, source.m_iKey, pair) ||
        !m_pInstance->AddPosition(ToPosePoint(source.m_iAnim, pair)) || !m_pInstance->EvaluateNode(m_iMotionNode, pose))
        return false;
    out = FindRootMotion(*pModel->GetNode(m_iMotionNode)->GetGlobalTransform(), pose);
    return true;
}

bool AnimPlayer::Apply()
{
    if (!m_pInstance->GetModel())
        return false;
    m_pInstance->ClearPositions();
    m_pInstance->SetPoseOffset(Matrix4());
    uint32_t nPlaying = 0;
    for (const Layer& layer : m_Layers)
        nPlaying += layer.m_nSources != 0 ? layer.NumPositions() : 0;
    uint32_t nSpare = MAX_ANIM_POSITIONS - nPlaying; // for the crossfades
    for (uint32_t i = 0; i < NUM_LAYERS; ++i)
    {
        Layer& layer = m_Layers[i];
        if (layer.m_nSources == 0)
            continue;
        const uint32_t nMore = std::min(layer.m_nSources - 1, nSpare / layer.NumPositions());
        nSpare -= nMore * layer.NumPositions();
        if (layer.m_nSources > 1 + nMore)
            layer.RemoveSources(layer.m_nSources - 1 - nMore);
        if (!ApplyLayer(layer, i))
            return false;
    }
    Matrix4 pose;
    if (m_iMotionNode != NO_NODE && m_pInstance->EvaluateNode(m_iMotionNode, pose))
    {
        const Matrix4& bindPose = *m_pInstance->GetModel()->GetNode(m_iMotionNode)->GetGlobalTransform();
        m_pInstance->SetPoseOffset(FindRootMotion(bindPose, pose).Inverse().ToMatrix());
    }
    return true;
}

bool AnimPlayer::ApplyLayer(Layer& layer, uint32_t iLayer)
{
    if (iLayer != 0 && layer.m_Weight == 0.0f)
        return true;
    float shares[MAX_SOURCES];
    layer.GetShares(shares);
    float later = 1.0f; // the shares of the sources from here on
    for (uint32_t i = 0; i < layer.m_nSources; ++i)
    {
        Source& source = layer.m_Sources[i];
        KeyPair pair;
        const ModelAnim& anim = *m_pInstance->GetModel()->GetAnim(source.m_iAnim);
        if (!FindKeyPair(anim, source.m_Clock.GetTime(), source.m_iKey, pair))
            return false;
        source.m_iKey = pair.m_iPrev;
        later -= shares[i];
        // Sums of differences may be a trifle off.
        later = i + 1 == layer.m_nSources ? 0.0f : std::clamp(later, 0.0f, 1.0f);
        if (!AddPositions(layer, iLayer, ToPosePoint(source.m_iAnim, pair), shares[i], later))
            return false;
    }
    return true;
}

bool AnimPlayer::AddPositions(const Layer& layer, uint32_t iLayer, const PosePoint& point, float share, float later)
{
    if (iLayer == 0) // The sources before this one are all that there is.
        return m_pInstance->AddPosition(point, LayerKind::BLEND, nullptr, share, later);
    const float factor = layer.m_Weight * layer.m_MaskFactor;
    if (layer.m_bMixed)
        return m_pInstance->AddPosition(point, LayerKind::BLEND, layer.m_pMask, factor * share, factor * later,
                                        MaskPart::ALL_BUT_TWOS) &&
               m_pInstance->AddPosition(point, LayerKind::ADD, layer.m_pMask, factor * share, 0.0f, MaskPart::TWOS);
    return m_pInstance->AddPosition(point, layer.m_Kind, layer.m_pMask, factor * share,
                                    layer.m_Kind == LayerKind::BLEND ? factor * later : 0.0f);
}

ZOLT_END_NAMESPACE
} // namespace zolt
