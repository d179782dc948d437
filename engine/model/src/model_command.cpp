// The command string of a model.

#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"
#include "zoltshared/stdzolt/commandtokenizer.h"
#include "zoltshared/stdzolt/strcasecompare.h"

#include <cstdint>
#include <cstdlib>

ZOLT_BEGIN_NAMESPACE

static bool Is(const char* pToken, const char* pKeyword)
{
    return CompareNoCase(pToken, pKeyword) == 0;
}

// Text that isn't a number gives 0.
static float Value(const char* pToken)
{
    return static_cast<float>(atof(pToken));
}

void Model::ParseNormalRef(TransformMaker& maker, const char* pNodeName, const char* pAnimName)
{
    m_bNormalRef = QZFALSE;
    m_iNormalRefNode = -1;
    uint32_t iNode = 0;
    if (!FindNode(pNodeName, &iNode))
        return;
    m_iNormalRefNode = static_cast<int32_t>(iNode);
    m_iNormalRefAnim = -1;
    uint32_t iAnim = 0;
    if (!FindAnim(pAnimName, &iAnim, nullptr))
        return;
    m_iNormalRefAnim = static_cast<int32_t>(iAnim);
    if (iAnim > UINT16_MAX)
        return; // no position can name that row
    maker.m_Anims[0].Init(this, iAnim, 0, iAnim, 0, 0.0f);
    maker.m_nAnims = 1;
    if (!maker.SetupTransforms())
        return;
    m_NormalRefTransform = m_Transforms[iNode];
    m_bNormalRef = QZTRUE;
}

void Model::ParseCommandString()
{
    // The degrees-to-radians factor is the float with the bits 0x3C8EFA35; the product is taken in float.
    constexpr float RADIANS_PER_DEGREE = 0.017453292f;

    CommandTokenizer tokenizer;
    TransformMaker maker;
    if (!m_CommandString)
        return;
    m_bFovOffset = QZFALSE;

    const struct
    {
        const char* m_pKeyword;
        float* m_pValue;
    } plainValues[] = {
        {"VisRadius", &m_VisRadius},
        {"AmbientLight", &m_AmbientLight},
        {"DirLight", &m_DirLight},
        {"ShadowProjectLength", &m_ShadowProjectLength},
        {"ShadowLightDist", &m_ShadowLightDist},
        {"ShadowSizeX", &m_ShadowSizeX},
        {"ShadowSizeY", &m_ShadowSizeY},
    };

    tokenizer.SetText(m_CommandString);
    while (tokenizer.NextCommand())
    {
        const int nTokens = tokenizer.m_nTokens;
        char* const* tokens = tokenizer.m_Tokens;
        if (nTokens == 2)
        {
            for (const auto& plain : plainValues)
            {
                if (Is(tokens[0], plain.m_pKeyword))
                    *plain.m_pValue = Value(tokens[1]);
            }
            if (Is(tokens[0], "FadeRangeMin"))
                SetFadeRange(Value(tokens[1]), m_FadeRangeMax);
            else if (Is(tokens[0], "FadeRangeMax"))
                SetFadeRange(m_FadeRangeMin, Value(tokens[1]));
            else if (Is(tokens[0], "FovXOffset"))
            {
                m_FovXOffset = Value(tokens[1]) * RADIANS_PER_DEGREE;
                m_bFovOffset = QZTRUE;
            }
            else if (Is(tokens[0], "FovYOffset"))
            {
                m_FovYOffset = Value(tokens[1]) * RADIANS_PER_DEGREE;
                m_bFovOffset = QZTRUE;
            }
        }
        else if (nTokens == 1)
        {
            if (Is(tokens[0], "NoAnimation"))
                m_bNoAnimation = QZTRUE;
            else if (Is(tokens[0], "ShadowEnable"))
                m_bShadowEnable = QZTRUE;
            else if (Is(tokens[0], "SpecularEnable"))
                m_bSpecularEnable = QZTRUE;
            else if (Is(tokens[0], "Rigid"))
                m_bRigid = QZTRUE;
        }
        if (nTokens >= 3)
        {
            if (Is(tokens[0], "FadeSpriteSize"))
            {
                m_FadeSpriteSize[0] = Value(tokens[1]);
                m_FadeSpriteSize[1] = Value(tokens[2]);
            }
            else if (Is(tokens[0], "NormalRef"))
                ParseNormalRef(maker, tokens[1], tokens[2]);
        }
        if (nTokens >= 4 && Is(tokens[0], "ShadowCenterOffset"))
            m_ShadowCenterOffset.Set(Value(tokens[1]), Value(tokens[2]), Value(tokens[3]));
    }
}

ZOLT_END_NAMESPACE
