#include "abctools/fixmodel.h"

#include "abctools/format.h"
#include "abctools/modelfilecheck.h"
#include "tools/model/cleangeometry.h"
#include "tools/model/convmodel.h"

#include <algorithm>
#include <cmath>
#include <functional>

static bool FixRotation(Quaternion& q)
{
    const double length = std::sqrt(double(q.x) * q.x + double(q.y) * q.y + double(q.z) * q.z + double(q.w) * q.w);
    if (!std::isfinite(length) || length == 0.0 || std::fabs(length - 1.0) < ROTATION_TOLERANCE)
        return false;
    q.Set(static_cast<float>(q.x / length), static_cast<float>(q.y / length), static_cast<float>(q.z / length),
          static_cast<float>(q.w / length));
    return true;
}

static void Tell(std::vector<std::string>& done, const std::string& whose, uint32_t n, const char* pOne,
                 const char* pMany)
{
    if (n != 0)
        done.push_back(whose + ": " + Counted(n, pOne, pMany));
}

static void FixTimes(ModelAnim& anim, std::vector<std::string>& done)
{
    const std::string whose = std::string("animation ") + anim.GetName();
    uint32_t nFallen = 0;
    for (uint32_t i = 1; i < anim.NumKeyFrames(); ++i)
    {
        uint32_t& time = anim.m_KeyFrames[i].m_Time;
        const uint32_t before = anim.m_KeyFrames[i - 1].m_Time;
        nFallen += time < before ? 1 : 0;
        time = std::max(time, before);
    }
    Tell(done, whose, nFallen, "key time that fell stays at the one before",
         "key times that fell stay at the one before");
    const uint32_t start = anim.NumKeyFrames() != 0 ? anim.m_KeyFrames[0].m_Time : 0;
    for (uint32_t i = 0; i < anim.NumKeyFrames(); ++i)
        anim.m_KeyFrames[i].m_Time -= start;
    if (start != 0)
        done.push_back(whose + Format(": it begins at 0, not at %u", start));
}

static void FixAnims(Model& model, std::vector<std::string>& done)
{
    for (uint32_t i = 0; i < model.CalcNumOwnAnims(); ++i)
    {
        ModelAnim& anim = *model.GetAnim(i);
        uint32_t iFirst = i;
        char name[ANIM_NAME_BUFFER];
        if (model.FindAnim(anim.GetName(), &iFirst, nullptr) && iFirst != i &&
            model.MakeUniqueAnimName(anim.GetName(), name, sizeof(name)))
        {
            done.push_back(std::string("animation ") + anim.GetName() + ": the second of that name is called " + name);
            anim.SetName(name);
        }
        FixTimes(anim, done);
        uint32_t nRotations = 0;
        for (uint32_t iNode = 0; iNode < model.NumNodes(); ++iNode)
        {
            for (uint32_t iKey = 0; iKey < anim.NumKeyFrames(); ++iKey)
                nRotations += FixRotation(anim.m_AnimNodes[iNode]->m_KeyFrames[iKey].m_qRotation) ? 1 : 0;
        }
        Tell(done, std::string("animation ") + anim.GetName(), nRotations, "rotation brought to length 1",
             "rotations brought to length 1");
    }
}

// Weights that add nothing to where the vertex goes.
static uint32_t RemoveIdleWeights(ModelVert& vert)
{
    const auto isIdle = [](const ModelVertWeight& weight)
    { return std::all_of(weight.m_Vec, weight.m_Vec + 4, [](float value) { return value == 0.0f; }); };
    ModelVertWeight* pEnd = vert.m_Weights + vert.m_nWeights;
    const auto nKept =
        static_cast<uint16_t>(std::stable_partition(vert.m_Weights, pEnd, std::not_fn(isIdle)) - vert.m_Weights);
    // One that has nothing else is no better off without.
    const uint32_t nIdle = nKept == 0 ? 0u : vert.m_nWeights - nKept;
    vert.m_nWeights = static_cast<uint16_t>(vert.m_nWeights - nIdle);
    return nIdle;
}

static void FixPiece(ModelPiece& piece, std::vector<std::string>& done)
{
    uint32_t nNormals = 0;
    uint32_t nIdle = 0;
    for (uint32_t iLOD = 0; iLOD < piece.NumLODs(); ++iLOD)
    {
        ModelPieceLOD& mesh = *piece.GetLOD(iLOD);
        for (uint32_t i = 0; i < mesh.NumVerts(); ++i)
        {
            ModelVert& vert = *mesh.GetVert(i);
            const Vector3& n = vert.m_vNormal;
            const double length = std::hypot(double(n.x), double(n.y), double(n.z));
            if (std::isfinite(length) && length != 0.0 && std::fabs(length - 1.0) >= NORMAL_TOLERANCE)
            {
                vert.m_vNormal.Norm();
                ++nNormals;
            }
            if (vert.m_nWeights != 0)
                nIdle += RemoveIdleWeights(vert);
        }
    }
    const std::string whose = std::string("piece ") + piece.GetName();
    Tell(done, whose, nNormals, "normal brought to length 1", "normals brought to length 1");
    Tell(done, whose, nIdle, "weight without a share taken out", "weights without a share taken out");
}

static void FixTriangles(Model& model, std::vector<std::string>& done)
{
    std::vector<std::pair<uint32_t, uint32_t>> before;
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
        before.emplace_back(model.GetPiece(i)->NumTris(), model.GetPiece(i)->NumVerts());
    RemoveDegenerateTris(&model);
    RemoveUnusedVerts(&model);
    model.Precalc(QZFALSE);
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
    {
        const std::string whose = std::string("piece ") + model.GetPiece(i)->GetName();
        Tell(done, whose, before[i].first - model.GetPiece(i)->NumTris(), "triangle that repeats a vertex taken out",
             "triangles that repeat a vertex taken out");
        Tell(done, whose, before[i].second - model.GetPiece(i)->NumVerts(), "vertex in no triangle taken out",
             "vertices in no triangle taken out");
    }
}

void FixModel(Model& model, bool bExport, std::vector<std::string>& done)
{
    FixAnims(model, done);
    for (uint32_t i = 0; i < model.NumChildModels(); ++i)
    {
        ChildInfo& info = *model.GetChildModel(i);
        uint32_t nRotations = 0;
        for (uint32_t k = 0; k < info.m_Relations.GetSize(); ++k)
            nRotations += FixRotation(info.m_Relations[k].m_qRotation) ? 1 : 0;
        Tell(done, std::string("child model ") + info.m_pName, nRotations, "relation brought to length 1",
             "relations brought to length 1");
    }
    for (uint32_t i = 0; i < model.NumSockets(); ++i)
        Tell(done, std::string("socket ") + model.GetSocket(i)->GetName(),
             FixRotation(model.GetSocket(i)->m_qRotation) ? 1 : 0, "rotation brought to length 1", nullptr);
    for (uint32_t i = 0; i < model.NumPieces(); ++i)
        FixPiece(*model.GetPiece(i), done);
    if (bExport)
        FixTriangles(model, done);
}
