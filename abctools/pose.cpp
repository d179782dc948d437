#include "abctools/pose.h"

#include "abctools/findanimtime.h"
#include "abctools/format.h"
#include "engine/model/src/model.h"
#include "engine/model/src/transformmaker.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

bool ParsePoseLayer(const std::string& text, PoseLayer& layer)
{
    const size_t setColon = text.rfind(':');
    if (setColon == std::string::npos || setColon == 0)
        return false;
    const size_t timeColon = text.rfind(':', setColon - 1);
    if (timeColon == std::string::npos)
        return false;
    layer.m_Anim = text.substr(0, timeColon);
    layer.m_WeightSet = text.substr(setColon + 1);
    const std::string time = text.substr(timeColon + 1, setColon - timeColon - 1);
    char* pEnd = nullptr;
    layer.m_Time = strtod(time.c_str(), &pEnd);
    return !layer.m_Anim.empty() && !layer.m_WeightSet.empty() && !time.empty() && !*pEnd &&
           std::isfinite(layer.m_Time);
}

// A position on one animation, at a key or at a time.
static bool MakePosition(Model& model, const std::string& name, std::optional<uint32_t> iKey, double time,
                         AnimTracker& position, std::string& error)
{
    constexpr uint32_t POSITION_LIMIT = 0xFFFF; // rows and keys of a position have 16 bits
    uint32_t iRow = 0;
    AnimInfo* pInfo = nullptr;
    const ModelAnim* pAnim = model.FindAnim(name.c_str(), &iRow, &pInfo);
    if (!pAnim)
    {
        error = "it has no animation " + name;
        return false;
    }
    if (!pInfo->m_pChildInfo->m_bTreeMatches)
    {
        error = Format("animation %s comes from child model %s, whose node tree differs", name.c_str(),
                       pInfo->m_pChildInfo->m_pName);
        return false;
    }
    AnimPlace place;
    if (!FindAnimTime(*pAnim, time, place))
    {
        error = "animation " + name + " has no keys";
        return false;
    }
    if (iKey)
    {
        if (*iKey >= pAnim->NumKeyFrames())
        {
            error = "animation " + name + " has " + Counted(pAnim->NumKeyFrames(), "key") +
                    Format(", so there is no key %u", *iKey);
            return false;
        }
        place = {*iKey, *iKey, 0.0f};
    }
    if (iRow > POSITION_LIMIT || place.m_iCur > POSITION_LIMIT)
    {
        error = "animation " + name + " lies beyond what an animation position can name";
        return false;
    }
    position.Init(&model, iRow, place.m_iPrev, iRow, place.m_iCur, place.m_Percent);
    return true;
}

bool MakePosePositions(Model& model, const PoseOptions& options, std::vector<AnimTracker>& positions,
                       std::string& error)
{
    if (options.m_Layers.size() >= MAX_ANIM_POSITIONS)
    {
        error = Format("%zu layers are too many, %u fit", options.m_Layers.size(), MAX_ANIM_POSITIONS - 1);
        return false;
    }
    positions.assign(1 + options.m_Layers.size(), AnimTracker());
    if (!MakePosition(model, options.m_Anim, options.m_iKey, options.m_Time.value_or(0.0), positions[0], error))
        return false;
    for (size_t i = 0; i < options.m_Layers.size(); ++i)
    {
        const PoseLayer& layer = options.m_Layers[i];
        AnimTracker& position = positions[i + 1];
        if (!MakePosition(model, layer.m_Anim, std::nullopt, layer.m_Time, position, error))
            return false;
        if (!model.FindWeightSet(layer.m_WeightSet.c_str(), &position.m_iWeightSet))
        {
            error = "it has no weight set " + layer.m_WeightSet;
            return false;
        }
    }
    return true;
}

bool EvaluatePose(const std::vector<AnimTracker>& positions)
{
    TransformMaker maker;
    std::copy(positions.begin(), positions.end(), maker.m_Anims);
    maker.m_nAnims = static_cast<uint32_t>(positions.size());
    return maker.SetupTransforms() != QZFALSE;
}

bool PoseVertices(Model& model, const std::vector<AnimTracker>& positions, uint32_t iLOD,
                  std::vector<Vector3>& vertices)
{
    size_t nVerts = 0;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
        nVerts += model.GetPiece(i)->GetLOD(iLOD)->NumVerts();
    vertices.assign(nVerts + 1, Vector3(0.0f, 0.0f, 0.0f)); // never without an address
    VertexDeformRequest request;
    std::copy(positions.begin(), positions.end(), request.m_Anims);
    request.m_nAnims = static_cast<uint32_t>(positions.size());
    request.m_pVertOut = vertices.data();
    request.m_iLOD = iLOD;
    const bool bDeformed = model.GetVertexPositions(&request, QZFALSE) != QZFALSE;
    vertices.pop_back();
    return bDeformed;
}
